/// @file
/// The interfaces of the DuckDB plug-in's objects, declared by the host and implemented by the plug-in, and
/// the records that go through them.
///
/// Common to all of them:
/// - A smart_ptr argument is taken by value; the callee drops that reference on every way out.
/// - Failures are xDuckDBError with code 468225, the database's name first and the message second, unless
///   told otherwise. A message that comes from DuckDB is passed on unchanged: usually a JSON object,
///   sometimes one behind a prefix, sometimes plain words. Any failure may have either form: try JSON first.
/// - "Guarded" operations hold the engine lock for their whole length, also across DuckDB's calls.
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
    std::uint16_t mAccessMode = 1;     ///< 0 asks Open for a read-only open; Create doesn't look at it
    std::uint32_t mThreads = 0;        ///< DuckDB's "threads"; 0 leaves it unset
    std::uint32_t mMaxMemory = 0;      ///< DuckDB's "max_memory" in megabytes; 0 leaves it unset
    String mTempDirectory;             ///< this and the other directories: empty leaves them unset
    bool mEnableExternalAccess = true; ///< false: DuckDB may touch nothing outside the database
    String mHomeDirectory;
    String mSecretDirectory;
    String mExtensionDirectory;
};

/// What ExecuteScript tells of a run: failures are data here.
struct DuckDBExecutionResult {
    std::uint32_t mStatementCount = 0; ///< statements that ran to their end, without the failing one
    std::uint32_t mErrorCode = 0;      ///< 0 when all went well
    String mErrorText;                 ///< the failure's message, empty when all went well
};

/// The rows of a DuckDB result. A client cursor holds all rows and moves freely; a server cursor holds one
/// chunk and moves forward only, and refuses the operations marked "client only".
///
/// A cursor whose database was closed, or that was disposed of, is cut off: its column operations still
/// answer, every record operation throws "DuckDBCursor is invalid" with the context "unknown". A refusal
/// takes no guard, so it waits for no query.
///
/// Moves and reads of one cursor must not run at the same time on several threads.
class I_DuckDBCursor : public I_Unknown {
public:
    static constexpr std::uint32_t kInterfaceId = interface_id::kDuckDBCursor;

    virtual std::uint32_t get_ColumnCount() const = 0;
    /// The column's name; `String::sEmpty` past the end. Good as long as the cursor.
    virtual const String& get_ColumnName(std::uint32_t inColumnIndex) const = 0;
    /// DuckDB's full text of the type, such as "DECIMAL(5,2)"; `String::sEmpty` past the end.
    virtual const String& get_ColumnTypeName(std::uint32_t inColumnIndex) const = 0;
    /// The id in DuckDB's `duckdb_type` enumeration; 0 past the end.
    virtual std::uint32_t get_ColumnType(std::uint32_t inColumnIndex) const = 0;
    /// Client only.
    virtual std::uint64_t get_RecordCount() const = 0;
    /// The record's number, 0 before the first. Client only.
    virtual std::uint32_t get_CurrentRecord() const = 0;
    /// Moves to a record. @return false, without a move, for 0 and past the last. Client only.
    virtual bool put_CurrentRecord(std::uint32_t inRecord) = 0;
    /// The database; null once the cursor is cut off. Guarded: another thread may be destroying the database.
    virtual smart_ptr<I_DuckDBDatabase> get_Database() const = 0;
    /// Cuts the cursor off. Called by the database when it closes, not by the host. Guarded.
    virtual void Invalidate() = 0;
    /// These answer whether there is such a record; at the ends the position stays. FirstRecord, LastRecord
    /// and PrevRecord are client only. NextRecord from a new cursor goes to the first record. A server
    /// cursor's NextRecord is guarded.
    virtual bool FirstRecord() = 0;
    virtual bool LastRecord() = 0;
    virtual bool NextRecord() = 0;
    virtual bool PrevRecord() = 0;
    /// The cell of the current record. Never null: SQL NULL is a value that says it is null. A client cursor
    /// gives the same object at every read, a server cursor a new one. Throws "inColumnIndex is out of
    /// bounds", then "No current record." (client) or "Data is not available. Use NextRecord() to fetch
    /// data." (server).
    virtual smart_ptr<I_Value> get_Value(std::uint32_t inColumnIndex) = 0;
    /// Gives up the rows and cuts the cursor off, before the last Release does. Guarded.
    virtual void Dispose() = 0;
};

/// The outcome of one statement: rows, a count, an error, or nothing; and the way to the outcomes of the
/// statements behind it. The getters take no guard, but for get_Cursor.
class I_DuckDBQueryResult : public I_Unknown {
public:
    static constexpr std::uint32_t kInterfaceId = interface_id::kDuckDBQueryResult;

