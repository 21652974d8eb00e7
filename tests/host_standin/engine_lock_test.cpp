#include "host/engine_lock.h"

#include <thread>
#include <vector>

#include "host/runtime.h"
#include "standin_test.h"

namespace orkit::standin {

namespace {

class EngineLock : public StandinTest {};

TEST_F(EngineLock, OrdersThreadsAndCountsItsUses) {
    const std::uint64_t locks = get_EngineLockCount();
    const std::uint64_t unlocks = get_EngineUnlockCount();
    std::uint64_t shared = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&shared] {
            Thread_Mutex_Win* const lock = GetGlobalEngineLock();
            for (int round = 0; round < 5000; ++round) {
                lock->lock();
                ++shared;
                lock->unlock();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(shared, 20000U);
    EXPECT_EQ(get_EngineLockCount() - locks, 20000U);
    EXPECT_EQ(get_EngineUnlockCount() - unlocks, 20000U);
}

TEST_F(EngineLock, FlagsAreFalseOnEachNewThreadAndApart) {
    gIsGlobalLockTaken.put(true);
    std::thread([] {
        EXPECT_FALSE(gIsGlobalLockTaken.get());
        gIsThisDiagnoseMTThread.put(true);
        EXPECT_FALSE(gIsGlobalLockTaken.get());
    }).join();
    EXPECT_TRUE(gIsGlobalLockTaken.get());
    EXPECT_FALSE(gIsThisDiagnoseMTThread.get());
    gIsGlobalLockTaken.put(false);
}

TEST_F(EngineLock, CanBeTakenAway) {
    Thread_Mutex_Win* const lock = GetGlobalEngineLock();
    put_HasEngineLock(false);
    EXPECT_EQ(GetGlobalEngineLock(), nullptr);
    ClearFaults();
    EXPECT_EQ(GetGlobalEngineLock(), lock);
}

TEST_F(EngineLock, CountsCallsOfInit) {
    const std::uint64_t before = get_Init3Count();
    OrlimbaraInit3();
    std::thread(OrlimbaraInit3).join();
    EXPECT_EQ(get_Init3Count() - before, 2U);
}

using EngineLockDeathTest = EngineLock;

TEST_F(EngineLockDeathTest, EndsTheProcessWhenUsedWrongly) {
    ::testing::FLAGS_gtest_death_test_style = "threadsafe";
    Thread_Mutex_Win* const lock = GetGlobalEngineLock();
    EXPECT_DEATH((lock->lock(), lock->lock()), "locked twice");
    EXPECT_DEATH(lock->unlock(), "doesn't hold it");
}

} // namespace
} // namespace orkit::standin
