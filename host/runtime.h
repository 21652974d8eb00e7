/// @file
/// The host's process-wide operations.
#pragma once

#include "host/duckdb_objects.h"
#include "host/string.h"
#include "host/unknown.h"

namespace orkit {

/// Prepares the calling thread for the host's library. Called first on every execution path; cheap if there
/// is nothing to do. Never throws.
void OrlimbaraInit3();

namespace orsql {

/// Hands the plug-in's root object to the host, which keeps the reference until it unloads the plug-in.
void SetDuckDBExtension(smart_ptr<I_DuckDBExtension> inExtension);
/// The root object, with a new reference; null when there is none.
smart_ptr<I_DuckDBExtension> GetDuckDBExtension();

/// Reads a cursor from its position to its end. @return its rows as a JSON text: an array of objects, with
/// one member per column; "null" for a null cursor.
String CursorToJSON(smart_ptr<I_DuckDBCursor> inCursor);

} // namespace orsql
} // namespace orkit
