// Reading lines at a console, which has its own editing and history. There is no completion.
#include <array>
#include <chrono>
#include <thread>
#include <utility>

#include "shell/interrupts.h"
#include "shell/line_editor.h"
#include "shell/system.h"

namespace orlimbara::shell {

struct LineEditor::Imp {};

LineEditor::LineEditor(Completer) {}

LineEditor::~LineEditor() = default;

LineEditor::Answer LineEditor::Read(const std::string& inPrompt, std::string& outLine) {
    const ActivityScope prompting(Activity::Prompting);
    WriteAll(kStandardOutput, inPrompt);
    outLine.clear();
    std::array<char, 1 << 12> part;
    while (!outLine.ends_with('\n')) {
        const std::ptrdiff_t count = ReadSome(kStandardInput, part.data(), part.size());
        if (count < 0) {
            // The handler of Ctrl-C runs on another thread, maybe a moment later.
            for (int i = 0; i < 100 && !IsInterrupted(); ++i) {
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
            }
        }
        if (IsInterrupted()) {
            WriteAll(kStandardOutput, "^C\n");
            return Answer::Interrupted;
        }
        if (count <= 0) {
            return outLine.empty() ? Answer::End : Answer::Line;
        }
        outLine.append(part.data(), static_cast<std::size_t>(count));
    }
    return Answer::Line;
}

void LineEditor::Remember(const std::string&) {}

} // namespace orlimbara::shell
