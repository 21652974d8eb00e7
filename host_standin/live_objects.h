/// @file
/// What the stand-in host counts, for tests.
#pragma once

#include <cstdint>

namespace orkit::standin {

/// Objects alive in the process; all zero when nothing leaks. Handles of the procedure table are counted
/// apart (host_standin/procedure_table.h).
struct LiveObjects {
    std::int64_t mValues = 0;         ///< host values, also those inside arrays and holders
    std::int64_t mLocations = 0;      ///< I_Location
    std::int64_t mFiles = 0;          ///< FileWin
    std::int64_t mArrays = 0;         ///< ArrayOfPtrs and ArrayOfSmartPtrs
    std::int64_t mForeignPlugins = 0; ///< objects of the plug-in: databases, statements, results, cursors

    std::int64_t get_Total() const { return mValues + mLocations + mFiles + mArrays + mForeignPlugins; }
    bool operator==(const LiveObjects&) const = default;
};

/// The counts at this moment. Callable from any thread.
LiveObjects CountLiveObjects();

/// How often the engine lock was taken and given back, by any thread, since the process began.
std::uint64_t get_EngineLockCount();
std::uint64_t get_EngineUnlockCount();

/// How often OrlimbaraInit3 was called, by any thread, since the process began.
std::uint64_t get_Init3Count();

} // namespace orkit::standin
