/// @file
/// The interfaces of the DuckDB plug-in's objects, declared by the host and implemented by the plug-in, and
/// the records that go through them.
///
/// Common to all of them:
/// - A smart_ptr argument is taken by value; the callee drops that reference however it returns.
/// - Failures are xDuckDBError with code 468225, the database's name first and the message second, unless
///   documented otherwise. A message that comes from DuckDB is passed on unchanged: usually a JSON object,
///   sometimes a JSON object after a prefix, sometimes plain words. Any failure may have either form: try
///   JSON first.
/// - "Guarded" operations hold the engine lock from start to end, also during calls of DuckDB.
/// - `inCursorLocation` 1 asks for a client cursor, every other value for a server cursor.
/// - Columns are numbered from 0, parameters from 1, the records of a client cursor from 1.
#pragma once

#include <cstdint>

#include "host/arrays.h"
#include "host/location.h"
#include "host/string.h"
#include "host/unknown.h"
#include "host/value.h"

namespace orkit::orsql {

class I_DuckDBDatabase;
class I_DuckDBStatement;
class I_DuckDBCursor;
class I_DuckDBQueryResult;

/// `inCursorLocation` of a client cursor.
inline constexpr std::uint32_t kCursorLocationClient = 1;
/// What callers who want a server cursor pass; every value but 1 means the same.
inline constexpr std::uint32_t kCursorLocationServer = 2;

/// Settings for the next Create or Open of a database.
struct DuckDBSettings {
    std::uint16_t mAccessMode = 1;     ///< 0 asks Open for a read-only open; Create ignores it
    std::uint32_t mThreads = 0;        ///< DuckDB's "threads"; 0 leaves it unset
    std::uint32_t mMaxMemory = 0;      ///< DuckDB's "max_memory" in megabytes; 0 leaves it unset
    String mTempDirectory;             ///< this and the other directories: empty leaves them unset
    bool mEnableExternalAccess = true; ///< false: DuckDB may touch nothing outside the database
    String mHomeDirectory;
    String mSecretDirectory;
    String mExtensionDirectory;
};

/// What ExecuteScript reports about a run; a failure is data here.
struct DuckDBExecutionResult {
    std::uint32_t mStatementCount = 0; ///< statements that completed, not counting the failed one
    std::uint32_t mErrorCode = 0;      ///< 0 on success
    String mErrorText;                 ///< the failure's message, empty on success
};

/// The rows of a DuckDB result. A client cursor holds all rows and moves freely. A server cursor holds one
/// chunk, moves forward only, and refuses the operations marked "client only".
///
/// A cursor is invalid once its database is closed or the cursor is disposed of: its column operations still
/// work, every record operation throws "DuckDBCursor is invalid" with the context "unknown". That takes no
/// guard, so it doesn't wait for a query.
///
/// Moves and reads of one cursor must not run at the same time on several threads.
class I_DuckDBCursor : public I_Unknown {
public:
    static constexpr std::uint32_t kInterfaceId = interface_id::kDuckDBCursor;

