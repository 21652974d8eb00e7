/// @file
/// The host calls that run SQL on a connection, so that another thread can stop and watch them.
#pragma once

#include <atomic>
#include <chrono>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "duckdb_support/handles.h"
#include "extension/engine_lock_guard.h"
#include "host/duckdb_objects.h"

namespace orkit::orsql {

class Run;

/// DuckDB's text for a stopped query, also used where the module itself stops a call.
inline constexpr const char* kInterruptedText =
    R"({"exception_type":"INTERRUPT","exception_message":"Interrupted!"})";

/// The calls on one database object that have been entered and haven't returned.
///
/// DuckDB forgets a request to stop whenever a query begins. So each call has its own flag, which it checks
/// before each statement, row and chunk; the request to DuckDB stops only the running query.
///
/// All operations may run on any thread, with or without the engine lock, and don't wait for a query.
class RunControl : noncopyable {
public:
    /// The connection that the runs use. Must be set to null before that connection is closed.
    void put_Connection(duckdb_connection inConnection) noexcept;

    /// Stops the running call. If none is running, but calls wait for the engine lock, stops the one that was
    /// entered first. Otherwise does nothing.
    void Interrupt() noexcept;
    /// The progress of the call that Interrupt would stop; all zeros if there is none.
    DuckDBProgress get_Progress() const noexcept;

    /// Whether the calling thread is inside a call that was stopped.
    bool IsThreadStopped() const noexcept;

private:
    friend class Run;
    duckdb_connection Connection() const noexcept;
    /// The run that Interrupt stops, or null. mMutex must be held.
    Run* Current() const noexcept;
    /// The run of the calling thread, or null. mMutex must be held.
    Run* OfThread() const noexcept;

    /// Held while DuckDB works on the connection. A backup exports without the engine lock; without this
    /// mutex a query on another thread could begin between the two steps of the export, and end it.
    std::mutex mUse;
    // Locked after mUse, if both are; held only briefly.
    mutable std::mutex mMutex;
    duckdb_connection mConnection = nullptr;
    Run* mUser = nullptr;   // whose query DuckDB is running
    Run* mOldest = nullptr; // the first of a list in the order of entry
};

/// One host call that may run SQL, from its entry on, before it waits for the engine lock. A call that it
/// makes on the same thread is part of it.
class Run : noncopyable {
public:
    /// Enters. @param inControl must outlive the run.
    explicit Run(RunControl& inControl) noexcept;
    ~Run() { End(); }

    /// Marks the call as running: it has the engine lock.
    void Begin() noexcept;
    /// Leaves now, before the destructor.
    void End() noexcept;

    /// Whether the call is to stop before its next step.
    bool IsStopped() const noexcept { return mWhole->mIsStopped.load(std::memory_order_acquire); }

    /// Calls a function that works on the connection and that a stop may end. Waits while other threads work
    /// on the same connection.
    template <class Function>
    auto InDuckDB(Function inFunction) const {
        const Use use(*this);
        return inFunction();
    }

    /// Runs a prepared statement to its complete result. If the call is stopped, the statement fails and an
    /// open transaction is aborted.
    /// @param outResult must be empty; after a failed run it may hold DuckDB's error.
    /// @return nothing, or the text of the failure: DuckDB's, else `inFixedText`.
    std::optional<std::string> Execute(duckdb_prepared_statement inPrepared,
                                       orlimbara::duckdb_support::OwnedResult& outResult,
                                       const char* inFixedText) const;
    /// Aborts the open transaction, if there is one, as a failed run does.
    void AbortTransaction() const noexcept;
    /// Runs a ROLLBACK, which can't be stopped. It fails outside a transaction, which doesn't matter.
    void RollBack() const noexcept;

private:
    friend class RunControl;

    /// Marks this run as the one that DuckDB works for.
    class Use : noncopyable {
    public:
        explicit Use(const Run& inRun);
        ~Use();

    private:
        RunControl& mControl;
        const std::lock_guard<std::mutex> mLock;
    };

    RunControl& mControl;
    Run* mWhole; // the outermost call of this thread, often this one; it owns the fields below
    bool mIsEntered = true;
    bool mHasBegun = false;

    const std::thread::id mThread = std::this_thread::get_id();
    const std::chrono::steady_clock::time_point mStart = std::chrono::steady_clock::now();
    std::atomic<bool> mIsStopped{false};
    // Under the control's mMutex:
    Run* mNext = nullptr;
    int mRunning = 0; // calls that have begun, this one and nested ones
};

/// A run that holds the engine lock for its whole length.
class GuardedRun : public Run {
public:
    explicit GuardedRun(RunControl& inControl) : Run(inControl) {
        mGuard.emplace();
        Begin();
    }
    ~GuardedRun() { End(); } // before the lock is released: the next call is the running one then

private:
    std::optional<EngineLockGuard> mGuard;
};

} // namespace orkit::orsql
