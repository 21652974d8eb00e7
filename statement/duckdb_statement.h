/// @file
/// One SQL text, the walk through its statements, and their parameters.
///
/// Calls DuckDBDatabase, which makes statements and otherwise uses them through their interface.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "duckdb_support/handles.h"
#include "host/duckdb_objects.h"
#include "object_support/ref_count.h"

namespace orkit::orsql {

class DuckDBDatabase;
class Run;
class RunControl;

/// The object behind I_DuckDBStatement.
///
/// The state follows from the fields: "text" holds nothing; "walking" holds only the split script; "prepared"
/// holds a prepared statement; "ran" a result besides, which may be that of a failed run. The last two also
/// hold the split script, except after ExecuteAll and ExecuteScript. "Invalidated" has no database and no
/// handles, and is final. Held arrays and texts don't depend on the state.
///
/// Its sources: duckdb_statement.cpp (the object), running.cpp, held_bindings.cpp, typed_bindings.cpp.
class DuckDBStatement final : public RefCounted<I_DuckDBStatement, ForeignPlugin_imp>, noncopyable {
public:
    /// Doesn't parse the text or register the statement. @param inDatabase not null; no reference is held.
    DuckDBStatement(DuckDBDatabase* inDatabase, const String& inSql);
    ~DuckDBStatement() override;

    void* QueryInterface(std::uint32_t inInterfaceId) override;

    const String& get_OriginalSql() const override;
    const String& get_Sql() const override;
    smart_ptr<I_DuckDBDatabase> get_Database() const override;
    std::uint64_t get_RemainingStatements() const override;
    void Invalidate() override;

    void PrepareNext() override;
    bool ExecuteNext(std::uint64_t& outRowsChanged) override;
    bool ExecuteNext() override;
    void ExecuteAll() override;
    DuckDBExecutionResult ExecuteScript() override;

    void ClearBindings() override;
    void BindNull(std::uint32_t inIndex) override;
    void BindBoolean(std::uint32_t inIndex, std::uint8_t inValue) override;
    void BindTinyInt(std::uint32_t inIndex, std::int8_t inValue) override;
    void BindUTinyInt(std::uint32_t inIndex, std::uint8_t inValue) override;
    void BindSmallInt(std::uint32_t inIndex, std::int16_t inValue) override;
    void BindUSmallInt(std::uint32_t inIndex, std::uint16_t inValue) override;
    void BindInteger(std::uint32_t inIndex, std::int32_t inValue) override;
    void BindUInteger(std::uint32_t inIndex, std::uint32_t inValue) override;
    void BindBigInt(std::uint32_t inIndex, std::int64_t inValue) override;
    void BindUBigInt(std::uint32_t inIndex, std::uint64_t inValue) override;
    void BindHugeInt(std::uint32_t inIndex, std::uint64_t inLower, std::int64_t inUpper) override;
    void BindUHugeInt(std::uint32_t inIndex, std::uint64_t inLower, std::uint64_t inUpper) override;
    void BindDecimal(std::uint32_t inIndex, std::uint8_t inWidth, std::uint8_t inScale, std::uint64_t inLower,
                     std::int64_t inUpper) override;
    void BindFloat(std::uint32_t inIndex, float inValue) override;
    void BindDouble(std::uint32_t inIndex, double inValue) override;
    void BindDate(std::uint32_t inIndex, std::int32_t inYear, std::int32_t inMonth,
                  std::int32_t inDay) override;
    void BindTime(std::uint32_t inIndex, std::int64_t inMicros) override;
    void BindTimeNs(std::uint32_t inIndex, std::int64_t inNanos) override;
    void BindTimeTz(std::uint32_t inIndex, std::int64_t inMicros, std::int32_t inOffset) override;
    void BindTimestamp(std::uint32_t inIndex, std::int64_t inMicros) override;
    void BindTimestampTz(std::uint32_t inIndex, std::int64_t inMicros) override;
    void BindTimestampS(std::uint32_t inIndex, std::int64_t inSeconds) override;
    void BindTimestampMs(std::uint32_t inIndex, std::int64_t inMillis) override;
    void BindTimestampNs(std::uint32_t inIndex, std::int64_t inNanos) override;
    void BindInterval(std::uint32_t inIndex, std::int32_t inMonths, std::int32_t inDays,
                      std::int64_t inMicros) override;
    void BindVarchar(std::uint32_t inIndex, const String& inValue) override;
    void BindBlob(std::uint32_t inIndex, const void* inData, std::uint64_t inLength) override;
    void BindBit(std::uint32_t inIndex, const std::uint8_t* inData, std::uint64_t inSize) override;
    void BindBignum(std::uint32_t inIndex, const std::uint8_t* inData, std::uint64_t inSize,
                    bool inIsNegative) override;
    void BindUuid(std::uint32_t inIndex, std::uint64_t inLower, std::uint64_t inUpper) override;

