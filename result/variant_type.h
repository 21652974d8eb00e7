/// @file
/// DuckDB's numbers for the types that a VARIANT can hold, and their names in an envelope.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace orkit::orsql {

/// DuckDB's numbers. Only those that the code treats specially have a constant.
namespace variant_type {
inline constexpr std::int32_t kNone = -2; ///< no number; DuckDB returns -1 for what it can't read
inline constexpr std::int32_t kNull = 0;
inline constexpr std::int32_t kBoolTrue = 1;
inline constexpr std::int32_t kBoolFalse = 2;
inline constexpr std::int32_t kInt8 = 3;
inline constexpr std::int32_t kInt16 = 4;
inline constexpr std::int32_t kInt32 = 5;
inline constexpr std::int32_t kInt64 = 6;
inline constexpr std::int32_t kUInt8 = 8;
inline constexpr std::int32_t kUInt16 = 9;
inline constexpr std::int32_t kUInt32 = 10;
inline constexpr std::int32_t kUInt64 = 11;
inline constexpr std::int32_t kFloat = 13;
inline constexpr std::int32_t kDouble = 14;
inline constexpr std::int32_t kVarchar = 16;
inline constexpr std::int32_t kBlob = 17;
inline constexpr std::int32_t kDate = 19;
inline constexpr std::int32_t kTimestampMs = 23;
inline constexpr std::int32_t kObject = 29;
inline constexpr std::int32_t kArray = 30;

// clang-format off
/// In the order of the numbers, from 0. "TIMESTAMP_MILIS" has one L in every envelope ever written.
inline constexpr std::array kNames = {
    "VARIANT_NULL", "BOOL_TRUE", "BOOL_FALSE",
    "INT8", "INT16", "INT32", "INT64", "INT128", "UINT8", "UINT16", "UINT32", "UINT64", "UINT128",
    "FLOAT", "DOUBLE", "DECIMAL", "VARCHAR", "BLOB", "UUID",
    "DATE", "TIME_MICROS", "TIME_NANOS",
    "TIMESTAMP_SEC", "TIMESTAMP_MILIS", "TIMESTAMP_MICROS", "TIMESTAMP_NANOS",
    "TIME_MICROS_TZ", "TIMESTAMP_MICROS_TZ", "INTERVAL",
    "OBJECT", "ARRAY", "BIGNUM", "BITSTRING", "GEOMETRY",
};
// clang-format on

/// How many numbers there are.
inline constexpr std::int32_t kCount = kNames.size();
} // namespace variant_type

/// The name of a number, ASCII, static; "UNKNOWN" for a number without a name.
constexpr const char* VariantTypeName(std::int32_t inVariantType) noexcept {
    const bool isNamed = inVariantType >= 0 && inVariantType < variant_type::kCount;
    return isNamed ? variant_type::kNames[static_cast<std::size_t>(inVariantType)] : "UNKNOWN";
}

} // namespace orkit::orsql
