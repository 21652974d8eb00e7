/// @file
/// Host values as parameters: from I_Value to `duckdb_value`, and onto any prepared statement.
///
/// None of this takes a lock or keeps a state; the callers hold the guard. The host's own exceptions
/// pass through.
#pragma once

#include <cstdint>

#include <duckdb.h>

#include "duckdb_support/handles.h"
#include "host/string.h"
#include "host/value.h"

namespace orkit::orsql {

/// A new value of what a host value holds: null is NULL, bytes are a BLOB, an envelope is what it says, and
/// the rest goes by the host's type; types without a like of their own give their text. An enum value raises,
/// context "value". A std::exception means that DuckDB has no such value, as for a date that no calendar has.
/// @param inValue may be null, which is NULL.
/// @return empty when DuckDB can't make the value, as with a list whose items don't fit its type.
orlimbara::duckdb_support::OwnedValue ValueToDuckDB(I_Value* inValue);

/// A LIST of the array's items, of the array's item type; otherwise as ValueToDuckDB.
orlimbara::duckdb_support::OwnedValue ArrayToDuckDBList(const I_ValueArray& inArray);

/// Binds a value. @param inValue an empty one is refused, since DuckDB's function doesn't look.
duckdb_state BindOwnedValue(duckdb_prepared_statement inPrepared, idx_t inIndex,
                            const orlimbara::duckdb_support::OwnedValue& inValue);

/// Converts and binds one value. What DuckDB refuses raises its text, else "Failed to bind statement
/// parameter".
/// @param inIndex from 1. @param inDatabaseName the context of a failure; empty gives "unknown".
void BindOneValue(duckdb_prepared_statement inPrepared, idx_t inIndex, I_Value* inValue,
                  const String& inDatabaseName);

/// Binds all values of an array, the first to parameter 1. The first failure ends it; what was bound stays
/// bound.
/// @param inValues may be null or empty: nothing is bound.
void BindParameters(duckdb_prepared_statement inPrepared, smart_ptr<ValueArray> inValues,
                    const String& inDatabaseName);

} // namespace orkit::orsql
