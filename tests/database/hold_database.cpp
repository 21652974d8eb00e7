// hold_database PATH READ_ONLY|READ_WRITE: opens a database, prints "ready" (or "refused"), and holds it
// until nobody reads its standard output any more.

#include <cstdio>

#include <duckdb.h>
#include <poll.h>

int main(int inCount, char** inArguments) {
    if (inCount != 3) {
        return 2;
    }
    duckdb_config config = nullptr;
    duckdb_database database = nullptr;
    duckdb_create_config(&config);
    duckdb_set_config(config, "access_mode", inArguments[2]);
    const bool isOpen = duckdb_open_ext(inArguments[1], &database, config, nullptr) == DuckDBSuccess;
    std::puts(isOpen ? "ready" : "refused");
    std::fflush(stdout);
    pollfd output = {1, 0, 0};
    ::poll(&output, 1, -1);
    duckdb_close(&database);
    duckdb_destroy_config(&config);
}
