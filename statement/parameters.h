/// @file
/// Host values as parameters: from I_Value to `duckdb_value`, and onto any prepared statement.
///
/// None of this takes a lock or keeps a state; the callers hold the guard. The host's own exceptions
/// pass through.
#pragma once

#include <optional>
#include <string>

#include <duckdb.h>

#include "duckdb_support/handles.h"
#include "host/string.h"
#include "host/value.h"

namespace orkit::orsql {

/// A new value of what a host value holds: null is NULL, bytes are a BLOB, an envelope is what it says, and
/// the rest goes by the host's type; a type that DuckDB has no counterpart for gives its text. An enum value
/// throws, context "value". A std::exception means that DuckDB has no such value, as for a date that no
/// calendar has.
/// @param inValue may be null, which is NULL.
/// @return empty when DuckDB can't make the value, as with a list whose items don't fit its type.
orlimbara::duckdb_support::OwnedValue ValueToDuckDB(I_Value* inValue);

/// A LIST of the array's items, of the array's item type; otherwise as ValueToDuckDB.
orlimbara::duckdb_support::OwnedValue ArrayToDuckDBList(const I_ValueArray& inArray);

/// Converts and binds one value. Reading it calls the host, which may close the database: then the owner is
/// empty afterwards, and nothing is bound.
/// @param inPrepared the owner, whose handle is taken after the value was read. @param inIndex from 1.
/// @return nothing, or the text of the failure: DuckDB's where its function was called, else "Failed to bind
/// statement parameter".
std::optional<std::string> BindOneValue(const orlimbara::duckdb_support::OwnedPreparedStatement& inPrepared,
                                        idx_t inIndex, I_Value* inValue);

/// Binds all values of an array, the first to parameter 1. The first failure ends it; what was bound stays
/// bound.
/// @param inValues may be null or empty: nothing is bound.
std::optional<std::string> BindParameters(const orlimbara::duckdb_support::OwnedPreparedStatement& inPrepared,
                                          smart_ptr<ValueArray> inValues);

} // namespace orkit::orsql
