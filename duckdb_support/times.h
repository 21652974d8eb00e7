/// @file
/// Finds times of day outside their type's range before DuckDB converts them to text.
///
/// Typed bindings and appenders give DuckDB the caller's number unchecked, so a table can hold such a time.
/// DuckDB's functions that convert a TIME, TIME_NS or TIMETZ to text then read and write outside their
/// arrays.
#pragma once

#include <duckdb.h>

namespace orlimbara::duckdb_support {

/// The message for a time outside its range.
inline constexpr const char* kTimeOutOfRange = "A time of day lies outside the range of its type";

/// Whether a value of the type can be or hold a TIME, TIME_NS or TIMETZ, at any depth; a VARIANT can.
[[nodiscard]] bool CanHoldTimes(duckdb_logical_type inType);

/// Whether all times in the value, at any depth, are in range. True for SQL NULL; the handle must not be
/// null. Throws std::bad_alloc without memory.
[[nodiscard]] bool AreTimesInRange(duckdb_value inValue);

/// The scalar function that AddTimeCheck registers: returns its one argument, of any type, unchanged, and
/// fails with kTimeOutOfRange if a time in it is out of range. An SQL cast of its result is safe.
inline constexpr const char* kTimeCheck = "system.main.orlimbara_check_times";

/// Registers kTimeCheck with the connection's instance, and doesn't change a database file. Throws DuckDB's
/// exceptions.
void AddTimeCheck(duckdb_connection inConnection);

} // namespace orlimbara::duckdb_support
