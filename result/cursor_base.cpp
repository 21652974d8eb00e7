#include "result/cursor_base.h"

#include <array>
#include <utility>

#include "database/duckdb_database.h"
#include "extension/engine_lock_guard.h"
#include "object_support/errors.h"

namespace orkit::orsql {

namespace support = orlimbara::duckdb_support;

namespace {

DuckDBDatabase* RequireDatabase(DuckDBDatabase* inDatabase) {
    if (!inDatabase) {
        ThrowInvalidCursor();
    }
    return inDatabase;
}

} // namespace

void ThrowInvalidCursor() {
    // Without the database's name: the database may be gone.
    ThrowDuckDBError(kUnknownContext, "DuckDBCursor is invalid");
}

DuckDBCursor_imp::DuckDBCursor_imp(DuckDBDatabase* inDatabase, support::OwnedResult inResult)
    : mDatabase(RequireDatabase(inDatabase)), mContext(inDatabase->get_Context()),
      mResult(std::move(inResult)), mColumns(mResult.Get()) {
    // Last, so that an exception before this leaves no pointer behind.
    inDatabase->AddCursor(this);
}

DuckDBCursor_imp::~DuckDBCursor_imp() { Detach(); }

void* DuckDBCursor_imp::QueryInterface(std::uint32_t inInterfaceId) {
    static constexpr std::array kTable = {
        InterfaceRow<DuckDBCursor_imp, I_DuckDBCursor>(interface_id::kDuckDBCursor),
        InterfaceRow<DuckDBCursor_imp, I_ForeignPlugin>(interface_id::kForeignPlugin),
        kInterfaceTableEnd,
    };
    return InterfaceTableQueryInterface(this, kTable.data(), inInterfaceId);
}

std::uint32_t DuckDBCursor_imp::get_ColumnCount() const {
    return static_cast<std::uint32_t>(mColumns.size());
}

const String& DuckDBCursor_imp::get_ColumnName(std::uint32_t inColumnIndex) const {
    return inColumnIndex < mColumns.size() ? mColumns[inColumnIndex].mName : String::sEmpty;
}

const String& DuckDBCursor_imp::get_ColumnTypeName(std::uint32_t inColumnIndex) const {
    return inColumnIndex < mColumns.size() ? mColumns[inColumnIndex].mTypeName : String::sEmpty;
}

std::uint32_t DuckDBCursor_imp::get_ColumnType(std::uint32_t inColumnIndex) const {
    return inColumnIndex < mColumns.size() ? static_cast<std::uint32_t>(mColumns[inColumnIndex].mType) : 0;
}

smart_ptr<I_DuckDBDatabase> DuckDBCursor_imp::get_Database() const {
    const EngineLockGuard guard;
    return DuckDBDatabase::Acquire(mDatabase.load());
}

// Both leave the registry. A closing database has removed the cursor already; other callers haven't.
void DuckDBCursor_imp::Invalidate() { Detach(); }

void DuckDBCursor_imp::Dispose() { Detach(); }

void DuckDBCursor_imp::ThrowError(const char* inMessage) const {
    RequireValid();
    ThrowDuckDBError(*mContext, inMessage);
}

support::OwnedDataChunk DuckDBCursor_imp::FetchChunk() {
    mDatabase.load()->RequireNotStopped();
    support::OwnedDataChunk chunk(duckdb_fetch_chunk(mResult.Struct()));
    if (!chunk) {
        // DuckDB gives null at the end and after a failure; after a failure the result carries the text.
        const char* const error = duckdb_result_error(mResult.Get());
        if (error && *error) {
            ThrowError(error);
        }
        // If memory ran out, there may be no text; then only the count shows that the rows end too early.
        if (mFetchedRows < duckdb_row_count(mResult.Get())) {
            ThrowError("Unable to fetch all rows of the result.");
        }
        return chunk;
    }
    mFetchedRows += duckdb_data_chunk_get_size(chunk.Get());
    return chunk;
}

void DuckDBCursor_imp::Detach() noexcept {
    const EngineLockGuard guard;
    mResult.Reset();
    if (DuckDBDatabase* const database = mDatabase.exchange(nullptr)) {
        database->RemoveCursor(this);
    }
    mReadableColumns.store(0, std::memory_order_release); // last: who reads 0 sees that the database is lost
}

} // namespace orkit::orsql
