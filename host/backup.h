/// @file
/// What the host decides about backups.
#pragma once

#include <optional>

#include "host/location.h"

namespace orkit {

/// The place of folder `inName` inside `inParent`, which is made if it isn't there; null where the parent is
/// null. Throws xException where the file system refuses.
smart_ptr<I_Location> PrepareFolder(smart_ptr<I_Location> inParent, const String& inName);

/// The folder that the server's settings name for all backups: nothing where they don't say, else a value
/// that takes the place of what a caller asked for, and that can be null where the folder is unusable.
extern std::optional<smart_ptr<I_Location>> (*gServerBackupLocation)();

/// Makes the folder for one new backup inside `inFolder`. Names of later backups sort behind those of earlier
/// ones, and two calls never give the same. Throws xException where the file system refuses.
extern smart_ptr<I_Location> (*gCreateBackupLocation)(smart_ptr<I_Location> inFolder);

/// The ending of a DuckDB backup's marker file, and its content. Zero-terminated ASCII.
extern const char* const gorDuckDB_backup_sfx;

} // namespace orkit
