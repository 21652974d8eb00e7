/// @file
/// The outcome of one statement, and the results of the statements behind it.
///
/// Knows DuckDBDatabase, which knows query results by their interface.
#pragma once

#include <cstdint>
#include <vector>

#include "duckdb_support/handles.h"
#include "host/duckdb_objects.h"
#include "object_support/ref_count.h"

namespace orkit::orsql {

class DuckDBDatabase;

/// Results by value, in the order of their statements. Each has one owner: the list, until it moves on.
using ResultList = std::vector<orlimbara::duckdb_support::OwnedResult>;

/// Rows, a count, an error taken apart, or nothing.
class DuckDBQueryResult final : public I_DuckDBQueryResult, public ForeignPlugin_imp, noncopyable {
public:
    /// Takes the list's first result as its own, makes the cursor if that result has rows, and keeps the
    /// rest. An error that the result carries is data here. The guard must be held. If it raises, the object
    /// stands in no registry and all results are destroyed.
    /// @param inDatabase may be null. @param inResults may be empty.
    DuckDBQueryResult(DuckDBDatabase* inDatabase, ResultList inResults, std::uint32_t inCursorLocation);
    ~DuckDBQueryResult() override;

    std::uint32_t AddRef() override;
    std::uint32_t Release() override;
    void* QueryInterface(std::uint32_t inInterfaceId) override;
    std::uint32_t get_RefsCount() const override;

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
    /// Finds out what `mResult` holds.
    void ReadOutcome();
    /// Takes DuckDB's error text apart: a JSON object under "errors_as_json", else plain words.
    void ReadError(const char* inText);
    /// Destroys the results and leaves the database's registry, once. Takes the guard. Raises nothing.
    void Detach() noexcept;

    RefCount mRefCount;
    std::int64_t mRowsChanged = 0;
    const std::uint32_t mCursorLocation;
    std::uint32_t mFlags = 0;
    std::int64_t mErrorPosition = -1;
    String mErrorMessage;
    String mErrorType;
    DuckDBDatabase* mDatabase; // null once cut off; touched under the guard alone
    smart_ptr<I_DuckDBCursor> mCursor;
    orlimbara::duckdb_support::OwnedResult mResult;
    ResultList mPendingResults;
};

/// A cursor over a result's rows, of the kind that the location asks for. The guard must be held.
smart_ptr<I_DuckDBCursor> MakeCursor(DuckDBDatabase* inDatabase,
                                     orlimbara::duckdb_support::OwnedResult inResult,
                                     std::uint32_t inCursorLocation);

} // namespace orkit::orsql
