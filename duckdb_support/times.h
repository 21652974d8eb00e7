/// @file
/// Finds times of day that lie outside their type's range, before DuckDB makes text of them.
///
/// Typed bindings and appenders hand DuckDB the caller's number untested, so a table can hold such a time.
/// DuckDB's functions that make text of a TIME, TIME_NS or TIMETZ read and write beyond their arrays for it.
#pragma once

#include <duckdb.h>

namespace orlimbara::duckdb_support {

/// The message for a time that is outside its range.
inline constexpr const char* kTimeOutOfRange = "A time of day lies outside the range of its type";

/// Whether a value of the type can be or hold a TIME, TIME_NS or TIMETZ, at any depth; a VARIANT can.
[[nodiscard]] bool CanHoldTimes(duckdb_logical_type inType);

/// Whether all times in the value, at any depth, are in range. True for SQL NULL; the handle must not be
/// null. Throws std::bad_alloc without memory.
[[nodiscard]] bool AreTimesInRange(duckdb_value inValue);

/// The same for `inCount` rows of a column from row `inFirst` on (all counted from 0; rows past the end are
/// ignored). A list counts with all items of its chunk, as DuckDB's casts take them.
[[nodiscard]] bool AreTimesInRange(duckdb_data_chunk inChunk, idx_t inColumn, idx_t inFirst = 0,
                                   idx_t inCount = ~idx_t{0});

/// The scalar function that AddTimeCheck makes known: returns its one argument, of any type, unchanged, and
/// fails with kTimeOutOfRange when a time in it is out of range. An SQL cast of what it returns is safe.
inline constexpr const char* kTimeCheck = "system.main.orlimbara_check_times";

/// Makes kTimeCheck known to the connection's instance; nothing of it goes into a database file. Throws what
/// DuckDB throws.
void AddTimeCheck(duckdb_connection inConnection);

} // namespace orlimbara::duckdb_support
