#include "shell/history.h"

#include <filesystem>
#include <string_view>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include "shell/failure.h"
#include "shell/files.h"
#include "shell/system.h"
#include "shell/text.h"

namespace orlimbara::shell {

namespace {

// One entry per line; line feeds and backslashes in it are escaped.
std::string Encode(const std::string& inEntry) {
    std::string line;
    for (const char c : inEntry) {
        line += c == '\n' ? "\\n" : c == '\\' ? "\\\\" : std::string(1, c);
    }
    return line + '\n';
}

std::string Decode(std::string_view inLine) {
    std::string entry;
    for (std::size_t i = 0; i < inLine.size(); ++i) {
        if (inLine[i] == '\\' && i + 3 < inLine.size() && IsDigit(inLine[i + 1])) {
            // The octal escapes that earlier versions wrote.
            entry += static_cast<char>((inLine[i + 1] - '0') * 64 + (inLine[i + 2] - '0') * 8 +
                                       (inLine[i + 3] - '0'));
            i += 3;
            continue;
        }
        const bool isEscape = inLine[i] == '\\' && i + 1 < inLine.size();
        entry += isEscape ? (inLine[i + 1] == 'n' ? '\n' : inLine[i + 1]) : inLine[i];
        i += isEscape ? 1 : 0;
    }
    return entry;
}

FileDescriptor OpenLocked(const std::string& inPath, int inFlags) {
    FileDescriptor file(open(inPath.c_str(), inFlags | O_CLOEXEC, 0600));
    if (file.IsOpen()) {
        flock(file.get(), LOCK_EX);
    }
    return file;
}

} // namespace

std::string HistoryPath() {
    const std::string state = Environment("XDG_STATE_HOME");
    if (!state.empty()) {
        const std::filesystem::path folder = std::filesystem::path(state) / "orsql";
        std::error_code error;
        std::filesystem::create_directories(folder, error);
        return error ? std::string() : (folder / "history").string();
    }
    const std::string home = HomeFolder();
    return home.empty() ? home : home + "/.orsql_history";
}

std::vector<std::string> LoadHistory(const std::string& inPath, std::size_t inMost) {
    constexpr std::size_t kMostGrowth = 4;
    std::vector<std::string> entries;
    const FileDescriptor file = OpenLocked(inPath, O_RDWR);
    if (!file.IsOpen()) {
        return entries;
    }
    std::string text;
    try {
        text = ReadFile(inPath);
    } catch (const ShellError&) {
        return entries;
    }
    std::string_view rest = text;
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find('\n'), rest.size());
        entries.push_back(Decode(rest.substr(0, end)));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    const std::size_t count = entries.size();
    if (count > inMost) {
        entries.erase(entries.begin(), entries.end() - static_cast<std::ptrdiff_t>(inMost));
    }
    if (count > inMost * kMostGrowth && ftruncate(file.get(), 0) == 0) {
        std::string kept;
        for (const std::string& entry : entries) {
            kept += Encode(entry);
        }
        WriteAll(file.get(), kept);
    }
    return entries;
}

void AppendHistory(const std::string& inPath, const std::string& inEntry) {
    const FileDescriptor file = OpenLocked(inPath, O_WRONLY | O_CREAT | O_APPEND);
    const off_t size = file.IsOpen() ? lseek(file.get(), 0, SEEK_END) : -1;
    if (size >= 0 && !WriteAll(file.get(), Encode(inEntry))) {
        // A part of an entry would become one with the next.
        [[maybe_unused]] const int result = ftruncate(file.get(), size);
    }
}

} // namespace orlimbara::shell
