/// @file
/// What the files of dot commands share.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "shell/commands.h"
#include "shell/shell.h"

namespace orsql {

/// The words of the arguments. Another number of them than `inFewest` to `inMost` raises ShellError.
std::vector<std::string> TakeWords(std::string_view inArguments, std::size_t inFewest, std::size_t inMost);

/// The commands, by their names; the table in commands.cpp has their use.
namespace command {

CommandAnswer Open(Shell& inShell, std::string_view inArguments);
CommandAnswer Close(Shell& inShell, std::string_view inArguments);
CommandAnswer Drop(Shell& inShell, std::string_view inArguments);
CommandAnswer Info(Shell& inShell, std::string_view inArguments);
CommandAnswer Backup(Shell& inShell, std::string_view inArguments);
CommandAnswer Restore(Shell& inShell, std::string_view inArguments);
CommandAnswer Databases(Shell& inShell, std::string_view inArguments);

CommandAnswer Mode(Shell& inShell, std::string_view inArguments);
CommandAnswer Cursor(Shell& inShell, std::string_view inArguments);
CommandAnswer Timer(Shell& inShell, std::string_view inArguments);
CommandAnswer Null(Shell& inShell, std::string_view inArguments);
CommandAnswer MaxRows(Shell& inShell, std::string_view inArguments);
CommandAnswer Output(Shell& inShell, std::string_view inArguments);

CommandAnswer Bind(Shell& inShell, std::string_view inArguments);
CommandAnswer Rows(Shell& inShell, std::string_view inArguments);
CommandAnswer Call(Shell& inShell, std::string_view inArguments);
CommandAnswer Tables(Shell& inShell, std::string_view inArguments);
CommandAnswer Schema(Shell& inShell, std::string_view inArguments);
CommandAnswer Procedures(Shell& inShell, std::string_view inArguments);

} // namespace command
} // namespace orsql
