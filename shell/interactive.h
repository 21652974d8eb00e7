/// @file
/// The session at a terminal.
#pragma once

namespace orlimbara::shell {

class Shell;

/// Reads lines with editing, history and completion, and runs what they hold, until the user leaves.
void RunInteractive(Shell& inShell);

} // namespace orlimbara::shell
