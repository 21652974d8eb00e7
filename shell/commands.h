/// @file
/// The dot commands: each is one row of a table that help, completion and the documentation tests walk.
///
/// To add a command, write its function and its row in the file of its kind (`*_commands.cpp`).
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "shell/completion.h"

namespace orlimbara::shell {

class Shell;

/// Whether a command has answered, or leaves it to the caller to say that it is done.
enum class CommandAnswer { Given, Pending };

/// Traits of a command, combined with |.
namespace command_trait {
inline constexpr unsigned kWholeName = 1;           ///< an abbreviation isn't accepted
inline constexpr unsigned kOutside = 2;             ///< refused without external access
inline constexpr unsigned kOutsideWithArgument = 4; ///< refused without external access if it has an argument
inline constexpr unsigned kNotInRequests = 8;       ///< refused where standard input is requests
} // namespace command_trait

/// One row of the table of dot commands.
struct DotCommand {
    std::string_view name;      ///< without the dot
    std::string_view arguments; ///< as help shows them
    std::string_view help;
    CompleteArgument complete; ///< completes an argument; null if there is nothing to offer
    /// @param inArguments the rest of the line, with the whitespace around it.
    CommandAnswer (*run)(Shell& inShell, std::string_view inArguments);
    unsigned traits = 0; ///< of command_trait
};

/// The rows of each kind, in the files of the same name.
std::span<const DotCommand> SessionCommands();
std::span<const DotCommand> DatabaseCommands();
std::span<const DotCommand> TableCommands();
std::span<const DotCommand> DataCommands();
std::span<const DotCommand> SettingsCommands();

/// All dot commands, in the order of help.
const std::vector<DotCommand>& GetDotCommands();
/// The commands that a name can mean: the one with that name, else all that begin with it.
std::vector<const DotCommand*> MatchCommands(std::string_view inName);
/// The command with a name or with an unambiguous abbreviation. Throws ShellError if there is none.
const DotCommand& FindCommand(std::string_view inName);
/// How a command is written, such as ".open [--readonly] PATH".
std::string UseOf(const DotCommand& inCommand);

/// Runs a line that begins with a dot. Exceptions of the command pass through.
CommandAnswer RunDotCommand(Shell& inShell, std::string_view inLine);

/// Throws ShellError, which names `inWhat`, if the options deny external access.
void RequireExternalAccess(const Shell& inShell, std::string_view inWhat);
/// The words of a command's arguments. Throws UsageError for fewer than `inFewest` or more than `inMost`.
std::vector<std::string> TakeWords(std::string_view inArguments, std::size_t inFewest, std::size_t inMost);

} // namespace orlimbara::shell
