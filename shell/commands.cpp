#include "shell/commands.h"

#include <algorithm>

#include <fmt/format.h>

#include "shell/failure.h"
#include "shell/literals.h"
#include "shell/shell.h"
#include "shell/text.h"

namespace orlimbara::shell {

const std::vector<DotCommand>& GetDotCommands() {
    static const std::vector<DotCommand> commands = [] {
        std::vector<DotCommand> all;
        for (const auto rows :
             {SessionCommands(), DatabaseCommands(), TableCommands(), DataCommands(), SettingsCommands()}) {
            all.insert(all.end(), rows.begin(), rows.end());
        }
        return all;
    }();
    return commands;
}

std::vector<const DotCommand*> MatchCommands(std::string_view inName) {
    std::vector<const DotCommand*> matches;
    for (const DotCommand& command : GetDotCommands()) {
        if (command.name == inName) {
            return {&command};
        }
        if (!inName.empty() && command.name.starts_with(inName) &&
            (command.traits & command_trait::kWholeName) == 0) {
            matches.push_back(&command);
        }
    }
    return matches;
}

const DotCommand& FindCommand(std::string_view inName) {
    const std::vector<const DotCommand*> matches = MatchCommands(inName);
    if (matches.empty()) {
        throw ShellError(fmt::format("there is no command .{}; .help lists them", inName));
    }
    if (matches.size() > 1) {
        std::string names;
        for (const DotCommand* const command : matches) {
            names += fmt::format("{}.{}", names.empty() ? "" : ", ", command->name);
        }
        throw ShellError(fmt::format(".{} is ambiguous: {}", inName, names));
    }
    return *matches.front();
}

std::string UseOf(const DotCommand& inCommand) {
    return fmt::format(".{}{}{}", inCommand.name, inCommand.arguments.empty() ? "" : " ",
                       inCommand.arguments);
}

void RequireExternalAccess(const Shell& inShell, std::string_view inWhat) {
    if (!inShell.get_Options().hasExternalAccess) {
        throw ShellError(fmt::format("{} is refused: orsql runs with --no-external-access", inWhat));
    }
}

CommandAnswer RunDotCommand(Shell& inShell, std::string_view inLine) {
    const auto end = std::find_if(inLine.begin(), inLine.end(), IsWhitespace);
    const auto length = static_cast<std::size_t>(end - inLine.begin());
    const DotCommand& command = FindCommand(inLine.substr(1, length - 1));
    const std::string_view arguments = inLine.substr(length);
    const bool hasArgument = !Trim(arguments).empty();
    if ((command.traits & command_trait::kOutside) != 0 ||
        (hasArgument && (command.traits & command_trait::kOutsideWithArgument) != 0)) {
        RequireExternalAccess(inShell, fmt::format(".{}", command.name));
    }
    if ((command.traits & command_trait::kNotInRequests) != 0 &&
        inShell.get_Options().input == InputForm::Jsonl) {
        throw ShellError(fmt::format(".{} is refused with --input jsonl", command.name));
    }
    try {
        return command.run(inShell, arguments);
    } catch (const UsageError& error) {
        throw ShellError(fmt::format("{}; use: {}", error.what(), UseOf(command)));
    }
}

std::vector<std::string> TakeWords(std::string_view inArguments, std::size_t inFewest, std::size_t inMost) {
    std::vector<std::string> words = ParseWords(inArguments);
    if (words.size() < inFewest || words.size() > inMost) {
        throw UsageError(words.size() < inFewest ? "an argument is missing" : "too many arguments");
    }
    return words;
}

} // namespace orlimbara::shell
