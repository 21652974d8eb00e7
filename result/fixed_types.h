/// @file
/// The one list of the fixed-width types that have a host type of their own.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include <duckdb.h>

#include "host/unknown.h"
#include "host/value.h"
#include "result/value_conversion.h"
#include "result/variant_type.h"

namespace orkit::orsql {

namespace detail {
template <class Content>
Content ContentOfSetter(void (I_Value::*)(Content));
} // namespace detail

/// A type whose items have the C++ type `ItemType`, in a vector and in the payload of a VARIANT.
/// @tparam Number what a VARIANT calls a payload of this type; variant_type::kNone if it is read differently.
/// @tparam Getter DuckDB's function that reads a `duckdb_value`.
template <duckdb_type Type, std::int32_t Number, class ItemType, auto Getter, auto Factory, auto Setter>
struct FixedType {
    using Item = ItemType;
    using Content = decltype(detail::ContentOfSetter(Setter));
    static constexpr duckdb_type kType = Type;
    static constexpr std::int32_t kNumber = Number;

    static smart_ptr<I_Value> Make(Item inItem) {
        return MakeValue(Factory, Setter, static_cast<Content>(inItem));
    }
    static smart_ptr<I_Value> FromValue(duckdb_value inValue) {
        return MakeValue(Factory, Setter, static_cast<Content>(Getter(inValue)));
    }
    static smart_ptr<I_Value> FromPayload(const void* inPayload) {
        Item item;
        std::memcpy(&item, inPayload, sizeof(item)); // payloads are unaligned
        return Make(item);
    }
};

template <class... Types>
struct TypeList {};

// clang-format off
/// A fixed-width type whose value isn't text needs only a row here: its reference meaning, its column reader and its part of the
/// reader of VARIANT columns are made from it. BOOLEAN items are bytes, because a bool must be 0 or 1. A
/// VARIANT holds BOOLEAN without a payload, and its INT8 keeps its type in an envelope.
using FixedTypes = TypeList<
    FixedType<DUCKDB_TYPE_BOOLEAN, variant_type::kNone, std::uint8_t, duckdb_get_bool, CreateValueBoolean, &I_Value::put_Boolean>,
    FixedType<DUCKDB_TYPE_TINYINT, variant_type::kNone, std::int8_t, duckdb_get_int16, CreateValueShort, &I_Value::put_Short>,
    FixedType<DUCKDB_TYPE_SMALLINT, variant_type::kInt16, std::int16_t, duckdb_get_int16, CreateValueShort, &I_Value::put_Short>,
    FixedType<DUCKDB_TYPE_INTEGER, variant_type::kInt32, std::int32_t, duckdb_get_int32, CreateValueLong, &I_Value::put_Long>,
    FixedType<DUCKDB_TYPE_BIGINT, variant_type::kInt64, std::int64_t, duckdb_get_int64, CreateValueLLong, &I_Value::put_LLong>,
    FixedType<DUCKDB_TYPE_UTINYINT, variant_type::kUInt8, std::uint8_t, duckdb_get_uint8, CreateValueByte, &I_Value::put_Byte>,
    FixedType<DUCKDB_TYPE_USMALLINT, variant_type::kUInt16, std::uint16_t, duckdb_get_uint16, CreateValueUShort, &I_Value::put_UShort>,
    FixedType<DUCKDB_TYPE_UINTEGER, variant_type::kUInt32, std::uint32_t, duckdb_get_uint32, CreateValueULong, &I_Value::put_ULong>,
    FixedType<DUCKDB_TYPE_UBIGINT, variant_type::kUInt64, std::uint64_t, duckdb_get_uint64, CreateValueULLong, &I_Value::put_ULLong>,
    FixedType<DUCKDB_TYPE_FLOAT, variant_type::kFloat, float, duckdb_get_float, CreateValueFloat, &I_Value::put_Float>,
    FixedType<DUCKDB_TYPE_DOUBLE, variant_type::kDouble, double, duckdb_get_double, CreateValueDouble, &I_Value::put_Double>>;
// clang-format on

/// The list for code that finds a type at run time.
struct FixedTypeRow {
    duckdb_type mType;
    std::int32_t mNumber;
    smart_ptr<I_Value> (*mFromValue)(duckdb_value inValue);
    smart_ptr<I_Value> (*mFromPayload)(const void* inPayload);
};

namespace detail {
template <class... Types>
constexpr auto MakeFixedTypeRows(TypeList<Types...>) {
    return std::array{FixedTypeRow{Types::kType, Types::kNumber, Types::FromValue, Types::FromPayload}...};
}
} // namespace detail

inline constexpr auto kFixedTypes = detail::MakeFixedTypeRows(FixedTypes());

/// Whether a type is in the list, whose types have successive numbers.
constexpr bool IsFixedType(duckdb_type inType) noexcept {
    return inType >= kFixedTypes.front().mType && inType <= kFixedTypes.back().mType;
}
static_assert([] {
    for (std::size_t i = 0; i < kFixedTypes.size(); ++i) {
        if (kFixedTypes[i].mType != kFixedTypes.front().mType + i) {
            return false;
        }
    }
    return true;
}());

/// The row of a type, or null.
constexpr const FixedTypeRow* FindFixedType(duckdb_type inType) noexcept {
    for (const FixedTypeRow& row : kFixedTypes) {
        if (row.mType == inType) {
            return &row;
        }
    }
    return nullptr;
}

/// The row of a VARIANT's content, or null. @param inNumber any number but variant_type::kNone.
constexpr const FixedTypeRow* FindFixedPayload(std::int32_t inNumber) noexcept {
    for (const FixedTypeRow& row : kFixedTypes) {
        if (row.mNumber == inNumber) {
            return &row;
        }
    }
    return nullptr;
}

} // namespace orkit::orsql