    /// Bits of get_ResultFlags; at most one is set.
    static constexpr std::uint32_t kResultHasCursor = 1;
    static constexpr std::uint32_t kResultHasRowsChanged = 2;
    static constexpr std::uint32_t kResultHasError = 4;

    virtual std::int64_t get_RowsChanged() const = 0;
    /// The cursor over the rows; null if there are none or the database was closed.
    virtual smart_ptr<I_DuckDBCursor> get_Cursor() const = 0;
    virtual std::uint32_t get_ResultFlags() const = 0;
    /// In bytes of UTF-8 from 0 in the statement's text; -1 when there is none.
    virtual std::int64_t get_ErrorPosition() const = 0;
    virtual String get_ErrorMessage() const = 0;
    virtual String get_ErrorType() const = 0;
    /// The next statement's outcome. The second call on one object gives null: the chain runs through the new
    /// objects. Null after the last, and once the database was closed. Guarded.
    virtual smart_ptr<I_DuckDBQueryResult> get_NextResult() = 0;
    /// Cuts the result off from its database. Called by the database when it closes. Guarded.
    virtual void Invalidate() = 0;
};

/// A SQL text of one or more statements, walked statement by statement.
///
/// Operations that need the database throw "DuckDBDatabase is invalid", context "unknown", once the database
/// was closed. All are guarded but for the plain getters of the texts, BindValues, BindRows and
/// SqlSelectToJSON: these must not be called beside other work on the same statement.
///
/// The typed bindings give a parameter in exactly one DuckDB type. They bind on the prepared statement alone:
/// without one they do nothing, and PrepareNext loses them. Data pointers are read during the call only. What
/// DuckDB refuses throws with DuckDB's text.
///
/// Numbers of dates and times are DuckDB's own and go there unchecked: keeping to DuckDB's ranges is the
/// caller's duty. A TIME, TIME_NS or TIMETZ outside its range is stored, compared and sorted as the number it
/// is; reading it as a cell throws. But SQL must not make a text of it, as a cast to VARCHAR, an error
/// message or a CSV file do: that can end the process inside DuckDB.
class I_DuckDBStatement : public I_Unknown {
public:
    static constexpr std::uint32_t kInterfaceId = interface_id::kDuckDBStatement;

    /// The text that the statement was made with.
    virtual const String& get_OriginalSql() const = 0;
    /// The text of the statement that PrepareNext last took, also if it couldn't be prepared; the whole text
    /// before that, and again after ExecuteAll or a clean ExecuteScript.
    virtual const String& get_Sql() const = 0;
    /// Null once the database was closed.
    virtual smart_ptr<I_DuckDBDatabase> get_Database() const = 0;
    /// Statements not prepared yet; 0 before the first PrepareNext has split the text.
    virtual std::uint64_t get_RemainingStatements() const = 0;
    /// Cuts the statement off. Called by the database when it closes.
    virtual void Invalidate() = 0;

    /// Splits the text if that is still to do, and prepares the next statement, if one is left. A statement
    /// that can't be prepared stays the next one.
    virtual void PrepareNext() = 0;
    /// PrepareNext, then SqlExecute. @param outRowsChanged what SqlExecute gives.
    /// @return true while statements remain.
    virtual bool ExecuteNext(std::uint64_t& outRowsChanged) = 0;
    virtual bool ExecuteNext() = 0;
    /// Runs all statements that are left. A failure stops the walk behind the failed statement.
    virtual void ExecuteAll() = 0;
    /// Runs all statements and tells failures in its result; throws nothing.
    virtual DuckDBExecutionResult ExecuteScript() = 0;

    /// Forgets held arrays and all bindings.
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
    /// Calendar parts; of month and day only the low 8 bits count.
    virtual void BindDate(std::uint32_t inIndex, std::int32_t inYear, std::int32_t inMonth,
                          std::int32_t inDay) = 0;
    /// Microseconds since midnight. The three bindings of times pass any number on, but only 0 to 24:00:00
    /// and offsets up to 15:59:59 are times: others may be stored, moved, counted and compared, but must not
    /// be converted to text in SQL (a cast to VARCHAR or JSON, string functions, COPY to CSV), where DuckDB
    /// reads and writes outside its buffers. Reading such a cell, alone or inside another value, throws
    /// xDuckDBError with the context "value".
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
    /// DuckDB's form of a bit string: first the number of padding bits, then the bits. @param inSize in
    /// bytes.
    virtual void BindBit(std::uint32_t inIndex, const std::uint8_t* inData, std::uint64_t inSize) = 0;
    /// The number's magnitude, most significant byte first. @param inSize in bytes.
    virtual void BindBignum(std::uint32_t inIndex, const std::uint8_t* inData, std::uint64_t inSize,
                            bool inIsNegative) = 0;
    virtual void BindUuid(std::uint32_t inIndex, std::uint64_t inLower, std::uint64_t inUpper) = 0;

