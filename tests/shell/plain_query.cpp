/// @file
/// Runs one query through DuckDB's C functions and walks its chunks: what the shell's memory is held against.
#include <cstdio>

#include <duckdb.h>

int main(int inCount, char** inArguments) {
    duckdb_database database = nullptr;
    duckdb_connection connection = nullptr;
    if (inCount != 2 || duckdb_open(nullptr, &database) != DuckDBSuccess ||
        duckdb_connect(database, &connection) != DuckDBSuccess) {
        return 1;
    }
    duckdb_result setting;
    duckdb_query(connection, "SET threads = 1", &setting);
    duckdb_destroy_result(&setting);
    duckdb_result result;
    if (duckdb_query(connection, inArguments[1], &result) != DuckDBSuccess) {
        return 1;
    }
    unsigned long long rows = 0;
    while (duckdb_data_chunk chunk = duckdb_fetch_chunk(result)) {
        rows += duckdb_data_chunk_get_size(chunk);
        duckdb_destroy_data_chunk(&chunk);
    }
    duckdb_destroy_result(&result);
    duckdb_disconnect(&connection);
    duckdb_close(&database);
    std::printf("%llu\n", rows);
    return 0;
}
