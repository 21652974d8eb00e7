/// @file
/// The session at a terminal.
#pragma once

namespace orlimbara::shell {

class Shell;

/// Reads lines with editing, history and completion, and runs them until the user leaves.
void RunInteractive(Shell& inShell);

} // namespace orlimbara::shell
