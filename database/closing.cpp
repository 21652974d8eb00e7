// Close and Drop: ending a connection and the objects that depend on it, and deleting the database's file.

#include "database/duckdb_database.h"
#include "extension/engine_lock_guard.h"
#include "host/file.h"
#include "host/runtime.h"
#include "object_support/errors.h"

namespace orkit::orsql {

namespace {

/// Invalidates all objects of a registry, from the last to the first. Looks the last one up again each time,
/// since the call can destroy further objects, which remove themselves.
template <class T>
void InvalidateAll(Registry<T>& ioRegistry) {
    while (!ioRegistry.isEmpty()) {
        if (T* const object = ioRegistry.TakeLast()) {
            object->Invalidate();
        }
    }
}

} // namespace

void DuckDBDatabase::Close() {
    if (!Handle()) {
        return;
    }
    const EngineLockGuard guard;
    if (!mHandle) {
        return; // another thread closed while this one waited
    }
    InvalidateAll(mQueryResults);
    InvalidateAll(mCursors);
    InvalidateAll(mStatements);

    const bool wasConnected = mConnection != nullptr;
    if (mConnection) {
        mRuns->put_Connection(nullptr);
        mConnection->Close();
        mConnection.reset();
    }
    SharedDatabaseEntry& row = Row();
    const std::uint32_t others = row.mConnectionCount - (wasConnected ? 1 : 0);
    if (mIsReadOnly || others == 0) {
        mHandle->Close();
        row.mHandle.reset();
    }
    mHasSettings = false;
    mIsReadOnly = false;
    SetHandle(nullptr);
    if (wasConnected) {
        --row.mConnectionCount;
    }
}

void DuckDBDatabase::Drop() {
    Close();
    const EngineLockGuard guard;
    const std::uint32_t count = Row().mConnectionCount;
    if (count != 0) {
        String message = "Can not be dropped. ";
        message << count << " connections are alive.";
        ThrowDuckDBError(*mContext, message);
    }
    const smart_ptr<I_DuckDBExtension> extension = GetDuckDBExtension();
    if (!extension || extension->get_IsMemoryPath(mPath)) {
        return;
    }
    const smart_ptr<I_File> file(CreateFile(mLocation));
    file->Open();
    file->Close();
    file->ThrowOut();
}

} // namespace orkit::orsql
