#include "result/query_result.h"

#include <array>
#include <utility>

#include "database/duckdb_database.h"
#include "extension/engine_lock_guard.h"
#include "host/json.h"
#include "object_support/text.h"
#include "result/client_cursor.h"
#include "result/server_cursor.h"

namespace orkit::orsql {

namespace support = orlimbara::duckdb_support;

smart_ptr<I_DuckDBCursor> MakeCursor(DuckDBDatabase* inDatabase, support::OwnedResult inResult,
                                     std::uint32_t inCursorLocation) {
    if (inCursorLocation == kCursorLocationClient) {
        return smart_ptr<I_DuckDBCursor>(new DuckDBCursor_client(inDatabase, std::move(inResult)));
    }
    return smart_ptr<I_DuckDBCursor>(new DuckDBCursor_server(inDatabase, std::move(inResult)));
}

DuckDBQueryResult::DuckDBQueryResult(DuckDBDatabase* inDatabase, ResultList inResults,
                                     std::uint32_t inCursorLocation)
    : mCursorLocation(inCursorLocation), mDatabase(inDatabase), mPendingResults(std::move(inResults)) {
    if (!mPendingResults.empty()) {
        mResult = std::move(mPendingResults.front());
        mPendingResults.pop_front();
        ReadOutcome();
    }
    // Last, so that an exception before this leaves no pointer behind.
    if (mDatabase) {
        mDatabase->AddQueryResult(this);
    }
}

DuckDBQueryResult::~DuckDBQueryResult() { Detach(); }

void DuckDBQueryResult::ReadOutcome() {
    const char* const error = duckdb_result_error(mResult.Get());
    if (error && *error) {
        ReadError(error);
        return;
    }
    switch (duckdb_result_return_type(mResult.Struct())) {
    case DUCKDB_RESULT_TYPE_CHANGED_ROWS:
        mRowsChanged = static_cast<std::int64_t>(duckdb_rows_changed(mResult.Get()));
        mFlags = kResultHasRowsChanged;
        break;
    case DUCKDB_RESULT_TYPE_QUERY_RESULT:
        mCursor = MakeCursor(mDatabase, std::move(mResult), mCursorLocation);
        mFlags = kResultHasCursor;
        break;
    default:
        break;
    }
}

void DuckDBQueryResult::ReadError(const char* inText) {
    mFlags = kResultHasError;
    const Json json(inText);
    if (!json.isValid()) {
        mErrorMessage = StringFromUTF8(inText);
        return;
    }
    mErrorMessage = json.get_JsonValue("exception_message");
    mErrorType = json.get_JsonValue("exception_type");
    const String position = json.get_JsonValue("position");
    if (!position.isEmpty()) {
        mErrorPosition = position.parseLLong();
    }
}

void* DuckDBQueryResult::QueryInterface(std::uint32_t inInterfaceId) {
    static constexpr std::array kTable = {
        InterfaceRow<DuckDBQueryResult, I_DuckDBQueryResult>(interface_id::kDuckDBQueryResult),
        InterfaceRow<DuckDBQueryResult, I_ForeignPlugin>(interface_id::kForeignPlugin),
        kInterfaceTableEnd,
    };
    return InterfaceTableQueryInterface(this, kTable.data(), inInterfaceId);
}

std::int64_t DuckDBQueryResult::get_RowsChanged() const { return mRowsChanged; }

smart_ptr<I_DuckDBCursor> DuckDBQueryResult::get_Cursor() const {
    const EngineLockGuard guard;
    return mCursor;
}

std::uint32_t DuckDBQueryResult::get_ResultFlags() const { return mFlags; }

std::int64_t DuckDBQueryResult::get_ErrorPosition() const { return mErrorPosition; }

String DuckDBQueryResult::get_ErrorMessage() const { return mErrorMessage; }

String DuckDBQueryResult::get_ErrorType() const { return mErrorType; }

smart_ptr<I_DuckDBQueryResult> DuckDBQueryResult::get_NextResult() {
    const EngineLockGuard guard;
    if (mPendingResults.empty()) {
        return nullptr;
    }
    const std::shared_ptr<RunControl> runs =
        mDatabase ? mDatabase->get_Runs() : std::make_shared<RunControl>();
    const GuardedRun run(*runs);
    return smart_ptr<I_DuckDBQueryResult>(
        new DuckDBQueryResult(mDatabase, std::exchange(mPendingResults, {}), mCursorLocation));
}

void DuckDBQueryResult::Invalidate() {
    const EngineLockGuard guard;
    mCursor.reset();
    Detach();
}

void DuckDBQueryResult::Detach() noexcept {
    const EngineLockGuard guard;
    mResult.Reset();
    mPendingResults.clear();
    if (DuckDBDatabase* const database = std::exchange(mDatabase, nullptr)) {
        database->RemoveQueryResult(this);
    }
}

} // namespace orkit::orsql
