/* A DuckDB of another version: nothing of it is there but its name and its version. */
const char* duckdb_library_version(void);

const char* duckdb_library_version(void) { return "v1.4.9"; }
