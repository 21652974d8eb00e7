#include "shell/terminal.h"

#include <cstdlib>
#include <string_view>

#include <sys/ioctl.h>
#include <unistd.h>

namespace orlimbara::shell {

std::size_t TerminalWidth(int inFile) {
    constexpr std::size_t kUsualWidth = 80;
    if (isatty(inFile) != 1) {
        return 0;
    }
    winsize size = {};
    return ioctl(inFile, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : kUsualWidth;
}

bool IsDumbTerminal() {
    const char* const term = std::getenv("TERM");
    return term && std::string_view(term) == "dumb";
}

bool UsesColor(ColorChoice inChoice, bool inIsTerminal) {
    if (inChoice != ColorChoice::Auto) {
        return inChoice == ColorChoice::Always;
    }
    const char* const noColor = std::getenv("NO_COLOR");
    return inIsTerminal && !IsDumbTerminal() && (!noColor || !*noColor);
}

ErrorStyle StandardErrorStyle(ColorChoice inChoice) {
    const bool isTerminal = isatty(STDERR_FILENO) == 1;
    return {isTerminal, UsesColor(inChoice, isTerminal), TerminalWidth(STDERR_FILENO)};
}

} // namespace orlimbara::shell
