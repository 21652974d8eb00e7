#include <stdexcept>
#include <thread>

#include <gtest/gtest.h>

#include "extension/engine_lock_guard.h"
#include "host_standin/faults.h"
#include "host_standin/live_objects.h"

namespace orkit::orsql::test {
namespace {

/// How often the engine lock was taken and given back since this object was made.
class LockCount {
public:
    std::uint64_t Locks() const { return standin::get_EngineLockCount() - mLocks; }
    std::uint64_t Unlocks() const { return standin::get_EngineUnlockCount() - mUnlocks; }

private:
    std::uint64_t mLocks = standin::get_EngineLockCount();
    std::uint64_t mUnlocks = standin::get_EngineUnlockCount();
};

TEST(EngineLockGuard, OnlyTheOutermostGuardLocks) {
    const LockCount count;
    {
        const EngineLockGuard outer;
        EXPECT_TRUE(gIsGlobalLockTaken.get());
        {
            const EngineLockGuard inner;
            const EngineLockGuard innermost;
            EXPECT_EQ(count.Locks(), 1u);
        }
        EXPECT_EQ(count.Unlocks(), 0u);
        EXPECT_TRUE(gIsGlobalLockTaken.get());
    }
    EXPECT_EQ(count.Locks(), 1u);
    EXPECT_EQ(count.Unlocks(), 1u);
    EXPECT_FALSE(gIsGlobalLockTaken.get());
}

TEST(EngineLockGuard, GivesTheLockBackWhileAnExceptionPasses) {
    const auto raise = [] {
        const EngineLockGuard guard;
        throw std::runtime_error("on the way out");
    };
    EXPECT_THROW(raise(), std::runtime_error);
    EXPECT_FALSE(gIsGlobalLockTaken.get());
    Thread_Mutex_Win* const lock = GetGlobalEngineLock();
    std::thread([lock] {
        lock->lock(); // would hang if it were still held
        lock->unlock();
    }).join();
}

TEST(EngineLockGuard, TakesNothingOnAThreadThatWorksWithoutTheLock) {
    for (const bool isTaken : {false, true}) {
        const LockCount count;
        gIsThisDiagnoseMTThread.put(true);
        gIsGlobalLockTaken.put(isTaken);
        { const EngineLockGuard guard; }
        EXPECT_EQ(gIsGlobalLockTaken.get(), isTaken);
        EXPECT_EQ(count.Locks(), 0u);
        EXPECT_EQ(count.Unlocks(), 0u);
        gIsGlobalLockTaken.put(false);
        gIsThisDiagnoseMTThread.put(false);
    }
}

TEST(EngineLockGuard, TakesNothingWhereThereIsNoLock) {
    standin::put_HasEngineLock(false);
    {
        const EngineLockGuard guard;
        EXPECT_FALSE(gIsGlobalLockTaken.get());
    }
    standin::put_HasEngineLock(true);
    EXPECT_FALSE(gIsGlobalLockTaken.get());
}

TEST(EngineLockGuard, FlagsBelongToTheirThread) {
    const EngineLockGuard guard;
    bool isTakenThere = true;
    std::thread([&] { isTakenThere = gIsGlobalLockTaken.get(); }).join();
    EXPECT_FALSE(isTakenThere);
}

} // namespace
} // namespace orkit::orsql::test
