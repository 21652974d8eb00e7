// Making statements, and their way out of the registry.

#include "database/duckdb_database.h"
#include "extension/engine_lock_guard.h"
#include "host/runtime.h"
#include "statement/duckdb_statement.h"

namespace orkit::orsql {

smart_ptr<I_DuckDBStatement> DuckDBDatabase::CreateStatement(const String& inSql) {
    const EngineLockGuard guard;
    OrlimbaraInit3();
    if (!mHandle) {
        RaiseError("DuckDBDatabase is not open");
    }
    smart_ptr<I_DuckDBStatement> statement(new DuckDBStatement(this, inSql));
    Register(mStatements, statement.get());
    return statement;
}

void DuckDBDatabase::ForgetStatement(const I_DuckDBStatement* inStatement) noexcept {
    Unregister(mStatements, inStatement);
}

void DuckDBDatabase::RemoveStatement(I_DuckDBStatement* inStatement) {
    const EngineLockGuard guard;
    RequireOpen();
    if (!Unregister(mStatements, inStatement)) {
        RaiseError("DuckDBStatement does not belong to this database");
    }
}

} // namespace orkit::orsql
