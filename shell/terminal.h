/// @file
/// What the terminals at the standard streams can do.
#pragma once

#include <cstddef>

#include "shell/failure.h"
#include "shell/options.h"

namespace orsql {

/// Columns of the terminal at a file; 0 if it is none, 80 if it doesn't say.
std::size_t TerminalWidth(int inFile);
/// Whether to write in colour to a file.
bool UsesColor(ColorChoice inChoice, bool inIsTerminal);
/// How failures are shown on standard error.
ErrorStyle StandardErrorStyle(ColorChoice inChoice);

} // namespace orsql
