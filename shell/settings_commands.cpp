// The dot commands that change a setting.
#include <algorithm>
#include <array>
#include <charconv>

#include <fmt/format.h>

#include "shell/commands.h"
#include "shell/failure.h"
#include "shell/shell.h"

namespace orlimbara::shell {

namespace {

/// The place of the one word of the arguments in a list of words. Another word throws UsageError with
/// `inWhat`.
template <std::size_t Count>
std::size_t TakeChoice(std::string_view inArguments, const std::array<std::string_view, Count>& inChoices,
                       fmt::format_string<const std::string&> inWhat) {
    const std::string word = TakeWords(inArguments, 1, 1).front();
    const auto found = std::find(inChoices.begin(), inChoices.end(), word);
    if (found == inChoices.end()) {
        throw UsageError(fmt::format(inWhat, word));
    }
    return static_cast<std::size_t>(found - inChoices.begin());
}

CommandAnswer SetMode(Shell& inShell, std::string_view inArguments) {
    inShell.get_Answers().put_Mode(
        static_cast<Mode>(TakeChoice(inArguments, kModeNames, "there is no mode {}")));
    return CommandAnswer::Pending;
}

CommandAnswer Cursor(Shell& inShell, std::string_view inArguments) {
    inShell.get_Options().cursor =
        static_cast<CursorLocation>(TakeChoice(inArguments, kCursorNames, "{} is no cursor location"));
    return CommandAnswer::Pending;
}

CommandAnswer Timer(Shell& inShell, std::string_view inArguments) {
    inShell.get_Options().showsTimer = TakeChoice(inArguments, kSwitches, "{} is neither on nor off") == 1;
    return CommandAnswer::Pending;
}

CommandAnswer Null(Shell& inShell, std::string_view inArguments) {
    inShell.get_Answers().get_Settings().nullText = TakeWords(inArguments, 1, 1).front();
    return CommandAnswer::Pending;
}

CommandAnswer MaxRows(Shell& inShell, std::string_view inArguments) {
    const std::string word = TakeWords(inArguments, 1, 1).front();
    std::uint64_t count = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), count);
    if (error != std::errc() || end != word.data() + word.size()) {
        throw UsageError(fmt::format("{} is no number of rows", word));
    }
    inShell.get_Answers().get_Settings().maxRows = count;
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

constexpr auto kRows = std::to_array<DotCommand>({
    {"mode", "box|csv|json|jsonl|line|markdown", "choose the form of the output", CompleteWords<kModeNames>,
     SetMode},
    {"cursor", "server|client", "choose the cursor location for queries", CompleteWords<kCursorNames>,
     Cursor},
    {"timer", "on|off", "show the time that each statement takes", CompleteWords<kSwitches>, Timer},
    {"null", "TEXT", "choose what NULL is shown as", nullptr, Null},
    {"maxrows", "N", "choose the rows shown of a table in box mode; 0 shows all", nullptr, MaxRows},
    {"output", "[FILE]", "send what follows to FILE, or to standard output again", CompleteFiles, SendOutput},
});

} // namespace

std::span<const DotCommand> SettingsCommands() { return kRows; }

} // namespace orlimbara::shell
