/// @file
/// The procedure `fetch_duckdb`: the rows of a table or view of a DuckDB database file.
#pragma once

#include "host/procedure_api.h"

namespace orlimbara::procedures {

/// A `procedure_callback`. Arguments: `uri`, `table_or_view`, and if wanted `limit`.
host_cursor fetch_duckdb(call_context context, const host_value* arguments) noexcept;

} // namespace orlimbara::procedures
