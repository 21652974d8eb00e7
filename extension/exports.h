/// @file
/// The module's two exports, its only ones.
#pragma once

#include "host/procedure_api.h"

extern "C" {

/// Called first, once: keeps the host's table for all later calls. @param api owned by the host; valid as
/// long as the module is loaded.
void orlimbara_extension_bind_api(const procedure_api* api);

/// Called next, once: creates the root object, hands its only reference to the host, and registers the table
/// procedures. A procedure that the host refuses is reported through the table; the others are still
/// registered. Takes no guard. An exception while the root object is created goes to the host.
///
/// If DuckDB has another version than the module was built for, it does none of this and calls `report_error`
/// once, with both versions.
void orlimbara_extension_init(call_context context);

} // extern "C"
