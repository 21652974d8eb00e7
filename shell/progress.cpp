#include "shell/progress.h"

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <utility>

#include <fmt/format.h>

#include "host_standin/locations.h"
#include "host_standin/paths.h"
#include "shell/system.h"
#include "shell/terminal.h"
#include "shell/text.h"

namespace orlimbara::shell {

namespace {

using namespace std::chrono_literals;
constexpr auto kFirstWait = 500ms; // a short call shows nothing
constexpr auto kInterval = 100ms;
constexpr const char* kWipe = "\r\x1b[K";

std::uintmax_t BytesIn(const std::filesystem::path& inFolder) {
    std::uintmax_t bytes = 0;
    std::error_code error;
    for (std::filesystem::recursive_directory_iterator entry(inFolder, error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code ignored;
        const std::uintmax_t size = entry->is_regular_file(ignored) ? entry->file_size(ignored) : 0;
        bytes += ignored ? 0 : size;
    }
    return bytes;
}

} // namespace

std::string ElapsedText(std::chrono::duration<double> inElapsed) {
    const auto tenths = static_cast<std::uint64_t>(inElapsed / 100ms);
    const std::uint64_t seconds = tenths / 10;
    if (seconds < 60) {
        return fmt::format("{}.{} s", seconds, tenths % 10);
    }
    const std::uint64_t hours = seconds / 3600;
    return hours ? fmt::format("{}:{:02}:{:02}", hours, seconds / 60 % 60, seconds % 60)
                 : fmt::format("{}:{:02}", seconds / 60, seconds % 60);
}

std::string StatementLine(double inFraction, std::chrono::duration<double> inElapsed, std::size_t inWidth) {
    constexpr std::size_t kWidestBar = 40;
    const std::string elapsed = ElapsedText(inElapsed);
    const std::size_t others = std::string_view("[] 100 %  ").size() + elapsed.size() + 1;
    if (!(inFraction > 0) || inWidth <= others) { // DuckDB also gives 0 for work of unknown size
        return elapsed;
    }
    const double fraction = std::min(inFraction, 1.0);
    const std::size_t width = std::min(kWidestBar, inWidth - others);
    const auto filled = static_cast<std::size_t>(fraction * static_cast<double>(width));
    return fmt::format("[{}{}] {:3} %  {}", std::string(filled, '#'), std::string(width - filled, ' '),
                       static_cast<int>(fraction * 100), elapsed);
}

ProgressLine::Describe DescribeRun(const orkit::orsql::I_DuckDBRunControl* inControl) {
    return [inControl](std::chrono::duration<double> elapsed) {
        const double fraction = inControl ? inControl->get_Progress().mFraction : -1;
        return StatementLine(fraction, elapsed, TerminalWidth(kStandardError));
    };
}

std::string DescribeBackup(std::chrono::duration<double> inElapsed) {
    const auto location = orkit::standin::get_LastBackupLocation();
    const double megabytes =
        location ? static_cast<double>(BytesIn(orkit::standin::PathOf(ToUtf8(location->get_Path())))) / 1e6
                 : 0;
    return fmt::format("backing up: {}, {:.1f} MB written", ElapsedText(inElapsed), megabytes);
}

ProgressLine::ProgressLine(const Options& inOptions, Describe inDescribe)
    : mDescribe(std::move(inDescribe)), mStart(std::chrono::steady_clock::now()) {
    if (inOptions.canShowProgress && inOptions.showsProgress) {
        mThread = std::thread([this] { DrawUntilOver(); });
    }
}

ProgressLine::~ProgressLine() {
    if (mThread.joinable()) {
        {
            const std::lock_guard lock(mMutex);
            mIsStopping = true;
        }
        mIsOver.notify_one();
        mThread.join();
    }
}

void ProgressLine::Draw() const {
    std::cerr << kWipe + mDescribe(std::chrono::steady_clock::now() - mStart) << std::flush;
}

void ProgressLine::DrawUntilOver() {
    std::unique_lock lock(mMutex);
    bool hasDrawn = false;
    while (!mIsOver.wait_for(lock, hasDrawn ? kInterval : kFirstWait, [this] { return mIsStopping; })) {
        lock.unlock(); // so that the terminal doesn't delay the end of a statement
        Draw();
        lock.lock();
        hasDrawn = true;
    }
    if (hasDrawn) {
        std::cerr << kWipe << std::flush;
    }
}

} // namespace orlimbara::shell
