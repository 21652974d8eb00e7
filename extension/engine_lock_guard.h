/// @file
/// The scope object that takes the engine lock: the first line of every guarded operation.
#pragma once

#include "host/engine_lock.h"

namespace orkit::orsql {

/// Takes the engine lock on construction, which may block, and releases it on destruction. Takes nothing if
/// the thread holds the lock already or works without it, and if there is no lock. So guards nest to any
/// depth, and only the outermost one locks.
class EngineLockGuard : noncopyable {
public:
    EngineLockGuard() : mMutex(nullptr), mFlag(&gIsGlobalLockTaken) {
        Thread_Mutex_Win* const lock = GetGlobalEngineLock();
        if (gIsThisDiagnoseMTThread.get() || mFlag->get() || !lock) {
            return;
        }
        lock->lock();
        mMutex = lock;
        mFlag->put(true);
    }

    ~EngineLockGuard() {
        if (mMutex) {
            mMutex->unlock();
            mFlag->put(false);
        }
    }

private:
    Thread_Mutex_Win* mMutex; // what this guard took; null when it took nothing
    TLS_SimpleType_Var<bool>* mFlag;
};

} // namespace orkit::orsql
