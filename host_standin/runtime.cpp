#include "host/runtime.h"

#include <mutex>

namespace orkit::orsql {

namespace {

struct RootObject {
    std::mutex mMutex;
    smart_ptr<I_DuckDBExtension> mExtension;
};

RootObject& GetRootObject() {
    // Never destroyed: at the end of the process the module that the object belongs to may be gone already.
    static auto* const root = new RootObject;
    return *root;
}

} // namespace

void SetDuckDBExtension(smart_ptr<I_DuckDBExtension> inExtension) {
    RootObject& root = GetRootObject();
    {
        const std::lock_guard lock(root.mMutex);
        std::swap(root.mExtension, inExtension);
    }
    // The former object goes here, outside the lock.
}

smart_ptr<I_DuckDBExtension> GetDuckDBExtension() {
    RootObject& root = GetRootObject();
    const std::lock_guard lock(root.mMutex);
    return root.mExtension;
}

} // namespace orkit::orsql
