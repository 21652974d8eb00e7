/// @file
/// Switches that make the stand-in host fail on purpose, for tests. All are off by default, work for the
/// whole process, and can be set from any thread.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace orkit::standin {

/// The calls that can be made to fail.
enum class Fault : std::uint8_t {
    FileOpen,             ///< FileWin's Open and Create: xException
    ValueCreation,        ///< any CreateValue...: std::bad_alloc
    PrepareFolder,        ///< xException
    CreateBackupLocation, ///< the stand-in's own `gCreateBackupLocation`: xException
    RegisterProcedure,    ///< the procedure table's: refused (-1, 1 and INT_MIN in turn), not registered
    MakeRowCursor,        ///< the procedure table's: refused likewise; the values are freed
    MakeCallbackCursor,   ///< the procedure table's: refused likewise; the state stays with the module
    NewProcedureValue,    ///< any `new_` entry of the procedure table: returns null
};
inline constexpr std::size_t kFaultCount = 8;

/// Makes the `inNth` such call from now on fail (1 is the next), and only that one; 0 switches the fault off.
void FailCall(Fault inFault, std::uint32_t inNth);

/// Whether GetGlobalEngineLock returns a lock (true initially) or null. Change it only while no thread holds
/// the lock.
void put_HasEngineLock(bool inHasEngineLock);

/// Switches all faults off and restores the engine lock.
void ClearFaults();

namespace detail {

/// Calls left until the failing one, inclusive; 0 while the fault is off.
extern std::array<std::atomic<std::uint32_t>, kFaultCount> gCallsToFault;
bool CountDown(std::atomic<std::uint32_t>& ioCallsToFault) noexcept;

/// For the stand-in itself, once per call of the kind: whether this one must fail.
inline bool TakeFault(Fault inFault) noexcept {
    auto& left = gCallsToFault[static_cast<std::size_t>(inFault)];
    return left.load(std::memory_order_relaxed) != 0 && CountDown(left);
}

} // namespace detail
} // namespace orkit::standin