    void BindValue(std::uint32_t inIndex, smart_ptr<I_Value> inValue) override;
    void BindValues(smart_ptr<ValueArray> inValues) override;
    void BindRows(smart_ptr<RowArray> inRows) override;

    std::uint64_t SqlExecute() override;
    smart_ptr<I_DuckDBCursor> SqlSelect(std::uint32_t inCursorLocation) override;
    String SqlSelectToJSON() override;
    smart_ptr<I_DuckDBQueryResult> SqlQuery(std::uint32_t inCursorLocation) override;

private:
    // The guard must be held, unless documented otherwise.

    /// The database. Throws "DuckDBDatabase is invalid", context "unknown", on an invalidated statement.
    /// Needs no guard, but only the guard keeps the database alive.
    DuckDBDatabase& RequireDatabase() const;
    /// Throws xDuckDBError with the database's name, or "unknown", first. @param inMessage UTF-8.
    [[noreturn]] void ThrowError(const char* inMessage) const;
    /// Destroys the result and the prepared statement.
    void ReleaseHandles() noexcept;
    /// Ends the walk: no split script, count and index 0.
    void EndWalk() noexcept;
    /// Destroys all handles and leaves the database's registry, once. Takes the guard.
    void Detach() noexcept;
    void OnLastRelease() noexcept override { Detach(); }

    bool HasStatementsLeft() const noexcept { return mNextStatement < mStatementCount; }
    /// Splits the current text. Leaves no split script if the text has no statement; throws DuckDB's text if
    /// it has an error.
    void Split(const Run& inRun, duckdb_connection inConnection);
    /// Makes the next statement's text the current one.
    void TakeSql();
    /// Runs the prepared statement: once, or once per held row. Does nothing without a
    /// prepared statement. @param outRowsChanged the rows changed by the last run that changed rows; may be
    /// null.
    void RunPrepared(const Run& inRun, std::uint64_t* outRowsChanged);

    /// Holds the values in place of the previous ones, and binds them if a statement is prepared. Needs no
    /// guard.
    void ApplyValues(smart_ptr<ValueArray> inValues);
    /// Binds the held values again; without any, the bindings stay. Needs no guard.
    void ReapplyValues();
    /// Clears DuckDB's bindings, then binds the held values, if a statement is prepared. Needs no guard.
    void BindHeldValues();
    /// Throws the failure of binding host values, or "DuckDBDatabase is invalid" if reading them closed it.
    void CheckBinding(const std::optional<std::string>& inFailure) const;
    /// Clears DuckDB's bindings, if a statement is prepared. Needs no guard.
    void ClearPreparedBindings();
    /// Drops held arrays, and all bindings with them, before a single value is bound.
    void DropHeldArrays();
    /// A typed binding. Takes the guard. @param inTypeName the type's name for the message of a failure.
    /// @param inStep binds; see typed_bindings.cpp.
    template <class Step, class... Args>
    void Bind(const char* inTypeName, Step inStep, std::uint32_t inIndex, const Args&... inArgs);

    const std::shared_ptr<const String> mContext; // the database's name, for failures; read without the guard
    const std::shared_ptr<RunControl> mRuns;      // the database's, used without the guard
    std::atomic<DuckDBDatabase*> mDatabase; // null once invalidated; written under the guard, read without it
    const String mOriginalSql;
    String mCurrentSql;
    smart_ptr<RowArray> mRows;
    smart_ptr<ValueArray> mValues; // while rows run, the current row
    orlimbara::duckdb_support::OwnedExtractedStatements mExtracted;
    std::uint64_t mStatementCount = 0;
    std::uint64_t mNextStatement = 0; // from 0
    orlimbara::duckdb_support::OwnedPreparedStatement mPrepared;
    orlimbara::duckdb_support::OwnedResult mResult;
};

} // namespace orkit::orsql
