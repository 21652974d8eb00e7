/// @file
/// The dot commands.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace orsql {

class Shell;

/// Whether a command has given its answer, or leaves it to the caller to say that it is done.
enum class CommandAnswer { Given, Pending };

/// One row of the table of dot commands.
struct DotCommand {
    std::string_view name;      ///< without the dot
    std::string_view arguments; ///< as help shows them
    std::string_view help;
    /// @param inArguments the rest of the line, blanks around it included.
    CommandAnswer (*run)(Shell& inShell, std::string_view inArguments);
};

/// All dot commands, in the order that help lists them.
std::span<const DotCommand> GetDotCommands();

/// Runs a line that begins with a dot. Failures go to the caller.
CommandAnswer RunDotCommand(Shell& inShell, std::string_view inLine);

} // namespace orsql
