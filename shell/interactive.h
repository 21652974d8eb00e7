/// @file
/// The session at a terminal.
#pragma once

#include "shell/shell.h"

namespace orlimbara::shell {

/// Reads lines with editing, history and completion, and runs what they hold, until the user leaves.
void RunInteractive(Shell& inShell);

} // namespace orlimbara::shell
