#include <charconv>

#include <fmt/format.h>

#include "shell/command_support.h"
#include "shell/failure.h"

namespace orsql::command {

CommandAnswer Mode(Shell& inShell, std::string_view inArguments) {
    const std::string word = TakeWords(inArguments, 1, 1).front();
    const auto mode = FindMode(word);
    if (!mode) {
        throw UsageError(fmt::format("there is no mode {}", word));
    }
    inShell.get_Answers().put_Mode(*mode);
    return CommandAnswer::Pending;
}

CommandAnswer Cursor(Shell& inShell, std::string_view inArguments) {
    const std::string word = TakeWords(inArguments, 1, 1).front();
    if (word != "server" && word != "client") {
        throw UsageError(fmt::format("{} is no cursor location", word));
    }
    inShell.get_Options().cursor = word == "client" ? CursorLocation::Client : CursorLocation::Server;
    return CommandAnswer::Pending;
}

CommandAnswer Timer(Shell& inShell, std::string_view inArguments) {
    const std::string word = TakeWords(inArguments, 1, 1).front();
    if (word != "on" && word != "off") {
        throw UsageError(fmt::format("{} is neither on nor off", word));
    }
    inShell.get_Options().showsTimer = word == "on";
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

CommandAnswer Output(Shell& inShell, std::string_view inArguments) {
    const std::vector<std::string> words = TakeWords(inArguments, 0, 1);
    if (words.empty()) {
        inShell.get_Answers().RedirectBack();
    } else {
        inShell.get_Answers().Redirect(words.front());
    }
    return CommandAnswer::Pending;
}

} // namespace orsql::command
