// The walk through a script, and running statements.

#include <exception>
#include <memory>
#include <utility>

#include "database/duckdb_database.h"
#include "duckdb_support/supplement.h"
#include "extension/engine_lock_guard.h"
#include "host/exceptions.h"
#include "host/runtime.h"
#include "object_support/text.h"
#include "result/query_result.h"
#include "statement/duckdb_statement.h"

namespace orkit::orsql {

namespace support = orlimbara::duckdb_support;

void DuckDBStatement::PrepareNext() {
    const GuardedRun run(*mRuns);
    OrlimbaraInit3();
    const DuckDBDatabase& database = RequireDatabase();
    database.RequireNotStopped();
    ReleaseHandles();
    const std::shared_ptr<ConnectionCell> cell = database.get_Connection();
    duckdb_connection const connection = cell ? cell->Get() : nullptr;
    if (!mExtracted) {
        Split(run, connection);
    }
    if (!HasStatementsLeft()) {
        return;
    }
    TakeSql();
    // A copy: the statement stays in the list, so that a failed one can be tried again.
    const duckdb_state state = run.InDuckDB([&] {
        return support::prepare_extracted_copy(connection, mExtracted.Get(), mNextStatement, mPrepared.Put());
    });
    if (state != DuckDBSuccess) {
        const support::OwnedPreparedStatement failed = std::move(mPrepared);
        ReleaseHandles();
        database.RequireNotStopped();
        database.ThrowError(TextOr(duckdb_prepare_error(failed.Get()), "Failed to prepare statement"));
    }
    ReapplyValues();
    ++mNextStatement;
}

void DuckDBStatement::Split(const Run& inRun, duckdb_connection inConnection) {
    const StFromUTF16 sql = ToUTF8(mCurrentSql);
    mStatementCount = inRun.InDuckDB(
        [&] { return duckdb_extract_statements(inConnection, sql.c_str(), mExtracted.Put()); });
    mNextStatement = 0;
    if (mStatementCount != 0) {
        return;
    }
    const support::OwnedExtractedStatements failed = std::move(mExtracted);
    const char* const error = duckdb_extract_statements_error(failed.Get());
    if (error && *error) {
        RequireDatabase().ThrowError(error);
    }
}

void DuckDBStatement::TakeSql() {
    const support::OwnedText sql(support::statement_sql(mExtracted.Get(), mNextStatement));
    mCurrentSql = StringFromUTF8(sql.Get());
}

void DuckDBStatement::RunPrepared(const Run& inRun, std::uint64_t* outRowsChanged) {
    RequireDatabase();
    if (outRowsChanged) {
        *outRowsChanged = 0;
    }
    const smart_ptr<RowArray> rows = mRows;
    const std::size_t runs = rows ? rows->get_Count() : 1;
    for (std::size_t row = 0; row < runs; ++row) {
        RequireDatabase().RequireNotStopped();
        if (rows) {
            ApplyValues((*rows)[row]);
        } else {
            ReapplyValues();
        }
        if (!mPrepared) {
            continue;
        }
        mResult.Reset();
        if (const auto failure = inRun.Execute(mPrepared.Get(), mResult, "Unknown execute error")) {
            ThrowError(failure->c_str());
        }
        // Only the last count is wanted, and DuckDB takes about 2 µs to tell it.
        if (outRowsChanged && row + 1 == runs &&
            duckdb_result_return_type(mResult.Struct()) == DUCKDB_RESULT_TYPE_CHANGED_ROWS) {
            *outRowsChanged = duckdb_rows_changed(mResult.Get());
        }
    }
}

bool DuckDBStatement::ExecuteNext(std::uint64_t& outRowsChanged) {
    const GuardedRun run(*mRuns);
    OrlimbaraInit3();
    PrepareNext();
    outRowsChanged = SqlExecute();
    return HasStatementsLeft();
}

bool DuckDBStatement::ExecuteNext() {
    std::uint64_t rowsChanged = 0;
    return ExecuteNext(rowsChanged);
}

void DuckDBStatement::ExecuteAll() {
    const GuardedRun run(*mRuns);
    OrlimbaraInit3();
    while (ExecuteNext()) {
    }
    EndWalk();
    mCurrentSql = mOriginalSql;
}

DuckDBExecutionResult DuckDBStatement::ExecuteScript() {
    const GuardedRun run(*mRuns);
    OrlimbaraInit3();
    DuckDBExecutionResult result;
    if (!mDatabase.load()) {
        return result;
    }
    try {
        bool hasStatementsLeft = true;
        while (hasStatementsLeft) {
            hasStatementsLeft = ExecuteNext();
            ++result.mStatementCount;
        }
        mCurrentSql = mOriginalSql;
    } catch (const xDuckDBError& failure) {
        const String* const message = failure.get_Text(1);
        result.mErrorCode = failure.get_Code();
        result.mErrorText = message ? *message : String();
    } catch (...) {
        result.mErrorCode = error_code::kUnexpectedDuckDB;
        result.mErrorText = "Unexpected DuckDB error";
    }
    EndWalk();
    return result;
}

std::uint64_t DuckDBStatement::SqlExecute() {
    const GuardedRun run(*mRuns);
    OrlimbaraInit3();
    std::uint64_t rowsChanged = 0;
    RunPrepared(run, &rowsChanged);
    return rowsChanged;
}

smart_ptr<I_DuckDBCursor> DuckDBStatement::SqlSelect(std::uint32_t inCursorLocation) {
    const GuardedRun run(*mRuns);
    OrlimbaraInit3();
    DuckDBDatabase& database = RequireDatabase();
    if (mRows && mRows->get_Count() > 1) {
        throw xFeatureError(error_code::kFeature, "orDuckDB - multi-row binding for SqlSelect");
    }
    RunPrepared(run, nullptr);
    if (!mPrepared || !mResult) {
        return nullptr;
    }
    return MakeCursor(&database, std::move(mResult), inCursorLocation);
}

String DuckDBStatement::SqlSelectToJSON() {
    const Run run(*mRuns);
    return CursorToJSON(SqlSelect(kCursorLocationServer));
}

smart_ptr<I_DuckDBQueryResult> DuckDBStatement::SqlQuery(std::uint32_t inCursorLocation) {
    const GuardedRun run(*mRuns);
    OrlimbaraInit3();
    RunPrepared(run, nullptr);
    ResultList results;
    if (mResult) {
        results.push_back(std::move(mResult));
    }
    return smart_ptr<I_DuckDBQueryResult>(
        new DuckDBQueryResult(mDatabase.load(), std::move(results), inCursorLocation));
}

} // namespace orkit::orsql
