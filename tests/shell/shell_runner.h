/// @file
/// Running the built orsql: to its end, through two pipes, or in a pseudo-terminal.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

#include "tests_support/temp_folder.h"

namespace orlimbara::shell::test {

using Arguments = std::vector<std::string>;

/// The outcome of a run.
struct ShellRun {
    int status = 0; ///< the exit status, or minus the signal that ended it
    std::string out;
    std::string err;
};

/// Runs orsql to its end in the current folder.
ShellRun RunShell(const Arguments& inArguments, std::string_view inInput = {});
/// Runs `inScript` with sh; $ORSQL is the program.
ShellRun RunScript(const std::string& inScript, std::string_view inInput = {});

/// The lines of an output in jsonl mode. A line that isn't JSON fails the test.
std::vector<std::string> JsonLines(const std::string& inOut);
/// Runs with -m jsonl. @return the lines, whatever the status.
std::vector<std::string> RunJsonl(Arguments inArguments);
/// Only the first cells of the rows of a line of JSON, such as "1 2 NULL", or its kind if it has no rows.
std::string FirstCells(const std::string& inLine);
/// FirstCells of each line of a run with -m jsonl, each followed by "|".
std::string Answers(const Arguments& inArguments);

/// Whether a text matches a pattern, in which "…" stands for anything.
bool Fits(std::string_view inText, std::string_view inPattern);
/// An input and the pattern of its answer.
using Exchanges = std::vector<std::pair<std::string, std::string>>;
/// Checks that each line fits its pattern.
void ExpectLines(const std::vector<std::string>& inLines, const Exchanges& inExchanges);

/// An empty folder that is the current one for its lifetime, without the user's settings.
class HomeFolder : public tests_support::TempFolder {
public:
    HomeFolder();
    ~HomeFolder();
};

void WriteFile(const std::string& inPath, std::string_view inText);
std::string ReadWhole(const std::string& inPath);

/// An orsql that runs beside the test. A wait fails after a minute.
class RunningShell {
public:
    enum class Way { Pipes, Terminal };

    RunningShell(Way inWay, const Arguments& inArguments);
    RunningShell(const RunningShell&) = delete;
    RunningShell& operator=(const RunningShell&) = delete;
    ~RunningShell();

    void Send(std::string_view inText) const;
    void Signal(int inSignal) const;
    /// Resizes the terminal.
    void Resize(unsigned short inLines, unsigned short inColumns) const;
    /// Reads until the output since the last wait, on either stream, contains `inText`. @return that output
    /// without escape sequences; what follows `inText` is kept for the next wait.
    std::string WaitFor(std::string_view inText);
    /// Sends, and waits.
    std::string Ask(std::string_view inText, std::string_view inAnswer);
    /// Ends the input of a program with pipes. @return the exit status, or minus the signal. @param outRest
    /// the remaining output. @param inKey is pressed until the program leaves: a key can be lost while the
    /// terminal switches to the next line.
    int Wait(std::string* outRest = nullptr, std::string_view inKey = {});

private:
    enum class Outcome { Text, Nothing, End };
    Outcome Read(int inPatience);

    pid_t mProcess = -1;
    int mFile = -1; ///< the terminal, or a socket that is all three files of the program
    std::string mUnread;
};

} // namespace orlimbara::shell::test
