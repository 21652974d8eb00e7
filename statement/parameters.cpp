#include "statement/parameters.h"

#include <array>
#include <exception>
#include <vector>

#include "object_support/errors.h"
#include "object_support/text.h"
#include "statement/envelope_reader.h"

namespace orkit::orsql {

namespace support = orlimbara::duckdb_support;

namespace {

using support::OwnedValue;

/// A getter of the host's value, and DuckDB's function that makes a value of its result.
template <auto Getter, auto Create>
OwnedValue Read(I_Value& inValue) {
    return OwnedValue(Create((inValue.*Getter)()));
}

OwnedValue ReadText(I_Value& inValue) {
    String text;
    inValue.get_String(text, -1);
    const StFromUTF16 narrow = ToUTF8(text);
    return OwnedValue(duckdb_create_varchar_length(narrow.c_str(), narrow.get_Length()));
}

duckdb_date_struct DateParts(std::int32_t inYear, std::uint16_t inMonth, std::uint16_t inDay) {
    return {inYear, static_cast<std::int8_t>(inMonth), static_cast<std::int8_t>(inDay)};
}

OwnedValue ReadDate(I_Value& inValue) {
    const I_ValueDate* const aspect = QueryAspect<I_ValueDate>(&inValue);
    if (!aspect) {
        return ReadText(inValue);
    }
    std::int32_t year = 0;
    std::uint16_t month = 0;
    std::uint16_t day = 0;
    aspect->get_Date(year, month, day);
    return OwnedValue(duckdb_create_date(duckdb_to_date(DateParts(year, month, day))));
}

OwnedValue ReadTime(I_Value& inValue) {
    const I_ValueTime* const aspect = QueryAspect<I_ValueTime>(&inValue);
    if (!aspect) {
        return ReadText(inValue);
    }
    std::uint16_t hour = 0;
    std::uint16_t minute = 0;
    std::uint16_t second = 0;
    std::uint16_t millisecond = 0;
    aspect->get_Time(hour, minute, second, millisecond);
    const std::int64_t seconds = (std::int64_t{hour} * 60 + minute) * 60 + second;
    return OwnedValue(duckdb_create_time({(seconds * 1000 + millisecond) * 1000}));
}

OwnedValue ReadDateTime(I_Value& inValue) {
    const I_ValueDateTime* const aspect = QueryAspect<I_ValueDateTime>(&inValue);
    if (!aspect) {
        return ReadText(inValue);
    }
    std::int32_t year = 0;
    std::uint16_t month = 0;
    std::uint16_t day = 0;
    std::uint16_t hour = 0;
    std::uint16_t minute = 0;
    std::uint16_t second = 0;
    std::uint16_t millisecond = 0;
    aspect->get_DateTime(year, month, day, hour, minute, second, millisecond);
    const auto narrow = [](std::uint16_t inPart) { return static_cast<std::int8_t>(inPart); };
    const duckdb_timestamp_struct parts = {
        DateParts(year, month, day), {narrow(hour), narrow(minute), narrow(second), millisecond * 1000}};
    return OwnedValue(duckdb_create_timestamp_ms({duckdb_to_timestamp(parts).micros / 1000}));
}

OwnedValue ReadHolder(I_Value& inValue) {
    const I_ValueHolder* const aspect = QueryAspect<I_ValueHolder>(&inValue);
    const smart_ptr<I_Value> inner = aspect ? aspect->get_Inner() : nullptr;
    return ValueToDuckDB(inner.get());
}

OwnedValue ReadArray(I_Value& inValue) {
    const I_ValueArray* const aspect = QueryAspect<I_ValueArray>(&inValue);
    return aspect ? ArrayToDuckDBList(*aspect) : ValueToDuckDB(nullptr);
}

[[noreturn]] void RefuseEnum() {
    ThrowDuckDBError(kValueContext, "Orlimbara enum values are not supported by DuckDB binding");
}

OwnedValue ReadEnum(I_Value&) { RefuseEnum(); }

/// What a host type becomes.
struct HostType {
    std::uint32_t mCode;
    duckdb_type mItemType;         ///< of the list that an array of such items becomes
    OwnedValue (*mRead)(I_Value&); ///< for a single value or an item
};

/// Other types use the last row.
constexpr std::array kHostTypes = {
    HostType{value_type::kBoolean, DUCKDB_TYPE_BOOLEAN, Read<&I_Value::get_Boolean, duckdb_create_bool>},
    HostType{value_type::kByte, DUCKDB_TYPE_UTINYINT, Read<&I_Value::get_Byte, duckdb_create_uint8>},
    HostType{value_type::kShort, DUCKDB_TYPE_SMALLINT, Read<&I_Value::get_Short, duckdb_create_int16>},
    HostType{value_type::kUShort, DUCKDB_TYPE_USMALLINT, Read<&I_Value::get_UShort, duckdb_create_uint16>},
    HostType{value_type::kMedium, DUCKDB_TYPE_INTEGER, Read<&I_Value::get_Long, duckdb_create_int32>},
    HostType{value_type::kUMedium, DUCKDB_TYPE_UINTEGER, Read<&I_Value::get_ULong, duckdb_create_uint32>},
    HostType{value_type::kLong, DUCKDB_TYPE_INTEGER, Read<&I_Value::get_Long, duckdb_create_int32>},
    HostType{value_type::kULong, DUCKDB_TYPE_UINTEGER, Read<&I_Value::get_ULong, duckdb_create_uint32>},
    HostType{value_type::kLLong, DUCKDB_TYPE_BIGINT, Read<&I_Value::get_LLong, duckdb_create_int64>},
    HostType{value_type::kULLong, DUCKDB_TYPE_UBIGINT, Read<&I_Value::get_ULLong, duckdb_create_uint64>},
    HostType{value_type::kFloat, DUCKDB_TYPE_FLOAT, Read<&I_Value::get_Float, duckdb_create_float>},
    HostType{value_type::kDouble, DUCKDB_TYPE_DOUBLE, Read<&I_Value::get_Double, duckdb_create_double>},
    HostType{value_type::kDecimal, DUCKDB_TYPE_DOUBLE, Read<&I_Value::get_Double, duckdb_create_double>},
    HostType{value_type::kNumeric, DUCKDB_TYPE_DOUBLE, Read<&I_Value::get_Double, duckdb_create_double>},
    HostType{value_type::kDate, DUCKDB_TYPE_DATE, ReadDate},
    HostType{value_type::kTime, DUCKDB_TYPE_TIME, ReadTime},
    HostType{value_type::kDateTime, DUCKDB_TYPE_TIMESTAMP_MS, ReadDateTime},
    HostType{value_type::kFixedBinary, DUCKDB_TYPE_BLOB, ReadText},
    HostType{value_type::kVarBinary, DUCKDB_TYPE_BLOB, ReadText},
    HostType{value_type::kLongBinary, DUCKDB_TYPE_BLOB, ReadText},
    HostType{value_type::kExternalBinary, DUCKDB_TYPE_BLOB, ReadText},
    HostType{value_type::kEnum, DUCKDB_TYPE_INVALID, ReadEnum},
    HostType{value_type::kEnumSet, DUCKDB_TYPE_INVALID, ReadEnum},
    HostType{value_type::kHolder, DUCKDB_TYPE_VARCHAR, ReadHolder},
    HostType{value_type::kArray, DUCKDB_TYPE_VARCHAR, ReadArray},
    HostType{0, DUCKDB_TYPE_VARCHAR, ReadText},
};

const HostType& FindHostType(std::uint32_t inCode) noexcept {
    for (const HostType& type : kHostTypes) {
        if (type.mCode == inCode) {
            return type;
        }
    }
    return kHostTypes.back();
}

OwnedValue ReadBinary(const I_Value& inValue, const I_ValueBinary& inBytes) {
    // One extra byte, so that the pointer isn't null for an empty value.
    std::vector<std::uint8_t> buffer(std::size_t{inValue.get_Length()} + 1);
    const std::uint32_t count = inBytes.ReadBytes(buffer.data(), inValue.get_Length());
    return OwnedValue(duckdb_create_blob(buffer.data(), count));
}

} // namespace

OwnedValue ValueToDuckDB(I_Value* inValue) {
    if (!inValue || inValue->get_IsNull()) {
        return OwnedValue(duckdb_create_null_value());
    }
    if (const I_ValueBinary* const bytes = QueryAspect<I_ValueBinary>(inValue)) {
        return ReadBinary(*inValue, *bytes);
    }
    if (const I_ValueJSON* const envelope = FindEnvelope(inValue)) {
        return EnvelopeToDuckDB(*envelope);
    }
    return FindHostType(inValue->get_Type()).mRead(*inValue);
}

OwnedValue ArrayToDuckDBList(const I_ValueArray& inArray) {
    const std::uint32_t count = inArray.get_Count();
    std::vector<OwnedValue> items;
    items.reserve(count);
    for (std::uint32_t index = 1; index <= count; ++index) {
        const smart_ptr<I_Value> item = inArray.get_Item(index);
        items.push_back(ValueToDuckDB(item.get()));
    }
    const duckdb_type itemType = FindHostType(inArray.get_ItemType()).mItemType;
    if (itemType == DUCKDB_TYPE_INVALID) {
        RefuseEnum();
    }
    const support::OwnedLogicalType type(duckdb_create_logical_type(itemType));
    // One extra, so that the pointer isn't null without items: DuckDB makes no list then.
    std::vector<duckdb_value> handles(items.size() + 1);
    for (std::size_t i = 0; i < items.size(); ++i) {
        handles[i] = items[i].Get();
    }
    return OwnedValue(duckdb_create_list_value(type.Get(), handles.data(), items.size()));
}

std::optional<std::string> BindOneValue(const support::OwnedPreparedStatement& inPrepared, idx_t inIndex,
                                        I_Value* inValue) {
    constexpr const char* kRefused = "Failed to bind statement parameter";
    try {
        const OwnedValue value = ValueToDuckDB(inValue);
        if (!inPrepared) { // reading the host's value closed the database
            return std::nullopt;
        }
        if (!value) {
            return kRefused;
        }
        if (duckdb_bind_value(inPrepared.Get(), inIndex, value.Get()) == DuckDBSuccess) {
            return std::nullopt;
        }
    } catch (const std::exception& failure) { // DuckDB throws these for values beyond its ranges
        return failure.what();
    }
    return TextOr(duckdb_prepare_error(inPrepared.Get()), kRefused);
}

// By value: reading a host value may make the caller hold another array.
std::optional<std::string> BindParameters(const support::OwnedPreparedStatement& inPrepared,
                                          smart_ptr<ValueArray> inValues) {
    for (std::size_t i = 0; inPrepared && inValues && i < inValues->get_Count(); ++i) {
        const smart_ptr<I_Value> value = (*inValues)[i];
        if (std::optional<std::string> failure = BindOneValue(inPrepared, i + 1, value.get())) {
            return failure;
        }
    }
    return std::nullopt;
}

} // namespace orkit::orsql
