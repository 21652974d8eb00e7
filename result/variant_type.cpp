#include "result/variant_type.h"

#include <array>
#include <cstddef>

namespace orkit::orsql {

namespace {

// In the order of the numbers. The L that "TIMESTAMP_MILIS" lacks is lacking in every envelope ever written.
constexpr std::array<const char*, variant_type::kCount> kNames = {
    "VARIANT_NULL",
    "BOOL_TRUE",
    "BOOL_FALSE",
    "INT8",
    "INT16",
    "INT32",
    "INT64",
    "INT128",
    "UINT8",
    "UINT16",
    "UINT32",
    "UINT64",
    "UINT128",
    "FLOAT",
    "DOUBLE",
    "DECIMAL",
    "VARCHAR",
    "BLOB",
    "UUID",
    "DATE",
    "TIME_MICROS",
    "TIME_NANOS",
    "TIMESTAMP_SEC",
    "TIMESTAMP_MILIS",
    "TIMESTAMP_MICROS",
    "TIMESTAMP_NANOS",
    "TIME_MICROS_TZ",
    "TIMESTAMP_MICROS_TZ",
    "INTERVAL",
    "OBJECT",
    "ARRAY",
    "BIGNUM",
    "BITSTRING",
    "GEOMETRY",
};

} // namespace

const char* VariantTypeName(std::int32_t inVariantType) noexcept {
    const bool isNamed = inVariantType >= 0 && inVariantType < variant_type::kCount;
    return isNamed ? kNames[static_cast<std::size_t>(inVariantType)] : "UNKNOWN";
}

} // namespace orkit::orsql
