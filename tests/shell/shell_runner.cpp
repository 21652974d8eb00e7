#include "shell_runner.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <utility>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <rapidjson/document.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orsql_test {

namespace {

constexpr int kPatience = 60'000; // milliseconds

/// Becomes the program, on the given files. Only called in a child.
[[noreturn]] void Execute(const Arguments& inCommand, const std::vector<int>& inFiles = {}) {
    for (std::size_t i = 0; i < inFiles.size(); ++i) {
        dup2(inFiles[i], static_cast<int>(i));
    }
    std::vector<char*> arguments;
    for (const std::string& argument : inCommand) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    signal(SIGPIPE, SIG_DFL);
    execv(arguments[0], arguments.data());
    _exit(127);
}

int WaitForEnd(pid_t inProcess) {
    int status = 0;
    waitpid(inProcess, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

/// Reads what is there. @return false at the end.
bool ReadSome(int inFile, std::string& ioText) {
    std::array<char, 1 << 16> part;
    const ssize_t count = read(inFile, part.data(), part.size());
    if (count > 0) {
        ioText.append(part.data(), static_cast<std::size_t>(count));
    }
    return count > 0 || (count < 0 && errno == EINTR);
}

Arguments WithProgram(Arguments inArguments) {
    inArguments.insert(inArguments.begin(), ORSQL_PROGRAM);
    return inArguments;
}

ShellRun RunToEnd(const Arguments& inCommand, std::string_view inInput) {
    const tests_support::TempFolder folder;
    WriteFile(folder / "in", inInput);
    const pid_t child = fork();
    if (child == 0) {
        constexpr int kNew = O_WRONLY | O_CREAT | O_CLOEXEC;
        Execute(inCommand,
                {open((folder / "in").c_str(), O_RDONLY | O_CLOEXEC),
                 open((folder / "out").c_str(), kNew, 0600), open((folder / "err").c_str(), kNew, 0600)});
    }
    const int status = WaitForEnd(child);
    return {status, ReadWhole(folder / "out"), ReadWhole(folder / "err")};
}

std::string WithoutEscapes(const std::string& inText) {
    std::string text;
    for (std::size_t i = 0; i < inText.size(); ++i) {
        if (inText.compare(i, 2, "\x1b[") == 0) {
            for (i += 2; i < inText.size() && (inText[i] < '@' || inText[i] > '~'); ++i) {
            }
        } else if (inText[i] != '\r') {
            text += inText[i];
        }
    }
    return text;
}

std::string CellText(const rapidjson::Value& inCell) {
    if (inCell.IsNull()) {
        return "NULL";
    }
    if (inCell.IsString()) {
        return inCell.GetString();
    }
    return inCell.IsInt64() ? std::to_string(inCell.GetInt64()) : "?";
}

} // namespace

ShellRun RunShell(const Arguments& inArguments, std::string_view inInput) {
    return RunToEnd(WithProgram(inArguments), inInput);
}

ShellRun RunScript(const std::string& inScript) {
    setenv("ORSQL", ORSQL_PROGRAM, 1);
    return RunToEnd({"/bin/sh", "-c", inScript}, {});
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

std::vector<std::string> RunJsonl(const Arguments& inArguments) {
    Arguments arguments = {"-m", "jsonl"};
    arguments.insert(arguments.end(), inArguments.begin(), inArguments.end());
    const ShellRun run = RunShell(arguments);
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

HomeFolder::HomeFolder() {
    std::filesystem::current_path(Path());
    setenv("HOME", Path().c_str(), 1);
    setenv("TERM", "xterm", 1);
    unsetenv("XDG_STATE_HOME");
    unsetenv("NO_COLOR");
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
    signal(SIGPIPE, SIG_IGN);
    const Arguments command = WithProgram(inArguments);
    if (inWay == Way::Terminal) {
        winsize size = {24, 100, 0, 0};
        mProcess = forkpty(&mInput, nullptr, nullptr, &size);
        if (mProcess == 0) {
            Execute(command);
        }
        mOutput = mInput;
        return;
    }
    std::array<int, 2> in{};
    std::array<int, 2> out{};
    if (pipe2(in.data(), O_CLOEXEC) != 0 || pipe2(out.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipes");
    }
    mProcess = fork();
    if (mProcess == 0) {
        Execute(command, {in[0], out[1], out[1]});
    }
    close(in[0]);
    close(out[1]);
    mInput = in[1];
    mOutput = out[0];
}

RunningShell::~RunningShell() {
    if (mProcess > 0) {
        kill(mProcess, SIGKILL);
        WaitForEnd(mProcess);
    }
    if (mInput >= 0 && mInput != mOutput) {
        close(mInput);
    }
    close(mOutput);
}

void RunningShell::Send(std::string_view inText) const {
    ASSERT_EQ(write(mInput, inText.data(), inText.size()), static_cast<ssize_t>(inText.size()));
}

void RunningShell::Signal(int inSignal) const { kill(mProcess, inSignal); }

std::string RunningShell::WaitFor(std::string_view inText) {
    for (;;) {
        const std::string text = WithoutEscapes(mUnread);
        const std::size_t found = text.find(inText);
        if (found != std::string::npos) {
            mUnread = text.substr(found + inText.size());
            return text.substr(0, found + inText.size());
        }
        pollfd file = {mOutput, POLLIN, 0};
        if (poll(&file, 1, kPatience) <= 0 || !ReadSome(mOutput, mUnread)) {
            ADD_FAILURE() << "waited for <" << inText << ">, got <" << text << ">";
            return text;
        }
    }
}

std::string RunningShell::Ask(std::string_view inText, std::string_view inAnswer) {
    Send(inText);
    return WaitFor(inAnswer);
}

int RunningShell::WaitPressing(std::string_view inKey) {
    constexpr int kPause = 200; // milliseconds
    constexpr int kMostPresses = 100;
    for (int press = 0; press < kMostPresses && write(mInput, inKey.data(), inKey.size()) > 0; ++press) {
        pollfd file = {mOutput, POLLIN, 0};
        while (poll(&file, 1, kPause) > 0) {
            if (!ReadSome(mOutput, mUnread)) {
                return Wait();
            }
        }
    }
    return Wait();
}

int RunningShell::Wait(std::string* outRest) {
    if (mInput != mOutput) {
        close(std::exchange(mInput, -1));
    }
    pollfd file = {mOutput, POLLIN, 0};
    do {
        if (poll(&file, 1, kPatience) <= 0) {
            ADD_FAILURE() << "waited for the end, got <" << mUnread << ">";
            kill(mProcess, SIGKILL);
        }
    } while (ReadSome(mOutput, mUnread));
    if (outRest) {
        *outRest = WithoutEscapes(mUnread);
    }
    return WaitForEnd(std::exchange(mProcess, -1));
}

} // namespace orsql_test
