/// @file
/// From a cell of a DuckDB vector to a value of the host.
#pragma once

#include <duckdb.h>

#include <cstdint>

#include "host/procedure_api.h"

namespace orlimbara::procedures {

/// The host's packed forms; host/procedure_api.h tells the bits. What is below a millisecond is cut off,
/// never carried.
[[nodiscard]] std::uint32_t PackDate(const duckdb_date_struct& date) noexcept;
[[nodiscard]] std::uint32_t PackTime(const duckdb_time_struct& time) noexcept;
[[nodiscard]] std::uint64_t PackDateTime(const duckdb_timestamp_struct& timestamp) noexcept;

/// Makes the value of a cell that isn't NULL. `data` is the data of a flat vector of the runtime type, `row`
/// counts from 0 in it. The value is the host's. Null for a timestamp of infinity, which no packed form can
/// tell.
[[nodiscard]] host_value MakeCellValue(call_context context, duckdb_type runtime_type, void* data,
                                       std::uint64_t row);

} // namespace orlimbara::procedures
