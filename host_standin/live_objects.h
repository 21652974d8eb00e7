/// @file
/// What the stand-in host counts, for tests: live objects, uses of the engine lock, calls of OrlimbaraInit3.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace orkit::standin {

/// The live objects of the process; all zero if nothing leaks.
struct LiveObjects {
    std::int64_t mValues = 0;            ///< host values, also those inside arrays and holders
    std::int64_t mLocations = 0;         ///< I_Location
    std::int64_t mFiles = 0;             ///< FileWin
    std::int64_t mArrays = 0;            ///< ArrayOfPtrs and ArrayOfSmartPtrs
    std::int64_t mForeignPlugins = 0;    ///< objects of the plug-in: databases, statements, results, cursors
    std::int64_t mProcedureValues = 0;   ///< values of the procedure table
    std::int64_t mProcedureCursors = 0;  ///< cursors of the procedure table
    std::int64_t mProcedureContexts = 0; ///< calls of procedures that haven't ended

    std::int64_t get_Total() const {
        return mValues + mLocations + mFiles + mArrays + mForeignPlugins + mProcedureValues +
               mProcedureCursors + mProcedureContexts;
    }
    bool operator==(const LiveObjects&) const = default;
};

/// The current counts. Callable from any thread.
LiveObjects CountLiveObjects();

/// How often the engine lock was taken and released, by any thread, since the process began.
std::uint64_t get_EngineLockCount();
std::uint64_t get_EngineUnlockCount();

/// How often OrlimbaraInit3 was called, by any thread, since the process began.
std::uint64_t get_Init3Count();

namespace detail {

enum class Counted : std::uint8_t {
    Values,
    Locations,
    Files,
    Arrays,
    ForeignPlugins,
    ProcedureValues,
    ProcedureCursors,
    ProcedureContexts,
    Init3Calls,
};
inline constexpr std::size_t kCountedKinds = 9;

using Counters = std::array<std::atomic<std::int64_t>, kCountedKinds>;

/// This thread's counts. Other threads only read them, so no atomic addition is needed, which would take
/// longer than the rest of making a small value. Null before the thread's first count and after its last.
extern constinit thread_local Counters* gThreadCounters;

/// Counts on a thread that has no counters of its own.
void CountApart(Counted inKind, std::int64_t inChange) noexcept;

/// For the stand-in's own classes.
inline void Count(Counted inKind, std::int64_t inChange) noexcept {
    if (Counters* const counters = gThreadCounters) {
        std::atomic<std::int64_t>& count = (*counters)[static_cast<std::size_t>(inKind)];
        count.store(count.load(std::memory_order_relaxed) + inChange, std::memory_order_relaxed);
    } else {
        CountApart(inKind, inChange);
    }
}

} // namespace detail
} // namespace orkit::standin
