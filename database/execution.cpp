// Running SQL at once, without a statement object that the caller holds.

#include <string>
#include <utility>

#include "database/duckdb_database.h"
#include "extension/engine_lock_guard.h"
#include "host/runtime.h"
#include "object_support/text.h"
#include "statement/parameters.h"

namespace orkit::orsql {

namespace support = orlimbara::duckdb_support;

namespace {

/// Takes back what a failed statement left of its transaction. Outside of one it fails, which doesn't matter.
void RollBack(duckdb_connection inConnection) {
    support::OwnedResult result;
    duckdb_query(inConnection, "ROLLBACK", result.Put());
}

} // namespace

ResultList DuckDBDatabase::RunSql(const String& inSql, const smart_ptr<ValueArray>& inParams) {
    RequireOpen();
    // Up to the first zero character: DuckDB's functions end there too.
    const StFromUTF16 sql(inSql.c_str(), -1, GetConverter_UTF8());
    if (inParams && !inParams->isEmpty()) {
        ResultList results;
        results.push_back(RunWithParameters(sql.c_str(), inParams));
        return results;
    }
    const std::shared_ptr<ConnectionCell> connection = mConnection;

    // The exception is raised when all handles of the run are gone; the texts are DuckDB's until then.
    Failure failure;
    ResultList results;
    {
        support::OwnedExtractedStatements statements;
        const idx_t count = duckdb_extract_statements(connection->Get(), sql.c_str(), statements.Put());
        if (count == 0) {
            failure =
                TextOr(duckdb_extract_statements_error(statements.Get()), "Failed to extract statements");
        }
        for (idx_t index = 0; index < count && !failure; ++index) {
            failure = RunExtracted(connection->Get(), statements.Get(), index, results);
        }
    }
    if (failure) {
        results.clear();
        ThrowError(failure->c_str());
    }
    return results;
}

DuckDBDatabase::Failure DuckDBDatabase::RunExtracted(duckdb_connection inConnection,
                                                     duckdb_extracted_statements inStatements, idx_t inIndex,
                                                     ResultList& ioResults) {
    support::OwnedPreparedStatement prepared;
    if (duckdb_prepare_extracted_statement(inConnection, inStatements, inIndex, prepared.Put()) !=
        DuckDBSuccess) {
        return TextOr(duckdb_prepare_error(prepared.Get()), "Failed to prepare extracted statement");
    }
    support::OwnedResult result;
    const duckdb_state state = duckdb_execute_prepared(prepared.Get(), result.Put());
    prepared.Reset();
    if (state != DuckDBSuccess) {
        std::string error = TextOr(duckdb_result_error(result.Get()), "Failed to execute statement");
        result.Reset();
        RollBack(inConnection);
        return error;
    }
    ioResults.push_back(std::move(result));
    return std::nullopt;
}

support::OwnedResult DuckDBDatabase::RunWithParameters(const char* inSql,
                                                       const smart_ptr<ValueArray>& inParams) {
    const std::shared_ptr<ConnectionCell> connection = mConnection;
    support::OwnedPreparedStatement prepared;
    if (duckdb_prepare(connection->Get(), inSql, prepared.Put()) != DuckDBSuccess) {
        ThrowError(TextOr(duckdb_prepare_error(prepared.Get()), "Failed to prepare statement"));
    }
    BindParameters(prepared.Get(), inParams, get_Name());
    support::OwnedResult result;
    const duckdb_state state = duckdb_execute_prepared(prepared.Get(), result.Put());
    prepared.Reset();
    if (state != DuckDBSuccess) {
        ThrowError(TextOr(duckdb_result_error(result.Get()), "Failed to execute prepared statement"));
    }
    return result;
}

smart_ptr<I_DuckDBCursor> DuckDBDatabase::SqlSelect(const String& inSql, std::uint32_t inCursorLocation,
                                                    smart_ptr<ValueArray> inParams) {
    const EngineLockGuard guard;
    OrlimbaraInit3();
    ResultList results = RunSql(inSql, inParams);
    if (results.size() != 1) {
        results.clear();
        ThrowError("Query doesn't return a single result");
    }
    support::OwnedResult result = std::move(results.front());
    if (duckdb_result_return_type(result.Struct()) != DUCKDB_RESULT_TYPE_QUERY_RESULT) {
        result.Reset();
        ThrowError("Query doesn't return a result");
    }
    return MakeCursor(this, std::move(result), inCursorLocation);
}

smart_ptr<I_DuckDBQueryResult> DuckDBDatabase::SqlQuery(const String& inSql, std::uint32_t inCursorLocation,
                                                        smart_ptr<ValueArray> inParams) {
    const EngineLockGuard guard;
    OrlimbaraInit3();
    return smart_ptr<I_DuckDBQueryResult>(
        new DuckDBQueryResult(this, RunSql(inSql, inParams), inCursorLocation));
}

std::int64_t DuckDBDatabase::SqlExecute(const String& inSql, smart_ptr<ValueArray> inParams) {
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
