#include "host_standin/live_objects.h"

#include "host/arrays.h"
#include "host/runtime.h"
#include "host/unknown.h"

namespace orkit {

namespace standin {

using detail::Count;
using detail::Counted;

constinit std::array<detail::ObjectCounter, detail::kCountedKinds> detail::gObjectCounters;

namespace {

std::int64_t CountOf(Counted inKind) noexcept {
    return detail::gObjectCounters[static_cast<std::size_t>(inKind)].mCount.load(std::memory_order_relaxed);
}

} // namespace

LiveObjects CountLiveObjects() {
    return {.mValues = CountOf(Counted::Values),
            .mLocations = CountOf(Counted::Locations),
            .mFiles = CountOf(Counted::Files),
            .mArrays = CountOf(Counted::Arrays),
            .mForeignPlugins = CountOf(Counted::ForeignPlugins),
            .mProcedureValues = CountOf(Counted::ProcedureValues),
            .mProcedureCursors = CountOf(Counted::ProcedureCursors),
            .mProcedureContexts = CountOf(Counted::ProcedureContexts)};
}

std::uint64_t get_Init3Count() { return static_cast<std::uint64_t>(CountOf(Counted::Init3Calls)); }

} // namespace standin

void OrlimbaraInit3() { standin::Count(standin::Counted::Init3Calls, +1); }
void CountLiveArray(int inChange) noexcept { standin::Count(standin::Counted::Arrays, inChange); }

void* InterfaceTableQueryInterface(void* inObject, const INTERFACE_ITEM* inTable,
                                   std::uint32_t inInterfaceId) {
    for (const INTERFACE_ITEM* row = inTable; row->mInterfaceId != interface_id::kEnd; ++row) {
        if (row->mInterfaceId == inInterfaceId) {
            return row->mCast(inObject);
        }
    }
    return nullptr;
}

ForeignPlugin_imp::ForeignPlugin_imp() { standin::Count(standin::Counted::ForeignPlugins, +1); }

ForeignPlugin_imp::~ForeignPlugin_imp() {
    if (mFinalize) {
        mFinalize(mBackRef);
    }
    standin::Count(standin::Counted::ForeignPlugins, -1);
}

void* ForeignPlugin_imp::get_Xtra() const { return mXtra; }
void ForeignPlugin_imp::put_Xtra(void* inXtra) { mXtra = inXtra; }
void* ForeignPlugin_imp::get_BackRef() const { return mBackRef; }
void ForeignPlugin_imp::put_BackRef(void* inBackRef) { mBackRef = inBackRef; }
void ForeignPlugin_imp::put_Finalize(Finalize inFinalize) { mFinalize = inFinalize; }

} // namespace orkit
