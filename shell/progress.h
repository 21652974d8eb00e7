/// @file
/// A line of progress on a terminal while a long export runs.
#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>

namespace orlimbara::shell {

/// Shows for its lifetime how long it has lived and how many bytes the newest backup location holds, on
/// standard error if that is a terminal. The line is gone afterwards.
class ExportProgress {
public:
    ExportProgress();
    ExportProgress(const ExportProgress&) = delete;
    ExportProgress& operator=(const ExportProgress&) = delete;
    ~ExportProgress();

private:
    void Show();

    std::mutex mMutex;
    std::condition_variable mIsOver;
    bool mIsStopping = false;
    std::thread mThread;
};

} // namespace orlimbara::shell
