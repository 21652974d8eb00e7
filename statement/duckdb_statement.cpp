#include "statement/duckdb_statement.h"

#include <array>

#include "database/duckdb_database.h"
#include "extension/engine_lock_guard.h"
#include "object_support/errors.h"

namespace orkit::orsql {

DuckDBStatement::DuckDBStatement(DuckDBDatabase* inDatabase, const String& inSql)
    : mContext(inDatabase->get_Context()), mRuns(inDatabase->get_Runs()), mDatabase(inDatabase),
      mOriginalSql(inSql), mCurrentSql(inSql) {}

DuckDBStatement::~DuckDBStatement() { Detach(); }

void* DuckDBStatement::QueryInterface(std::uint32_t inInterfaceId) {
    static constexpr std::array kTable = {
        InterfaceRow<DuckDBStatement, I_DuckDBStatement>(interface_id::kDuckDBStatement),
        InterfaceRow<DuckDBStatement, I_ForeignPlugin>(interface_id::kForeignPlugin),
        kInterfaceTableEnd,
    };
    return InterfaceTableQueryInterface(this, kTable.data(), inInterfaceId);
}

const String& DuckDBStatement::get_OriginalSql() const { return mOriginalSql; }

const String& DuckDBStatement::get_Sql() const { return mCurrentSql; }

smart_ptr<I_DuckDBDatabase> DuckDBStatement::get_Database() const {
    const EngineLockGuard guard;
    return DuckDBDatabase::Acquire(mDatabase.load());
}

std::uint64_t DuckDBStatement::get_RemainingStatements() const {
    const EngineLockGuard guard;
    return HasStatementsLeft() ? mStatementCount - mNextStatement : 0;
}

void DuckDBStatement::Invalidate() { Detach(); }

DuckDBDatabase& DuckDBStatement::RequireDatabase() const {
    DuckDBDatabase* const database = mDatabase.load();
    if (!database) {
        ThrowDuckDBError(kUnknownContext, "DuckDBDatabase is invalid");
    }
    return *database;
}

void DuckDBStatement::ThrowError(const char* inMessage) const {
    ThrowDuckDBError(mDatabase.load() ? *mContext : String(kUnknownContext), inMessage);
}

void DuckDBStatement::ReleaseHandles() noexcept {
    mResult.Reset();
    mPrepared.Reset();
}

void DuckDBStatement::EndWalk() noexcept {
    mExtracted.Reset();
    mStatementCount = 0;
    mNextStatement = 0;
}

void DuckDBStatement::Detach() noexcept {
    const EngineLockGuard guard;
    ReleaseHandles();
    EndWalk();
    if (DuckDBDatabase* const database = mDatabase.exchange(nullptr)) {
        database->ForgetStatement(this);
    }
}

} // namespace orkit::orsql
