/// @file
/// The host's reference-counted arrays.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

#include "host/unknown.h"

namespace orkit {

/// Counts the arrays alive, for leak checks. Defined by the host's library.
void CountLiveArray(int inChange) noexcept;

/// What both kinds of array share: the reference count, and a capacity that doubles when the array is full.
/// New items are zero-filled (null pointers). Indexes start at 0. The array itself takes no lock.
template <class Derived, class Item>
class ArrayBase : noncopyable {
public:
    /// Atomic. @return the new count; a new array has 0.
    std::uint32_t AddRef() noexcept { return mRefCount.fetch_add(1, std::memory_order_relaxed) + 1; }
    /// Atomic. At 0 the array frees itself. @return the new count.
    std::uint32_t Release() noexcept {
        const std::uint32_t left = mRefCount.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (left == 0) {
            delete static_cast<Derived*>(this);
        }
        return left;
    }
    std::uint32_t get_RefsCount() const noexcept { return mRefCount.load(std::memory_order_relaxed); }

    std::size_t get_Count() const noexcept { return mCount; }
    std::size_t get_Capacity() const noexcept { return mCapacity; }
    bool isEmpty() const noexcept { return mCount == 0; }

    /// The item at `inIndex`, which must be below the count.
    const Item& operator[](std::size_t inIndex) const noexcept { return mItems[inIndex]; }
    Item& operator[](std::size_t inIndex) noexcept { return mItems[inIndex]; }

    /// Appends an item; doubles the capacity of a full array. If that throws, the array is unchanged.
    void Append(Item inItem) {
        if (mCount == mCapacity) {
            Grow();
        }
        mItems[mCount++] = std::move(inItem);
    }

    /// Removes the item at `inIndex`; later items move down by one.
    Item TakeAt(std::size_t inIndex) noexcept {
        Item taken = std::move(mItems[inIndex]);
        for (std::size_t i = inIndex + 1; i < mCount; ++i) {
            mItems[i - 1] = std::move(mItems[i]);
        }
        mItems[--mCount] = Item{};
        return taken;
    }

protected:
    /// @param inCapacity the initial capacity; may be 0.
    explicit ArrayBase(std::size_t inCapacity)
        : mItems(std::make_unique<Item[]>(inCapacity)), mCapacity(inCapacity) {
        CountLiveArray(+1);
    }
    ~ArrayBase() { CountLiveArray(-1); }

private:
    void Grow() {
        const std::size_t capacity = mCapacity ? mCapacity * 2 : 1;
        auto items = std::make_unique<Item[]>(capacity);
        for (std::size_t i = 0; i < mCount; ++i) {
            items[i] = std::move(mItems[i]);
        }
        mItems = std::move(items);
        mCapacity = capacity;
    }

    std::atomic<std::uint32_t> mRefCount{0};
    std::unique_ptr<Item[]> mItems;
    std::size_t mCount = 0;
    std::size_t mCapacity;
};

/// Plain pointers that the array doesn't own.
template <class T>
class ArrayOfPtrs final : public ArrayBase<ArrayOfPtrs<T>, T*> {
public:
    explicit ArrayOfPtrs(std::size_t inCapacity) : ArrayBase<ArrayOfPtrs<T>, T*>(inCapacity) {}

    /// Removes the first item equal to `inItem`. @return false if there is none.
    bool Remove(const T* inItem) noexcept {
        for (std::size_t i = 0; i < this->get_Count(); ++i) {
            if ((*this)[i] == inItem) {
                this->TakeAt(i);
                return true;
            }
        }
        return false;
    }
};

/// Objects on each of which the array holds a reference. An item may be null.
template <class T>
class ArrayOfSmartPtrs final : public ArrayBase<ArrayOfSmartPtrs<T>, smart_ptr<T>> {
public:
    explicit ArrayOfSmartPtrs(std::size_t inCapacity)
        : ArrayBase<ArrayOfSmartPtrs<T>, smart_ptr<T>>(inCapacity) {}
};

} // namespace orkit
