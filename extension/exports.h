/// @file
/// The module's two exports, and nothing else leaves it.
#pragma once

#include "host/procedure_api.h"

extern "C" {

/// Called first, once: keeps the host's table for all later calls. @param api stays the host's and is good as
/// long as the module is loaded.
void orlimbara_extension_bind_api(const procedure_api* api);

/// Called next, once: makes the root object, hands its only reference to the host, and registers the table
/// procedures. A procedure that the host refuses is reported through the table and stops nothing. Takes no
/// guard; what making the root object throws goes to the host.
///
/// With a DuckDB of another version than the module was built for it does none of this: it makes one
/// `report_error` that names both versions.
void orlimbara_extension_init(call_context context);

} // extern "C"
