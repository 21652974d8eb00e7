#include "shell_runner.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>
#include <utility>

#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <rapidjson/document.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orlimbara::shell::test {

namespace {

constexpr int kPatience = 60'000; // milliseconds

int StatusOf(int inStatus) { return WIFEXITED(inStatus) ? WEXITSTATUS(inStatus) : -WTERMSIG(inStatus); }

std::string WithoutEscapes(const std::string& inText) {
    static const std::regex escapes("\x1b\\[[^@-~]*[@-~]|\r");
    return std::regex_replace(inText, escapes, "");
}

std::string CellText(const rapidjson::Value& inCell) {
    if (inCell.IsString()) {
        return inCell.GetString();
    }
    return inCell.IsNull() ? "NULL" : inCell.IsInt64() ? std::to_string(inCell.GetInt64()) : "?";
}

} // namespace

ShellRun RunShell(const Arguments& inArguments, std::string_view inInput) {
    std::string script = "exec $ORSQL";
    for (const std::string& argument : inArguments) {
        script += " '";
        for (const char c : argument) {
            script += c == '\'' ? "'\\''" : std::string(1, c);
        }
        script += "'";
    }
    return RunScript(script, inInput);
}

ShellRun RunScript(const std::string& inScript, std::string_view inInput) {
    const tests_support::TempFolder folder;
    WriteFile(folder / "in", inInput);
    setenv("ORSQL", ORSQL_PROGRAM, 1);
    setenv("FILES", folder.Path().c_str(), 1);
    const int status = std::system(("exec <$FILES/in >$FILES/out 2>$FILES/err; " + inScript).c_str());
    return {StatusOf(status), ReadWhole(folder / "out"), ReadWhole(folder / "err")};
}

std::vector<std::string> JsonLines(const std::string& inOut) {
    std::vector<std::string> lines;
    std::istringstream stream(inOut);
    for (std::string line; std::getline(stream, line);) {
        rapidjson::Document document;
        document.Parse<rapidjson::kParseValidateEncodingFlag>(line.c_str(), line.size());
        EXPECT_TRUE(!document.HasParseError() && document.IsObject() && document.HasMember("kind")) << line;
        lines.push_back(line);
    }
    EXPECT_TRUE(inOut.empty() || inOut.ends_with('\n')) << inOut;
    return lines;
}

std::vector<std::string> RunJsonl(Arguments inArguments) {
    inArguments.insert(inArguments.begin(), {"-m", "jsonl"});
    const ShellRun run = RunShell(inArguments);
    EXPECT_EQ(run.err, "");
    return JsonLines(run.out);
}

std::string FirstCells(const std::string& inLine) {
    rapidjson::Document document;
    document.Parse(inLine.c_str());
    if (!document.IsObject() || !document.HasMember("rows")) {
        return document.IsObject() ? document["kind"].GetString() : inLine;
    }
    std::string cells;
    for (const auto& row : document["rows"].GetArray()) {
        cells += (cells.empty() ? "" : " ") + CellText(row[0]);
    }
    return cells;
}

std::string Answers(const Arguments& inArguments) {
    std::string answers;
    for (const std::string& line : RunJsonl(inArguments)) {
        answers += FirstCells(line) + "|";
    }
    return answers;
}

bool Fits(std::string_view inText, std::string_view inPattern) {
    constexpr std::string_view kAnything = "…";
    const std::size_t gap = inPattern.find(kAnything);
    if (gap == inPattern.npos || !inText.starts_with(inPattern.substr(0, gap))) {
        return inText == inPattern;
    }
    for (inText.remove_prefix(gap), inPattern.remove_prefix(gap + kAnything.size()); !inText.empty();
         inText.remove_prefix(1)) {
        if (Fits(inText, inPattern)) {
            return true;
        }
    }
    return Fits(inText, inPattern);
}

void ExpectLines(const std::vector<std::string>& inLines, const Exchanges& inExchanges) {
    ASSERT_EQ(inLines.size(), inExchanges.size());
    for (std::size_t i = 0; i < inLines.size(); ++i) {
        EXPECT_TRUE(Fits(inLines[i], inExchanges[i].second)) << inLines[i] << "\n" << inExchanges[i].second;
    }
}

