// These definitions replace those of DuckDB's library, to which they pass on all calls that don't fail.
#include <dlfcn.h>
#include <duckdb.h>

#include "procedure_test.h"

namespace {

using orlimbara::procedures::test::gFailingFunction;

template <typename Function>
Function* Original(Function*, const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" {

duckdb_state duckdb_open(const char* path, duckdb_database* out_database) {
    static const auto original = Original(&duckdb_open, __func__);
    return gFailingFunction == __func__ ? DuckDBError : original(path, out_database);
}

duckdb_state duckdb_connect(duckdb_database database, duckdb_connection* out_connection) {
    static const auto original = Original(&duckdb_connect, __func__);
    return gFailingFunction == __func__ ? DuckDBError : original(database, out_connection);
}

duckdb_state duckdb_query(duckdb_connection connection, const char* query, duckdb_result* out_result) {
    static const auto original = Original(&duckdb_query, __func__);
    return gFailingFunction == __func__ ? DuckDBError : original(connection, query, out_result);
}

duckdb_data_chunk duckdb_result_get_chunk(duckdb_result result, idx_t chunk_index) {
    static const auto original = Original(&duckdb_result_get_chunk, __func__);
    return gFailingFunction == __func__ ? nullptr : original(result, chunk_index);
}

} // extern "C"
