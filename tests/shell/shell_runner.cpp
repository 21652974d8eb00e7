#include "shell_runner.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

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

std::array<int, 2> MakePipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        std::abort();
    }
    return ends;
}

/// Becomes the program. Only called in a child.
[[noreturn]] void Execute(const Arguments& inCommand) {
    std::vector<char*> arguments;
    for (const std::string& argument : inCommand) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    signal(SIGPIPE, SIG_DFL);
    execv(arguments[0], arguments.data());
    _exit(127);
}

int StatusOf(int inWaited) { return WIFEXITED(inWaited) ? WEXITSTATUS(inWaited) : -WTERMSIG(inWaited); }

/// Reads what is there. @return false at the end.
bool ReadSome(int inFile, std::string& ioText) {
    std::array<char, 1 << 16> part;
    const ssize_t count = read(inFile, part.data(), part.size());
    if (count > 0) {
        ioText.append(part.data(), static_cast<std::size_t>(count));
    }
    return count > 0 || (count < 0 && errno == EINTR);
}

Arguments WithProgram(const Arguments& inArguments) {
    Arguments command = {ORSQL_PROGRAM};
    command.insert(command.end(), inArguments.begin(), inArguments.end());
    return command;
}

ShellRun RunToEnd(const Arguments& inCommand, std::string_view inInput) {
    const auto in = MakePipe();
    const auto out = MakePipe();
    const auto err = MakePipe();
    const pid_t child = fork();
    if (child == 0) {
        dup2(in[0], STDIN_FILENO);
        dup2(out[1], STDOUT_FILENO);
        dup2(err[1], STDERR_FILENO);
        Execute(inCommand);
    }
    close(in[0]);
    close(out[1]);
    close(err[1]);
    signal(SIGPIPE, SIG_IGN);
    ShellRun run;
    bool isWriting = true;
    std::array<pollfd, 3> files = {{{in[1], POLLOUT, 0}, {out[0], POLLIN, 0}, {err[0], POLLIN, 0}}};
    while (files[1].fd >= 0 || files[2].fd >= 0) {
        poll(files.data(), files.size(), -1);
        if (isWriting && files[0].revents != 0) {
            const ssize_t count = inInput.empty() ? -1 : write(in[1], inInput.data(), inInput.size());
            inInput.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
            isWriting = count >= 0 && !inInput.empty();
            if (!isWriting) {
                close(in[1]);
                files[0].fd = -1;
            }
        }
        if (files[1].revents != 0 && !ReadSome(out[0], run.out)) {
            files[1].fd = -1;
        }
        if (files[2].revents != 0 && !ReadSome(err[0], run.err)) {
            files[2].fd = -1;
        }
    }
    if (isWriting) {
        close(in[1]);
    }
    close(out[0]);
    close(err[0]);
    int waited = 0;
    waitpid(child, &waited, 0);
    run.status = StatusOf(waited);
    return run;
}

/// Takes the sequences out that steer a terminal, and carriage returns.
std::string WithoutEscapes(std::string_view inText) {
    std::string text;
    for (std::size_t i = 0; i < inText.size(); ++i) {
        if (inText[i] == '\x1b' && i + 1 < inText.size() && inText[i + 1] == '[') {
            i += 2;
            while (i < inText.size() && (inText[i] < '@' || inText[i] > '~')) {
                ++i;
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
        EXPECT_FALSE(document.HasParseError()) << line;
        EXPECT_TRUE(document.IsObject() && document.HasMember("kind")) << line;
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

TempFolder::TempFolder() : mBefore(std::filesystem::current_path()) {
    mPath = (std::filesystem::temp_directory_path() / "orsql_test_XXXXXX").string();
    if (!mkdtemp(mPath.data())) {
        std::abort();
    }
    std::filesystem::current_path(mPath);
    setenv("HOME", mPath.c_str(), 1);
    setenv("TERM", "xterm", 1);
    unsetenv("XDG_STATE_HOME");
    unsetenv("NO_COLOR");
}

TempFolder::~TempFolder() {
    std::filesystem::current_path(mBefore);
    std::error_code ignored;
    std::filesystem::remove_all(mPath, ignored);
}

void WriteFile(const std::string& inPath, std::string_view inText) {
    std::ofstream(inPath, std::ios::binary) << inText;
}

std::string ReadWhole(const std::string& inPath) {
    std::ifstream file(inPath, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

RunningShell::RunningShell(Way inWay, const Arguments& inArguments) {
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
    const auto in = MakePipe();
    const auto out = MakePipe();
    const auto err = MakePipe();
    mProcess = fork();
    if (mProcess == 0) {
        dup2(in[0], STDIN_FILENO);
        dup2(out[1], STDOUT_FILENO);
        dup2(err[1], STDERR_FILENO);
        Execute(command);
    }
    close(in[0]);
    close(out[1]);
    close(err[1]);
    mInput = in[1];
    mOutput = out[0];
    mError = err[0];
}

RunningShell::~RunningShell() {
    if (mProcess > 0) {
        kill(mProcess, SIGKILL);
        waitpid(mProcess, nullptr, 0);
    }
    CloseInput();
    CloseOutput();
    if (mError >= 0) {
        close(mError);
    }
}

void RunningShell::Send(std::string_view inText) const {
    while (!inText.empty()) {
        const ssize_t count = write(mInput, inText.data(), inText.size());
        ASSERT_GT(count, 0);
        inText.remove_prefix(static_cast<std::size_t>(count));
    }
}

void RunningShell::Signal(int inSignal) const { kill(mProcess, inSignal); }

void RunningShell::CloseInput() {
    if (mInput >= 0 && mInput != mOutput) {
        close(mInput);
    }
    mInput = -1;
}

void RunningShell::CloseOutput() {
    if (mOutput >= 0) {
        close(mOutput);
    }
    mOutput = -1;
}

std::string RunningShell::WaitFor(std::string_view inText) { return WaitOn(mOutput, mUnread, inText); }

std::string RunningShell::WaitForError(std::string_view inText) {
    return WaitOn(mError, mUnreadError, inText);
}

std::string RunningShell::WaitOn(int inFile, std::string& ioUnread, std::string_view inText) const {
    for (;;) {
        const std::string text = WithoutEscapes(ioUnread);
        const std::size_t found = text.find(inText);
        if (found != std::string::npos) {
            ioUnread = text.substr(found + inText.size());
            return text.substr(0, found + inText.size());
        }
        pollfd file = {inFile, POLLIN, 0};
        if (poll(&file, 1, kPatience) <= 0 || !ReadSome(inFile, ioUnread)) {
            ADD_FAILURE() << "waited for <" << inText << ">, got <" << text << ">";
            return text;
        }
    }
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
        CloseInput();
    }
    std::string rest = mUnread;
    pollfd file = {mOutput, POLLIN, 0};
    while (mOutput >= 0) {
        if (poll(&file, 1, kPatience) <= 0) {
            ADD_FAILURE() << "waited for the end, got <" << rest << ">";
            kill(mProcess, SIGKILL);
        }
        if (!ReadSome(mOutput, rest)) {
            break;
        }
    }
    if (outRest) {
        *outRest = WithoutEscapes(rest);
    }
    int waited = 0;
    waitpid(std::exchange(mProcess, -1), &waited, 0);
    return StatusOf(waited);
}

} // namespace orsql_test
