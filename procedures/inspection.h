/// @file
/// The procedures that tell about a Parquet file without fetching its rows.
#pragma once

#include "host/procedure_api.h"

namespace orlimbara::procedures {

/// A `procedure_callback`. Argument: `uri`. One row per column of the file; the cursor owes nothing to
/// DuckDB.
host_cursor parquet_schema(call_context context, const host_value* arguments) noexcept;

/// A `procedure_callback`. Argument: `uri`. The rows of DuckDB's function of the same name.
host_cursor parquet_metadata(call_context context, const host_value* arguments) noexcept;

/// A `procedure_callback`. Arguments: `uri`, and if wanted `where`. One row with one column, "count".
host_cursor parquet_count(call_context context, const host_value* arguments) noexcept;

} // namespace orlimbara::procedures
