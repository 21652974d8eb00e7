#include "host/unknown.h"
#include "host_standin/object_counts.h"

namespace orkit {

void* InterfaceTableQueryInterface(void* inObject, const INTERFACE_ITEM* inTable,
                                   std::uint32_t inInterfaceId) {
    for (const INTERFACE_ITEM* row = inTable; row->mInterfaceId != interface_id::kEnd; ++row) {
        if (row->mInterfaceId == inInterfaceId) {
            return row->mCast(inObject);
        }
    }
    return nullptr;
}

ForeignPlugin_imp::ForeignPlugin_imp() { standin::detail::gForeignPluginCounter.Add(+1); }

ForeignPlugin_imp::~ForeignPlugin_imp() {
    if (mFinalize) {
        mFinalize(mBackRef);
    }
    standin::detail::gForeignPluginCounter.Add(-1);
}

void* ForeignPlugin_imp::get_Xtra() const { return mXtra; }
void ForeignPlugin_imp::put_Xtra(void* inXtra) { mXtra = inXtra; }
void* ForeignPlugin_imp::get_BackRef() const { return mBackRef; }
void ForeignPlugin_imp::put_BackRef(void* inBackRef) { mBackRef = inBackRef; }
void ForeignPlugin_imp::put_Finalize(Finalize inFinalize) { mFinalize = inFinalize; }

} // namespace orkit
