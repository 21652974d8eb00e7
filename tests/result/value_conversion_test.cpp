#include <map>

#include "duckdb_support/handles.h"
#include "result/text_buffer.h"
#include "result/value_conversion.h"
#include "result/variant_type.h"
#include "tests_support/object_fixture.h"

namespace orkit::orsql::test {
namespace {

using namespace value_type;

class ValueConversion : public ObjectTest {};

std::string Envelope(const std::string& inType, const std::string& inText) {
    return R"({"duckdb_variant":true,"variant_type":")" + inType + R"(","value":")" + inText + "\"}";
}

/// An expression, the type of its host value, and its text; for an envelope its type and text.
constexpr const char* kCells = R"(
    true|Boolean|true; (-1)::TINYINT|Short|-1; (-32768)::SMALLINT|Short|-32768; (-2147483648)::INTEGER|Long|-2147483648
    (-9223372036854775808)::BIGINT|LLong|-9223372036854775808; 255::UTINYINT|Byte|255; 65535::USMALLINT|UShort|65535
    4294967295::UINTEGER|ULong|4294967295; 18446744073709551615::UBIGINT|ULLong|18446744073709551615
    1.5::FLOAT|Float|1.5; 0.1::DOUBLE|Double|0.1; 1.25::DECIMAL(3,2)|Double|1.25
    123456789012345678901234567890.12::DECIMAL(38,2)|Double|1.2345678901234568e+29
    '\xCA\xFE\x00'::BLOB|Binary|x'CAFE00'; ''::BLOB|Binary|x''; 'it''s 漢字 😀'|String|it's 漢字 😀; ''|String|
    concat('ab', chr(0), 'cd')|String|ab; DATE '0044-03-15 (BC)'|String|0044-03-15 (BC); '1011'::BIT|String|1011
    TIME '12:30:00.25'|String|12:30:00.25; '12:30:00+02'::TIMETZ|String|12:30:00+02
    TIMESTAMP '2024-01-31 12:30:00.000001'|String|2024-01-31 12:30:00.000001; 'b'::ENUM('a', 'b')|String|b
    '2024-01-31 12:30:00'::TIMESTAMP_S|String|2024-01-31 12:30:00; [1, NULL, 3]|String|[1, NULL, 3]
    '2024-01-31 12:30:00.123'::TIMESTAMP_MS|String|2024-01-31 12:30:00.123; array_value(1, 2)|String|[1, 2]
    '2024-01-31 12:30:00.123456789'::TIMESTAMP_NS|String|2024-01-31 12:30:00.123456789
    '2024-01-31 12:30:00+00'::TIMESTAMPTZ|String|2024-01-31 12:30:00+00; MAP {'k': 1}|String|{k=1}
    INTERVAL '1 year 2 days 3 seconds'|String|1 year 2 days 00:00:03; union_value(n := 7)|String|7
    170141183460469231731687303715884105727::HUGEINT|String|170141183460469231731687303715884105727
    340282366920938463463374607431768211455::UHUGEINT|String|340282366920938463463374607431768211455
    '00112233-4455-6677-8899-aabbccddeeff'::UUID|String|00112233-4455-6677-8899-aabbccddeeff
    {'a': 1, 'b': 'x'}|String|{'a': 1, 'b': x}; '{"a": 1}'::JSON|String|{"a": 1}
    '123456789012345678901234567890123456789012'::BIGNUM|String|123456789012345678901234567890123456789012
    NULL|Boolean|NULL; NULL::BLOB|Boolean|NULL; NULL::DECIMAL(5,2)|Boolean|NULL; NULL::INTEGER[]|Boolean|NULL
    NULL::VARCHAR|Boolean|NULL; NULL::INTEGER|Boolean|NULL; NULL::VARIANT|Boolean|NULL

