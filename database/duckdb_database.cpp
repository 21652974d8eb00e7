#include "database/duckdb_database.h"

#include <array>
#include <utility>

#include "extension/engine_lock_guard.h"
#include "host/runtime.h"
#include "object_support/errors.h"
#include "statement/duckdb_statement.h"

namespace orkit::orsql {

std::map<String, SharedDatabaseEntry> gSharedDatabases;

DuckDBDatabase::DuckDBDatabase(smart_ptr<I_Location> inLocation, std::shared_ptr<RunControl> inRuns)
    : mPath(inLocation->get_Path()), mLocation(std::move(inLocation)),
      mContext(std::make_shared<const String>(mLocation->get_Name())), mRuns(std::move(inRuns)) {}

DuckDBDatabase::~DuckDBDatabase() {
    try {
        Close();
    } catch (...) { // nobody could handle the failure
    }
}

smart_ptr<I_DuckDBDatabase> DuckDBDatabase::Acquire(DuckDBDatabase* inDatabase) noexcept {
    if (!inDatabase || !inDatabase->AddRefUnlessZero()) {
        return nullptr;
    }
    smart_ptr<I_DuckDBDatabase> database(inDatabase);
    inDatabase->Release(); // the reference that AddRefUnlessZero took
    return database;
}

void* DuckDBDatabase::QueryInterface(std::uint32_t inInterfaceId) {
    static constexpr std::array kTable = {
        InterfaceRow<DuckDBDatabase, I_DuckDBDatabase>(interface_id::kDuckDBDatabase),
        InterfaceRow<DuckDBDatabase, I_ForeignPlugin>(interface_id::kForeignPlugin),
        InterfaceRow<DuckDBDatabase, I_DuckDBRunControl>(I_DuckDBRunControl::kInterfaceId),
        kInterfaceTableEnd,
    };
    return InterfaceTableQueryInterface(this, kTable.data(), inInterfaceId);
}

void DuckDBDatabase::put_BlockSize(std::uint32_t inBlockSize) {
    const EngineLockGuard guard;
    mBlockSize = inBlockSize;
}

std::uint32_t DuckDBDatabase::get_ConnectionCount() const {
    const EngineLockGuard guard;
    return Row().mConnectionCount;
}

bool DuckDBDatabase::get_Exists() const {
    const EngineLockGuard guard;
    if (!mMotherDuckToken.isEmpty()) {
        return false;
    }
    const smart_ptr<I_DuckDBExtension> extension = GetDuckDBExtension();
    return extension && !extension->get_IsMemoryPath(mPath) && mLocation->get_Exists();
}

bool DuckDBDatabase::get_IsOpen() const {
    const std::shared_ptr<DatabaseCell> handle = Handle();
    return handle && *handle;
}

bool DuckDBDatabase::get_IsReadOnly() const { return mIsReadOnly; }

const String& DuckDBDatabase::get_Name() const {
    const EngineLockGuard guard;
    return mLocation->get_Name();
}

const String& DuckDBDatabase::get_Path() const {
    const EngineLockGuard guard;
    return mLocation->get_Path();
}

void DuckDBDatabase::put_MotherDuckAccess(const String& inToken, const String& inUserAgent) {
    const EngineLockGuard guard;
    mMotherDuckToken = inToken;
    mCustomUserAgent = inUserAgent;
}

void DuckDBDatabase::put_StorageVersion(const String& inVersion) {
    const EngineLockGuard guard;
    mStorageVersion = inVersion;
}

void DuckDBDatabase::put_Settings(const DuckDBSettings& inSettings) {
    const EngineLockGuard guard;
    mSettings = inSettings;
    mHasSettings = true;
}

smart_ptr<I_DuckDBStatement> DuckDBDatabase::CreateStatement(const String& inSql) {
    const EngineLockGuard guard;
    OrlimbaraInit3();
    if (!mHandle) {
        ThrowError("DuckDBDatabase is not open");
    }
    smart_ptr<I_DuckDBStatement> statement(new DuckDBStatement(this, inSql));
    mStatements.Enter(statement.get());
    return statement;
}

void DuckDBDatabase::ForgetStatement(const I_DuckDBStatement* inStatement) noexcept {
    mStatements.Leave(inStatement);
}

void DuckDBDatabase::RemoveStatement(I_DuckDBStatement* inStatement) {
    const EngineLockGuard guard;
    RequireOpen();
    if (!mStatements.Leave(inStatement)) {
        ThrowError("DuckDBStatement does not belong to this database");
    }
}

void DuckDBDatabase::AddCursor(I_DuckDBCursor* inCursor) {
    const EngineLockGuard guard;
    mCursors.Enter(inCursor);
}

void DuckDBDatabase::RemoveCursor(I_DuckDBCursor* inCursor) {
    const EngineLockGuard guard;
    mCursors.Leave(inCursor);
}

void DuckDBDatabase::AddQueryResult(I_DuckDBQueryResult* inQueryResult) {
    const EngineLockGuard guard;
    mQueryResults.Enter(inQueryResult);
}

void DuckDBDatabase::RemoveQueryResult(I_DuckDBQueryResult* inQueryResult) {
    const EngineLockGuard guard;
    mQueryResults.Leave(inQueryResult);
}

void DuckDBDatabase::SyncEngineLock() { const EngineLockGuard guard; }

void DuckDBDatabase::Interrupt() { mRuns->Interrupt(); }

DuckDBProgress DuckDBDatabase::get_Progress() const { return mRuns->get_Progress(); }

void DuckDBDatabase::RequireNotStopped() const {
    if (mRuns->IsThreadStopped()) {
        Run(*mRuns).AbortTransaction();
        ThrowError(kInterruptedText);
    }
}

void DuckDBDatabase::ThrowError(const char* inMessage) const { ThrowDuckDBError(*mContext, inMessage); }

void DuckDBDatabase::RequireOpen() const {
    if (!mHandle || !mConnection) {
        ThrowError("DuckDBDatabase is not open");
    }
}

SharedDatabaseEntry& DuckDBDatabase::Row() const { return gSharedDatabases[mLocation->get_Path()]; }

std::shared_ptr<DatabaseCell> DuckDBDatabase::Handle() const {
    const std::lock_guard lock(mHandleMutex);
    return mHandle;
}

void DuckDBDatabase::SetHandle(std::shared_ptr<DatabaseCell> inHandle) {
    const std::lock_guard lock(mHandleMutex);
    mHandle.swap(inHandle);
}

} // namespace orkit::orsql
