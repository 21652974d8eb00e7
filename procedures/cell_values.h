/// @file
/// The host's packed forms of DuckDB's dates and times.
#pragma once

#include <duckdb.h>

#include <cstdint>

namespace orlimbara::procedures {

namespace detail {

/// The low `count` bits of a number.
[[nodiscard]] constexpr std::uint32_t LowBits(std::int32_t number, unsigned count) {
    return static_cast<std::uint32_t>(number) & ((1U << count) - 1U);
}

} // namespace detail

/// host/procedure_api.h lists the bits. Fractions of a millisecond are truncated.
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

} // namespace orlimbara::procedures
