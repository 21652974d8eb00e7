#include "shell/interactive.h"

#include <fmt/format.h>

#include "shell/completion.h"
#include "shell/interrupts.h"
#include "shell/line_editor.h"

namespace orlimbara::shell {

namespace {

constexpr const char* kPrompt = "orsql> ";
constexpr const char* kContinuation = "  ...> ";

} // namespace

void RunInteractive(Shell& inShell) {
    Session& session = inShell.get_Session();
    Answers& answers = inShell.get_Answers();
    answers.Notice(fmt::format("orsql {}, DuckDB {}. .help lists the commands, .quit leaves.\n",
                               ShellVersion(), session.get_Extension().get_LibraryVersion()));
    LineEditor editor(HistoryPath(),
                      [&session](std::string_view before) { return Complete(session, before); });
    Splitter splitter;
    std::string line;
    while (!inShell.IsLeaving()) {
        const LineEditor::Answer answer = editor.Read(splitter.IsOpen() ? kContinuation : kPrompt, line);
        if (answer == LineEditor::Answer::End) {
            answers.Notice("\n");
            return;
        }
        if (answer == LineEditor::Answer::Line) {
            splitter.Feed(line.ends_with('\n') ? line : line + '\n');
            inShell.RunPieces(splitter);
        }
        if (IsInterrupted()) {
            splitter.Reset();
            ForgetInterrupts();
        }
    }
}

} // namespace orlimbara::shell