    virtual std::uint32_t get_ColumnCount() const = 0;
    /// The column's name; `String::sEmpty` past the end. Valid as long as the cursor.
    virtual const String& get_ColumnName(std::uint32_t inColumnIndex) const = 0;
    /// DuckDB's full text of the type, such as "DECIMAL(5,2)"; `String::sEmpty` past the end.
    virtual const String& get_ColumnTypeName(std::uint32_t inColumnIndex) const = 0;
    /// The id in DuckDB's `duckdb_type` enumeration; 0 past the end.
    virtual std::uint32_t get_ColumnType(std::uint32_t inColumnIndex) const = 0;
    /// Client only.
    virtual std::uint64_t get_RecordCount() const = 0;
    /// The record's number, 0 before the first. Client only.
    virtual std::uint32_t get_CurrentRecord() const = 0;
    /// Moves to a record. @return false, without moving, for 0 and past the last record. Client only.
    virtual bool put_CurrentRecord(std::uint32_t inRecord) = 0;
    /// The database; null for an invalid cursor. Guarded: another thread may be destroying the database.
    virtual smart_ptr<I_DuckDBDatabase> get_Database() const = 0;
    /// Makes the cursor invalid. Called by the database when it closes, not by the host. Guarded.
    virtual void Invalidate() = 0;
    /// Each returns whether there is such a record; at either end the position stays. FirstRecord, LastRecord
    /// and PrevRecord are client only. NextRecord of a new cursor moves to the first record; a server
    /// cursor's NextRecord is guarded.
    virtual bool FirstRecord() = 0;
    virtual bool LastRecord() = 0;
    virtual bool NextRecord() = 0;
    virtual bool PrevRecord() = 0;
    /// The cell of the current record. Never a null pointer: SQL NULL is a value whose get_IsNull is true. A
    /// client cursor returns the same object at every read, a server cursor a new one. Throws "inColumnIndex
    /// is out of bounds", then "No current record." (client) or "Data is not available. Use NextRecord() to
    /// fetch data." (server).
    virtual smart_ptr<I_Value> get_Value(std::uint32_t inColumnIndex) = 0;
    /// Frees the rows and makes the cursor invalid, without waiting for the last Release. Guarded.
    virtual void Dispose() = 0;
};

/// The outcome of one statement: rows, a count, an error, or nothing. Leads to the outcomes of the statements
/// after it. The getters take no guard, except get_Cursor.
class I_DuckDBQueryResult : public I_Unknown {
public:
    static constexpr std::uint32_t kInterfaceId = interface_id::kDuckDBQueryResult;

    /// Bits of get_ResultFlags; at most one is set.
    static constexpr std::uint32_t kResultHasCursor = 1;
    static constexpr std::uint32_t kResultHasRowsChanged = 2;
    static constexpr std::uint32_t kResultHasError = 4;

    virtual std::int64_t get_RowsChanged() const = 0;
    /// The cursor over the rows; null if there are no rows or the database is closed.
    virtual smart_ptr<I_DuckDBCursor> get_Cursor() const = 0;
    virtual std::uint32_t get_ResultFlags() const = 0;
    /// In bytes of UTF-8 from 0 in the statement's text; -1 when there is none.
    virtual std::int64_t get_ErrorPosition() const = 0;
    virtual String get_ErrorMessage() const = 0;
    virtual String get_ErrorType() const = 0;
    /// The next statement's outcome; ask the new object for the one after it, since a second call on the same
    /// object returns null. Null after the last outcome, and once the database is closed. Guarded.
    virtual smart_ptr<I_DuckDBQueryResult> get_NextResult() = 0;
    /// Separates the result from its database. Called by the database when it closes. Guarded.
    virtual void Invalidate() = 0;
};

/// A SQL text of one or more statements, walked statement by statement.
///
/// Operations that need the database throw "DuckDBDatabase is invalid", context "unknown", once the database
/// is closed. All are guarded except the getters of the texts, BindValues, BindRows and SqlSelectToJSON,
/// which must not run at the same time as anything else on the same statement.
///
/// Each typed binding binds a parameter of exactly one DuckDB type to the prepared statement. Without a
/// prepared statement it does nothing, and PrepareNext drops it. Data pointers are read during the call only.
/// What DuckDB refuses throws with DuckDB's text.
///
/// The numbers of dates and times are DuckDB's own and aren't checked: the caller must keep to DuckDB's
/// ranges. A TIME, TIME_NS or TIMETZ outside its range is stored, compared and sorted as a number; reading it
/// as a cell throws. But SQL must not convert it to text, as a cast to VARCHAR, an error message or a CSV
/// file do: that can end the process inside DuckDB.
class I_DuckDBStatement : public I_Unknown {
public:
    static constexpr std::uint32_t kInterfaceId = interface_id::kDuckDBStatement;

