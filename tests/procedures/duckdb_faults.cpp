// These definitions replace those of DuckDB's library, to which they pass on all calls that don't fail.
#include <dlfcn.h>
#include <duckdb.h>

#include "procedure_test.h"

namespace {

using orlimbara::procedures::test::gFailingFunction;

/// Calls DuckDB's own function of this name, unless it is to fail.
template <typename Function, typename Result, typename... Arguments>
Result Call(Function*, const char* name, Result failure, Arguments... arguments) {
    auto* const original = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
    return gFailingFunction == name ? failure : original(arguments...);
}

} // namespace

extern "C" {

duckdb_state duckdb_open(const char* path, duckdb_database* out_database) {
    return Call(&duckdb_open, __func__, DuckDBError, path, out_database);
}

duckdb_state duckdb_connect(duckdb_database database, duckdb_connection* out_connection) {
    return Call(&duckdb_connect, __func__, DuckDBError, database, out_connection);
}

duckdb_state duckdb_query(duckdb_connection connection, const char* query, duckdb_result* out_result) {
    return Call(&duckdb_query, __func__, DuckDBError, connection, query, out_result);
}

duckdb_data_chunk duckdb_result_get_chunk(duckdb_result result, idx_t chunk_index) {
    return Call(&duckdb_result_get_chunk, __func__, duckdb_data_chunk(nullptr), result, chunk_index);
}

} // extern "C"
