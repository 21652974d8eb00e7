/// @file
/// The cursor that leaves the rows in DuckDB and only moves forward.
#pragma once

#include <cstdint>

#include "result/chunk_reader.h"
#include "result/cursor_base.h"

namespace orkit::orsql {

/// Holds one chunk at a time and creates a value at each read. NextRecord takes the guard, get_Value doesn't;
/// the two must not run on one cursor at the same time.
class DuckDBCursor_server final : public DuckDBCursor_imp {
public:
    /// The guard must be held.
    DuckDBCursor_server(DuckDBDatabase* inDatabase, orlimbara::duckdb_support::OwnedResult inResult);

    std::uint64_t get_RecordCount() const override;
    std::uint32_t get_CurrentRecord() const override;
    bool put_CurrentRecord(std::uint32_t inRecord) override;
    bool FirstRecord() override;
    bool LastRecord() override;
    bool NextRecord() override;
    bool PrevRecord() override;
    smart_ptr<I_Value> get_Value(std::uint32_t inColumnIndex) override;

private:
    /// Throws what get_Value throws instead of reading a column.
    [[noreturn]] void ThrowUnreadable(std::uint32_t inColumnIndex) const;

    ChunkReader mReader;
    orlimbara::duckdb_support::OwnedDataChunk mChunk; // empty before the first row and after the last
    idx_t mChunkSize = 0;                             // rows of mChunk; 0 without a chunk
    idx_t mChunkRow = 0;                              // the current row in mChunk, less than its size
};

} // namespace orkit::orsql
