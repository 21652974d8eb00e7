#include "host/runtime.h"

#include <mutex>

namespace orkit::orsql {

namespace {

struct RootObject {
    std::mutex mMutex;
    smart_ptr<I_DuckDBExtension> mExtension;
};

RootObject& GetRootObject() {
    // Never destroyed: when the process exits, the object's module may be gone already.
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
    // The previous object is released here, outside the lock.
}

smart_ptr<I_DuckDBExtension> GetDuckDBExtension() {
    RootObject& root = GetRootObject();
    const std::lock_guard lock(root.mMutex);
    return root.mExtension;
}

} // namespace orkit::orsql
