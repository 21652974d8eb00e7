// Running SQL at once, without a statement object that the caller holds.

#include <string>
#include <utility>

#include "database/duckdb_database.h"
#include "host/runtime.h"
#include "object_support/text.h"
#include "statement/parameters.h"

namespace orkit::orsql {

namespace support = orlimbara::duckdb_support;

namespace {

bool HasValues(const smart_ptr<ValueArray>& inParams) { return inParams && !inParams->isEmpty(); }

/// Creates the object for a text's outcome, which may read all rows of a result. A stop while it does also
/// rolls the open transaction back, if there are no values.
template <class Make>
auto MakeOutcome(const Run& inRun, const smart_ptr<ValueArray>& inParams, Make inMake) {
    try {
        return inMake();
    } catch (...) {
        if (inRun.IsStopped() && !HasValues(inParams)) {
            inRun.RollBack();
        }
        throw;
    }
}

} // namespace

ResultList DuckDBDatabase::RunSql(const Run& inRun, const String& inSql,
                                  const smart_ptr<ValueArray>& inParams) {
    RequireOpen();
    // Up to the first zero character, where DuckDB's functions end too.
    const StFromUTF16 sql(inSql.c_str(), -1, GetConverter_UTF8());
    if (HasValues(inParams)) {
        ResultList results;
        results.push_back(RunWithParameters(inRun, sql.c_str(), inParams));
        return results;
    }
    const std::shared_ptr<ConnectionCell> connection = mConnection;

    // The texts belong to DuckDB until all handles of the run are gone; the exception is thrown after that.
    Failure failure;
    ResultList results;
    {
        support::OwnedExtractedStatements statements;
        const idx_t count = inRun.InDuckDB(
            [&] { return duckdb_extract_statements(connection->Get(), sql.c_str(), statements.Put()); });
        if (count == 0) {
            failure =
                TextOr(duckdb_extract_statements_error(statements.Get()), "Failed to extract statements");
        }
        for (idx_t index = 0; index < count && !failure; ++index) {
            failure = RunExtracted(inRun, connection->Get(), statements.Get(), index, results);
        }
    }
    if (failure) {
        results.clear();
        ThrowError(failure->c_str());
    }
    return results;
}

DuckDBDatabase::Failure DuckDBDatabase::RunExtracted(const Run& inRun, duckdb_connection inConnection,
                                                     duckdb_extracted_statements inStatements, idx_t inIndex,
                                                     ResultList& ioResults) {
    if (inRun.IsStopped()) {
        inRun.RollBack();
        return kInterruptedText;
    }
    support::OwnedPreparedStatement prepared;
    const duckdb_state state = inRun.InDuckDB([&] {
        return duckdb_prepare_extracted_statement(inConnection, inStatements, inIndex, prepared.Put());
    });
    if (state != DuckDBSuccess) {
        std::string error =
            TextOr(duckdb_prepare_error(prepared.Get()), "Failed to prepare extracted statement");
        if (inRun.IsStopped()) {
            inRun.RollBack();
        }
        return error;
    }
    support::OwnedResult result;
    Failure failure = inRun.Execute(prepared.Get(), result, "Failed to execute statement");
    prepared.Reset();
    if (failure) {
        result.Reset();
        inRun.RollBack();
        return failure;
    }
    ioResults.push_back(std::move(result));
    return std::nullopt;
}

support::OwnedResult DuckDBDatabase::RunWithParameters(const Run& inRun, const char* inSql,
                                                       const smart_ptr<ValueArray>& inParams) {
    RequireNotStopped();
    const std::shared_ptr<ConnectionCell> connection = mConnection;
    support::OwnedPreparedStatement prepared;
    const duckdb_state state =
        inRun.InDuckDB([&] { return duckdb_prepare(connection->Get(), inSql, prepared.Put()); });
    if (state != DuckDBSuccess) {
        RequireNotStopped();
        ThrowError(TextOr(duckdb_prepare_error(prepared.Get()), "Failed to prepare statement"));
    }
    if (const Failure failure = BindParameters(prepared, inParams)) {
        ThrowError(failure->c_str());
    }
    if (mConnection != connection) { // reading a host value closed it
        ThrowError("DuckDBDatabase is not open");
    }
    support::OwnedResult result;
    const Failure failure = inRun.Execute(prepared.Get(), result, "Failed to execute prepared statement");
    if (failure) {
        prepared.Reset();
        ThrowError(failure->c_str());
    }
    return result;
}

smart_ptr<I_DuckDBCursor> DuckDBDatabase::SqlSelect(const String& inSql, std::uint32_t inCursorLocation,
                                                    smart_ptr<ValueArray> inParams) {
    const GuardedRun run(*mRuns);
    OrlimbaraInit3();
    ResultList results = RunSql(run, inSql, inParams);
    if (results.size() != 1) {
        results.clear();
        ThrowError("Query doesn't return a single result");
    }
    support::OwnedResult result = std::move(results.front());
    if (duckdb_result_return_type(result.Struct()) != DUCKDB_RESULT_TYPE_QUERY_RESULT) {
        result.Reset();
        ThrowError("Query doesn't return a result");
    }
    return MakeOutcome(run, inParams, [&] { return MakeCursor(this, std::move(result), inCursorLocation); });
}

smart_ptr<I_DuckDBQueryResult> DuckDBDatabase::SqlQuery(const String& inSql, std::uint32_t inCursorLocation,
                                                        smart_ptr<ValueArray> inParams) {
    const GuardedRun run(*mRuns);
    OrlimbaraInit3();
    ResultList results = RunSql(run, inSql, inParams);
    return MakeOutcome(run, inParams, [&] {
        return smart_ptr<I_DuckDBQueryResult>(
            new DuckDBQueryResult(this, std::move(results), inCursorLocation));
    });
}

std::int64_t DuckDBDatabase::SqlExecute(const String& inSql, smart_ptr<ValueArray> inParams) {
    const Run run(*mRuns);
    OrlimbaraInit3();
    smart_ptr<I_DuckDBQueryResult> result = SqlQuery(inSql, kCursorLocationServer, inParams);
    std::int64_t rowsChanged = 0;
    while (result) {
        rowsChanged += result->get_RowsChanged();
        result = result->get_NextResult();
    }
    return rowsChanged;
}

} // namespace orkit::orsql
