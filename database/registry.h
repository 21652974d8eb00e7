/// @file
/// The live objects that point to a database, in the order in which they were added.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "host/unknown.h"

namespace orkit::orsql {

/// Holds pointers, not references, and never dereferences one: a pointer may enter several times, and its
/// object may be gone when it leaves. Both take constant time. Not thread-safe: the guard must be held.
///
/// The entries stand in one vector and name each other by their places in it; a hash table with linear
/// probing leads from a pointer to its entries. So an entry needs no block of memory of its own: with 100,000
/// live objects, the cache misses of such blocks cost more than the rest.
template <class T>
class Registry : noncopyable {
public:
    /// If it throws, the registry is unchanged.
    void Enter(T* inObject) {
        if (2 * (mPointers + 1) > mSlots.size()) {
            Grow();
        }
        Place place = mFree;
        if (place == kNone) {
            place = static_cast<Place>(mEntries.size());
            mEntries.emplace_back();
        } else {
            mFree = mEntries[place].mNext;
        }
        Slot& slot = mSlots[Find(inObject)];
        mEntries[place] = {inObject, mLast, kNone, slot.mLast, kNone};
        LinkNext(mLast, place);
        mLast = place;
        if (slot.mFirst == kNone) {
            slot = {inObject, place, place};
            ++mPointers;
        } else {
            mEntries[slot.mLast].mNextSame = place;
            slot.mLast = place;
        }
    }

    /// Removes the first entry of the pointer. @return false if there is none.
    bool Leave(const T* inObject) noexcept {
        if (isEmpty()) {
            return false;
        }
        const std::size_t index = Find(inObject);
        const Place place = mSlots[index].mFirst;
        if (place == kNone) {
            return false;
        }
        Remove(place, index);
        return true;
    }

    /// Removes and returns the last entry. The registry must not be empty.
    T* TakeLast() noexcept {
        T* const object = mEntries[mLast].mObject;
        Remove(mLast, Find(object));
        return object;
    }

    bool isEmpty() const noexcept { return mLast == kNone; }

private:
    using Place = std::uint32_t;
    static constexpr Place kNone = ~Place(0);
    static constexpr std::size_t kFirstSlots = 16;

    struct Entry {
        T* mObject;
        Place mPrevious;
        Place mNext;         // of a removed entry: the next removed one
        Place mPreviousSame; // an earlier entry of the same pointer; left as it is when that one goes
        Place mNextSame;     // a later one, likewise
    };
    struct Slot {
        const T* mObject = nullptr;
        Place mFirst = kNone; // of the pointer's entries; kNone: the slot is free
        Place mLast = kNone;
    };

    std::size_t Home(const T* inObject) const noexcept {
        // The high bits of the product depend on all bits of the pointer (Fibonacci hashing).
        const auto number = reinterpret_cast<std::uintptr_t>(inObject);
        return static_cast<std::size_t>((number * 0x9E3779B97F4A7C15u) >> mShift);
    }
    /// The slot of the pointer, or the free one where it belongs.
    std::size_t Find(const T* inObject) const noexcept {
        std::size_t index = Home(inObject);
        while (mSlots[index].mFirst != kNone && mSlots[index].mObject != inObject) {
            index = Next(index);
        }
        return index;
    }
    std::size_t Next(std::size_t inIndex) const noexcept { return (inIndex + 1) & (mSlots.size() - 1); }

    void Grow() {
        std::vector<Slot> slots(mSlots.empty() ? kFirstSlots : 2 * mSlots.size());
        slots.swap(mSlots);
        mShift = 64 - std::countr_zero(mSlots.size());
        for (const Slot& slot : slots) {
            if (slot.mFirst != kNone) {
                mSlots[Find(slot.mObject)] = slot;
            }
        }
    }

    void LinkNext(Place inPlace, Place inNext) noexcept {
        if (inPlace != kNone) {
            mEntries[inPlace].mNext = inNext;
        }
    }

    /// Removes the first or the last entry of a pointer.
    void Remove(Place inPlace, std::size_t inIndex) noexcept {
        Entry& entry = mEntries[inPlace];
        Slot& slot = mSlots[inIndex];
        if (slot.mFirst == slot.mLast) {
            Free(inIndex);
        } else if (slot.mFirst == inPlace) {
            slot.mFirst = entry.mNextSame;
        } else {
            slot.mLast = entry.mPreviousSame;
        }
        LinkNext(entry.mPrevious, entry.mNext);
        if (entry.mNext == kNone) {
            mLast = entry.mPrevious;
        } else {
            mEntries[entry.mNext].mPrevious = entry.mPrevious;
        }
        entry.mNext = mFree;
        mFree = inPlace;
    }

    /// Frees a slot and moves those behind it forward that could not be found over the gap.
    void Free(std::size_t inIndex) noexcept {
        std::size_t gap = inIndex;
        const std::size_t mask = mSlots.size() - 1;
        for (std::size_t index = Next(gap); mSlots[index].mFirst != kNone; index = Next(index)) {
            if (((index - Home(mSlots[index].mObject)) & mask) >= ((index - gap) & mask)) {
                mSlots[gap] = mSlots[index];
                gap = index;
            }
        }
        mSlots[gap] = {};
        --mPointers;
    }

    std::vector<Entry> mEntries;
    std::vector<Slot> mSlots; // a power of two, at most half of them taken
    std::size_t mPointers = 0;
    int mShift = 64;
    Place mLast = kNone;
    Place mFree = kNone; // the first of the removed entries
};

} // namespace orkit::orsql
