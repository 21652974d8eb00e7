/// @file
/// The reference count of an object.
#pragma once

#include <atomic>
#include <cstdint>

namespace orkit::orsql {

/// Starts at 0. All operations are atomic.
class RefCount {
public:
    /// Adds a reference. @return the new count.
    std::uint32_t Add() noexcept { return mCount.fetch_add(1, std::memory_order_relaxed) + 1; }

    /// Adds a reference unless the last one is gone already. @return whether it did.
    bool AddUnlessZero() noexcept {
        std::uint32_t count = Get();
        while (count != 0 && !mCount.compare_exchange_weak(count, count + 1)) {
        }
        return count != 0;
    }

    /// Drops a reference. @return the new count. Whoever gets 0 sees all that other holders did before they
    /// dropped theirs, and destroys the object.
    std::uint32_t Drop() noexcept { return mCount.fetch_sub(1, std::memory_order_acq_rel) - 1; }

    std::uint32_t Get() const noexcept { return mCount.load(std::memory_order_relaxed); }

private:
    std::atomic<std::uint32_t> mCount{0};
};

} // namespace orkit::orsql
