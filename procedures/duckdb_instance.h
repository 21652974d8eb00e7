/// @file
/// The DuckDB instance of one procedure call.
#pragma once

#include <stdexcept>
#include <string>

#include "duckdb_support/handles.h"

namespace orlimbara::procedures {

/// A private DuckDB instance and one connection to it, without settings. Both close with the object. Failures
/// throw std::runtime_error with the message for the user.
class DuckDBInstance {
public:
    /// Opens and connects. The path goes to DuckDB unchanged; an empty one means a private database in
    /// memory.
    explicit DuckDBInstance(const std::string& path) {
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

    /// Runs one SQL text; throws DuckDB's own message when it fails.
    [[nodiscard]] duckdb_support::OwnedResult Query(const std::string& sql) const {
        duckdb_support::OwnedResult result;
        if (duckdb_query(connection_.Get(), sql.c_str(), result.Put()) != DuckDBSuccess) {
            const char* text = duckdb_result_error(result.Get());
            throw std::runtime_error(text != nullptr ? text : "DuckDB query failed.");
        }
        return result;
    }

    [[nodiscard]] duckdb_connection Connection() const noexcept { return connection_.Get(); }

private:
    duckdb_support::OwnedDatabase database_;
    duckdb_support::OwnedConnection connection_; // closes before the database
};

} // namespace orlimbara::procedures
