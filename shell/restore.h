/// @file
/// Making a database from a backup without risk to an existing one.
#pragma once

#include <string>

#include "shell/session.h"

namespace orlimbara::shell {

/// Makes the database `inPath` from a backup folder and opens it in the session. The new database is made
/// beside its place and moves there when it is complete: whatever fails before leaves everything as it was.
/// A path that exists is refused with ShellError unless `inReplaces` is set, and always if it isn't a DuckDB
/// file; the module's failures go to the caller.
void RestoreBackup(Session& inSession, const std::string& inBackup, const std::string& inPath,
                   bool inReplaces);

} // namespace orlimbara::shell
