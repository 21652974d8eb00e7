// Parameters as host values: one bound now, or arrays that are held and bound again.

#include <utility>

#include "database/duckdb_database.h"
#include "extension/engine_lock_guard.h"
#include "statement/duckdb_statement.h"
#include "statement/parameters.h"

namespace orkit::orsql {

void DuckDBStatement::ClearBindings() {
    const EngineLockGuard guard;
    RequireDatabase();
    mValues.reset();
    mRows.reset();
    if (mPrepared) {
        ClearPreparedBindings();
    }
}

void DuckDBStatement::BindValue(std::uint32_t inIndex, smart_ptr<I_Value> inValue) {
    const EngineLockGuard guard;
    DropHeldArrays();
    if (mPrepared) {
        BindOneValue(mPrepared.Get(), inIndex, inValue.get(), RequireDatabase().get_Name());
    }
}

void DuckDBStatement::BindValues(smart_ptr<ValueArray> inValues) {
    mRows.reset();
    ApplyValues(std::move(inValues));
}

void DuckDBStatement::BindRows(smart_ptr<RowArray> inRows) {
    mRows.reset();
    ApplyValues(nullptr);
    mRows = std::move(inRows);
}

void DuckDBStatement::ApplyValues(smart_ptr<ValueArray> inValues) {
    RequireDatabase();
    mValues = std::move(inValues);
    if (mPrepared) {
        BindHeldValues();
    }
}

void DuckDBStatement::ReapplyValues() {
    if (mPrepared && mValues) {
        BindHeldValues();
    }
}

void DuckDBStatement::BindHeldValues() {
    ClearPreparedBindings();
    if (mValues && !mValues->isEmpty()) {
        BindParameters(mPrepared.Get(), mValues, RequireDatabase().get_Name());
    }
}

void DuckDBStatement::ClearPreparedBindings() {
    if (duckdb_clear_bindings(mPrepared.Get()) != DuckDBSuccess) {
        ThrowBindError("Failed to clear statement bindings");
    }
}

void DuckDBStatement::DropHeldArrays() {
    RequireDatabase();
    if (!mValues && !mRows) {
        return;
    }
    mValues.reset();
    mRows.reset();
    if (mPrepared) {
        ClearPreparedBindings();
    }
}

} // namespace orkit::orsql
