/// @file
/// Reference counting for the objects that the host holds.
#pragma once

#include <atomic>
#include <cstdint>

namespace orkit::orsql {

/// The interfaces of an object, with their reference counting. A new object has no reference. All operations
/// are atomic.
template <class... Interfaces>
class RefCounted : public Interfaces... {
public:
    std::uint32_t AddRef() final { return mCount.fetch_add(1, std::memory_order_relaxed) + 1; }

    /// Destroys the object with the last reference. Whoever drops that one sees all that other holders did
    /// before they dropped theirs.
    std::uint32_t Release() final {
        const std::uint32_t left = mCount.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (left == 0) {
            OnLastRelease();
            delete this;
        }
        return left;
    }

    std::uint32_t get_RefsCount() const final { return mCount.load(std::memory_order_relaxed); }

protected:
    /// Adds a reference unless the last one is gone already. @return whether it did.
    bool AddRefUnlessZero() noexcept {
        std::uint32_t count = get_RefsCount();
        while (count != 0 && !mCount.compare_exchange_weak(count, count + 1)) {
        }
        return count != 0;
    }

    /// Called while the object is still whole. An object that stands in a registry leaves it here: a Close on
    /// another thread must not find a half-destroyed one.
    virtual void OnLastRelease() noexcept {}

private:
    std::atomic<std::uint32_t> mCount{0};
};

} // namespace orkit::orsql
