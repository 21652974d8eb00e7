/// @file
/// A line of progress on a terminal while a long call runs.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include "host/duckdb_objects.h"
#include "shell/options.h"

namespace orlimbara::shell {

/// Elapsed time, such as "12.3 s", from a minute on "1:02", from an hour on "1:00:02".
std::string ElapsedText(std::chrono::duration<double> inElapsed);
/// The line of a statement: a bar and a percentage where DuckDB tells the fraction, and the elapsed time.
/// @param inFraction 0 to 1; negative where it is unknown. @param inWidth of the terminal.
std::string StatementLine(double inFraction, std::chrono::duration<double> inElapsed, std::size_t inWidth);

/// Draws a line on standard error for its lifetime, ten times a second from half a second on. The line is
/// gone afterwards.
class ProgressLine {
public:
    /// Gives the line's text. Is called on another thread, with the time since the start.
    using Describe = std::function<std::string(std::chrono::duration<double>)>;

    /// Draws nothing where the options deny it.
    ProgressLine(const Options& inOptions, Describe inDescribe);
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;
    ~ProgressLine();

private:
    void Draw() const;
    void DrawUntilOver();

    Describe mDescribe;
    std::chrono::steady_clock::time_point mStart;
    std::mutex mMutex;
    std::condition_variable mIsOver;
    bool mIsStopping = false;
    std::thread mThread;
};

/// What describes a running statement. The control may be null and must outlive the line.
ProgressLine::Describe DescribeRun(const orkit::orsql::I_DuckDBRunControl* inControl);
/// What describes a running backup: how long it takes, and how many bytes its folder holds.
std::string DescribeBackup(std::chrono::duration<double> inElapsed);

} // namespace orlimbara::shell
