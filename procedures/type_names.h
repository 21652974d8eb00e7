/// @file
/// The three types of a column on the procedure side: its DuckDB type, a number of DuckDB's `duckdb_type`;
/// its runtime type, the DuckDB type that it is cast to, one of the 16 that a cell can be read in; and its
/// host type, a number of `host_type`. Pure functions of a number; none fails.
#pragma once

#include <duckdb.h>

#include <cstdint>

#include "host/procedure_api.h"

namespace orlimbara::procedures {

/// The name of a DuckDB type, a static text; "UNKNOWN" for a number above TIME_NS.
[[nodiscard]] const char* DuckDBTypeName(std::uint32_t number) noexcept;

/// The DuckDB type that a column of this type is cast to; VARCHAR for a number above TIME_NS.
[[nodiscard]] duckdb_type RuntimeType(std::uint32_t number) noexcept;

/// The host type of a runtime type; for a DuckDB type that isn't a runtime type it is text.
[[nodiscard]] std::int32_t HostTypeOf(duckdb_type runtime_type) noexcept;

/// The name of a host type, a static text; "unknown" for a number that isn't one.
[[nodiscard]] const char* HostTypeName(std::int32_t number) noexcept;

} // namespace orlimbara::procedures
