/// @file
/// The table procedures, and their registration with the host.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "host/procedure_api.h"

namespace orlimbara::procedures {

class ArgumentView;

/// The body of a procedure: returns a cursor, which the host owns and which is never null, or throws. A
/// std::exception carries the message for the user.
using ProcedureBody = host_cursor (*)(const ArgumentView& arguments);

// The bodies, each in the file of its name; docs/procedures.md describes their arguments and columns.
host_cursor fetch_parquet(const ArgumentView& arguments);
host_cursor parquet_schema(const ArgumentView& arguments);
host_cursor parquet_metadata(const ArgumentView& arguments);
host_cursor parquet_count(const ArgumentView& arguments);
host_cursor fetch_duckdb(const ArgumentView& arguments);

struct TableProcedure {
    const char* name;
    std::int32_t minimum_arguments;
    std::int32_t maximum_arguments;
    const char* signature;
    const char* description;
    const char* unexpected_message; ///< reported for a failure that isn't a std::exception
    ProcedureBody body;
};

/// All procedures, in the order of their registration: a row here registers a procedure.
inline constexpr std::array kTableProcedures = {
    TableProcedure{"fetch_parquet", 1, 4, "uri [, columns [, where [, limit]]]", "Reads a parquet file.",
                   "Unexpected error while reading parquet file.", fetch_parquet},
    TableProcedure{"parquet_schema", 1, 1, "uri", "Returns parquet column schema.",
                   "Unexpected error while reading parquet schema.", parquet_schema},
    TableProcedure{"parquet_metadata", 1, 1, "uri", "Returns parquet file metadata.",
                   "Unexpected error while reading parquet metadata.", parquet_metadata},
    TableProcedure{"parquet_count", 1, 2, "uri [, where]", "Returns parquet row count.",
                   "Unexpected error while counting parquet rows.", parquet_count},
    TableProcedure{"fetch_duckdb", 2, 3, "uri, table_or_view [, limit]",
                   "Returns rows from a DuckDB table or view.",
                   "Unexpected error while reading DuckDB table or view.", fetch_duckdb},
};

/// Registers all procedures; call BindProcedureApi (procedures/host_boundary.h) first. One that the host
/// refuses is reported with `report_error` and doesn't stop the others. Does nothing without a bound table.
void RegisterProcedures(call_context context) noexcept;

/// The SELECT of `fetch_parquet`, from the arguments `uri`, `columns` and `where`. Throws for the first
/// argument at fault.
[[nodiscard]] std::string BuildParquetSelect(const ArgumentView& arguments);

/// The SELECT of `fetch_duckdb` for the name of a table or view, whose parts are separated by dots and may be
/// in double quotes. Throws for a name of whitespace only, an empty part and an unclosed double quote; DuckDB
/// decides how many parts a name may have.
[[nodiscard]] std::string BuildTableSelect(std::string_view name);

} // namespace orlimbara::procedures
