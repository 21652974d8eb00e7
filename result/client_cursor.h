/// @file
/// The cursor that reads all rows into memory when it is created.
#pragma once

#include <cstdint>

#include "result/cursor_base.h"

namespace orkit::orsql {

/// Its values are host objects that don't depend on DuckDB. After construction it doesn't call DuckDB, and
/// its operations take no guard.
class DuckDBCursor_client final : public DuckDBCursor_imp {
public:
    /// Reads the whole result. The guard must be held.
    DuckDBCursor_client(DuckDBDatabase* inDatabase, orlimbara::duckdb_support::OwnedResult inResult);

    std::uint64_t get_RecordCount() const override;
    std::uint32_t get_CurrentRecord() const override;
    bool put_CurrentRecord(std::uint32_t inRecord) override;
    bool FirstRecord() override;
    bool LastRecord() override;
    bool NextRecord() override;
    bool PrevRecord() override;
    smart_ptr<I_Value> get_Value(std::uint32_t inColumnIndex) override;

    /// The rows that the cursor reads: one array per row, with one value per column.
    smart_ptr<RowArray> get_Rows() const { return mRows; }

private:
    /// Appends the chunk's rows.
    void ReadChunk(duckdb_data_chunk inChunk, class ChunkReader& ioReader);
    /// The number of records, as wide as record numbers.
    std::uint32_t Count() const noexcept { return static_cast<std::uint32_t>(mRows->get_Count()); }

    smart_ptr<RowArray> mRows;
    std::uint32_t mCurrentRecord = 0; // from 1; 0: none
};

} // namespace orkit::orsql
