// The dot commands for help, scripts and leaving.
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include <fmt/format.h>

#include "host_standin/paths.h"
#include "shell/commands.h"
#include "shell/failure.h"
#include "shell/files.h"
#include "shell/shell.h"
#include "shell/system.h"

namespace orlimbara::shell {

namespace {

/// `inText` after `inStart`, wrapped at 80 columns, with `inIndent` spaces before each line but the first.
std::string Wrap(std::string inStart, std::string_view inText, std::size_t inIndent) {
    constexpr std::size_t kWidth = 80;
    const std::string next = "\n" + std::string(inIndent, ' ');
    std::size_t column = inStart.size();
    if (column >= inIndent) {
        inStart += next;
    } else {
        inStart.resize(inIndent, ' ');
    }
    column = inIndent;
    while (!inText.empty()) {
        const std::size_t length = std::min(inText.find(' '), inText.size());
        if (column > inIndent && column + length + 1 > kWidth) {
            inStart += next;
            column = inIndent;
        } else if (column > inIndent) {
            inStart += ' ';
            ++column;
        }
        inStart += inText.substr(0, length);
        column += length;
        inText.remove_prefix(std::min(length + 1, inText.size()));
    }
    return inStart;
}

CommandAnswer Help(Shell& inShell, std::string_view inArguments) {
    const std::vector<std::string> words = TakeWords(inArguments, 0, 1);
    std::string text;
    if (!words.empty()) {
        const std::string_view name = words.front();
        const DotCommand& command = FindCommand(name.substr(name.starts_with('.') ? 1 : 0));
        text = UseOf(command) + "\n" + Wrap("", command.help, 4);
    } else {
        for (const DotCommand& command : GetDotCommands()) {
            text += (text.empty() ? "" : "\n") + Wrap(UseOf(command), command.help, 26);
        }
    }
    inShell.get_Answers().Text(text);
    return CommandAnswer::Given;
}

CommandAnswer Print(Shell& inShell, std::string_view inArguments) {
    // The space after the command's name isn't part of the text; all others are.
    inShell.get_Answers().Text(inArguments.substr(inArguments.empty() ? 0 : 1));
    return CommandAnswer::Given;
}

CommandAnswer Read(Shell& inShell, std::string_view inArguments) {
    inShell.RunFile(TakeWords(inArguments, 1, 1).front());
    return CommandAnswer::Pending;
}

/// A temporary file with a unique name, deleted in the destructor.
class ScratchFile {
public:
    ScratchFile() {
        const FileDescriptor file(MakeScratchFile(mPath));
        if (!file.IsOpen()) {
            throw ShellError(fmt::format("can't make {}: {}", mPath, std::strerror(errno)));
        }
    }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;
    ~ScratchFile() {
        std::error_code ignored;
        std::filesystem::remove(orkit::standin::PathOf(mPath), ignored);
    }
    const std::string& get_Path() const { return mPath; }

private:
    std::string mPath;
};

std::string EditorCommand() {
    for (const char* const name : {"VISUAL", "EDITOR"}) {
        std::string command = Environment(name);
        if (!command.empty()) {
            return command;
        }
    }
    throw ShellError("neither VISUAL nor EDITOR names an editor");
}

CommandAnswer Edit(Shell& inShell, std::string_view inArguments) {
    TakeWords(inArguments, 0, 0);
    const std::string editor = EditorCommand();
    const ScratchFile file;
    const std::string& last = inShell.get_LastStatement();
    const std::string before = last.empty() ? last : last + ";\n";
    const FileDescriptor out(OpenFile(file.get_Path(), OpenMode::Write));
    if (!out.IsOpen() || !WriteAll(out.get(), before)) {
        throw ShellError(fmt::format("can't write {}: {}", file.get_Path(), std::strerror(errno)));
    }
    if (!RunCommandOn(editor, file.get_Path())) {
        throw ShellError(fmt::format("the editor {} failed", editor));
    }
    const std::string text = ReadFile(file.get_Path());
    if (text == before) {
        return CommandAnswer::Pending;
    }
    inShell.RunText(text, ".edit");
    return CommandAnswer::Given;
}

CommandAnswer Quit(Shell& inShell, std::string_view inArguments) {
    TakeWords(inArguments, 0, 0);
    inShell.Leave();
    return CommandAnswer::Pending;
}

constexpr auto kRows = std::to_array<DotCommand>({
    {"help", "[COMMAND]", "list the commands, or show one command's use", CompleteCommandNames, Help},
    {"read", "FILE", "run a file of SQL and dot commands", CompleteFiles, Read,
     command_trait::kOutside | command_trait::kNotInRequests},
    {"print", "TEXT", "print TEXT as it is", nullptr, Print},
    {"edit", "", "edit the last statement with $VISUAL or $EDITOR and run it", nullptr, Edit,
     command_trait::kOutside | command_trait::kNotInRequests},
    {"quit", "", "leave", nullptr, Quit},
    {"exit", "", "leave", nullptr, Quit},
});

} // namespace

std::span<const DotCommand> SessionCommands() { return kRows; }

} // namespace orlimbara::shell
