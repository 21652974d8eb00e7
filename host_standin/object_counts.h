/// @file
/// The counters behind host_standin/live_objects.h.
#pragma once

#include <atomic>
#include <cstdint>

namespace orkit::standin::detail {

/// On a cache line of its own: counters of different kinds of object are changed by different threads.
struct alignas(64) ObjectCounter {
    std::atomic<std::int64_t> mCount{0};

    void Add(std::int64_t inChange) noexcept { mCount.fetch_add(inChange, std::memory_order_relaxed); }
    std::int64_t get() const noexcept { return mCount.load(std::memory_order_relaxed); }
};

extern ObjectCounter gValueCounter;
extern ObjectCounter gLocationCounter;
extern ObjectCounter gFileCounter;
extern ObjectCounter gArrayCounter;
extern ObjectCounter gForeignPluginCounter;
extern ObjectCounter gInit3Counter;

} // namespace orkit::standin::detail
