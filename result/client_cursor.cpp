#include "result/client_cursor.h"

#include <exception>
#include <new>
#include <utility>

#include "duckdb_support/supplement.h"
#include "result/chunk_reader.h"

namespace orkit::orsql {

namespace support = orlimbara::duckdb_support;

namespace {
constexpr std::size_t kInitialCapacity = 10; // rows
// So many cells that returning the memory that DuckDB held for them, at least 64 MiB, takes little time
// compared with reading them.
constexpr std::size_t kManyCells = std::size_t{1} << 23;
} // namespace

DuckDBCursor_client::DuckDBCursor_client(DuckDBDatabase* inDatabase, support::OwnedResult inResult)
    : DuckDBCursor_imp(inDatabase, std::move(inResult)), mRows(new RowArray(kInitialCapacity)) {
    try {
        ChunkReader reader(Columns(), ChunkReader::Access::EveryCell);
        // Only a missing chunk is the end; a chunk without rows isn't.
        while (const support::OwnedDataChunk chunk = FetchChunk()) {
            ReadChunk(chunk.Get(), reader);
        }
        reader.Bind(nullptr);
        ReleaseResult(); // DuckDB needn't keep a second copy of the rows
        if (mRows->get_Count() * Columns().size() >= kManyCells) {
            support::release_free_memory();
        }
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& error) {
        ThrowError(error.what());
    }
}

void DuckDBCursor_client::ReadChunk(duckdb_data_chunk inChunk, ChunkReader& ioReader) {
    const idx_t rowCount = duckdb_data_chunk_get_size(inChunk);
    const auto columnCount = static_cast<std::uint32_t>(Columns().size());
    ioReader.Bind(inChunk);
    for (idx_t row = 0; row < rowCount; ++row) {
        smart_ptr<ValueArray> values(new ValueArray(columnCount));
        for (std::uint32_t column = 0; column < columnCount; ++column) {
            values->Append(ioReader.Read(column, row));
        }
        mRows->Append(std::move(values));
    }
}

std::uint64_t DuckDBCursor_client::get_RecordCount() const {
    RequireValid();
    return mRows->get_Count();
}

std::uint32_t DuckDBCursor_client::get_CurrentRecord() const {
    RequireValid();
    return mCurrentRecord;
}

bool DuckDBCursor_client::put_CurrentRecord(std::uint32_t inRecord) {
    RequireValid();
    if (inRecord == 0 || inRecord > Count()) {
        return false;
    }
    mCurrentRecord = inRecord;
    return true;
}

bool DuckDBCursor_client::FirstRecord() { return put_CurrentRecord(1); }

bool DuckDBCursor_client::LastRecord() { return put_CurrentRecord(Count()); }

bool DuckDBCursor_client::NextRecord() {
    RequireValid();
    if (mCurrentRecord >= Count()) {
        return false;
    }
    ++mCurrentRecord;
    return true;
}

bool DuckDBCursor_client::PrevRecord() {
    RequireValid();
    if (mCurrentRecord < 2) {
        return false;
    }
    --mCurrentRecord;
    return true;
}

smart_ptr<I_Value> DuckDBCursor_client::get_Value(std::uint32_t inColumnIndex) {
    RequireValid();
    RequireColumn(inColumnIndex);
    if (mCurrentRecord == 0) {
        ThrowError("No current record.");
    }
    const smart_ptr<ValueArray> row = (*mRows)[mCurrentRecord - 1];
    return (*row)[inColumnIndex];
}

} // namespace orkit::orsql