    /// Binds one host value now, on the prepared statement; holds nothing.
    virtual void BindValue(std::uint32_t inIndex, smart_ptr<I_Value> inValue) = 0;
    /// Holds values, the first for parameter 1, which are bound now and again at every PrepareNext and run.
    /// Not guarded. The array is shared with the caller.
    virtual void BindValues(smart_ptr<ValueArray> inValues) = 0;
    /// Holds rows of values: each run runs once per row. Not guarded. The arrays are shared with the caller.
    virtual void BindRows(smart_ptr<RowArray> inRows) = 0;

    /// Runs the prepared statement. @return the rows changed by the last run that changed rows, not a sum
    /// over held rows; 0 without a prepared statement.
    virtual std::uint64_t SqlExecute() = 0;
    /// Runs the prepared statement and gives its result to a cursor; null without one. With an empty array of
    /// held rows nothing runs, and the cursor is over the result of the run before, if that is still there.
    /// More than one held row throws xFeatureError, code 40960, before anything runs.
    virtual smart_ptr<I_DuckDBCursor> SqlSelect(std::uint32_t inCursorLocation) = 0;
    /// The rows of SqlSelect as the host's JSON text.
    virtual String SqlSelectToJSON() = 0;
    /// Runs the prepared statement and gives its outcome; never null.
    virtual smart_ptr<I_DuckDBQueryResult> SqlQuery(std::uint32_t inCursorLocation) = 0;
};

/// How far a running call is.
struct DuckDBProgress {
    double mFraction = 0;        ///< of the query in work, 0 to 1; negative where DuckDB can't tell
    std::uint64_t mRowsDone = 0; ///< of the query in work, as DuckDB estimates; 0 where it can't tell
    std::uint64_t mRowsTotal = 0;
    std::uint64_t mElapsedMicroseconds = 0; ///< since the call was entered; at least 1 while one runs
};

/// Stops and watches what runs on a connection, from any thread. The plug-in's own addition to the host's
/// interfaces. QueryInterface of the database object gives it, and that of the root object for the import of
/// RestoreDatabase, whose database nobody has before the call returns. The caller holds a reference on the
/// object that it asked.
///
/// A run is one call on the database or on one of its statements that runs SQL, with everything in it: all
/// statements of a script, all held rows, the export of Backup, the reading of rows into a client cursor. It
/// begins when the call is entered, also if that then waits for the engine lock.
///
/// Both operations return at once and take no engine lock. They take a mutex, so a signal handler mustn't
/// call them.
class I_DuckDBRunControl : public I_Unknown {
public:
    static constexpr std::uint32_t kInterfaceId = 1000001;

    /// Stops the run. The call fails as one whose SQL fails: it throws xDuckDBError (ExecuteScript gives it
    /// as data) with the text `{"exception_type":"INTERRUPT","exception_message":"Interrupted!"}`, and an
    /// open transaction is aborted; SqlQuery, SqlSelect and SqlExecute of a text without values roll it back.
    /// What ran before stays: earlier statements of a script, earlier held rows.
    ///
    /// Does nothing when nothing runs, and touches no call that is entered after it has returned.
    virtual void Interrupt() = 0;
    /// The progress of the run; all zeroes when nothing runs. DuckDB tells the fraction and the rows only of
    /// a connection with "SET enable_progress_bar = true" (and, lest it prints, "SET
    /// enable_progress_bar_print = false").
    virtual DuckDBProgress get_Progress() const = 0;
};

/// One DuckDB database: a file, ":memory:", or a remote one. Objects on one path share one DuckDB instance,
/// unless they are read-only; each has a connection of its own. Made closed by
/// I_DuckDBExtension::CreateDatabase; the last Release closes it.
///
/// All operations are guarded but get_IsOpen, get_IsReadOnly, and Close on a closed object. Backup gives the
/// lock back while the export runs. SqlExecute is guarded in pieces, while the text runs and then for each
/// outcome: a Close on another thread in between makes the sum stop there.
class I_DuckDBDatabase : public I_Unknown {
public:
    static constexpr std::uint32_t kInterfaceId = interface_id::kDuckDBDatabase;