    true::VARIANT|Boolean|true; (-5)::TINYINT::VARIANT|JSON|INT8|-5; (-5)::SMALLINT::VARIANT|Short|-5; 5::INTEGER::VARIANT|Long|5
    5::BIGINT::VARIANT|LLong|5; 255::UTINYINT::VARIANT|Byte|255; 65535::USMALLINT::VARIANT|UShort|65535
    5::UINTEGER::VARIANT|ULong|5; 5::UBIGINT::VARIANT|ULLong|5; 1.50::DECIMAL(5,2)::VARIANT|JSON|DECIMAL|1.50
    1.5::FLOAT::VARIANT|Float|1.5; 1.5::DOUBLE::VARIANT|Double|1.5; DATE '2024-01-31'::VARIANT|Date|2024-01-31
    'text'::VARIANT|String|text; '\xCA\xFE'::BLOB::VARIANT|Binary|x'CAFE'; TIME '12:30:00'::VARIANT|JSON|TIME_MICROS|12:30:00
    '2024-01-31 12:30:00.25'::TIMESTAMP_MS::VARIANT|DateTime|2024-01-31 12:30:00.250; [1, 2]::VARIANT|JSON|ARRAY|[1,2]
    {'a': 1}::VARIANT|JSON|OBJECT|{\"a\":1})";

TEST_F(ValueConversion, EveryTypeHasItsHostValue) {
    const std::map<std::uint32_t, const char*> kTypes = {
        {kBoolean, "Boolean"}, {kByte, "Byte"},          {kShort, "Short"}, {kUShort, "UShort"},
        {kLong, "Long"},       {kULong, "ULong"},        {kLLong, "LLong"}, {kULLong, "ULLong"},
        {kFloat, "Float"},     {kDouble, "Double"},      {kDate, "Date"},   {kDateTime, "DateTime"},
        {kString, "String"},   {kFixedBinary, "Binary"}, {kJSON, "JSON"}};
    mDatabase = CreateDatabase();
    for (const auto& row : Table(kCells)) {
        for (const std::uint32_t location : {1u, 2u}) {
            const Cursor cursor = OpenCursor(mDatabase, "SELECT " + row[0], location);
            ASSERT_TRUE(cursor->NextRecord());
            const Value value = cursor->get_Value(0);
            EXPECT_EQ(kTypes.at(value->get_Type()), row[1]) << row[0];
            EXPECT_EQ(Text(value), row.size() == 4 ? Envelope(row[2], row[3]) : row[2]) << row[0];
            const bool isNullable = row[1] == "Binary" || row[1] == "Date" || row[2] == "NULL";
            EXPECT_EQ(Catch([&] { value->put_IsNull(true); }).empty(), isNullable) << row[0];
        }
    }
}

TEST_F(ValueConversion, EnvelopesAreEscapedAsJson) {
    TextBuffer buffer;
    for (const auto& [text, escaped] : {std::pair{"plain", "plain"},
                                        {"\b\t\n\f\r\"\\", R"(\b\t\n\f\r\"\\)"},
                                        {"\x01\x0B\x1F", R"(\u0001\u000b\u001f)"},
                                        {"\x7F 漢字 😀 /", "\x7F 漢字 😀 /"}}) {
        EXPECT_EQ(Text(buffer.MakeEnvelope("A\"B", text)), Envelope("A\\\"B", escaped));
    }
    const std::string large(1 << 21, 'x'); // the buffer doesn't keep so much
    EXPECT_EQ(Text(buffer.MakeEnvelope("A", large)), Envelope("A", large));
    const support::OwnedValue value(duckdb_create_bool(true));
    for (const Value& null : {DuckDBToValue(nullptr, nullptr), VariantChildToValue(nullptr, 1),
                              VariantChildToValue(value.Get(), 0), BytesToValue(nullptr, 3)}) {
        EXPECT_EQ(Text(null), null->get_Type() == kBoolean ? "NULL" : "x'000000'");
    }
    EXPECT_STREQ(VariantTypeName(0), "VARIANT_NULL");
    EXPECT_STREQ(VariantTypeName(23), "TIMESTAMP_MILIS");
    EXPECT_STREQ(VariantTypeName(34), "UNKNOWN");
    EXPECT_STREQ(VariantTypeName(-1), "UNKNOWN");
}

} // namespace
} // namespace orkit::orsql::test
