/// @file
/// Running the built orsql: to its end, through two pipes, or in a pseudo-terminal.
#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace orsql_test {

using Arguments = std::vector<std::string>;

/// What a run came to. @param status the exit status, or minus the signal that ended it.
struct ShellRun {
    int status = 0;
    std::string out;
    std::string err;
};

/// Runs orsql in the folder of the test (see TempFolder) to its end.
ShellRun RunShell(const Arguments& inArguments, std::string_view inInput = {});
/// Runs `inScript` with sh; $ORSQL is the program.
ShellRun RunScript(const std::string& inScript);

/// The lines of an output in jsonl mode. A line that isn't JSON fails the test.
std::vector<std::string> JsonLines(const std::string& inOut);
/// Runs with -m jsonl and gives the lines, whatever the status.
std::vector<std::string> RunJsonl(const Arguments& inArguments);
/// Only the first cells of the rows of a line of JSON, such as "1 2 NULL", or its kind if it has no rows.
std::string FirstCells(const std::string& inLine);

/// A fresh folder that is the current one for its lifetime, with nothing of the user's around.
class TempFolder {
public:
    TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    ~TempFolder();
    const std::string& get_Path() const { return mPath; }

private:
    std::string mPath;
    std::string mBefore;
};

void WriteFile(const std::string& inPath, std::string_view inText);
std::string ReadWhole(const std::string& inPath);

/// An orsql that runs beside the test. What is waited for and doesn't come fails after a minute.
class RunningShell {
public:
    enum class Way { Pipes, Terminal };

    RunningShell(Way inWay, const Arguments& inArguments);
    RunningShell(const RunningShell&) = delete;
    RunningShell& operator=(const RunningShell&) = delete;
    ~RunningShell();

    void Send(std::string_view inText) const;
    void Signal(int inSignal) const;
    void CloseInput();
    void CloseOutput();
    /// Reads until the output since the last wait holds `inText`. @return that output, escapes of the
    /// terminal taken out; what follows on `inText` is kept for the next wait.
    std::string WaitFor(std::string_view inText);
    /// The same on standard error.
    std::string WaitForError(std::string_view inText);
    /// The exit status, or minus the signal. @param outRest what else was written.
    int Wait(std::string* outRest = nullptr);
    /// The same for a program that leaves at a key, which is pressed until it does: one that comes while the
    /// terminal changes over to the next line can be lost.
    int WaitPressing(std::string_view inKey);

private:
    std::string WaitOn(int inFile, std::string& ioUnread, std::string_view inText) const;

    pid_t mProcess = -1;
    int mInput = -1;
    int mOutput = -1;
    int mError = -1;
    std::string mUnread;
    std::string mUnreadError;
};

} // namespace orsql_test
