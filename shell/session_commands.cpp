// The dot commands for help, scripts and leaving.
#include <array>

#include <fmt/format.h>

#include "shell/commands.h"
#include "shell/shell.h"

namespace orlimbara::shell {

namespace {

CommandAnswer Help(Shell& inShell, std::string_view inArguments) {
    const std::vector<std::string> words = TakeWords(inArguments, 0, 1);
    std::string text;
    if (!words.empty()) {
        const std::string_view name = words.front();
        const DotCommand& command = FindCommand(name.substr(name.starts_with('.') ? 1 : 0));
        text = fmt::format("{}\n    {}", UseOf(command), command.help);
    } else {
        for (const DotCommand& command : GetDotCommands()) {
            text += fmt::format("{}{:<38} {}", text.empty() ? "" : "\n", UseOf(command), command.help);
        }
    }
    inShell.get_Answers().Text(text);
    return CommandAnswer::Given;
}

CommandAnswer Print(Shell& inShell, std::string_view inArguments) {
    // The space behind the command's name isn't part of the text; all others are.
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

constexpr auto kRows = std::to_array<DotCommand>({
    {"help", "[COMMAND]", "list the commands, or show one command's use", CompleteCommandNames, Help},
    {"read", "FILE", "run a file of SQL and dot commands", CompleteFiles, Read, command_trait::kOutside},
    {"print", "TEXT", "print TEXT as it is", nullptr, Print},
    {"quit", "", "leave", nullptr, Quit},
    {"exit", "", "leave", nullptr, Quit},
});

} // namespace

std::span<const DotCommand> SessionCommands() { return kRows; }

} // namespace orlimbara::shell
