/// @file
/// The table through which the database objects of one path share a DuckDB instance.
#pragma once

#include <cstdint>
#include <map>
#include <memory>

#include "duckdb_support/handles.h"
#include "host/string.h"

namespace orkit::orsql {

using DatabaseCell = orlimbara::duckdb_support::DatabaseCell;
using ConnectionCell = orlimbara::duckdb_support::ConnectionCell;

/// What the database objects of one path share.
struct SharedDatabaseEntry {
    std::shared_ptr<DatabaseCell> mHandle; ///< what new objects on the path join; null if there is none
    std::uint32_t mConnectionCount = 0;    ///< objects on the path that hold a connection
};

/// One row per path that was ever used, never removed. Read-only handles aren't entered. Accessed only under
/// the guard. When the module is unloaded, it drops its references and closes no handle.
extern std::map<String, SharedDatabaseEntry> gSharedDatabases;

} // namespace orkit::orsql
