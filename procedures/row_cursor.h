/// @file
/// Cursors of rows that are made beforehand.
#pragma once

#include <string>
#include <vector>

#include "host/procedure_api.h"

namespace orlimbara::procedures {

/// Gives a cursor of rows, each with one value per name; the cursor is the host's. The values pass to the
/// host, also when it refuses: then this raises std::runtime_error.
[[nodiscard]] host_cursor MakeRowCursor(call_context context, const std::vector<std::string>& names,
                                        const std::vector<std::vector<host_value>>& rows);

} // namespace orlimbara::procedures
