/// @file
/// The DuckDB instance of one procedure call.
#pragma once

#include <string>

#include "duckdb_support/handles.h"
#include "host/procedure_api.h"

namespace orlimbara::procedures {

/// Opens a DuckDB instance of the call's own and connects to it, with no settings. The path goes to DuckDB as
/// it is; an empty one means a private database in memory. Both owners must be empty. Raises
/// std::runtime_error; an owner that was filled by then keeps its handle.
void OpenDatabase(const std::string& database_path, duckdb_support::OwnedDatabase& database,
                  duckdb_support::OwnedConnection& connection);

/// Opens a DuckDB instance as OpenDatabase does, runs the SQL text and gives a cursor over the result, which
/// is the host's. The instance lives as long as the cursor. `limit` is decimal digits, or empty for no limit.
/// Raises std::runtime_error with the message for the user; nothing stays open then.
[[nodiscard]] host_cursor RunProcedureQuery(call_context context, const std::string& database_path,
                                            const std::string& sql, const std::string& limit);

} // namespace orlimbara::procedures
