/// @file
/// What can stand where the cursor stands: dot commands and their words, SQL's words, names, files.
#pragma once

#include <string_view>

#include "shell/line_editor.h"
#include "shell/session.h"

namespace orsql {

/// @param inBefore the line up to the cursor. Names of tables and columns come from the open database, if it
/// answers.
Completions Complete(Session& inSession, std::string_view inBefore);

} // namespace orsql
