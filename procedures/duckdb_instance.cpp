#include "procedures/duckdb_instance.h"

#include <stdexcept>

namespace orlimbara::procedures {

DuckDBInstance::DuckDBInstance(const std::string& path) {
    const bool is_in_memory = path.empty();
    if (duckdb_open(is_in_memory ? nullptr : path.c_str(), database_.Put()) != DuckDBSuccess) {
        throw std::runtime_error(is_in_memory ? "Unable to open in-memory DuckDB database."
                                              : "Unable to open DuckDB database.");
    }
    if (duckdb_connect(database_.Get(), connection_.Put()) != DuckDBSuccess) {
        throw std::runtime_error(is_in_memory ? "Unable to connect to in-memory DuckDB database."
                                              : "Unable to connect to DuckDB database.");
    }
}

duckdb_support::OwnedResult DuckDBInstance::Query(const std::string& sql) const {
    duckdb_support::OwnedResult result;
    if (duckdb_query(connection_.Get(), sql.c_str(), result.Put()) != DuckDBSuccess) {
        const char* text = duckdb_result_error(result.Get());
        throw std::runtime_error(text != nullptr ? text : "DuckDB query failed.");
    }
    return result;
}

} // namespace orlimbara::procedures
