// Ctrl-C on Windows, which runs a handler on a thread of its own.
#include <atomic>
#include <chrono>
#include <cstdlib>

#include <windows.h>

#include "shell/interrupts_system.h"
#include "shell/system.h"

namespace orlimbara::shell {

namespace {

HANDLE gMainThread = nullptr;
HANDLE gHasToStop = nullptr; // an event: the thread that stops runs has work

std::atomic<bool> gIsYielded{false}; // to another program

BOOL WINAPI OnControl(DWORD inKind) {
    if (inKind != CTRL_C_EVENT && inKind != CTRL_BREAK_EVENT) {
        return FALSE; // the console is closed: Windows ends the process
    }
    if (gIsYielded.load()) {
        return TRUE;
    }
    const bool isBusy = interrupts::CurrentActivity() == Activity::Busy;
    if (interrupts::Count(std::chrono::steady_clock::now().time_since_epoch() /
                          std::chrono::nanoseconds(1))) {
        std::_Exit(interrupts::kInterruptedStatus);
    }
    if (isBusy) {
        WriteAll(kStandardError, interrupts::kCantStop);
    }
    SetEvent(gHasToStop);
    CancelSynchronousIo(gMainThread); // a read that waits for input ends
    return TRUE;
}

DWORD WINAPI StopRuns(void*) {
    while (WaitForSingleObject(gHasToStop, INFINITE) == WAIT_OBJECT_0) {
        interrupts::StopRun();
    }
    return 0;
}

} // namespace

namespace interrupts {

void WakeStopper() { SetEvent(gHasToStop); }

void ForgetWakeUps() {}

} // namespace interrupts

void InstallInterrupts() {
    const HANDLE process = GetCurrentProcess();
    DuplicateHandle(process, GetCurrentThread(), process, &gMainThread, 0, FALSE, DUPLICATE_SAME_ACCESS);
    gHasToStop = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    CloseHandle(CreateThread(nullptr, 0, StopRuns, nullptr, 0, nullptr));
    SetConsoleCtrlHandler(OnControl, TRUE);
}

YieldScope::YieldScope(int) { gIsYielded.store(true); }

YieldScope::~YieldScope() { gIsYielded.store(false); }

void YieldScope::KeepOn() {}

// The read itself waits, and ends at Ctrl-C.
bool WaitForInput(int) { return !IsInterrupted(); }

} // namespace orlimbara::shell
