/// @file
/// One database: its properties, its connection, and the objects that depend on it.
///
/// Calls DuckDBStatement and, through the registries, cursors and query results; all of them call this class.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "database/registry.h"
#include "database/run_control.h"
#include "database/shared_handles.h"
#include "host/duckdb_objects.h"
#include "object_support/ref_count.h"
#include "result/query_result.h"

namespace orkit::orsql {

/// The object behind I_DuckDBDatabase.
///
/// States: closed (no handle, no connection), open (both), and handle only (after Create or Open failed to
/// connect). Close leads from the last two to the first.
///
/// Its sources: duckdb_database.cpp (object, properties, registries), opening.cpp, closing.cpp,
/// execution.cpp, backup.cpp.
class DuckDBDatabase final : public RefCounted<I_DuckDBDatabase, ForeignPlugin_imp, I_DuckDBRunControl>,
                             noncopyable {
public:
    /// Copies the path; uses neither DuckDB nor the disk. @param inLocation not null.
    /// @param inRuns not null; other holders of it can stop and watch this object's runs.
    explicit DuckDBDatabase(smart_ptr<I_Location> inLocation,
                            std::shared_ptr<RunControl> inRuns = std::make_shared<RunControl>());
    /// Closes, and ignores exceptions.
    ~DuckDBDatabase() override;

    /// A new reference on a database that a dependant points to; null if the database is null or its last
    /// reference is gone already. The guard must be held: it keeps the object in memory.
    static smart_ptr<I_DuckDBDatabase> Acquire(DuckDBDatabase* inDatabase) noexcept;

    void* QueryInterface(std::uint32_t inInterfaceId) override;

    void put_BlockSize(std::uint32_t inBlockSize) override;
    std::uint32_t get_ConnectionCount() const override;
    bool get_Exists() const override;
    bool get_IsOpen() const override;
    bool get_IsReadOnly() const override;
    const String& get_Name() const override;
    const String& get_Path() const override;
    void put_MotherDuckAccess(const String& inToken, const String& inUserAgent) override;
    void put_StorageVersion(const String& inVersion) override;
    void put_Settings(const DuckDBSettings& inSettings) override;

    void Create() override;
    void Open() override;
    void Close() override;
    void Drop() override;
    void Backup(smart_ptr<I_Location> inFolder) override;

    smart_ptr<I_DuckDBStatement> CreateStatement(const String& inSql) override;
    void RemoveStatement(I_DuckDBStatement* inStatement) override;
    void AddCursor(I_DuckDBCursor* inCursor) override;
    void RemoveCursor(I_DuckDBCursor* inCursor) override;
    void AddQueryResult(I_DuckDBQueryResult* inQueryResult) override;
    void RemoveQueryResult(I_DuckDBQueryResult* inQueryResult) override;
    void SyncEngineLock() override;

    std::int64_t SqlExecute(const String& inSql, smart_ptr<ValueArray> inParams) override;
    smart_ptr<I_DuckDBQueryResult> SqlQuery(const String& inSql, std::uint32_t inCursorLocation,
                                            smart_ptr<ValueArray> inParams) override;
    smart_ptr<I_DuckDBCursor> SqlSelect(const String& inSql, std::uint32_t inCursorLocation,
                                        smart_ptr<ValueArray> inParams) override;

    void Interrupt() override;
    DuckDBProgress get_Progress() const override;

    /// The name, for failures. Usable on any thread, even after the object is gone; needs no guard.
    const std::shared_ptr<const String>& get_Context() const noexcept { return mContext; }
    /// This object's runs. Usable on any thread, even after the object is gone.
    const std::shared_ptr<RunControl>& get_Runs() const noexcept { return mRuns; }
    /// If the calling thread is inside a call that was stopped, aborts an open transaction and throws what a
    /// stopped call throws. The guard must be held.
    void RequireNotStopped() const;

    /// RemoveStatement for a statement that is being destroyed: not being registered is no error. The guard
    /// must be held.
    void ForgetStatement(const I_DuckDBStatement* inStatement) noexcept;
    /// The cell of this object's connection; null if the database isn't open. The guard must be held. The
    /// reference keeps the cell alive, not the connection in it.
    std::shared_ptr<ConnectionCell> get_Connection() const { return mConnection; }
    /// Throws xDuckDBError with this database's name first. @param inMessage UTF-8.
    [[noreturn]] void ThrowError(const char* inMessage) const;
    /// Throws "DuckDBDatabase is not open" without a handle or a connection. The guard must be held.
    void RequireOpen() const;

private:
    /// This path's row of `gSharedDatabases`, created if it is missing. The guard must be held.
    SharedDatabaseEntry& Row() const;

    // opening.cpp; the guard must be held
    /// Neither in memory nor remote.
    bool IsFile() const;
    void ApplySettings(duckdb_config inConfig) const;
    /// The text of a failure, UTF-8, possibly empty; nothing on success.
    using Failure = std::optional<std::string>;
    /// Opens a new database; its handle becomes this object's and the path's.
    Failure CreateHandle();
    /// Creates the database's file with the configured storage version and block size.
    Failure MakeFile(duckdb_config inConfig) const;
    String AttachText() const;
    /// A handle on the path, read-only if requested or if writing isn't possible; sets mIsReadOnly.
    std::shared_ptr<DatabaseCell> OpenHandle(duckdb_config inConfig, bool inReadOnlyWanted);
    /// Connects on the handle. @return false if DuckDB refuses.
    bool Connect();
    /// Sets up the new connection and counts it.
    void FinishOpening();

    // execution.cpp; the guard must be held
    /// The results of a text's statements, in order. Throws the first failing statement's error and keeps
    /// nothing alive. @param inParams null or empty: the text runs without parameters.
    ResultList RunSql(const Run& inRun, const String& inSql, const smart_ptr<ValueArray>& inParams);
    /// Runs one statement of a script and appends its result. A statement that fails while running is
    /// followed by a ROLLBACK.
    static Failure RunExtracted(const Run& inRun, duckdb_connection inConnection,
                                duckdb_extracted_statements inStatements, idx_t inIndex,
                                ResultList& ioResults);
    /// Runs a text of one statement with values, the first for parameter 1. Keeps nothing alive if it throws.
    /// @param inSql UTF-8. @param inParams not null.
    orlimbara::duckdb_support::OwnedResult RunWithParameters(const Run& inRun, const char* inSql,
                                                             const smart_ptr<ValueArray>& inParams);

    /// mHandle, for any thread.
    std::shared_ptr<DatabaseCell> Handle() const;
    /// The guard must be held.
    void SetHandle(std::shared_ptr<DatabaseCell> inHandle);

    const String mPath; // as it was at construction
    const smart_ptr<I_Location> mLocation;
    const std::shared_ptr<const String> mContext; // the name, as it was at construction
    String mMotherDuckToken;
    String mCustomUserAgent;
    std::uint32_t mBlockSize = 0;
    String mStorageVersion;
    DuckDBSettings mSettings;
    bool mHasSettings = false;
    std::atomic<bool> mIsReadOnly{false};
    // Written under the guard, read without it by get_IsOpen. A mutex protects just the pointer, so that
    // get_IsOpen doesn't wait for a long query.
    mutable std::mutex mHandleMutex;
    std::shared_ptr<DatabaseCell> mHandle;
    std::shared_ptr<ConnectionCell> mConnection;
    const std::shared_ptr<RunControl> mRuns;
    // Live objects that point here; no references.
    Registry<I_DuckDBCursor> mCursors;
    Registry<I_DuckDBStatement> mStatements;
    Registry<I_DuckDBQueryResult> mQueryResults;
};

} // namespace orkit::orsql
