#include "shell/interactive.h"

#include <filesystem>

#include <fmt/format.h>

#include "host_standin/paths.h"
#include "shell/completion.h"
#include "shell/interrupts.h"
#include "shell/line_editor.h"
#include "shell/shell.h"
#include "shell/system.h"
#include "shell/text.h"

namespace orlimbara::shell {

namespace {

constexpr const char* kContinuation = "...> ";

std::string Prompt(const Shell& inShell) {
    const Session& session = inShell.get_Session();
    const Session::Database& database = session.get_Database();
    if (!database || !database->get_IsOpen()) {
        return "orsql> ";
    }
    const std::string& chosen = inShell.get_Options().prompt;
    const std::string name =
        IsMemoryPath(ToUtf8(database->get_Path())) ? "memory" : ToUtf8(database->get_Name());
    return fmt::format("{}{}> ", OneLine(chosen.empty() ? name : chosen),
                       session.IsInTransaction() ? "*" : "");
}

/// The settings file of interactive sessions; empty without a home folder.
std::string RcPath() {
    const std::string config = Environment("XDG_CONFIG_HOME");
    if (!config.empty()) {
        return config + "/orsql/orsqlrc";
    }
    const std::string home = HomeFolder();
    return home.empty() ? home : home + "/.config/orsql/orsqlrc";
}

void RunRc(Shell& inShell) {
    const std::string path = RcPath();
    std::error_code ignored;
    if (!inShell.get_Options().readsRc || path.empty() ||
        !std::filesystem::exists(orkit::standin::PathOf(path), ignored)) {
        return;
    }
    try {
        inShell.RunFile(path);
    } catch (const ShellError&) {
        inShell.get_Answers().Fail(CurrentFailure());
    }
    ForgetInterrupts();
}

/// The dot command that a single word means: habits from other shells.
std::string CommandOfWord(std::string_view inLine) {
    std::string_view word = Trim(inLine);
    word = Trim(word.substr(0, word.size() - (word.ends_with(';') ? 1 : 0)));
    for (const std::string_view command : {"exit", "quit", "help"}) {
        if (EqualsIgnoringCase(word, command)) {
            return "." + std::string(command) + "\n";
        }
    }
    return {};
}

void Farewell(Shell& inShell) {
    const Session::Database& database = inShell.get_Session().get_Database();
    if (database && database->get_IsOpen() && IsMemoryPath(ToUtf8(database->get_Path()))) {
        inShell.get_Answers().Notice("The database in memory is gone.\n");
    }
}

void Converse(Shell& inShell) {
    Session& session = inShell.get_Session();
    Answers& answers = inShell.get_Answers();
    LineEditor editor([&session](std::string_view before) { return Complete(session, before); });
    inShell.put_Observer([&editor](const Piece& piece) {
        editor.Remember(piece.kind == Piece::Kind::Statement ? std::string(Trim(piece.text)) + ';'
                                                             : piece.text);
    });
    Splitter splitter;
    std::string line;
    while (!inShell.IsLeaving()) {
        const LineEditor::Answer answer =
            editor.Read(splitter.IsOpen() ? kContinuation : Prompt(inShell), line);
        if (answer == LineEditor::Answer::End) {
            answers.Notice("\n");
            break;
        }
        if (answer == LineEditor::Answer::Line) {
            const std::string command = splitter.IsOpen() ? std::string() : CommandOfWord(line);
            if (!command.empty()) {
                answers.Notice(fmt::format("The command for this is {}", command));
                line = command;
            }
            splitter.Feed(line.ends_with('\n') ? line : line + '\n');
            inShell.RunPieces(splitter);
        }
        if (IsInterrupted()) {
            splitter.Reset();
            ForgetInterrupts();
        }
    }
    inShell.put_Observer(nullptr);
}

} // namespace

void RunInteractive(Shell& inShell) {
    EndOnlyAtQuickInterrupts();
    inShell.get_Answers().put_CanPage(true);
    inShell.get_Answers().Notice(fmt::format("orsql {}, DuckDB {}. .help lists the commands, .quit leaves.\n",
                                             ShellVersion(),
                                             inShell.get_Session().get_Extension().get_LibraryVersion()));
    RunRc(inShell);
    Converse(inShell);
    Farewell(inShell);
}

} // namespace orlimbara::shell
