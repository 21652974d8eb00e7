/// @file
/// The session at a terminal.
#pragma once

#include "shell/shell.h"

namespace orsql {

/// Reads lines with editing, history and completion, and runs what they hold, until the user leaves.
void RunInteractive(Shell& inShell);

} // namespace orsql
