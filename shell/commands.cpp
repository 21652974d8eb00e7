#include "shell/commands.h"

#include <algorithm>

#include <fmt/format.h>

#include "shell/failure.h"
#include "shell/literals.h"
#include "shell/text.h"

namespace orlimbara::shell {

const std::vector<DotCommand>& GetDotCommands() {
    static const std::vector<DotCommand> commands = [] {
        std::vector<DotCommand> all;
        for (const auto rows : {SessionCommands(), DatabaseCommands(), DataCommands(), SettingsCommands()}) {
            all.insert(all.end(), rows.begin(), rows.end());
        }
        return all;
    }();
    return commands;
}

const DotCommand& FindCommand(std::string_view inName) {
    const std::vector<DotCommand>& commands = GetDotCommands();
    const auto found = std::find_if(commands.begin(), commands.end(),
                                    [&](const DotCommand& command) { return command.name == inName; });
    if (found == commands.end()) {
        throw ShellError(fmt::format("there is no command .{}; .help lists them", inName));
    }
    return *found;
}

std::string UseOf(const DotCommand& inCommand) {
    return fmt::format(".{}{}{}", inCommand.name, inCommand.arguments.empty() ? "" : " ",
                       inCommand.arguments);
}

CommandAnswer RunDotCommand(Shell& inShell, std::string_view inLine) {
    const auto end = std::find_if(inLine.begin(), inLine.end(), IsWhitespace);
    const auto length = static_cast<std::size_t>(end - inLine.begin());
    const DotCommand& command = FindCommand(inLine.substr(1, length - 1));
    try {
        return command.run(inShell, inLine.substr(length));
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
