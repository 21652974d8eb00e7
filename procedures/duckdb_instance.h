/// @file
/// The DuckDB instance of one procedure call.
#pragma once

#include <string>

#include "duckdb_support/handles.h"

namespace orlimbara::procedures {

/// A DuckDB instance of the call's own and one connection to it, with no settings. Both close with the
/// object. Failures throw std::runtime_error with the message for the user.
class DuckDBInstance {
public:
    /// Opens and connects. The path goes to DuckDB as it is; an empty one means a private database in memory.
    explicit DuckDBInstance(const std::string& path);

    /// Runs one SQL text; throws DuckDB's own message when it fails.
    [[nodiscard]] duckdb_support::OwnedResult Query(const std::string& sql) const;

    [[nodiscard]] duckdb_connection Connection() const noexcept { return connection_.Get(); }

private:
    duckdb_support::OwnedDatabase database_;
    duckdb_support::OwnedConnection connection_; // closes before the database
};

} // namespace orlimbara::procedures
