/// @file
/// The properties of the terminals at the standard streams.
#pragma once

#include <cstddef>

#include "shell/failure.h"
#include "shell/options.h"

namespace orlimbara::shell {

/// The columns of a terminal: 0 if the file isn't one, 80 if unknown.
std::size_t TerminalWidth(int inFile);
/// The lines of a terminal: 0 if the file is none, 24 if it doesn't tell.
std::size_t TerminalHeight(int inFile);
/// Whether to write in colour to a file.
bool UsesColor(ColorChoice inChoice, bool inIsTerminal);
/// How failures are shown on standard error.
ErrorStyle StandardErrorStyle(ColorChoice inChoice);

} // namespace orlimbara::shell