    /// The text that the statement was created with.
    virtual const String& get_OriginalSql() const = 0;
    /// The text of the statement that PrepareNext last took, also if it couldn't be prepared; the whole text
    /// before that, and again after ExecuteAll or a clean ExecuteScript.
    virtual const String& get_Sql() const = 0;
    /// Null once the database is closed.
    virtual smart_ptr<I_DuckDBDatabase> get_Database() const = 0;
    /// Statements not prepared yet; 0 before the first PrepareNext has split the text.
    virtual std::uint64_t get_RemainingStatements() const = 0;
    /// Makes the statement invalid. Called by the database when it closes.
    virtual void Invalidate() = 0;

    /// Splits the text unless that was done, and prepares the next statement, if one is left. A statement
    /// that can't be prepared stays the next one.
    virtual void PrepareNext() = 0;
    /// PrepareNext, then SqlExecute. @param outRowsChanged what SqlExecute returns.
    /// @return true while statements remain.
    virtual bool ExecuteNext(std::uint64_t& outRowsChanged) = 0;
    virtual bool ExecuteNext() = 0;
    /// Runs all statements that are left. Stops after a statement that fails.
    virtual void ExecuteAll() = 0;
    /// Runs all statements and reports a failure in its result; throws nothing.
    virtual DuckDBExecutionResult ExecuteScript() = 0;

    /// Drops held arrays and all bindings.
    virtual void ClearBindings() = 0;
    virtual void BindNull(std::uint32_t inIndex) = 0;
    virtual void BindBoolean(std::uint32_t inIndex, std::uint8_t inValue) = 0;
    virtual void BindTinyInt(std::uint32_t inIndex, std::int8_t inValue) = 0;
    virtual void BindUTinyInt(std::uint32_t inIndex, std::uint8_t inValue) = 0;
    virtual void BindSmallInt(std::uint32_t inIndex, std::int16_t inValue) = 0;
    virtual void BindUSmallInt(std::uint32_t inIndex, std::uint16_t inValue) = 0;
    virtual void BindInteger(std::uint32_t inIndex, std::int32_t inValue) = 0;
    virtual void BindUInteger(std::uint32_t inIndex, std::uint32_t inValue) = 0;
    virtual void BindBigInt(std::uint32_t inIndex, std::int64_t inValue) = 0;
    virtual void BindUBigInt(std::uint32_t inIndex, std::uint64_t inValue) = 0;
    /// A 128-bit number as two halves.
    virtual void BindHugeInt(std::uint32_t inIndex, std::uint64_t inLower, std::int64_t inUpper) = 0;
    virtual void BindUHugeInt(std::uint32_t inIndex, std::uint64_t inLower, std::uint64_t inUpper) = 0;
    /// The number times ten to the power of minus `inScale`.
    virtual void BindDecimal(std::uint32_t inIndex, std::uint8_t inWidth, std::uint8_t inScale,
                             std::uint64_t inLower, std::int64_t inUpper) = 0;
    virtual void BindFloat(std::uint32_t inIndex, float inValue) = 0;
    virtual void BindDouble(std::uint32_t inIndex, double inValue) = 0;
    /// Calendar parts; only the low 8 bits of month and day are used.
    virtual void BindDate(std::uint32_t inIndex, std::int32_t inYear, std::int32_t inMonth,
                          std::int32_t inDay) = 0;
    /// Microseconds since midnight. The three bindings of times pass any number on, but only 0 to 24:00:00,
    /// with offsets up to 15:59:59, are valid times. Others may be stored, copied, counted and compared, but
    /// must not be converted to text in SQL (a cast to VARCHAR or JSON, string functions, COPY to CSV), where
    /// DuckDB reads and writes outside its buffers. Reading such a cell, alone or inside another value,
    /// throws xDuckDBError with the context "value".
    virtual void BindTime(std::uint32_t inIndex, std::int64_t inMicros) = 0;
    /// Nanoseconds since midnight.
    virtual void BindTimeNs(std::uint32_t inIndex, std::int64_t inNanos) = 0;
    /// Microseconds since midnight, and the offset from UTC in seconds.
    virtual void BindTimeTz(std::uint32_t inIndex, std::int64_t inMicros, std::int32_t inOffset) = 0;
    /// Timestamps count from 1970-01-01 00:00:00, in UTC where they have a zone.
    virtual void BindTimestamp(std::uint32_t inIndex, std::int64_t inMicros) = 0;
    virtual void BindTimestampTz(std::uint32_t inIndex, std::int64_t inMicros) = 0;
    virtual void BindTimestampS(std::uint32_t inIndex, std::int64_t inSeconds) = 0;
    virtual void BindTimestampMs(std::uint32_t inIndex, std::int64_t inMillis) = 0;
    virtual void BindTimestampNs(std::uint32_t inIndex, std::int64_t inNanos) = 0;
    virtual void BindInterval(std::uint32_t inIndex, std::int32_t inMonths, std::int32_t inDays,
                              std::int64_t inMicros) = 0;
    virtual void BindVarchar(std::uint32_t inIndex, const String& inValue) = 0;
    /// @param inLength in bytes.
    virtual void BindBlob(std::uint32_t inIndex, const void* inData, std::uint64_t inLength) = 0;
    /// DuckDB's form of a bit string: the number of padding bits, then the bits. @param inSize in bytes.
    virtual void BindBit(std::uint32_t inIndex, const std::uint8_t* inData, std::uint64_t inSize) = 0;
    /// The number's magnitude, most significant byte first. @param inSize in bytes.
    virtual void BindBignum(std::uint32_t inIndex, const std::uint8_t* inData, std::uint64_t inSize,
                            bool inIsNegative) = 0;
    virtual void BindUuid(std::uint32_t inIndex, std::uint64_t inLower, std::uint64_t inUpper) = 0;

