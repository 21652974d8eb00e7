/// @file
/// Making a database from a backup without risk to an existing one.
#pragma once

#include <string>

namespace orlimbara::shell {

class Answers;
class Session;

/// Makes the database `inPath` from a backup folder and opens it in the session. The new database is made
/// beside its place and moves there when it is complete: a failure or a kill before leaves everything as it
/// was. The log of an old database that can't be opened is kept under another name, which a notice tells. A
/// path that exists is refused with ShellError unless `inReplaces` is set, and always if it isn't a DuckDB
/// file; the module's failures go to the caller.
void RestoreBackup(Session& inSession, Answers& inAnswers, const std::string& inBackup,
                   const std::string& inPath, bool inReplaces);

} // namespace orlimbara::shell
