#include "shell/interrupts.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <string_view>
#include <thread>
#include <utility>

#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace orlimbara::shell {

namespace {

constexpr int kInterruptedStatus = 130;
constexpr std::string_view kCantStop = "orsql: this can't be stopped; press Ctrl-C again to leave\n";
constexpr std::int64_t kQuick = 1'000'000'000; // nanoseconds
constexpr std::chrono::milliseconds kRetry{20};

// Lock-free atomics are among the little that a signal handler may touch.
std::atomic<int> gInterrupts{0};
std::atomic<Activity> gActivity{Activity::Idle};
std::atomic<std::int64_t> gLastTime{0}; // of Ctrl-C
std::atomic<bool> gEndsOnlyQuickly{false};
static_assert(std::atomic<int>::is_always_lock_free && std::atomic<Activity>::is_always_lock_free &&
              std::atomic<std::int64_t>::is_always_lock_free && std::atomic<bool>::is_always_lock_free);

/// A byte for each Ctrl-C, so that a wait ends even if the signal came just before it or on another thread.
std::array<int, 2> gPipe = {-1, -1};
/// The same for the thread that stops runs, whose reads block.
std::array<int, 2> gStopPipe = {-1, -1};

std::mutex gControlMutex;
orkit::orsql::I_DuckDBRunControl* gControl = nullptr; // guarded by the mutex

void TryToWrite(int inFile, std::string_view inText) {
    [[maybe_unused]] const ssize_t written = write(inFile, inText.data(), inText.size());
}

extern "C" void OnInterrupt(int) {
    const int before = errno;
    const Activity activity = gActivity.load();
    timespec clock = {};
    clock_gettime(CLOCK_MONOTONIC, &clock);
    const std::int64_t now = std::int64_t{clock.tv_sec} * kQuick + clock.tv_nsec;
    const std::int64_t last = gLastTime.exchange(now);
    const bool ends = !gEndsOnlyQuickly.load() || activity == Activity::Busy || now - last <= kQuick;
    if (gInterrupts.fetch_add(1) > 0 && activity != Activity::Prompting && ends) {
        _exit(kInterruptedStatus);
    }
    if (activity == Activity::Busy) {
        TryToWrite(STDERR_FILENO, kCantStop);
    }
    TryToWrite(gPipe[1], "!");
    TryToWrite(gStopPipe[1], "!");
    errno = before;
}

/// Stops what runs after each Ctrl-C. It tries until the run's scope ends: an interrupt that comes between
/// two calls of the scope stops neither.
void StopRuns() {
    char byte = 0;
    for (;;) {
        const ssize_t count = read(gStopPipe[0], &byte, 1);
        if (count == 0 || (count < 0 && errno != EINTR)) {
            return;
        }
        for (bool isRunning = count > 0; isRunning; std::this_thread::sleep_for(kRetry)) {
            const std::lock_guard lock(gControlMutex);
            isRunning = gControl && IsInterrupted();
            if (isRunning) {
                gControl->Interrupt();
            }
        }
    }
}

/// Starts the thread that stops runs. Signals go to other threads.
void StartToStopRuns() {
    if (pipe2(gStopPipe.data(), O_CLOEXEC) != 0) {
        gStopPipe = {-1, -1};
        return;
    }
    fcntl(gStopPipe[1], F_SETFL, O_NONBLOCK);
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    std::thread(StopRuns).detach();
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

} // namespace

void InstallInterrupts() {
    if (pipe2(gPipe.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        gPipe = {-1, -1}; // poll passes over it
    }
    StartToStopRuns();
    struct sigaction action = {};
    action.sa_handler = OnInterrupt; // without SA_RESTART: a read that waits for input ends
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    action.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &action, nullptr);
}

void EndOnlyAtQuickInterrupts() { gEndsOnlyQuickly.store(true); }

bool IsInterrupted() { return gInterrupts.load(std::memory_order_relaxed) > 0; }

void ForgetInterrupts() {
    gInterrupts.store(0);
    std::array<char, 16> bytes;
    while (read(gPipe[0], bytes.data(), bytes.size()) > 0) {
    }
}

bool WaitForInput(int inFile) {
    std::array<pollfd, 2> files = {{{inFile, POLLIN, 0}, {gPipe[0], POLLIN, 0}}};
    while (!IsInterrupted()) {
        if (poll(files.data(), files.size(), -1) > 0 && files[0].revents != 0) {
            return true;
        }
    }
    return false;
}

ActivityScope::ActivityScope(Activity inActivity) : mBefore(gActivity.exchange(inActivity)) {}

ActivityScope::~ActivityScope() { gActivity.store(mBefore); }

RunScope::RunScope(orkit::I_Unknown* inObject)
    : mControl(orkit::QueryAspect<orkit::orsql::I_DuckDBRunControl>(inObject)), mBefore(nullptr),
      mActivity(mControl ? Activity::Running : Activity::Busy) {
    const std::lock_guard lock(gControlMutex);
    mBefore = std::exchange(gControl, mControl);
    if (IsInterrupted()) {
        TryToWrite(gStopPipe[1], "!"); // the thread found nothing to stop
    }
}

RunScope::~RunScope() {
    const std::lock_guard lock(gControlMutex);
    gControl = mBefore;
}

} // namespace orlimbara::shell
