/// @file
/// The reader of VARIANT columns.
#pragma once

#include "duckdb_support/variant_column.h"
#include "result/cell_reader.h"
#include "result/conversion_window.h"

namespace orkit::orsql {

/// Unpacks the vector of a chunk once, at the first read, and gives each cell's content. Converts objects and
/// arrays to JSON in runs of rows.
class VariantCellReader final : public CellReader {
public:
    explicit VariantCellReader(const CellReaderSetup& inSetup)
        : CellReader(inSetup), mJsonWindow(inSetup.mAccess) {}

    void Bind(duckdb_data_chunk inChunk) override;
    smart_ptr<I_Value> Read(idx_t inRow) override;

private:
    /// An object or an array.
    smart_ptr<I_Value> ReadNested(idx_t inRow, std::int32_t inNumber);
    /// A payload that goes through a `duckdb_value`.
    smart_ptr<I_Value> ReadPayload(idx_t inRow, std::int32_t inNumber);

    orlimbara::duckdb_support::VariantColumn mColumn;
    bool mIsLoaded = false;
    ConversionWindow mJsonWindow;
};

} // namespace orkit::orsql
