/// @file
/// The reader of VARIANT columns.
#pragma once

#include "duckdb_support/variant_column.h"
#include "result/conversion_window.h"
#include "result/vector_reader.h"

namespace orkit::orsql {

/// Takes the vector of a chunk apart once, at the first read, and makes of each cell what it holds. Objects
/// and arrays are turned to JSON by runs of rows.
class VariantCellReader final : public VectorReader {
public:
    explicit VariantCellReader(const CellReaderSetup& inSetup)
        : VectorReader(inSetup), mJsonWindow(inSetup.mAccess) {}

    void Bind(duckdb_data_chunk inChunk) override;
    smart_ptr<I_Value> Read(idx_t inRow) override;

private:
    enum class State { Untouched, Loaded, Unreadable };

    /// An object or an array.
    smart_ptr<I_Value> ReadNested(idx_t inRow, std::int32_t inNumber);
    /// A payload that has no way of its own.
    smart_ptr<I_Value> ReadPayload(idx_t inRow, std::int32_t inNumber);

    orlimbara::duckdb_support::VariantColumn mColumn;
    State mState = State::Untouched;
    ConversionWindow mJsonWindow;
};

} // namespace orkit::orsql
