#include "shell/interrupts.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <string_view>

#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace orlimbara::shell {

namespace {

constexpr int kInterruptedStatus = 130;
constexpr std::string_view kCantStop =
    "orsql: DuckDB is still computing and can't be stopped; press Ctrl-C again to leave\n";

// Lock-free atomics are among the little that a signal handler may touch.
std::atomic<int> gInterrupts{0};
std::atomic<Activity> gActivity{Activity::Idle};
static_assert(std::atomic<int>::is_always_lock_free && std::atomic<Activity>::is_always_lock_free);

/// A byte for each Ctrl-C, so that a wait ends even if the signal came just before it or on another thread.
std::array<int, 2> gPipe = {-1, -1};

void TryToWrite(int inFile, std::string_view inText) {
    [[maybe_unused]] const ssize_t written = write(inFile, inText.data(), inText.size());
}

extern "C" void OnInterrupt(int) {
    const int before = errno;
    const Activity activity = gActivity.load();
    if (gInterrupts.fetch_add(1) > 0 && activity != Activity::Prompting) {
        _exit(kInterruptedStatus);
    }
    if (activity == Activity::Computing) {
        TryToWrite(STDERR_FILENO, kCantStop);
    }
    TryToWrite(gPipe[1], "!");
    errno = before;
}

} // namespace

void InstallInterrupts() {
    if (pipe2(gPipe.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        gPipe = {-1, -1}; // poll passes over it
    }
    struct sigaction action = {};
    action.sa_handler = OnInterrupt; // without SA_RESTART: a read that waits for input ends
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    action.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &action, nullptr);
}

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

} // namespace orlimbara::shell
