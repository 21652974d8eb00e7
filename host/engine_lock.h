/// @file
/// The engine lock and the two per-thread flags that go with it.
#pragma once

#include "host/unknown.h"

namespace orkit {

/// The host's mutex. Not recursive: no thread locks it twice.
class Thread_Mutex_Win : noncopyable {
public:
    virtual ~Thread_Mutex_Win() = default;
    virtual void lock() = 0;
    virtual void unlock() = 0;
};

/// The one lock that serialises all work of the engine and its plug-ins. May be null: then no lock is taken.
Thread_Mutex_Win* GetGlobalEngineLock();

/// A variable of which each thread has its own copy, initially zero. Reading and writing never block.
template <class T>
class TLS_SimpleType_Var {
public:
    using Slot = T& (*)();

    /// @param inSlot returns the calling thread's copy.
    explicit constexpr TLS_SimpleType_Var(Slot inSlot) noexcept : mSlot(inSlot) {}

    T get() const { return mSlot(); }
    void put(T inValue) { mSlot() = inValue; }

private:
    Slot mSlot;
};

/// This thread holds the engine lock. Whoever takes the lock sets it after locking and clears it after
/// unlocking.
extern TLS_SimpleType_Var<bool> gIsGlobalLockTaken;

/// This thread works without the lock. Set by the host alone.
extern TLS_SimpleType_Var<bool> gIsThisDiagnoseMTThread;

} // namespace orkit
