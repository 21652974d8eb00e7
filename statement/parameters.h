/// @file
/// Host values as parameters: from I_Value to `duckdb_value`, bound to any prepared statement.
///
/// These functions take no lock and keep no state; the callers hold the guard. The host's own exceptions pass
/// through.
#pragma once

#include <optional>
#include <string>

#include <duckdb.h>

#include "duckdb_support/handles.h"
#include "host/string.h"
#include "host/value.h"

namespace orkit::orsql {

/// A new DuckDB value with a host value's content. Null becomes NULL, bytes a BLOB, an envelope the value
/// that it names; everything else goes by the host's type, as text if DuckDB has no counterpart. An enum
/// value throws, context "value". A std::exception means that DuckDB has no such value, as for a date that
/// doesn't exist.
/// @param inValue may be null, which is NULL.
/// @return empty if DuckDB can't make the value, such as a list whose items don't fit its type.
orlimbara::duckdb_support::OwnedValue ValueToDuckDB(I_Value* inValue);

/// A LIST of the array's items and item type; otherwise the same as ValueToDuckDB.
orlimbara::duckdb_support::OwnedValue ArrayToDuckDBList(const I_ValueArray& inArray);

/// Converts and binds one value. Reading it calls the host, which may close the database: then the owner is
/// empty and nothing is bound.
/// @param inPrepared the owner; its handle is taken after the value was read. @param inIndex from 1.
/// @return nothing, or the text of the failure: DuckDB's if its function was called, else "Failed to bind
/// statement parameter".
std::optional<std::string> BindOneValue(const orlimbara::duckdb_support::OwnedPreparedStatement& inPrepared,
                                        idx_t inIndex, I_Value* inValue);

/// Binds all values of an array, the first to parameter 1. Stops at the first failure; earlier values stay
/// bound.
/// @param inValues may be null or empty: nothing is bound.
std::optional<std::string> BindParameters(const orlimbara::duckdb_support::OwnedPreparedStatement& inPrepared,
                                          smart_ptr<ValueArray> inValues);

} // namespace orkit::orsql
