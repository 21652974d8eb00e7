// The path of a text whose parameters come as host values.

#include "database/duckdb_database.h"
#include "result/text.h"
#include "statement/parameters.h"

namespace orkit::orsql {

namespace support = orlimbara::duckdb_support;

support::OwnedResult DuckDBDatabase::RunWithParameters(const char* inSql,
                                                       const smart_ptr<ValueArray>& inParams) {
    const std::shared_ptr<ConnectionCell> connection = mConnection;
    support::OwnedPreparedStatement prepared;
    if (duckdb_prepare(connection->Get(), inSql, prepared.Put()) != DuckDBSuccess) {
        RaiseError(TextOr(duckdb_prepare_error(prepared.Get()), "Failed to prepare statement"));
    }
    BindParameters(prepared.Get(), inParams, get_Name());
    support::OwnedResult result;
    const duckdb_state state = duckdb_execute_prepared(prepared.Get(), result.Put());
    prepared.Reset();
    if (state != DuckDBSuccess) {
        RaiseError(TextOr(duckdb_result_error(result.Get()), "Failed to execute prepared statement"));
    }
    return result;
}

} // namespace orkit::orsql
