#include "shell/terminal.h"

#include "shell/system.h"

namespace orlimbara::shell {

std::size_t TerminalWidth(int inFile) {
    constexpr std::size_t kUsualWidth = 80;
    return !IsTerminal(inFile) ? 0 : SizeOf(inFile).columns > 0 ? SizeOf(inFile).columns : kUsualWidth;
}

std::size_t TerminalHeight(int inFile) {
    constexpr std::size_t kUsualHeight = 24;
    return !IsTerminal(inFile) ? 0 : SizeOf(inFile).lines > 0 ? SizeOf(inFile).lines : kUsualHeight;
}

bool UsesColor(ColorChoice inChoice, bool inIsTerminal) {
    if (inChoice != ColorChoice::Auto) {
        return inChoice == ColorChoice::Always;
    }
    return inIsTerminal && !IsDumbTerminal() && Environment("NO_COLOR").empty();
}

ErrorStyle StandardErrorStyle(ColorChoice inChoice) {
    const bool isTerminal = IsTerminal(kStandardError);
    return {isTerminal, UsesColor(inChoice, isTerminal), TerminalWidth(kStandardError)};
}

} // namespace orlimbara::shell
