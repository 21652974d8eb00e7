/// @file
/// The procedure `fetch_parquet`: the rows of a Parquet file.
#pragma once

#include <string>

#include "host/procedure_api.h"

namespace orlimbara::procedures {

/// The SELECT over the file, from the arguments `uri`, `columns` and `where`. Raises std::runtime_error with
/// the message for the user; with several faults, that of the first argument at fault.
[[nodiscard]] std::string BuildParquetSelect(call_context context, const host_value* arguments);

/// A `procedure_callback`. Arguments: `uri`, and if wanted `columns`, `where`, `limit`.
host_cursor fetch_parquet(call_context context, const host_value* arguments) noexcept;

} // namespace orlimbara::procedures