    /// Binds one host value to the prepared statement now; doesn't hold it.
    virtual void BindValue(std::uint32_t inIndex, smart_ptr<I_Value> inValue) = 0;
    /// Holds values, the first for parameter 1; they are bound now, and again at every PrepareNext and run.
    /// Not guarded. The array is shared with the caller.
    virtual void BindValues(smart_ptr<ValueArray> inValues) = 0;
    /// Holds rows of values: each run runs once per row. Not guarded. The arrays are shared with the caller.
    virtual void BindRows(smart_ptr<RowArray> inRows) = 0;

    /// Runs the prepared statement. @return the rows changed by the last run that changed rows, not a sum
    /// over held rows; 0 without a prepared statement.
    virtual std::uint64_t SqlExecute() = 0;
    /// Runs the prepared statement. @return a cursor over its result; null without a prepared statement. With
    /// an empty array of held rows nothing runs, and the cursor is over the result of the previous run, if
    /// that still exists. More than one held row throws xFeatureError, code 40960, before anything runs.
    virtual smart_ptr<I_DuckDBCursor> SqlSelect(std::uint32_t inCursorLocation) = 0;
    /// The rows of SqlSelect as the host's JSON text.
    virtual String SqlSelectToJSON() = 0;
    /// Runs the prepared statement. @return its outcome; never null.
    virtual smart_ptr<I_DuckDBQueryResult> SqlQuery(std::uint32_t inCursorLocation) = 0;
};

/// How far a running call has got.
struct DuckDBProgress {
    double mFraction = 0;        ///< of the running query, 0 to 1; negative if DuckDB doesn't know
    std::uint64_t mRowsDone = 0; ///< of the running query, as DuckDB estimates; 0 if it doesn't know
    std::uint64_t mRowsTotal = 0;
    std::uint64_t mElapsedMicroseconds = 0; ///< since the call was entered; at least 1 while one runs
};

/// Stops and watches what runs on a connection, from any thread. The plug-in's own addition to the host's
/// interfaces. Ask the database object for it by QueryInterface, or the root object for the import of
/// RestoreDatabase, whose database object the caller gets only when the call returns. The caller holds a
/// reference on the object that it asked.
///
/// A run is one call, on the database or on one of its statements, that runs SQL, with everything that it
/// does: all statements of a script, all held rows, the export of Backup, the reading of rows into a client
/// cursor. It begins when the call is entered, even if the call then waits for the engine lock.
///
/// Both operations return at once and take no engine lock. They take a mutex, so a signal handler must not
/// call them.
class I_DuckDBRunControl : public I_Unknown {
public:
    static constexpr std::uint32_t kInterfaceId = 1000001;