    /// Properties count at the next Create or Open. @param inBlockSize in bytes; 0 is DuckDB's default.
    virtual void put_BlockSize(std::uint32_t inBlockSize) = 0;
    /// Objects on this path that hold a connection.
    virtual std::uint32_t get_ConnectionCount() const = 0;
    /// Whether the file is there; false for ":memory:" and remote databases.
    virtual bool get_Exists() const = 0;
    virtual bool get_IsOpen() const = 0;
    virtual bool get_IsReadOnly() const = 0;
    /// The location's name: the first text of every error.
    virtual const String& get_Name() const = 0;
    virtual const String& get_Path() const = 0;
    /// A token makes the database a remote one, which Open then reaches. Both stay until they are set again.
    virtual void put_MotherDuckAccess(const String& inToken, const String& inUserAgent) = 0;
    /// DuckDB's storage version of a file that Create makes; goes into SQL unescaped. Empty is the default.
    virtual void put_StorageVersion(const String& inVersion) = 0;
    /// Counts at the next Create or Open of a closed object; a Close makes it forgotten.
    virtual void put_Settings(const DuckDBSettings& inSettings) = 0;

    /// Makes a new database, in place of an existing file, and opens it. Joins an open one instead. The
    /// existing file is deleted first: when Create fails, it is gone.
    ///
    /// A block size or storage version can't go with ":memory:", with external access off, or with a file
    /// whose name without its extension is "memory": Create then fails, after the file was deleted.
    virtual void Create() = 0;
    /// Opens an existing database. One that can't be opened for writing is opened read-only. Failures to open
    /// or connect throw xException, code 626688, with the text first.
    virtual void Open() = 0;
    /// Cuts off all statements, cursors and results, ends the connection, and closes DuckDB's instance when
    /// no other object needs it. Nothing happens on a closed object.
    virtual void Close() = 0;
    /// Close, then deletes the file. Throws when other objects still hold the path.
    virtual void Drop() = 0;
    /// Exports into a new backup folder. @param inFolder where; null means the folder "Backup/" beside the
    /// database. The object must not be closed or dropped meanwhile.
    virtual void Backup(smart_ptr<I_Location> inFolder) = 0;

    /// A statement over a text, which isn't looked at yet.
    virtual smart_ptr<I_DuckDBStatement> CreateStatement(const String& inSql) = 0;

    /// The registries of live objects, called by the objects themselves. They hold no references.
    virtual void RemoveStatement(I_DuckDBStatement* inStatement) = 0;
    virtual void AddCursor(I_DuckDBCursor* inCursor) = 0;
    virtual void RemoveCursor(I_DuckDBCursor* inCursor) = 0;
    virtual void AddQueryResult(I_DuckDBQueryResult* inQueryResult) = 0;
    virtual void RemoveQueryResult(I_DuckDBQueryResult* inQueryResult) = 0;

    /// Takes the engine lock and gives it back.
    virtual void SyncEngineLock() = 0;

    /// Runs a text at once. Without values (null or empty) it may hold several statements; a failing one ends
    /// the run, and one that fails while running is followed by a ROLLBACK. With values it is one statement.
    /// @return the sum of the rows changed.
    virtual std::int64_t SqlExecute(const String& inSql, smart_ptr<ValueArray> inParams) = 0;
    /// The same; the outcomes are chained through I_DuckDBQueryResult::get_NextResult.
    virtual smart_ptr<I_DuckDBQueryResult> SqlQuery(const String& inSql, std::uint32_t inCursorLocation,
                                                    smart_ptr<ValueArray> inParams) = 0;
    /// The same for a text of one statement that gives rows.
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
    /// The very array that a client cursor reads, row by row; null for any other cursor and for null.
    virtual smart_ptr<RowArray> get_ClientCursorRows(smart_ptr<I_DuckDBCursor> inCursor) = 0;
    virtual bool get_IsClientCursor(smart_ptr<I_DuckDBCursor> inCursor) = 0;
    /// Whether a database object has used exactly this path since the plug-in was loaded. Guarded.
    virtual bool get_IsKnownDatabase(const String& inPath) = 0;
    /// Whether an empty file, or one with DuckDB's magic, is there. Opens no DuckDB.
    virtual bool get_IsDuckDBFile(smart_ptr<I_Location> inLocation) = 0;
    /// Whether the path is exactly ":memory:".
    virtual bool get_IsMemoryPath(const String& inPath) const = 0;
    /// Makes a new database at a place, over an existing one, from a backup folder; gives it closed. A null
    /// location throws xDBError, code 333057; a missing backup xDBError, code 417792. Guarded.
    virtual smart_ptr<I_DuckDBDatabase> RestoreDatabase(smart_ptr<I_Location> inLocation,
                                                        smart_ptr<I_Location> inBackupLocation) = 0;
};

} // namespace orkit::orsql
