/// @file
/// Switches that make the stand-in host fail on purpose, for tests. All are off by default, work for the
/// whole process, and can be set from any thread.
#pragma once

#include <cstdint>

namespace orkit::standin {

/// The calls that can be made to fail.
enum class Fault : std::uint8_t {
    FileOpen,             ///< FileWin's Open and Create: xException
    ValueCreation,        ///< any CreateValue...: std::bad_alloc
    PrepareFolder,        ///< xException
    CreateBackupLocation, ///< the stand-in's own `gCreateBackupLocation`: xException
};

/// Makes the `inNth` such call from now on fail (1 is the next), and only that one; 0 switches the fault off.
void FailCall(Fault inFault, std::uint32_t inNth);

/// Whether GetGlobalEngineLock gives a lock (true at the start) or null. To be switched only while no thread
/// holds it.
void put_HasEngineLock(bool inHasEngineLock);

/// Switches all faults off and gives the engine lock back.
void ClearFaults();

} // namespace orkit::standin
