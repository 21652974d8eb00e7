/// @file
/// The stand-in host's locations, for tests, the shell and benchmarks.
#pragma once

#include "host/location.h"

namespace orkit::standin {

/// The location of a path, which may be relative to the current directory. The path is resolved now: it has
/// no symbolic links (even dangling ones), "." or "..", so that two spellings of one file give the same text.
/// A component that becomes a symbolic link later isn't noticed. Hard links stay two paths. ":memory:" and
/// texts that begin with "md:" name no file and are unchanged.
/// @param inPath throws xException if it is empty, contains a zero character, or can't be resolved by the
/// file system.
smart_ptr<I_Location> MakeLocation(const String& inPath);

/// The location that `gCreateBackupLocation` last returned in this process; null before the first.
smart_ptr<I_Location> get_LastBackupLocation();

} // namespace orkit::standin
