/// @file
/// The outcome of one statement, and the results of the statements after it.
///
/// Calls DuckDBDatabase, which calls query results through their interface.
#pragma once

#include <cstdint>
#include <deque>

#include "duckdb_support/handles.h"
#include "host/duckdb_objects.h"
#include "object_support/ref_count.h"

namespace orkit::orsql {

class DuckDBDatabase;

/// The results of a run, by value, in the order of their statements. A queue, since each step through the
/// outcomes of a script takes one from the front.
using ResultList = std::deque<orlimbara::duckdb_support::OwnedResult>;

/// Rows, a count, a parsed error, or nothing.
class DuckDBQueryResult final : public RefCounted<I_DuckDBQueryResult, ForeignPlugin_imp>, noncopyable {
public:
    /// Takes the list's first result as its own, creates the cursor if that result has rows, and keeps the
    /// rest. An error that the result carries is data here. The guard must be held. If it throws, the object
    /// is in no registry and all results are destroyed.
    /// @param inDatabase may be null. @param inResults may be empty.
    DuckDBQueryResult(DuckDBDatabase* inDatabase, ResultList inResults, std::uint32_t inCursorLocation);
    ~DuckDBQueryResult() override;

    void* QueryInterface(std::uint32_t inInterfaceId) override;

    std::int64_t get_RowsChanged() const override;
    /// Takes the guard: Invalidate may run on another thread.
    smart_ptr<I_DuckDBCursor> get_Cursor() const override;
    std::uint32_t get_ResultFlags() const override;
    std::int64_t get_ErrorPosition() const override;
    String get_ErrorMessage() const override;
    String get_ErrorType() const override;
    smart_ptr<I_DuckDBQueryResult> get_NextResult() override;
    void Invalidate() override;

private:
    /// Finds out what kind of outcome `mResult` is.
    void ReadOutcome();
    /// Parses DuckDB's error text: a JSON object under "errors_as_json", else plain text.
    void ReadError(const char* inText);
    /// Destroys the results and leaves the database's registry, once. Takes the guard.
    void Detach() noexcept;
    void OnLastRelease() noexcept override { Detach(); }

    std::int64_t mRowsChanged = 0;
    const std::uint32_t mCursorLocation;
    std::uint32_t mFlags = 0;
    std::int64_t mErrorPosition = -1;
    String mErrorMessage;
    String mErrorType;
    DuckDBDatabase* mDatabase; // null once detached; accessed only under the guard
    smart_ptr<I_DuckDBCursor> mCursor;
    orlimbara::duckdb_support::OwnedResult mResult;
    ResultList mPendingResults;
};

/// A cursor over a result's rows, client or server by `inCursorLocation`. The guard must be held.
smart_ptr<I_DuckDBCursor> MakeCursor(DuckDBDatabase* inDatabase,
                                     orlimbara::duckdb_support::OwnedResult inResult,
                                     std::uint32_t inCursorLocation);

} // namespace orkit::orsql
