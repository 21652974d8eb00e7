/// @file
/// The live objects that point to a database, in the order in which they were added.
#pragma once

#include <iterator>
#include <list>
#include <unordered_map>
#include <utility>

#include "host/unknown.h"

namespace orkit::orsql {

/// Holds pointers, not references, and never dereferences one: a pointer may enter several times, and its
/// object may be gone when it leaves. Both take constant time. Not thread-safe: the guard must be held.
template <class T>
class Registry : noncopyable {
public:
    /// If it throws, the registry is unchanged.
    void Enter(T* inObject) {
        mEntries.push_back({inObject, mEntries.end(), mEntries.end()});
        const Position entry = std::prev(mEntries.end());
        try {
            const auto [found, isFirst] = mByObject.try_emplace(inObject, Same{entry, entry});
            if (!isFirst) {
                Same& same = found->second;
                entry->mPrevious = same.mLast;
                same.mLast = same.mLast->mNext = entry;
            }
        } catch (...) {
            mEntries.pop_back();
            throw;
        }
    }

    /// Removes the first entry of the pointer. @return false if there is none.
    bool Leave(const T* inObject) noexcept {
        const auto found = mByObject.find(inObject);
        if (found == mByObject.end()) {
            return false;
        }
        Same& same = found->second;
        const Position entry = same.mFirst;
        if (same.mFirst == same.mLast) {
            mByObject.erase(found);
        } else {
            same.mFirst = entry->mNext;
            same.mFirst->mPrevious = mEntries.end();
        }
        mEntries.erase(entry);
        return true;
    }

    /// Removes and returns the last entry. The registry must not be empty.
    T* TakeLast() noexcept {
        const Position entry = std::prev(mEntries.end());
        T* const object = entry->mObject;
        const auto found = mByObject.find(object);
        Same& same = found->second;
        if (same.mFirst == same.mLast) {
            mByObject.erase(found);
        } else {
            same.mLast = entry->mPrevious; // the very last entry is also the last of its pointer
            same.mLast->mNext = mEntries.end();
        }
        mEntries.erase(entry);
        return object;
    }

    bool isEmpty() const noexcept { return mEntries.empty(); }

private:
    struct Entry;
    using Position = typename std::list<Entry>::iterator;
    struct Entry {
        T* mObject;
        Position mPrevious; // entries of the same pointer
        Position mNext;
    };
    struct Same {
        Position mFirst;
        Position mLast;
    };

    std::list<Entry> mEntries;
    std::unordered_map<const T*, Same> mByObject;
};

} // namespace orkit::orsql
