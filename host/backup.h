/// @file
/// What the host decides about backups.
#pragma once

#include <optional>

#include "host/location.h"

namespace orkit {

/// The location of folder `inName` inside `inParent`, which is created if it doesn't exist; null if the
/// parent is null. Throws xException if the file system refuses.
smart_ptr<I_Location> PrepareFolder(smart_ptr<I_Location> inParent, const String& inName);

/// The folder that the server's settings name for all backups; nothing if they name none. A value replaces
/// the folder that a caller asked for; it can be null, which means that the configured folder is unusable.
extern std::optional<smart_ptr<I_Location>> (*gServerBackupLocation)();

/// Creates the folder for one new backup inside `inFolder`. Names of later backups sort after those of
/// earlier ones, and no two calls return the same folder. Throws xException if the file system refuses.
extern smart_ptr<I_Location> (*gCreateBackupLocation)(smart_ptr<I_Location> inFolder);

/// The ending of a DuckDB backup's marker file, and its content. Zero-terminated ASCII.
extern const char* const gorDuckDB_backup_sfx;

} // namespace orkit
