#include "shell/terminal.h"

#include "shell/system.h"

namespace orlimbara::shell {

std::size_t TerminalWidth(int inFile) {
    constexpr std::size_t kUsualWidth = 80;
    if (!IsTerminal(inFile)) {
        return 0;
    }
    const std::size_t columns = ColumnsOf(inFile);
    return columns > 0 ? columns : kUsualWidth;
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
