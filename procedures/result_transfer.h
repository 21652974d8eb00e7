/// @file
/// Runs an SQL text so that each column arrives in one of the runtime types: first a probe that reads no rows
/// and tells names and types, then the query itself with one projection per column.
///
/// Failures raise std::runtime_error with the message for the user.
#pragma once

#include <duckdb.h>

#include <string>
#include <string_view>
#include <vector>

#include "procedures/procedure_result.h"

namespace orlimbara::procedures {

/// One SELECT item: the column alone, or cast to its runtime type under its own name.
[[nodiscard]] std::string ColumnProjection(std::string_view column_name, duckdb_type type);

/// The query itself: one projection per column over `sql` as a subquery, and the limit, if its text isn't
/// empty.
[[nodiscard]] std::string BuildProjectionSelect(std::string_view sql,
                                                const std::vector<ProcedureColumn>& columns,
                                                std::string_view limit);

/// DuckDB's message of a failed result, else "DuckDB query failed."
[[nodiscard]] std::string ResultErrorText(duckdb_result* result);

/// Runs `sql` on the connection of `result` and fills result, columns, chunk starts, row count and
/// descriptor. `limit` is decimal digits, or empty for no limit. The whole result is in memory afterwards.
void OpenProcedureResult(ProcedureResult& result, std::string_view sql, std::string_view limit);

/// Learns the size of each chunk: chunk starts and row count. Keeps no chunk.
void IndexChunks(ProcedureResult& result);

} // namespace orlimbara::procedures
