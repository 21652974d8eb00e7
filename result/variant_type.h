/// @file
/// The numbers that DuckDB gives to what a VARIANT can hold, and their names in an envelope.
#pragma once

#include <cstdint>

namespace orkit::orsql {

/// DuckDB's numbering of what a VARIANT holds. Only what the code tells apart has a constant.
namespace variant_type {
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
/// How many numbers there are, from 0 on.
inline constexpr std::int32_t kCount = 34;
} // namespace variant_type

/// The name of a number, ASCII, static; "UNKNOWN" for a number that has none.
const char* VariantTypeName(std::int32_t inVariantType) noexcept;

} // namespace orkit::orsql
