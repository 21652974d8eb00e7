#include "shell/progress.h"

#include <chrono>
#include <filesystem>
#include <iostream>

#include <fmt/format.h>
#include <unistd.h>

#include "host_standin/locations.h"
#include "shell/text.h"

namespace orlimbara::shell {

namespace {

using namespace std::chrono_literals;
constexpr auto kFirstWait = 1s; // a short export shows nothing
constexpr auto kInterval = 200ms;

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

ExportProgress::ExportProgress() {
    if (isatty(STDERR_FILENO) == 1) {
        mThread = std::thread([this] { Show(); });
    }
}

ExportProgress::~ExportProgress() {
    if (mThread.joinable()) {
        {
            const std::lock_guard lock(mMutex);
            mIsStopping = true;
        }
        mIsOver.notify_one();
        mThread.join();
    }
}

void ExportProgress::Show() {
    const auto start = std::chrono::steady_clock::now();
    std::unique_lock lock(mMutex);
    bool hasShown = false;
    while (!mIsOver.wait_for(lock, hasShown ? kInterval : kFirstWait, [this] { return mIsStopping; })) {
        const auto location = orkit::standin::get_LastBackupLocation();
        const double megabytes =
            location ? static_cast<double>(BytesIn(ToUtf8(location->get_Path()))) / 1e6 : 0;
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
        std::cerr << fmt::format("\r\x1b[Kbacking up: {:.0f} s, {:.1f} MB written", elapsed.count(),
                                 megabytes)
                  << std::flush;
        hasShown = true;
    }
    if (hasShown) {
        std::cerr << "\r\x1b[K" << std::flush;
    }
}

} // namespace orlimbara::shell
