#include "shell/commands.h"

#include <algorithm>
#include <array>

#include <fmt/format.h>

#include "shell/command_support.h"
#include "shell/failure.h"
#include "shell/literals.h"
#include "shell/text.h"

namespace orsql {

namespace {

CommandAnswer Help(Shell& inShell, std::string_view inArguments);

CommandAnswer Print(Shell& inShell, std::string_view inArguments) {
    // The blank behind the command's name isn't part of the text; all others are.
    inShell.get_Answers().Text(inArguments.substr(inArguments.empty() ? 0 : 1));
    return CommandAnswer::Given;
}

CommandAnswer Read(Shell& inShell, std::string_view inArguments) {
    inShell.RunFile(TakeWords(inArguments, 1, 1).front());
    return CommandAnswer::Pending;
}

CommandAnswer Quit(Shell& inShell, std::string_view inArguments) {
    TakeWords(inArguments, 0, 0);
    inShell.Leave();
    return CommandAnswer::Pending;
}

constexpr std::array<DotCommand, 24> kCommands = {{
    {"help", "[COMMAND]", "list the commands, or show one command's use", Help},
    {"open", "[--readonly] PATH",
     "close what is open, then open a database; a file that doesn't exist is created", command::Open},
    {"close", "", "close the database", command::Close},
    {"drop", "", "close the database and delete its file", command::Drop},
    {"info", "", "show the database, DuckDB's version and orsql's own", command::Info},
    {"mode", "box|csv|json|jsonl|line|markdown", "choose the form of the output", command::Mode},
    {"cursor", "server|client", "choose the cursor location for queries", command::Cursor},
    {"timer", "on|off", "show the time that each statement takes", command::Timer},
    {"null", "TEXT", "choose what NULL is shown as", command::Null},
    {"maxrows", "N", "choose the rows shown of a table in box mode; 0 shows all", command::MaxRows},
    {"bind", "[VALUE...]", "hold values for the parameters of the next statements; without values, hold none",
     command::Bind},
    {"rows", "FILE.csv", "hold rows of text values; the next statements run once for each row",
     command::Rows},
    {"call", "PROCEDURE [ARG...]", "call a table procedure and show its rows", command::Call},
    {"backup", "[DIR]", "back the database up into a new folder in DIR, or in Backup beside the database",
     command::Backup},
    {"restore", "[--replace] BACKUP_DIR PATH", "make the database PATH from a backup and open it",
     command::Restore},
    {"tables", "[PATTERN]", "list tables and views whose name is like PATTERN", command::Tables},
    {"schema", "[TABLE]", "show the SQL that makes the tables and views", command::Schema},
    {"output", "[FILE]", "send what follows to FILE, or to standard output again", command::Output},
    {"databases", "", "list the databases used in this run and their connections", command::Databases},
    {"procedures", "", "list the table procedures", command::Procedures},
    {"print", "TEXT", "print TEXT as it is", Print},
    {"read", "FILE", "run a file of SQL and dot commands", Read},
    {"quit", "", "leave", Quit},
    {"exit", "", "leave", Quit},
}};

const DotCommand& FindCommand(std::string_view inName) {
    const auto found = std::find_if(kCommands.begin(), kCommands.end(),
                                    [&](const DotCommand& command) { return command.name == inName; });
    if (found == kCommands.end()) {
        throw ShellError(fmt::format("there is no command .{}; .help lists them", inName));
    }
    return *found;
}

std::string UseOf(const DotCommand& inCommand) {
    return fmt::format(".{}{}{}", inCommand.name, inCommand.arguments.empty() ? "" : " ",
                       inCommand.arguments);
}

CommandAnswer Help(Shell& inShell, std::string_view inArguments) {
    const std::vector<std::string> words = TakeWords(inArguments, 0, 1);
    std::string text;
    if (!words.empty()) {
        const std::string_view name = words.front();
        const DotCommand& command = FindCommand(name.substr(name.starts_with('.') ? 1 : 0));
        text = fmt::format("{}\n    {}", UseOf(command), command.help);
    } else {
        for (const DotCommand& command : kCommands) {
            text += fmt::format("{}{:<38} {}", text.empty() ? "" : "\n", UseOf(command), command.help);
        }
    }
    inShell.get_Answers().Text(text);
    return CommandAnswer::Given;
}

} // namespace

std::span<const DotCommand> GetDotCommands() { return kCommands; }

std::vector<std::string> TakeWords(std::string_view inArguments, std::size_t inFewest, std::size_t inMost) {
    std::vector<std::string> words = ParseWords(inArguments);
    if (words.size() < inFewest || words.size() > inMost) {
        throw UsageError(words.size() < inFewest ? "an argument is missing" : "too many arguments");
    }
    return words;
}

CommandAnswer RunDotCommand(Shell& inShell, std::string_view inLine) {
    const auto end = std::find_if(inLine.begin(), inLine.end(), IsBlank);
    const auto length = static_cast<std::size_t>(end - inLine.begin());
    const DotCommand& command = FindCommand(inLine.substr(1, length - 1));
    try {
        return command.run(inShell, inLine.substr(length));
    } catch (const UsageError& error) {
        throw ShellError(fmt::format("{}; use: {}", error.what(), UseOf(command)));
    }
}

} // namespace orsql
