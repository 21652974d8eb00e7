/// @file
/// From a cell of a DuckDB vector to a value of the host; inline, since this is the inner loop of every
/// fetch.
#pragma once

#include <duckdb.h>

#include <cstdint>

#include "procedures/host_boundary.h"

namespace orlimbara::procedures {

namespace detail {

template <typename Element>
[[nodiscard]] Element& ElementAt(void* data, std::uint64_t row) {
    return static_cast<Element*>(data)[row];
}

/// The low `count` bits of a number.
[[nodiscard]] constexpr std::uint32_t LowBits(std::int32_t number, unsigned count) {
    return static_cast<std::uint32_t>(number) & ((1U << count) - 1U);
}

} // namespace detail

/// The host's packed forms; host/procedure_api.h lists the bits. Fractions of a millisecond are truncated.
[[nodiscard]] inline std::uint32_t PackDate(const duckdb_date_struct& date) noexcept {
    return detail::LowBits(date.day, 5) | detail::LowBits(date.month, 4) << 5 |
           static_cast<std::uint32_t>(date.year) << 9;
}

[[nodiscard]] inline std::uint32_t PackTime(const duckdb_time_struct& time) noexcept {
    return detail::LowBits(time.micros / 1000, 15) | detail::LowBits(time.sec, 6) << 15 |
           detail::LowBits(time.min, 6) << 21 | static_cast<std::uint32_t>(time.hour) << 27;
}

[[nodiscard]] inline std::uint64_t PackDateTime(const duckdb_timestamp_struct& timestamp) noexcept {
    return std::uint64_t{PackDate(timestamp.date)} << 32 | PackTime(timestamp.time);
}

namespace detail {

[[nodiscard]] inline host_value MakeDateTime(call_context context, duckdb_timestamp timestamp) {
    if (!duckdb_is_finite_timestamp(timestamp)) { // DuckDB throws if asked for the parts of infinity
        return nullptr;
    }
    return GetProcedureApi()->new_datetime(context, PackDateTime(duckdb_from_timestamp(timestamp)));
}

} // namespace detail

/// Whether the host has a value for a cell that isn't NULL. It has none for an infinite timestamp.
[[nodiscard]] inline bool HasCellValue(duckdb_type runtime_type, void* data, std::uint64_t row) {
    return runtime_type != DUCKDB_TYPE_TIMESTAMP ||
           duckdb_is_finite_timestamp(detail::ElementAt<duckdb_timestamp>(data, row));
}

/// Makes the value of a cell that isn't NULL; the host owns it. `data` is the data of a flat vector of the
/// runtime type, and `row` counts from 0 in it. Null if the host has no such value or can't make it.
[[nodiscard]] inline host_value MakeCellValue(call_context context, duckdb_type runtime_type, void* data,
                                              std::uint64_t row) {
    const procedure_api& api = *GetProcedureApi();
    switch (runtime_type) {
    case DUCKDB_TYPE_BOOLEAN:
        return api.new_bool(context, detail::ElementAt<std::uint8_t>(data, row));
    case DUCKDB_TYPE_TINYINT:
        return api.new_int64(context, detail::ElementAt<std::int8_t>(data, row));
    case DUCKDB_TYPE_SMALLINT:
        return api.new_int64(context, detail::ElementAt<std::int16_t>(data, row));
    case DUCKDB_TYPE_INTEGER:
        return api.new_int64(context, detail::ElementAt<std::int32_t>(data, row));
    case DUCKDB_TYPE_BIGINT:
        return api.new_int64(context, detail::ElementAt<std::int64_t>(data, row));
    case DUCKDB_TYPE_UTINYINT:
        return api.new_uint64(context, detail::ElementAt<std::uint8_t>(data, row));
    case DUCKDB_TYPE_USMALLINT:
        return api.new_uint64(context, detail::ElementAt<std::uint16_t>(data, row));
    case DUCKDB_TYPE_UINTEGER:
        return api.new_uint64(context, detail::ElementAt<std::uint32_t>(data, row));
    case DUCKDB_TYPE_UBIGINT:
        return api.new_uint64(context, detail::ElementAt<std::uint64_t>(data, row));
    case DUCKDB_TYPE_FLOAT:
        return api.new_double(context, static_cast<double>(detail::ElementAt<float>(data, row)));
    case DUCKDB_TYPE_DOUBLE:
        return api.new_double(context, detail::ElementAt<double>(data, row));
    case DUCKDB_TYPE_TIMESTAMP:
        return detail::MakeDateTime(context, detail::ElementAt<duckdb_timestamp>(data, row));
    case DUCKDB_TYPE_DATE:
        return api.new_date(context, PackDate(duckdb_from_date(detail::ElementAt<duckdb_date>(data, row))));
    case DUCKDB_TYPE_TIME:
        return api.new_time(context, PackTime(duckdb_from_time(detail::ElementAt<duckdb_time>(data, row))));
    case DUCKDB_TYPE_BLOB: {
        duckdb_string_t& bytes = detail::ElementAt<duckdb_string_t>(data, row);
        return api.new_binary(context, duckdb_string_t_data(&bytes), duckdb_string_t_length(bytes), 0);
    }
    default: { // every other type was cast to VARCHAR
        duckdb_string_t& text = detail::ElementAt<duckdb_string_t>(data, row);
        return api.new_text(context, duckdb_string_t_data(&text), duckdb_string_t_length(text), 0);
    }
    }
}

} // namespace orlimbara::procedures
