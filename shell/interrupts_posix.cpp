// Ctrl-C on POSIX: signals, and pipes that wake waiting threads.
#include <array>
#include <atomic>
#include <cerrno>
#include <thread>

#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include "shell/interrupts_system.h"

namespace orlimbara::shell {

namespace {

/// A byte for each Ctrl-C, so that a wait ends even if the signal came just before it or on another thread.
std::array<int, 2> gPipe = {-1, -1};
/// The same for the thread that stops runs, whose reads block.
std::array<int, 2> gStopPipe = {-1, -1};

constexpr int kNobody = -1;
constexpr int kAnother = -2;
/// Whom Ctrl-C is for in place of the shell: the reader of a pipe, or another program.
std::atomic<int> gReader{kNobody};
static_assert(std::atomic<int>::is_always_lock_free);

void TryToWrite(int inFile, std::string_view inText) {
    [[maybe_unused]] const ssize_t written = write(inFile, inText.data(), inText.size());
}

bool IsForReader() {
    const int pipe = gReader.load();
    pollfd file = {pipe, 0, 0}; // which tells alone that the reader is gone
    return pipe == kAnother || (pipe >= 0 && poll(&file, 1, 0) == 0);
}

extern "C" void OnInterrupt(int) {
    const int before = errno;
    if (IsForReader()) {
        errno = before;
        return;
    }
    timespec clock = {};
    clock_gettime(CLOCK_MONOTONIC, &clock);
    const bool isBusy = interrupts::CurrentActivity() == Activity::Busy;
    if (interrupts::Count(std::int64_t{clock.tv_sec} * 1'000'000'000 + clock.tv_nsec)) {
        _exit(interrupts::kInterruptedStatus);
    }
    if (isBusy) {
        TryToWrite(STDERR_FILENO, interrupts::kCantStop);
    }
    TryToWrite(gPipe[1], "!");
    TryToWrite(gStopPipe[1], "!");
    errno = before;
}

/// Stops what runs after each Ctrl-C.
void StopRuns() {
    char byte = 0;
    for (;;) {
        const ssize_t count = read(gStopPipe[0], &byte, 1);
        if (count == 0 || (count < 0 && errno != EINTR)) {
            return;
        }
        if (count > 0) {
            interrupts::StopRun();
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

namespace interrupts {

void WakeStopper() { TryToWrite(gStopPipe[1], "!"); }

void ForgetWakeUps() {
    std::array<char, 16> bytes;
    while (read(gPipe[0], bytes.data(), bytes.size()) > 0) {
    }
}

} // namespace interrupts

void InstallInterrupts() {
    if (pipe2(gPipe.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        gPipe = {-1, -1}; // poll ignores it
    }
    StartToStopRuns();
    struct sigaction action = {};
    action.sa_handler = OnInterrupt; // without SA_RESTART: a read that waits for input ends
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    action.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &action, nullptr);
    sigaction(SIGXFSZ, &action, nullptr);
}

YieldScope::YieldScope(int inPipe) { gReader.store(inPipe); }

YieldScope::~YieldScope() { gReader.store(kNobody); }

void YieldScope::KeepOn() { gReader.store(kAnother); }

bool WaitForInput(int inFile) {
    std::array<pollfd, 2> files = {{{inFile, POLLIN, 0}, {gPipe[0], POLLIN, 0}}};
    while (!IsInterrupted()) {
        if (poll(files.data(), files.size(), -1) > 0 && files[0].revents != 0) {
            return true;
        }
    }
    return false;
}

} // namespace orlimbara::shell