    /// Stops the run. The call fails as if its SQL had failed: it throws xDuckDBError (ExecuteScript returns
    /// it as data) with the text `{"exception_type":"INTERRUPT","exception_message":"Interrupted!"}`, and an
    /// open transaction is aborted; SqlQuery, SqlSelect and SqlExecute of a text without values roll it back.
    /// Earlier statements of a script and earlier held rows keep their effect.
    ///
    /// Does nothing if nothing runs. Never stops a call that is entered after it has returned.
    virtual void Interrupt() = 0;
    /// The progress of the run; all zeros if nothing runs. DuckDB reports the fraction and the rows only on a
    /// connection with "SET enable_progress_bar = true" (with "SET enable_progress_bar_print = false", so
    /// that DuckDB prints no bar).
    virtual DuckDBProgress get_Progress() const = 0;
};

/// One DuckDB database: a file, ":memory:", or a remote one. Objects on one path share one DuckDB instance,
/// unless they are read-only; each has its own connection. I_DuckDBExtension::CreateDatabase creates it
/// closed; the last Release closes it.
///
/// All operations are guarded except get_IsOpen, get_IsReadOnly, and Close on a closed object. Backup
/// releases the lock while the export runs. SqlExecute takes the guard once to run the text and once for each
/// outcome: if another thread calls Close in between, the sum ends there.
class I_DuckDBDatabase : public I_Unknown {
public:
    static constexpr std::uint32_t kInterfaceId = interface_id::kDuckDBDatabase;

    /// Properties take effect at the next Create or Open. @param inBlockSize in bytes; 0 is DuckDB's default.
    virtual void put_BlockSize(std::uint32_t inBlockSize) = 0;
    /// Objects on this path that hold a connection.
    virtual std::uint32_t get_ConnectionCount() const = 0;
    /// Whether the file exists; false for ":memory:" and remote databases.
    virtual bool get_Exists() const = 0;
    virtual bool get_IsOpen() const = 0;
    virtual bool get_IsReadOnly() const = 0;
    /// The location's name: the first text of every error.
    virtual const String& get_Name() const = 0;
    virtual const String& get_Path() const = 0;
    /// A token makes the database a remote one, to which Open then connects. Both stay until they are set
    /// again.
    virtual void put_MotherDuckAccess(const String& inToken, const String& inUserAgent) = 0;
    /// DuckDB's storage version of a file that Create makes; inserted into SQL unescaped. Empty means the
    /// default.
    virtual void put_StorageVersion(const String& inVersion) = 0;
    /// Takes effect at the next Create or Open of a closed object; Close drops it.
    virtual void put_Settings(const DuckDBSettings& inSettings) = 0;

    /// Creates a new database, replacing an existing file, and opens it. If other objects hold the path open,
    /// it joins their database instead. The existing file is deleted first: if Create fails, it is gone.
    ///
    /// A block size or storage version can't go with ":memory:", with external access off, or with a file
    /// whose name without its extension is "memory": Create then fails, after the file was deleted.
    virtual void Create() = 0;
    /// Opens an existing database. One that can't be opened for writing is opened read-only. Failures to open
    /// or connect throw xException, code 626688, with the text first.
    virtual void Open() = 0;
    /// Makes all statements, cursors and results invalid, ends the connection, and closes DuckDB's instance
    /// if no other object needs it. Does nothing on a closed object.
    virtual void Close() = 0;
    /// Closes, then deletes the file. Throws if other objects still hold the path open.
    virtual void Drop() = 0;
    /// Exports into a new backup folder. The object must not be closed or dropped meanwhile. @param inFolder
    /// the parent folder; null means the folder "Backup/" beside the database.
    virtual void Backup(smart_ptr<I_Location> inFolder) = 0;

