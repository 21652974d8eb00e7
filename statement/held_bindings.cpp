// Parameters as host values: one bound now, or arrays that are held and bound again.

#include <utility>

#include "extension/engine_lock_guard.h"
#include "object_support/text.h"
#include "statement/duckdb_statement.h"
#include "statement/parameters.h"

namespace orkit::orsql {

void DuckDBStatement::ClearBindings() {
    const EngineLockGuard guard;
    RequireDatabase();
    mValues.reset();
    mRows.reset();
    ClearPreparedBindings();
}

void DuckDBStatement::BindValue(std::uint32_t inIndex, smart_ptr<I_Value> inValue) {
    const EngineLockGuard guard;
    DropHeldArrays();
    if (mPrepared) {
        CheckBinding(BindOneValue(mPrepared, inIndex, inValue.get()));
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
    BindHeldValues();
}

void DuckDBStatement::ReapplyValues() {
    if (mValues) {
        BindHeldValues();
    }
}

void DuckDBStatement::BindHeldValues() {
    ClearPreparedBindings();
    CheckBinding(BindParameters(mPrepared, mValues));
}

void DuckDBStatement::CheckBinding(const std::optional<std::string>& inFailure) const {
    if (inFailure) {
        ThrowError(inFailure->c_str());
    }
    RequireDatabase(); // reading a host value may have closed it
}

void DuckDBStatement::ClearPreparedBindings() {
    if (mPrepared && duckdb_clear_bindings(mPrepared.Get()) != DuckDBSuccess) {
        ThrowError(TextOr(duckdb_prepare_error(mPrepared.Get()), "Failed to clear statement bindings"));
    }
}

void DuckDBStatement::DropHeldArrays() {
    RequireDatabase();
    if (!mValues && !mRows) {
        return;
    }
    mValues.reset();
    mRows.reset();
    ClearPreparedBindings();
}

} // namespace orkit::orsql
