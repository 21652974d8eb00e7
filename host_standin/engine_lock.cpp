#include "host/engine_lock.h"

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <mutex>

#include "host_standin/faults.h"
#include "host_standin/live_objects.h"

namespace orkit {

namespace {

std::atomic<std::uint64_t> gLockCount = 0;
std::atomic<std::uint64_t> gUnlockCount = 0;
std::atomic<bool> gHasEngineLock = true;

// Wrong use would hang or go unnoticed; here it aborts the process.
class EngineLock final : public Thread_Mutex_Win {
public:
    void lock() override {
        const void* const self = ThisThread();
        Require(mOwner.load(kRelaxed) != self, "locked twice by one thread");
        mMutex.lock();
        mOwner.store(self, kRelaxed);
        Count(gLockCount);
    }

    void unlock() override {
        Require(mOwner.load(kRelaxed) == ThisThread(), "given back by a thread that doesn't hold it");
        Count(gUnlockCount);
        mOwner.store(nullptr, kRelaxed);
        mMutex.unlock();
    }

private:
    // A thread only asks whether it is the owner itself, and counts only while it is.
    static constexpr auto kRelaxed = std::memory_order_relaxed;

    /// An address that no other running thread has.
    static const void* ThisThread() noexcept {
        thread_local const char place = 0;
        return &place;
    }

    static void Count(std::atomic<std::uint64_t>& ioCount) noexcept {
        ioCount.store(ioCount.load(kRelaxed) + 1, kRelaxed);
    }

    static void Require(bool inKept, const char* inFault) noexcept {
        if (!inKept) {
            std::fprintf(stderr, "engine lock: %s\n", inFault);
            std::abort();
        }
    }

    std::mutex mMutex;
    std::atomic<const void*> mOwner = nullptr; // a ThisThread()
};

} // namespace

Thread_Mutex_Win* GetGlobalEngineLock() {
    // Never destroyed: objects that are released while the process exits still take it.
    static EngineLock* const lock = new EngineLock;
    return gHasEngineLock.load(std::memory_order_relaxed) ? lock : nullptr;
}

constinit TLS_SimpleType_Var<bool> gIsGlobalLockTaken{[]() -> bool& {
    thread_local bool isTaken = false;
    return isTaken;
}};

constinit TLS_SimpleType_Var<bool> gIsThisDiagnoseMTThread{[]() -> bool& {
    thread_local bool isDiagnoseThread = false;
    return isDiagnoseThread;
}};

namespace standin {

void put_HasEngineLock(bool inHasEngineLock) { gHasEngineLock.store(inHasEngineLock); }
std::uint64_t get_EngineLockCount() { return gLockCount.load(); }
std::uint64_t get_EngineUnlockCount() { return gUnlockCount.load(); }

} // namespace standin
} // namespace orkit
