/// @file
/// The three types of a column on the procedure side.
///
/// They are its DuckDB type, a number of DuckDB's `duckdb_type`; its runtime type, the DuckDB type that it is
/// cast to, one of the 16 that a cell can be read in; and its host type, a number of `host_type`.
#pragma once

#include <duckdb.h>

#include <array>
#include <cstddef>
#include <cstdint>

#include "host/procedure_api.h"

namespace orlimbara::procedures {

namespace detail {

struct DuckDBTypeRow {
    duckdb_type type;
    const char* name;
    duckdb_type runtime_type;
};

/// One row per DuckDB type, at the index that is its number.
inline constexpr std::array kDuckDBTypes = {
    DuckDBTypeRow{DUCKDB_TYPE_INVALID, "INVALID", DUCKDB_TYPE_VARCHAR},
    DuckDBTypeRow{DUCKDB_TYPE_BOOLEAN, "BOOLEAN", DUCKDB_TYPE_BOOLEAN},
    DuckDBTypeRow{DUCKDB_TYPE_TINYINT, "TINYINT", DUCKDB_TYPE_TINYINT},
    DuckDBTypeRow{DUCKDB_TYPE_SMALLINT, "SMALLINT", DUCKDB_TYPE_SMALLINT},
    DuckDBTypeRow{DUCKDB_TYPE_INTEGER, "INTEGER", DUCKDB_TYPE_INTEGER},
    DuckDBTypeRow{DUCKDB_TYPE_BIGINT, "BIGINT", DUCKDB_TYPE_BIGINT},
    DuckDBTypeRow{DUCKDB_TYPE_UTINYINT, "UTINYINT", DUCKDB_TYPE_UTINYINT},
    DuckDBTypeRow{DUCKDB_TYPE_USMALLINT, "USMALLINT", DUCKDB_TYPE_USMALLINT},
    DuckDBTypeRow{DUCKDB_TYPE_UINTEGER, "UINTEGER", DUCKDB_TYPE_UINTEGER},
    DuckDBTypeRow{DUCKDB_TYPE_UBIGINT, "UBIGINT", DUCKDB_TYPE_UBIGINT},
    DuckDBTypeRow{DUCKDB_TYPE_FLOAT, "FLOAT", DUCKDB_TYPE_FLOAT},
    DuckDBTypeRow{DUCKDB_TYPE_DOUBLE, "DOUBLE", DUCKDB_TYPE_DOUBLE},
    DuckDBTypeRow{DUCKDB_TYPE_TIMESTAMP, "TIMESTAMP", DUCKDB_TYPE_TIMESTAMP},
    DuckDBTypeRow{DUCKDB_TYPE_DATE, "DATE", DUCKDB_TYPE_DATE},
    DuckDBTypeRow{DUCKDB_TYPE_TIME, "TIME", DUCKDB_TYPE_TIME},
    DuckDBTypeRow{DUCKDB_TYPE_INTERVAL, "INTERVAL", DUCKDB_TYPE_VARCHAR},
    DuckDBTypeRow{DUCKDB_TYPE_HUGEINT, "HUGEINT", DUCKDB_TYPE_VARCHAR},
    DuckDBTypeRow{DUCKDB_TYPE_VARCHAR, "VARCHAR", DUCKDB_TYPE_VARCHAR},
    DuckDBTypeRow{DUCKDB_TYPE_BLOB, "BLOB", DUCKDB_TYPE_BLOB},
    DuckDBTypeRow{DUCKDB_TYPE_DECIMAL, "DECIMAL", DUCKDB_TYPE_DOUBLE},
    DuckDBTypeRow{DUCKDB_TYPE_TIMESTAMP_S, "TIMESTAMP_S", DUCKDB_TYPE_TIMESTAMP},
    DuckDBTypeRow{DUCKDB_TYPE_TIMESTAMP_MS, "TIMESTAMP_MS", DUCKDB_TYPE_TIMESTAMP},
    DuckDBTypeRow{DUCKDB_TYPE_TIMESTAMP_NS, "TIMESTAMP_NS", DUCKDB_TYPE_TIMESTAMP},
    DuckDBTypeRow{DUCKDB_TYPE_ENUM, "ENUM", DUCKDB_TYPE_VARCHAR},
    DuckDBTypeRow{DUCKDB_TYPE_LIST, "LIST", DUCKDB_TYPE_VARCHAR},
    DuckDBTypeRow{DUCKDB_TYPE_STRUCT, "STRUCT", DUCKDB_TYPE_VARCHAR},
    DuckDBTypeRow{DUCKDB_TYPE_MAP, "MAP", DUCKDB_TYPE_VARCHAR},
    DuckDBTypeRow{DUCKDB_TYPE_UUID, "UUID", DUCKDB_TYPE_VARCHAR},
    DuckDBTypeRow{DUCKDB_TYPE_UNION, "UNION", DUCKDB_TYPE_VARCHAR},
    DuckDBTypeRow{DUCKDB_TYPE_BIT, "BIT", DUCKDB_TYPE_VARCHAR},
    DuckDBTypeRow{DUCKDB_TYPE_TIME_TZ, "TIME_TZ", DUCKDB_TYPE_TIME},
    DuckDBTypeRow{DUCKDB_TYPE_TIMESTAMP_TZ, "TIMESTAMP_TZ", DUCKDB_TYPE_TIMESTAMP},
    DuckDBTypeRow{DUCKDB_TYPE_UHUGEINT, "UHUGEINT", DUCKDB_TYPE_VARCHAR},
    DuckDBTypeRow{DUCKDB_TYPE_ARRAY, "ARRAY", DUCKDB_TYPE_VARCHAR},
    DuckDBTypeRow{DUCKDB_TYPE_ANY, "ANY", DUCKDB_TYPE_VARCHAR},
    DuckDBTypeRow{DUCKDB_TYPE_BIGNUM, "BIGNUM", DUCKDB_TYPE_VARCHAR},
    DuckDBTypeRow{DUCKDB_TYPE_SQLNULL, "SQLNULL", DUCKDB_TYPE_VARCHAR},
    DuckDBTypeRow{DUCKDB_TYPE_STRING_LITERAL, "STRING_LITERAL", DUCKDB_TYPE_VARCHAR},
    DuckDBTypeRow{DUCKDB_TYPE_INTEGER_LITERAL, "INTEGER_LITERAL", DUCKDB_TYPE_VARCHAR},
    DuckDBTypeRow{DUCKDB_TYPE_TIME_NS, "TIME_NS", DUCKDB_TYPE_TIME},
};

constexpr bool RowsStandAtTheirNumbers() {
    for (std::size_t number = 0; number < kDuckDBTypes.size(); ++number) {
        if (kDuckDBTypes[number].type != static_cast<duckdb_type>(number)) {
            return false;
        }
    }
    return true;
}
static_assert(RowsStandAtTheirNumbers());

/// Names at the index that is the host type's number; 0 is none.
inline constexpr std::array kHostTypeNames = {"unknown",  "array",  "bool",   "binary", "date",
                                              "datetime", "double", "int64",  "money",  "null",
                                              "text",     "time",   "uint64", "variant"};
static_assert(kHostTypeNames.size() == HOST_TYPE_VARIANT + 1);

} // namespace detail

/// The name of a DuckDB type; "UNKNOWN" for a number above TIME_NS.
[[nodiscard]] constexpr const char* DuckDBTypeName(std::uint32_t number) noexcept {
    return number < detail::kDuckDBTypes.size() ? detail::kDuckDBTypes[number].name : "UNKNOWN";
}

/// The DuckDB type that a column of this type is cast to; VARCHAR for a number above TIME_NS.
[[nodiscard]] constexpr duckdb_type RuntimeType(std::uint32_t number) noexcept {
    return number < detail::kDuckDBTypes.size() ? detail::kDuckDBTypes[number].runtime_type
                                                : DUCKDB_TYPE_VARCHAR;
}

/// The host type of a runtime type; text for a DuckDB type that isn't a runtime type.
[[nodiscard]] constexpr std::int32_t HostTypeOf(duckdb_type runtime_type) noexcept {
    switch (runtime_type) {
    case DUCKDB_TYPE_BOOLEAN:
        return HOST_TYPE_BOOL;
    case DUCKDB_TYPE_TINYINT:
    case DUCKDB_TYPE_SMALLINT:
    case DUCKDB_TYPE_INTEGER:
    case DUCKDB_TYPE_BIGINT:
        return HOST_TYPE_INT64;
    case DUCKDB_TYPE_UTINYINT:
    case DUCKDB_TYPE_USMALLINT:
    case DUCKDB_TYPE_UINTEGER:
    case DUCKDB_TYPE_UBIGINT:
        return HOST_TYPE_UINT64;
    case DUCKDB_TYPE_FLOAT:
    case DUCKDB_TYPE_DOUBLE:
        return HOST_TYPE_DOUBLE;
    case DUCKDB_TYPE_TIMESTAMP:
        return HOST_TYPE_DATETIME;
    case DUCKDB_TYPE_DATE:
        return HOST_TYPE_DATE;
    case DUCKDB_TYPE_TIME:
        return HOST_TYPE_TIME;
    case DUCKDB_TYPE_BLOB:
        return HOST_TYPE_BINARY;
    default:
        return HOST_TYPE_TEXT;
    }
}

/// The name of a host type; "unknown" for a number that isn't one.
[[nodiscard]] constexpr const char* HostTypeName(std::int32_t number) noexcept {
    const bool is_named = number >= 0 && static_cast<std::size_t>(number) < detail::kHostTypeNames.size();
    return detail::kHostTypeNames[is_named ? static_cast<std::size_t>(number) : 0];
}

} // namespace orlimbara::procedures
