#include "result/server_cursor.h"

#include <exception>
#include <new>
#include <utility>

#include "extension/engine_lock_guard.h"

namespace orkit::orsql {

namespace support = orlimbara::duckdb_support;

DuckDBCursor_server::DuckDBCursor_server(DuckDBDatabase* inDatabase, support::OwnedResult inResult)
    : DuckDBCursor_imp(inDatabase, std::move(inResult)), mReader(Columns(), ChunkReader::Access::AnyCell) {}

bool DuckDBCursor_server::NextRecord() {
    const EngineLockGuard guard;
    RequireValid();
    if (mChunkRow + 1 < mChunkSize) {
        ++mChunkRow;
        return true;
    }
    // A chunk that has no size yet couldn't be bound for want of memory: it is the next one still.
    if (mChunkSize != 0 || !mChunk) {
        mReader.Bind(nullptr);
        mChunkSize = 0;
        mChunk.Reset();
        mChunk = FetchChunk();
    }
    const idx_t size = mChunk ? duckdb_data_chunk_get_size(mChunk.Get()) : 0;
    if (size == 0) {
        // A chunk without rows counts as the end.
        mChunk.Reset();
        return false;
    }
    mReader.Bind(mChunk.Get());
    mChunkRow = 0;
    mChunkSize = size;
    return true;
}

smart_ptr<I_Value> DuckDBCursor_server::get_Value(std::uint32_t inColumnIndex) {
    RequireValid();
    RequireColumn(inColumnIndex);
    if (mChunkSize == 0) {
        ThrowError("Data is not available. Use NextRecord() to fetch data.");
    }
    try {
        return mReader.Read(inColumnIndex, mChunkRow);
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& error) {
        ThrowError(error.what());
    }
}

std::uint64_t DuckDBCursor_server::get_RecordCount() const {
    ThrowError("get_RecordCount() is not supported for server-side cursors");
}

std::uint32_t DuckDBCursor_server::get_CurrentRecord() const {
    ThrowError("get_CurrentRecord() is not supported for server-side cursors");
}

bool DuckDBCursor_server::put_CurrentRecord(std::uint32_t) {
    ThrowError("put_CurrentRecord() is not supported for server-side cursors");
}

bool DuckDBCursor_server::FirstRecord() {
    ThrowError("FirstRecord() is not supported for server-side cursors");
}

bool DuckDBCursor_server::LastRecord() {
    ThrowError("LastRecord() is not supported for server-side cursors");
}

bool DuckDBCursor_server::PrevRecord() {
    ThrowError("PrevRecord() is not supported for server-side cursors");
}

} // namespace orkit::orsql
