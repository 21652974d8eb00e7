/// @file
/// The stand-in host's locations, for tests, the shell and benchmarks.
#pragma once

#include "host/location.h"

namespace orkit::standin {

/// The location of a path, which may be relative to the current directory. The path is resolved now: symbolic
/// links, also dangling ones, "." and ".." are gone from it, so that two spellings of one file give the same
/// text. What becomes a symbolic link later isn't seen. Hard links stay two paths.
/// ":memory:" and texts that begin with "md:" name no file and stay as they are.
/// @param inPath an empty text, one with a zero character, and a path that the file system won't let be
/// resolved throw xException.
smart_ptr<I_Location> MakeLocation(const String& inPath);

/// The location that `gCreateBackupLocation` last gave in this process; null before the first.
smart_ptr<I_Location> get_LastBackupLocation();

} // namespace orkit::standin
