/// @file
/// What the POSIX and Windows sources of interrupts.h share.
#pragma once

#include <cstdint>
#include <string_view>

#include "shell/interrupts.h"

namespace orlimbara::shell::interrupts {

constexpr int kInterruptedStatus = 130;
constexpr std::string_view kCantStop = "orsql: this can't be stopped; press Ctrl-C again to leave\n";

/// Counts one Ctrl-C. A signal handler may call it. @return whether the process must end.
/// @param inNow nanoseconds of a steady clock.
bool Count(std::int64_t inNow);
/// What the shell is doing. A signal handler may call it.
Activity CurrentActivity();
/// Stops what runs, and tries until the run's scope ends: an interrupt that comes between two calls of the
/// scope stops neither.
void StopRun();
/// Has the system's thread call StopRun.
void WakeStopper();
/// Has WaitForInput wait again.
void ForgetWakeUps();

} // namespace orlimbara::shell::interrupts
