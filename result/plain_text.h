/// @file
/// Short texts of a vector's items, written directly in UTF-16.
///
/// Each function writes the same text as DuckDB's cast and returns its length, or 0 for a case that it leaves
/// to the cast: years before 1 and after 9999, infinity, times out of range, long BITs and INTERVALs.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include <duckdb.h>

namespace orkit::orsql {

/// Enough for each of these texts.
using PlainText = std::array<char16_t, 64>;

std::size_t WriteDate(duckdb_date inDate, PlainText& outText) noexcept;
std::size_t WriteTime(duckdb_time inTime, PlainText& outText) noexcept;
std::size_t WriteTimeNs(duckdb_time_ns inTime, PlainText& outText) noexcept;
std::size_t WriteTimeTz(duckdb_time_tz inTime, PlainText& outText) noexcept;
std::size_t WriteTimestamp(duckdb_timestamp inTimestamp, PlainText& outText) noexcept;
/// With the offset of UTC.
std::size_t WriteTimestampTz(duckdb_timestamp inTimestamp, PlainText& outText) noexcept;
std::size_t WriteTimestampS(duckdb_timestamp_s inTimestamp, PlainText& outText) noexcept;
std::size_t WriteTimestampMs(duckdb_timestamp_ms inTimestamp, PlainText& outText) noexcept;
std::size_t WriteTimestampNs(duckdb_timestamp_ns inTimestamp, PlainText& outText) noexcept;
/// For a time of at most 99 hours and small other parts.
std::size_t WriteInterval(duckdb_interval inInterval, PlainText& outText) noexcept;
/// @param inUuid as a vector holds it: the topmost bit is inverted.
std::size_t WriteUuid(duckdb_hugeint inUuid, PlainText& outText) noexcept;
std::size_t WriteHugeint(duckdb_hugeint inNumber, PlainText& outText) noexcept;
std::size_t WriteUhugeint(duckdb_uhugeint inNumber, PlainText& outText) noexcept;
/// For at most 64 bits. @param inBits as a vector holds them: after a byte that says how many bits of the
/// next byte are padding.
std::size_t WriteBit(duckdb_string_t inBits, PlainText& outText) noexcept;

} // namespace orkit::orsql
