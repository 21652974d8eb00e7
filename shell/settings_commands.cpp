// The dot commands that change a setting. Without an argument they show it.
#include <algorithm>
#include <array>
#include <charconv>
#include <optional>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "shell/commands.h"
#include "shell/failure.h"
#include "shell/literals.h"
#include "shell/pager.h"
#include "shell/shell.h"
#include "shell/text.h"

namespace orlimbara::shell {

namespace {

CommandAnswer Tell(Shell& inShell, std::string_view inSetting) {
    inShell.get_Answers().Text(inSetting);
    return CommandAnswer::Given;
}

/// The only word of the arguments, if there is one.
std::optional<std::string> TakeSetting(std::string_view inArguments) {
    std::vector<std::string> words = TakeWords(inArguments, 0, 1);
    return words.empty() ? std::nullopt : std::optional(std::move(words.front()));
}

/// Shows a setting that is one of `inChoices`, or sets it. Another word throws UsageError with `inWhat`.
template <class Choices, class Choice>
CommandAnswer Choose(Shell& inShell, std::string_view inArguments, const Choices& inChoices,
                     Choice& ioSetting, fmt::format_string<const std::string&> inWhat) {
    const std::optional<std::string> word = TakeSetting(inArguments);
    if (!word) {
        return Tell(inShell, inChoices[static_cast<std::size_t>(ioSetting)]);
    }
    const auto found = std::find(inChoices.begin(), inChoices.end(), *word);
    if (found == inChoices.end()) {
        throw UsageError(fmt::format(inWhat, *word));
    }
    ioSetting = static_cast<Choice>(found - inChoices.begin());
    return CommandAnswer::Pending;
}

CommandAnswer SetMode(Shell& inShell, std::string_view inArguments) {
    Mode mode = inShell.get_Answers().get_Mode();
    const CommandAnswer answer = Choose(inShell, inArguments, kModeNames, mode, "there is no mode {}");
    inShell.get_Answers().put_Mode(mode);
    return answer;
}

CommandAnswer Cursor(Shell& inShell, std::string_view inArguments) {
    return Choose(inShell, inArguments, kCursorNames, inShell.get_Options().cursor,
                  "{} is no cursor location");
}

CommandAnswer Timer(Shell& inShell, std::string_view inArguments) {
    return Choose(inShell, inArguments, kSwitches, inShell.get_Options().showsTimer,
                  "{} is neither on nor off");
}

CommandAnswer Progress(Shell& inShell, std::string_view inArguments) {
    return Choose(inShell, inArguments, kSwitches, inShell.get_Options().showsProgress,
                  "{} is neither on nor off");
}

CommandAnswer Null(Shell& inShell, std::string_view inArguments) {
    std::optional<std::string>& setting = inShell.get_Answers().get_Settings().nullText;
    if (auto word = TakeSetting(inArguments)) {
        setting = std::move(word);
        return CommandAnswer::Pending;
    }
    return Tell(inShell, setting.value_or("the mode's own"));
}

std::uint64_t TakeNumber(const std::string& inWord, std::string_view inWhat) {
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(inWord.data(), inWord.data() + inWord.size(), number);
    if (error != std::errc() || end != inWord.data() + inWord.size()) {
        throw UsageError(fmt::format("{} is no number of {}", inWord, inWhat));
    }
    return number;
}

CommandAnswer MaxRows(Shell& inShell, std::string_view inArguments) {
    std::uint64_t& setting = inShell.get_Answers().get_Settings().maxRows;
    const std::optional<std::string> word = TakeSetting(inArguments);
    if (!word) {
        return Tell(inShell, std::to_string(setting));
    }
    setting = TakeNumber(*word, "rows");
    return CommandAnswer::Pending;
}

CommandAnswer MaxWidth(Shell& inShell, std::string_view inArguments) {
    std::optional<std::size_t>& setting = inShell.get_Answers().get_Settings().maxWidth;
    const std::optional<std::string> word = TakeSetting(inArguments);
    if (!word) {
        return Tell(inShell, setting ? std::to_string(*setting) : "the terminal's own");
    }
    setting = TakeNumber(*word, "columns");
    return CommandAnswer::Pending;
}

CommandAnswer ChoosePager(Shell& inShell, std::string_view inArguments) {
    Answers& answers = inShell.get_Answers();
    const std::vector<std::string> words = ParseWords(inArguments);
    if (words.empty()) {
        const std::string& pager = answers.get_Pager();
        return Tell(inShell, pager.empty() ? "off" : "on: " + pager);
    }
    const std::string command = fmt::format("{}", fmt::join(words, " "));
    if (Trim(command).empty()) {
        throw UsageError("the command is empty");
    }
    if (command == "off") {
        answers.put_Pager("");
    } else if (command == "on") {
        answers.put_Pager(UsualPager());
    } else {
        RequireExternalAccess(inShell, ".pager");
        answers.put_Pager(command);
    }
    return CommandAnswer::Pending;
}

CommandAnswer Prompt(Shell& inShell, std::string_view inArguments) {
    inShell.get_Options().prompt = TakeSetting(inArguments).value_or("");
    return CommandAnswer::Pending;
}

CommandAnswer SendOutput(Shell& inShell, std::string_view inArguments) {
    const std::vector<std::string> words = TakeWords(inArguments, 0, 1);
    if (words.empty()) {
        inShell.get_Answers().RedirectBack();
    } else {
        inShell.get_Answers().Redirect(words.front());
    }
    return CommandAnswer::Pending;
}

CommandAnswer SendOnce(Shell& inShell, std::string_view inArguments) {
    inShell.get_Answers().RedirectOnce(TakeWords(inArguments, 1, 1).front());
    return CommandAnswer::Pending;
}

constexpr auto kRows = std::to_array<DotCommand>({
    {"mode", "[box|csv|json|jsonl|line|markdown]", "choose the form of the output", CompleteWords<kModeNames>,
     SetMode, command_trait::kNotInRequests},
    {"cursor", "[server|client]", "choose the cursor location for queries", CompleteWords<kCursorNames>,
     Cursor},
    {"timer", "[on|off]", "show the time that each statement and command takes", CompleteWords<kSwitches>,
     Timer},
    {"progress", "[on|off]", "draw a line of progress on a terminal while a long statement runs",
     CompleteWords<kSwitches>, Progress},
    {"null", "[TEXT]", "choose what NULL is shown as", nullptr, Null},
    {"maxrows", "[N]", "choose the rows shown of a table in box mode; 0 shows all", nullptr, MaxRows},
    {"prompt", "[TEXT]", "show TEXT in the prompt, or the database's name again", nullptr, Prompt},
    {"pager", "[on|off|COMMAND]",
     "show output that is longer than the screen with COMMAND; on is $PAGER, or less",
     CompleteWords<kSwitches>, ChoosePager, command_trait::kNotInRequests},
    {"maxwidth", "[N]", "choose the columns of text that a box may take; 0 is no limit", nullptr, MaxWidth},
    {"output", "[FILE]", "send what follows to FILE, or to standard output again", CompleteFiles, SendOutput,
     command_trait::kOutsideWithArgument | command_trait::kNotInRequests},
    {"once", "FILE", "send the output of the next statement or command to FILE", CompleteFiles, SendOnce,
     command_trait::kOutside | command_trait::kNotInRequests},
});

} // namespace

std::span<const DotCommand> SettingsCommands() { return kRows; }

} // namespace orlimbara::shell
