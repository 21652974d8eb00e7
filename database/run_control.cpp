#include "database/run_control.h"

#include <algorithm>

#include "object_support/text.h"

namespace orkit::orsql {

namespace support = orlimbara::duckdb_support;

void RunControl::put_Connection(duckdb_connection inConnection) noexcept {
    const std::lock_guard lock(mMutex);
    mConnection = inConnection;
}

void RunControl::Interrupt() noexcept {
    const std::lock_guard lock(mMutex);
    if (Run* const run = Current()) {
        run->mIsStopped.store(true, std::memory_order_release);
        if (run == mUser) {
            duckdb_interrupt(mConnection);
        }
    }
}

DuckDBProgress RunControl::get_Progress() const noexcept {
    const std::lock_guard lock(mMutex);
    const Run* const run = Current();
    if (!run) {
        return {};
    }
    DuckDBProgress progress;
    progress.mFraction = -1;
    if (run == mUser && mConnection) {
        const duckdb_query_progress_type told = duckdb_query_progress(mConnection);
        if (told.percentage >= 0) {
            progress.mFraction = std::min(told.percentage / 100, 1.0);
            progress.mRowsDone = told.rows_processed;
            progress.mRowsTotal = told.total_rows_to_process;
        }
    }
    using std::chrono::microseconds;
    const auto elapsed =
        std::chrono::duration_cast<microseconds>(std::chrono::steady_clock::now() - run->mStart);
    // At least one, to tell a run that has just begun from no run.
    progress.mElapsedMicroseconds =
        static_cast<std::uint64_t>(std::max<microseconds::rep>(elapsed.count(), 1));
    return progress;
}

bool RunControl::IsThreadStopped() const noexcept {
    const std::lock_guard lock(mMutex);
    const Run* const run = OfThread();
    return run && run->IsStopped();
}

duckdb_connection RunControl::Connection() const noexcept {
    const std::lock_guard lock(mMutex);
    return mConnection;
}

Run* RunControl::Current() const noexcept {
    if (mUser) {
        return mUser;
    }
    for (Run* run = mOldest; run; run = run->mNext) {
        if (run->mRunning != 0) {
            return run;
        }
    }
    return mOldest;
}

Run* RunControl::OfThread() const noexcept {
    const std::thread::id thread = std::this_thread::get_id();
    Run* run = mOldest;
    while (run && run->mThread != thread) {
        run = run->mNext;
    }
    return run;
}

Run::Run(RunControl& inControl) noexcept : mControl(inControl), mWhole(this) {
    const std::lock_guard lock(mControl.mMutex);
    if (Run* const outer = mControl.OfThread()) {
        mWhole = outer;
        return;
    }
    Run** end = &mControl.mOldest;
    while (*end) {
        end = &(*end)->mNext;
    }
    *end = this;
}

void Run::Begin() noexcept {
    const std::lock_guard lock(mControl.mMutex);
    ++mWhole->mRunning;
    mHasBegun = true;
}

void Run::End() noexcept {
    if (!mIsEntered) {
        return;
    }
    mIsEntered = false;
    const std::lock_guard lock(mControl.mMutex);
    if (mHasBegun) {
        --mWhole->mRunning;
    }
    if (mWhole == this) {
        Run** link = &mControl.mOldest;
        while (*link != this) {
            link = &(*link)->mNext;
        }
        *link = mNext;
    }
}

Run::Use::Use(const Run& inRun) : mControl(inRun.mControl), mLock(mControl.mUse) {
    const std::lock_guard lock(mControl.mMutex);
    mControl.mUser = inRun.mWhole;
}

Run::Use::~Use() {
    const std::lock_guard lock(mControl.mMutex);
    mControl.mUser = nullptr;
}

std::optional<std::string> Run::Execute(duckdb_prepared_statement inPrepared, support::OwnedResult& outResult,
                                        const char* inFixedText) const {
    {
        const Use use(*this);
        support::OwnedPendingResult pending;
        if (duckdb_pending_prepared(inPrepared, pending.Put()) == DuckDBSuccess) {
            if (IsStopped()) {
                // The stop came before DuckDB began, and DuckDB forgot it; from here on DuckDB remembers one.
                // The statement can't just be dropped: DuckDB may be working on it already.
                duckdb_interrupt(mControl.Connection());
            }
            if (duckdb_execute_pending(pending.Get(), outResult.Put()) == DuckDBSuccess) {
                return std::nullopt;
            }
            return TextOr(duckdb_result_error(outResult.Get()), inFixedText);
        }
        if (!IsStopped()) {
            return TextOr(duckdb_pending_error(pending.Get()), inFixedText);
        }
    }
    AbortTransaction();
    return kInterruptedText;
}

void Run::AbortTransaction() const noexcept {
    const std::lock_guard use(mControl.mUse);
    duckdb_connection const connection = mControl.Connection();
    support::OwnedPreparedStatement prepared;
    support::OwnedPendingResult pending;
    support::OwnedResult result;
    if (duckdb_prepare(connection, "SELECT 1", prepared.Put()) == DuckDBSuccess &&
        duckdb_pending_prepared(prepared.Get(), pending.Put()) == DuckDBSuccess) {
        duckdb_interrupt(connection);
        duckdb_execute_pending(pending.Get(), result.Put());
    }
}

void Run::RollBack() const noexcept {
    const std::lock_guard use(mControl.mUse);
    support::OwnedResult result;
    duckdb_query(mControl.Connection(), "ROLLBACK", result.Put());
}

} // namespace orkit::orsql