    /// A statement over a text, which isn't parsed yet.
    virtual smart_ptr<I_DuckDBStatement> CreateStatement(const String& inSql) = 0;

    /// The registries of live objects, called by the objects themselves. They hold no references.
    virtual void RemoveStatement(I_DuckDBStatement* inStatement) = 0;
    virtual void AddCursor(I_DuckDBCursor* inCursor) = 0;
    virtual void RemoveCursor(I_DuckDBCursor* inCursor) = 0;
    virtual void AddQueryResult(I_DuckDBQueryResult* inQueryResult) = 0;
    virtual void RemoveQueryResult(I_DuckDBQueryResult* inQueryResult) = 0;

    /// Takes the engine lock and releases it.
    virtual void SyncEngineLock() = 0;

    /// Runs a text at once. Without values (null or empty) it may hold several statements; a failing one ends
    /// the run, and one that fails while running is followed by a ROLLBACK. With values it must be a single
    /// statement.
    /// @return the sum of the rows changed.
    virtual std::int64_t SqlExecute(const String& inSql, smart_ptr<ValueArray> inParams) = 0;
    /// The same; the outcomes are chained through I_DuckDBQueryResult::get_NextResult.
    virtual smart_ptr<I_DuckDBQueryResult> SqlQuery(const String& inSql, std::uint32_t inCursorLocation,
                                                    smart_ptr<ValueArray> inParams) = 0;
    /// The same for a text of one statement that returns rows.
    virtual smart_ptr<I_DuckDBCursor> SqlSelect(const String& inSql, std::uint32_t inCursorLocation,
                                                smart_ptr<ValueArray> inParams) = 0;
};

/// The plug-in's root object.
class I_DuckDBExtension : public I_Unknown {
public:
    static constexpr std::uint32_t kInterfaceId = interface_id::kDuckDBExtension;

    /// DuckDB's version; owned by DuckDB.
    virtual const char* get_LibraryVersion() const = 0;
    /// A closed database object. Touches neither DuckDB nor the disk. A null location throws xDBError, code
    /// 333057, without texts. Guarded.
    virtual smart_ptr<I_DuckDBDatabase> CreateDatabase(smart_ptr<I_Location> inLocation) = 0;
    /// The array that a client cursor reads, itself and not a copy, with one item per row; null for any other
    /// cursor and for null.
    virtual smart_ptr<RowArray> get_ClientCursorRows(smart_ptr<I_DuckDBCursor> inCursor) = 0;
    virtual bool get_IsClientCursor(smart_ptr<I_DuckDBCursor> inCursor) = 0;
    /// Whether a database object has used exactly this path since the plug-in was loaded. Guarded.
    virtual bool get_IsKnownDatabase(const String& inPath) = 0;
    /// Whether the location has an empty file, or one with DuckDB's magic bytes. Doesn't open DuckDB.
    virtual bool get_IsDuckDBFile(smart_ptr<I_Location> inLocation) = 0;
    /// Whether the path is exactly ":memory:".
    virtual bool get_IsMemoryPath(const String& inPath) const = 0;
    /// Creates a new database from a backup folder, replacing an existing one. @return the database object,
    /// closed. A null location throws xDBError, code 333057; a missing backup xDBError, code 417792. Guarded.
    virtual smart_ptr<I_DuckDBDatabase> RestoreDatabase(smart_ptr<I_Location> inLocation,
                                                        smart_ptr<I_Location> inBackupLocation) = 0;
};

} // namespace orkit::orsql
