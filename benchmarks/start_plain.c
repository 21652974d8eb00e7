/* What a start of the shell is compared with: opens a database in memory, runs SELECT 1, prints it. */
#include <duckdb.h>
#include <stdio.h>

int main(void) {
    duckdb_database database;
    duckdb_connection connection;
    duckdb_result result;
    char* text;
    if (duckdb_open(":memory:", &database) != DuckDBSuccess ||
        duckdb_connect(database, &connection) != DuckDBSuccess ||
        duckdb_query(connection, "SELECT 1", &result) != DuckDBSuccess) {
        return 1;
    }
    text = duckdb_value_varchar(&result, 0, 0);
    puts(text);
    duckdb_free(text);
    duckdb_destroy_result(&result);
    duckdb_disconnect(&connection);
    duckdb_close(&database);
    return 0;
}
