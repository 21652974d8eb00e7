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

TEST(EngineLockGuard, OnlyTheOutermostGuardLocksAlsoWhileAnExceptionPasses) {
    const LockCount count;
    const auto raise = [&] {
        const EngineLockGuard outer;
        EXPECT_TRUE(gIsGlobalLockTaken.get());
        std::thread([] { EXPECT_FALSE(gIsGlobalLockTaken.get()) << "the flag is the thread's"; }).join();
        {
            const EngineLockGuard inner;
            EXPECT_EQ(count.Locks(), 1u);
        }
        EXPECT_EQ(count.Unlocks(), 0u);
        EXPECT_TRUE(gIsGlobalLockTaken.get());
        throw std::runtime_error("on the way out");
    };
    EXPECT_THROW(raise(), std::runtime_error);
    EXPECT_EQ(count.Locks(), 1u);
    EXPECT_EQ(count.Unlocks(), 1u);
    EXPECT_FALSE(gIsGlobalLockTaken.get());
}

TEST(EngineLockGuard, TakesNothingWithoutALockOrOnAThreadThatWorksWithoutIt) {
    const LockCount count;
    for (const bool isTaken : {false, true}) {
        gIsThisDiagnoseMTThread.put(true);
        gIsGlobalLockTaken.put(isTaken);
        { const EngineLockGuard guard; }
        EXPECT_EQ(gIsGlobalLockTaken.get(), isTaken);
        gIsGlobalLockTaken.put(false);
        gIsThisDiagnoseMTThread.put(false);
    }
    standin::put_HasEngineLock(false);
    {
        const EngineLockGuard guard;
        EXPECT_FALSE(gIsGlobalLockTaken.get());
    }
    standin::put_HasEngineLock(true);
    EXPECT_EQ(count.Locks(), 0u);
    EXPECT_EQ(count.Unlocks(), 0u);
}

} // namespace
} // namespace orkit::orsql::test
