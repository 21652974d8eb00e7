#include "host_standin/faults.h"
#include "result/text_buffer.h"
#include "result/variant_type.h"
#include "tests_support/object_fixture.h"

namespace orkit::orsql::test {
namespace {

using namespace value_type;

class ValueConversion : public ObjectTest {};

struct Cell {
    const char* mSql;
    std::uint32_t mType;
    std::string mText;
};

/// Reads each expression as a cell of both cursors.
void ExpectCells(const smart_ptr<I_DuckDBDatabase>& inDatabase, const std::vector<Cell>& inCells) {
    for (const Cell& cell : inCells) {
        for (const std::uint32_t location : {1u, 2u}) {
            const smart_ptr<I_DuckDBCursor> cursor =
                inDatabase->SqlSelect(Wide(std::string("SELECT ") + cell.mSql), location, nullptr);
            ASSERT_TRUE(cursor->NextRecord());
            const smart_ptr<I_Value> value = cursor->get_Value(0);
            EXPECT_EQ(value->get_Type(), cell.mType) << cell.mSql;
            EXPECT_EQ(Text(value), cell.mText) << cell.mSql;
        }
    }
}

TEST_F(ValueConversion, EveryTypeHasItsHostValue) {
    ExpectCells(
        CreateDatabase(),
        {
            {"true", kBoolean, "true"},
            {"(-1)::TINYINT", kShort, "-1"},
            {"(-32768)::SMALLINT", kShort, "-32768"},
            {"(-2147483648)::INTEGER", kLong, "-2147483648"},
            {"(-9223372036854775808)::BIGINT", kLLong, "-9223372036854775808"},
            {"255::UTINYINT", kByte, "255"},
            {"65535::USMALLINT", kUShort, "65535"},
            {"4294967295::UINTEGER", kULong, "4294967295"},
            {"18446744073709551615::UBIGINT", kULLong, "18446744073709551615"},
            {"1.5::FLOAT", kFloat, "1.5"},
            {"0.1::DOUBLE", kDouble, "0.1"},
            {"1.25::DECIMAL(3,2)", kDouble, "1.25"},
            {"123456789012345678901234567890.12::DECIMAL(38,2)", kDouble, "1.2345678901234568e+29"},
            {"'\\xCA\\xFE\\x00'::BLOB", kFixedBinary, "x'CAFE00'"},
            {"''::BLOB", kFixedBinary, "x''"},
            {"'it''s 漢字 😀'", kString, "it's 漢字 😀"},
            {"''", kString, ""},
            {"DATE '2024-01-31'", kString, "2024-01-31"},
            {"DATE '0044-03-15 (BC)'", kString, "0044-03-15 (BC)"},
            {"TIME '12:30:00.25'", kString, "12:30:00.25"},
            {"'12:30:00+02'::TIMETZ", kString, "12:30:00+02"},
            {"TIMESTAMP '2024-01-31 12:30:00.000001'", kString, "2024-01-31 12:30:00.000001"},
            {"'2024-01-31 12:30:00'::TIMESTAMP_S", kString, "2024-01-31 12:30:00"},
            {"'2024-01-31 12:30:00.123'::TIMESTAMP_MS", kString, "2024-01-31 12:30:00.123"},
            {"'2024-01-31 12:30:00.123456789'::TIMESTAMP_NS", kString, "2024-01-31 12:30:00.123456789"},
            {"'2024-01-31 12:30:00+00'::TIMESTAMPTZ", kString, "2024-01-31 12:30:00+00"},
            {"INTERVAL '1 year 2 days 3 seconds'", kString, "1 year 2 days 00:00:03"},
            {"170141183460469231731687303715884105727::HUGEINT", kString,
             "170141183460469231731687303715884105727"},
            {"340282366920938463463374607431768211455::UHUGEINT", kString,
             "340282366920938463463374607431768211455"},
            {"'00112233-4455-6677-8899-aabbccddeeff'::UUID", kString, "00112233-4455-6677-8899-aabbccddeeff"},
            {"'b'::ENUM('a', 'b')", kString, "b"},
            {"[1, NULL, 3]", kString, "[1, NULL, 3]"},
            {"array_value(1, 2)", kString, "[1, 2]"},
            {"{'a': 1, 'b': 'x'}", kString, "{'a': 1, 'b': x}"},
            {"MAP {'k': 1}", kString, "{k=1}"},
            {"union_value(n := 7)", kString, "7"},
            {"'1011'::BIT", kString, "1011"},
            {"'123456789012345678901234567890123456789012'::BIGNUM", kString,
             "123456789012345678901234567890123456789012"},
            {"'{\"a\": 1}'::JSON", kString, "{\"a\": 1}"},
        });
}

TEST_F(ValueConversion, NullOfAnyTypeIsABooleanThatSaysSo) {
    const smart_ptr<I_DuckDBDatabase> database = CreateDatabase();
    for (const char* const type : {"INTEGER", "VARCHAR", "BLOB", "DECIMAL(5,2)", "DATE", "INTEGER[]",
                                   "VARIANT", "STRUCT(a INTEGER)", "HUGEINT", "\"NULL\""}) {
        ExpectCells(database, {{(std::string("NULL::") + type).c_str(), kBoolean, "NULL"}});
    }
    ExpectCells(database, {{"NULL", kBoolean, "NULL"}});
}

TEST_F(ValueConversion, VariantsGiveWhatTheyHold) {
    const auto envelope = [](const char* inType, const std::string& inText) {
        return std::string(R"({"duckdb_variant":true,"variant_type":")") + inType + R"(","value":")" +
               inText + "\"}";
    };
    ExpectCells(CreateDatabase(),
                {
                    {"true::VARIANT", kBoolean, "true"},
                    {"false::VARIANT", kBoolean, "false"},
                    {"(-5)::TINYINT::VARIANT", kJSON, envelope("INT8", "-5")},
                    {"(-5)::SMALLINT::VARIANT", kShort, "-5"},
                    {"5::INTEGER::VARIANT", kLong, "5"},
                    {"5::BIGINT::VARIANT", kLLong, "5"},
                    {"5::HUGEINT::VARIANT", kJSON, envelope("INT128", "5")},
                    {"255::UTINYINT::VARIANT", kByte, "255"},
                    {"65535::USMALLINT::VARIANT", kUShort, "65535"},
                    {"5::UINTEGER::VARIANT", kULong, "5"},
                    {"5::UBIGINT::VARIANT", kULLong, "5"},
                    {"5::UHUGEINT::VARIANT", kJSON, envelope("UINT128", "5")},
                    {"1.5::FLOAT::VARIANT", kFloat, "1.5"},
                    {"1.5::DOUBLE::VARIANT", kDouble, "1.5"},
                    {"1.50::DECIMAL(5,2)::VARIANT", kJSON, envelope("DECIMAL", "1.50")},
                    {"'text'::VARIANT", kString, "text"},
                    {"'\\xCA\\xFE'::BLOB::VARIANT", kFixedBinary, "x'CAFE'"},
                    {"'00112233-4455-6677-8899-aabbccddeeff'::UUID::VARIANT", kJSON,
                     envelope("UUID", "00112233-4455-6677-8899-aabbccddeeff")},
                    {"DATE '2024-01-31'::VARIANT", kDate, "2024-01-31"},
                    {"TIME '12:30:00'::VARIANT", kJSON, envelope("TIME_MICROS", "12:30:00")},
                    {"'12:30:00+02'::TIMETZ::VARIANT", kJSON, envelope("TIME_MICROS_TZ", "12:30:00+02")},
                    {"'2024-01-31 12:30:00'::TIMESTAMP_S::VARIANT", kJSON,
                     envelope("TIMESTAMP_SEC", "2024-01-31 12:30:00")},
                    {"'2024-01-31 12:30:00.25'::TIMESTAMP_MS::VARIANT", kDateTime, "2024-01-31 12:30:00.250"},
                    {"'2024-01-31 12:30:00.25'::TIMESTAMP::VARIANT", kJSON,
                     envelope("TIMESTAMP_MICROS", "2024-01-31 12:30:00.25")},
                    {"'2024-01-31 12:30:00.25'::TIMESTAMP_NS::VARIANT", kJSON,
                     envelope("TIMESTAMP_NANOS", "2024-01-31 12:30:00.25")},
                    {"'2024-01-31 12:30:00+00'::TIMESTAMPTZ::VARIANT", kJSON,
                     envelope("TIMESTAMP_MICROS_TZ", "2024-01-31 12:30:00+00")},
                    {"INTERVAL '1 day'::VARIANT", kJSON, envelope("INTERVAL", "1 day")},
                    {"{'a': 1}::VARIANT", kJSON, envelope("OBJECT", R"({\"a\":1})")},
                    {"[1, 2]::VARIANT", kJSON, envelope("ARRAY", "[1,2]")},
                    {"'12345678901234567890123456789012345678901234'::BIGNUM::VARIANT", kJSON,
                     envelope("BIGNUM", "12345678901234567890123456789012345678901234")},
                    {"'101'::BIT::VARIANT", kJSON, envelope("BITSTRING", "101")},
                });
}

TEST_F(ValueConversion, EnvelopesEscapeAsJsonAsks) {
    const std::pair<std::string_view, std::string> kCases[] = {
        {"plain", "plain"},
        {"\b\t\n\f\r\"\\", R"(\b\t\n\f\r\"\\)"},
        {"\x01\x0B\x1F", R"(\u0001\u000b\u001f)"},
        {"\x7F 漢字 😀 /", "\x7F 漢字 😀 /"},
    };
    TextBuffer buffer;
    for (const auto& [text, escaped] : kCases) {
        EXPECT_EQ(Text(buffer.MakeEnvelope("A\"B", text)),
                  R"({"duckdb_variant":true,"variant_type":"A\"B","value":")" + escaped + "\"}");
    }
}

TEST_F(ValueConversion, VariantNumbersHaveTheirNames) {
    EXPECT_STREQ(VariantTypeName(0), "VARIANT_NULL");
    EXPECT_STREQ(VariantTypeName(23), "TIMESTAMP_MILIS");
    EXPECT_STREQ(VariantTypeName(33), "GEOMETRY");
    EXPECT_STREQ(VariantTypeName(34), "UNKNOWN");
    EXPECT_STREQ(VariantTypeName(-1), "UNKNOWN");
}

TEST_F(ValueConversion, BytesOutliveTheirChunk) {
    smart_ptr<I_DuckDBDatabase> database = CreateDatabase();
    smart_ptr<I_DuckDBCursor> cursor =
        OpenCursor(database, "SELECT repeat('ab', 5000)::BLOB", kCursorLocationServer);
    cursor->NextRecord();
    const smart_ptr<I_Value> value = cursor->get_Value(0);
    cursor.reset();
    database.reset();
    EXPECT_EQ(value->get_Length(), 10000u);
    std::string bytes(10000, '\0');
    EXPECT_EQ(QueryAspect<I_ValueBinary>(value.get())->ReadBytes(bytes.data(), 10000), 10000u);
    EXPECT_EQ(bytes.substr(9996), "abab");
}

TEST_F(ValueConversion, ATextEndsAtItsZeroByte) {
    ExpectCells(CreateDatabase(), {{"'ab' || chr(0) || 'cd'", kString, "ab"}});
}

TEST_F(ValueConversion, MemoryThatRunsOutLeavesNothingBehind) {
    const smart_ptr<I_DuckDBDatabase> database = CreateDatabase();
    const char* const sql = "SELECT range, 'text', {'a': range} FROM range(3000)";
    for (const std::uint32_t nth : {1u, 2u, 3u, 7000u}) {
        standin::FailCall(standin::Fault::ValueCreation, nth);
        EXPECT_THROW(OpenCursor(database, sql, kCursorLocationClient), std::bad_alloc) << nth;
    }
    standin::ClearFaults();
    EXPECT_EQ(OpenCursor(database, sql, kCursorLocationClient)->get_RecordCount(), 3000u);
}

} // namespace
} // namespace orkit::orsql::test
