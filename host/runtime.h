/// @file
/// The host's process-wide operations.
#pragma once

#include "host/duckdb_objects.h"
#include "host/string.h"
#include "host/unknown.h"

namespace orkit {

/// Makes the calling thread ready for the host's library. Called first on every execution path; cheap when it
/// has nothing to do. Never throws.
void OrlimbaraInit3();

namespace orsql {

/// Hands the plug-in's root object to the host, which keeps the reference until it unloads the plug-in.
void SetDuckDBExtension(smart_ptr<I_DuckDBExtension> inExtension);
/// The root object, with a new reference; null when there is none.
smart_ptr<I_DuckDBExtension> GetDuckDBExtension();

/// Reads a cursor from where it stands to its end and gives its rows as a JSON text: an array of objects, a
/// member a column. A null cursor gives "null".
String CursorToJSON(smart_ptr<I_DuckDBCursor> inCursor);

} // namespace orsql
} // namespace orkit
