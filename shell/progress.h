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

/// Elapsed time: "12.3 s", after a minute "1:02", after an hour "1:00:02".
std::string ElapsedText(std::chrono::duration<double> inElapsed);
/// The line for a statement: a bar and a percentage if DuckDB knows the fraction, and the elapsed time.
/// @param inFraction 0 to 1; negative where it is unknown. @param inWidth of the terminal.
std::string StatementLine(double inFraction, std::chrono::duration<double> inElapsed, std::size_t inWidth);

/// Draws a line on standard error for its lifetime, ten times a second, after half a second. The destructor
/// erases the line.
class ProgressLine {
public:
    /// Returns the line's text. Called on another thread, with the time since the start.
    using Describe = std::function<std::string(std::chrono::duration<double>)>;

    /// Draws nothing if the options forbid it.
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

/// Describes a running statement. The control may be null and must outlive the line.
ProgressLine::Describe DescribeRun(const orkit::orsql::I_DuckDBRunControl* inControl);
/// Describes a running backup: the elapsed time, and the bytes in its folder.
std::string DescribeBackup(std::chrono::duration<double> inElapsed);

} // namespace orlimbara::shell
