#include "statement/envelope_reader.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>

#include "duckdb_support/supplement.h"
#include "object_support/errors.h"
#include "object_support/text.h"

namespace orkit::orsql {

namespace support = orlimbara::duckdb_support;

namespace {

constexpr const char* kVariantContext = "variant";

/// One of the two forms of an envelope.
struct Form {
    const char16_t* mMarker;
    const char16_t* mTypeMember;
    const char* mContext;
    const char* mMissingMember;
    bool mTakesNested; ///< may name "ARRAY" and "OBJECT"
};

constexpr Form kValueForm = {u"duckdb_value", u"value_type", kValueContext,
                             "Malformed DuckDB value envelope: missing 'value_type' or 'value' field", false};
constexpr Form kVariantForm = {u"duckdb_variant", u"variant_type", kVariantContext,
                               "Malformed DuckDB variant envelope: missing 'variant_type' or 'value' field",
                               true};

/// How the text of a named type becomes a value.
enum class Reading : std::uint8_t {
    Null,    ///< NULL; the text is ignored
    True,    ///< true; the text is ignored
    False,   ///< false; the text is ignored
    Text,    ///< the text itself
    Cast,    ///< DuckDB's cast from VARCHAR
    Decimal, ///< a cast to the width and scale that the text shows
    Nested,  ///< a cast to JSON, and from there to VARIANT
};

struct NamedType {
    std::string_view mName;
    Reading mReading;
    duckdb_type mType = DUCKDB_TYPE_INVALID; ///< of Cast alone
};

constexpr std::array kNamedTypes = {
    NamedType{"VARIANT_NULL", Reading::Null},
    NamedType{"BOOL", Reading::Cast, DUCKDB_TYPE_BOOLEAN},
    NamedType{"BOOLEAN", Reading::Cast, DUCKDB_TYPE_BOOLEAN},
    NamedType{"BOOL_TRUE", Reading::True},
    NamedType{"BOOL_FALSE", Reading::False},
    NamedType{"INT8", Reading::Cast, DUCKDB_TYPE_TINYINT},
    NamedType{"INT16", Reading::Cast, DUCKDB_TYPE_SMALLINT},
    NamedType{"INT32", Reading::Cast, DUCKDB_TYPE_INTEGER},
    NamedType{"INT64", Reading::Cast, DUCKDB_TYPE_BIGINT},
    NamedType{"INT128", Reading::Cast, DUCKDB_TYPE_HUGEINT},
    NamedType{"UINT8", Reading::Cast, DUCKDB_TYPE_UTINYINT},
    NamedType{"UINT16", Reading::Cast, DUCKDB_TYPE_USMALLINT},
    NamedType{"UINT32", Reading::Cast, DUCKDB_TYPE_UINTEGER},
    NamedType{"UINT64", Reading::Cast, DUCKDB_TYPE_UBIGINT},
    NamedType{"UINT128", Reading::Cast, DUCKDB_TYPE_UHUGEINT},
    NamedType{"FLOAT", Reading::Cast, DUCKDB_TYPE_FLOAT},
    NamedType{"DOUBLE", Reading::Cast, DUCKDB_TYPE_DOUBLE},
    NamedType{"DECIMAL", Reading::Decimal},
    NamedType{"VARCHAR", Reading::Text},
    NamedType{"UUID", Reading::Cast, DUCKDB_TYPE_UUID},
    NamedType{"DATE", Reading::Cast, DUCKDB_TYPE_DATE},
    NamedType{"TIME_MICROS", Reading::Cast, DUCKDB_TYPE_TIME},
    NamedType{"TIME_NANOS", Reading::Cast, DUCKDB_TYPE_TIME_NS},
    NamedType{"TIME_MICROS_TZ", Reading::Cast, DUCKDB_TYPE_TIME_TZ},
    NamedType{"TIMESTAMP_SEC", Reading::Cast, DUCKDB_TYPE_TIMESTAMP_S},
    NamedType{"TIMESTAMP_MILIS", Reading::Cast, DUCKDB_TYPE_TIMESTAMP_MS},
    NamedType{"TIMESTAMP_MICROS", Reading::Cast, DUCKDB_TYPE_TIMESTAMP},
    NamedType{"TIMESTAMP_NANOS", Reading::Cast, DUCKDB_TYPE_TIMESTAMP_NS},
    NamedType{"TIMESTAMP_MICROS_TZ", Reading::Cast, DUCKDB_TYPE_TIMESTAMP_TZ},
    NamedType{"INTERVAL", Reading::Cast, DUCKDB_TYPE_INTERVAL},
    NamedType{"BITSTRING", Reading::Cast, DUCKDB_TYPE_BIT},
    NamedType{"BIGNUM", Reading::Cast, DUCKDB_TYPE_BIGNUM},
    NamedType{"GEOMETRY", Reading::Cast, DUCKDB_TYPE_GEOMETRY},
    NamedType{"ARRAY", Reading::Nested},
    NamedType{"OBJECT", Reading::Nested},
};

const NamedType* FindType(std::string_view inName) noexcept {
    const auto* const found =
        std::find_if(kNamedTypes.begin(), kNamedTypes.end(),
                     [inName](const NamedType& inType) { return inType.mName == inName; });
    return found == kNamedTypes.end() ? nullptr : found;
}

[[noreturn]] void Throw(const char* inContext, const std::string& inMessage) {
    ThrowDuckDBError(inContext, inMessage.c_str());
}

/// What is said of a text that can't become a value, if DuckDB says nothing: around the type's name.
struct Refusal {
    const char* mBeforeType;
    const char* mAfterType;
};

constexpr Refusal kUnparsed = {"Cannot parse ", " typed value: "};
constexpr Refusal kMalformed = {"Malformed ", " value: "};

[[noreturn]] void ThrowRefusal(const Refusal& inRefusal, std::string_view inTypeName,
                               std::string_view inText) {
    std::string message = inRefusal.mBeforeType;
    message.append(inTypeName).append(inRefusal.mAfterType).append(inText);
    Throw(kValueContext, message);
}

/// Empty for a text that isn't UTF-8.
support::OwnedValue MakeText(std::string_view inText) {
    return support::OwnedValue(duckdb_create_varchar_length(inText.data(), inText.size()));
}

/// A new value of another type; never empty. Both arguments stay the caller's.
/// @param inTypeName, inText for the message of a failure.
support::OwnedValue Cast(const support::OwnedValue& inValue, const support::OwnedLogicalType& inType,
                         const Refusal& inRefusal, std::string_view inTypeName, std::string_view inText) {
    support::OwnedValue value;
    support::OwnedText error;
    support::cast_value(inValue.Get(), inType.Get(), value.Put(), error.Put());
    if (error) {
        Throw(kValueContext, error.Get());
    }
    if (!value) {
        ThrowRefusal(inRefusal, inTypeName, inText);
    }
    return value;
}

support::OwnedValue CastTextToType(std::string_view inTypeName, std::string_view inText,
                                   const support::OwnedLogicalType& inType) {
    return Cast(MakeText(inText), inType, kUnparsed, inTypeName, inText);
}

/// The width is the number of digits in the text, the scale the number of characters after the point.
support::OwnedLogicalType DecimalTypeOf(std::string_view inText) {
    const std::size_t point = inText.find('.');
    const auto digits =
        std::count_if(inText.begin(), inText.end(), [](char c) { return c >= '0' && c <= '9'; });
    // Both are taken modulo 256; if DuckDB rejects them, there is no type and the cast fails.
    const auto width = static_cast<std::uint8_t>(digits == 0 ? 1 : digits);
    const auto scale =
        static_cast<std::uint8_t>(point == std::string_view::npos ? 0 : inText.size() - point - 1);
    return support::OwnedLogicalType(duckdb_create_decimal_type(width, scale));
}

/// A VARIANT of a JSON text.
support::OwnedValue NestedToDuckDB(std::string_view inTypeName, std::string_view inText) {
    const support::OwnedLogicalType jsonType(duckdb_create_logical_type(DUCKDB_TYPE_VARCHAR));
    duckdb_logical_type_set_alias(jsonType.Get(), "JSON");
    const support::OwnedValue json = CastTextToType(inTypeName, inText, jsonType);

    const support::OwnedLogicalType variantType(duckdb_create_logical_type(DUCKDB_TYPE_VARIANT));
    return Cast(json, variantType, kMalformed, inTypeName, inText);
}

bool HasMarker(const I_ValueJSON& inObject, const Form& inForm) {
    const smart_ptr<I_Value> marker = inObject.get_Member(inForm.mMarker);
    return marker && marker->get_Boolean();
}

StFromUTF16 TextOf(const I_Value& inValue) {
    String text;
    inValue.get_String(text, -1);
    return ToUTF8(text);
}

std::string_view ViewOf(const StFromUTF16& inText) noexcept { return {inText.c_str(), inText.get_Length()}; }

} // namespace

I_ValueJSON* FindEnvelope(I_Value* inValue) {
    I_ValueJSON* const object = QueryAspect<I_ValueJSON>(inValue);
    return object && (HasMarker(*object, kValueForm) || HasMarker(*object, kVariantForm)) ? object : nullptr;
}

support::OwnedValue EnvelopeToDuckDB(const I_ValueJSON& inEnvelope) {
    const smart_ptr<I_Value> value = inEnvelope.get_Member(u"value");
    const Form& form = HasMarker(inEnvelope, kValueForm) ? kValueForm : kVariantForm;
    const smart_ptr<I_Value> type = inEnvelope.get_Member(form.mTypeMember);
    if (!type || !value) {
        Throw(form.mContext, form.mMissingMember);
    }
    const StFromUTF16 typeName = TextOf(*type);
    const StFromUTF16 text = TextOf(*value);
    const NamedType* const named = FindType(ViewOf(typeName));
    if (named && named->mReading == Reading::Nested && !form.mTakesNested) {
        Throw(form.mContext,
              "Use duckdb_variant with variant_type ARRAY or OBJECT for DuckDB VARIANT values");
    }
    return TypedTextToDuckDB(ViewOf(typeName), ViewOf(text));
}

support::OwnedValue TypedTextToDuckDB(std::string_view inTypeName, std::string_view inText) {
    const NamedType* const type = FindType(inTypeName);
    if (!type) {
        Throw(kValueContext, "Unsupported DuckDB typed value in envelope: " + std::string(inTypeName));
    }
    switch (type->mReading) {
    case Reading::Null:
        return support::OwnedValue(duckdb_create_null_value());
    case Reading::True:
    case Reading::False:
        return support::OwnedValue(duckdb_create_bool(type->mReading == Reading::True));
    case Reading::Text: {
        support::OwnedValue value = MakeText(inText);
        if (!value) {
            ThrowRefusal(kUnparsed, inTypeName, inText);
        }
        return value;
    }
    case Reading::Cast:
        return CastTextToType(inTypeName, inText,
                              support::OwnedLogicalType(duckdb_create_logical_type(type->mType)));
    case Reading::Decimal:
        return CastTextToType(inTypeName, inText, DecimalTypeOf(inText));
    default: // Nested
        return NestedToDuckDB(inTypeName, inText);
    }
}

} // namespace orkit::orsql