HomeFolder::HomeFolder() {
    std::filesystem::current_path(Path());
    setenv("HOME", Path().c_str(), 1);
    setenv("TERM", "xterm", 1);
    for (const char* const name : {"XDG_STATE_HOME", "XDG_CONFIG_HOME", "NO_COLOR", "EDITOR"}) {
        unsetenv(name);
    }
}

HomeFolder::~HomeFolder() { std::filesystem::current_path("/"); }

void WriteFile(const std::string& inPath, std::string_view inText) {
    std::ofstream(inPath, std::ios::binary) << inText;
}

std::string ReadWhole(const std::string& inPath) {
    std::ifstream file(inPath, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

RunningShell::RunningShell(Way inWay, const Arguments& inArguments) {
    winsize size = {24, 100, 0, 0};
    std::array<int, 2> ends{};
    if (inWay == Way::Terminal) {
        mProcess = forkpty(&ends[0], nullptr, nullptr, &size);
    } else if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) == 0) {
        mProcess = fork();
    }
    if (mProcess == 0) {
        for (int file = 0; file < 3 && inWay == Way::Pipes; ++file) {
            dup2(ends[1], file);
        }
        std::string program = ORSQL_PROGRAM;
        std::vector<char*> command = {program.data()};
        for (const std::string& argument : inArguments) {
            command.push_back(const_cast<char*>(argument.c_str()));
        }
        command.push_back(nullptr);
        execv(command[0], command.data());
        _exit(127);
    }
    mFile = ends[0];
    if (inWay == Way::Pipes) {
        close(ends[1]);
    }
}

RunningShell::~RunningShell() {
    if (mProcess > 0) {
        kill(mProcess, SIGKILL);
        waitpid(mProcess, nullptr, 0);
    }
    close(mFile);
}

void RunningShell::Send(std::string_view inText) const {
    ASSERT_EQ(write(mFile, inText.data(), inText.size()), static_cast<ssize_t>(inText.size()));
}

void RunningShell::Signal(int inSignal) const { kill(mProcess, inSignal); }

void RunningShell::Resize(unsigned short inLines, unsigned short inColumns) const {
    const winsize size = {inLines, inColumns, 0, 0};
    ASSERT_EQ(ioctl(mFile, TIOCSWINSZ, &size), 0);
}

std::string RunningShell::WaitFor(std::string_view inText) {
    for (;;) {
        const std::string text = WithoutEscapes(mUnread);
        const std::size_t found = text.find(inText);
        if (found != std::string::npos) {
            mUnread = text.substr(found + inText.size());
            return text.substr(0, found + inText.size());
        }
        if (Read(kPatience) != Outcome::Text) {
            ADD_FAILURE() << "waited for <" << inText << ">, got <" << text << ">";
            return text;
        }
    }
}

std::string RunningShell::Ask(std::string_view inText, std::string_view inAnswer) {
    Send(inText);
    return WaitFor(inAnswer);
}

int RunningShell::Wait(std::string* outRest, std::string_view inKey) {
    constexpr int kPause = 200; // milliseconds
    shutdown(mFile, SHUT_WR);
    int pauses = 0;
    for (Outcome outcome{}; (outcome = Read(kPause)) != Outcome::End;) {
        if (outcome == Outcome::Nothing && ++pauses * kPause > kPatience) {
            ADD_FAILURE() << "waited for the end, got <" << mUnread << ">";
            kill(mProcess, SIGKILL);
        } else if (outcome == Outcome::Nothing && !inKey.empty()) {
            Send(inKey);
        }
    }
    if (outRest) {
        *outRest = WithoutEscapes(mUnread);
    }
    int status = 0;
    waitpid(std::exchange(mProcess, -1), &status, 0);
    return StatusOf(status);
}

RunningShell::Outcome RunningShell::Read(int inPatience) {
    pollfd file = {mFile, POLLIN, 0};
    if (poll(&file, 1, inPatience) <= 0) {
        return Outcome::Nothing;
    }
    std::array<char, 1 << 16> part;
    const ssize_t count = read(mFile, part.data(), part.size());
    mUnread.append(part.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
    return count > 0 ? Outcome::Text : Outcome::End;
}

} // namespace orlimbara::shell::test
