/// @file
/// Restoring a database from a backup without risk to an existing one.
#pragma once

#include <string>

namespace orlimbara::shell {

class Answers;
class Session;

/// Creates the database `inPath` from a backup folder and opens it in the session. The new database is
/// created under another name and moved to its place when it is complete: a failure or a kill before that
/// changes nothing. The log of an old database that can't be opened is kept under another name, which a
/// notice gives. Throws ShellError for a path that exists, unless `inReplaces` is set and it is a DuckDB
/// file. The module's exceptions pass through.
void RestoreBackup(Session& inSession, Answers& inAnswers, const std::string& inBackup,
                   const std::string& inPath, bool inReplaces);

} // namespace orlimbara::shell
