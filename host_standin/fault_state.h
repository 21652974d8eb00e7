/// @file
/// Where the stand-in asks whether it is to fail.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "host_standin/faults.h"

namespace orkit::standin::detail {

inline constexpr std::size_t kFaultCount = 4;
/// Calls left to the failing one, itself included; 0 while the fault is off.
extern std::array<std::atomic<std::uint32_t>, kFaultCount> gCallsToFault;

bool CountDown(std::atomic<std::uint32_t>& ioCallsToFault) noexcept;

/// To be called once for each call of the kind; whether this one is to fail.
inline bool TakeFault(Fault inFault) noexcept {
    auto& left = gCallsToFault[static_cast<std::size_t>(inFault)];
    return left.load(std::memory_order_relaxed) != 0 && CountDown(left);
}

} // namespace orkit::standin::detail
