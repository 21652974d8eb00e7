#include "support_test.h"

#include <cstdlib>
#include <thread>

namespace orlimbara::duckdb_support::test {
namespace {

class CastValue : public SupportTest {
protected:
    /// The text of the cast value, or the error after an exclamation mark.
    static std::string Cast(const std::string& inText, const OwnedLogicalType& inType) {
        const OwnedValue text = MakeText(inText);
        OwnedValue value;
        OwnedText error;
        const duckdb_state state = duckdb_cast_value(text.Get(), inType.Get(), value.Put(), error.Put());
        EXPECT_EQ(state == DuckDBSuccess, static_cast<bool>(value));
        EXPECT_TRUE(!error || !value);
        return value ? TextOf(value.Get()).value_or("NULL") : "!" + std::string(ViewOf(error));
    }
};

struct CastRow {
    duckdb_type mType;
    const char* mText;
    const char* mResult; // after "!", a part of the error
};

// What duckdb_get_varchar writes must read back, whatever time zone the machine has.
constexpr CastRow gCastRows[] = {
    {DUCKDB_TYPE_BOOLEAN, "true", "true"},
    {DUCKDB_TYPE_TINYINT, "-128", "-128"},
    {DUCKDB_TYPE_TINYINT, "300", "!Could not convert string '300' to INT8"},
    {DUCKDB_TYPE_HUGEINT, "170141183460469231731687303715884105727",
     "170141183460469231731687303715884105727"},
    {DUCKDB_TYPE_UHUGEINT, "340282366920938463463374607431768211455",
     "340282366920938463463374607431768211455"},
    {DUCKDB_TYPE_FLOAT, "inf", "inf"},
    {DUCKDB_TYPE_DOUBLE, "-0.0", "-0.0"},
    {DUCKDB_TYPE_UUID, "00112233-4455-6677-8899-aabbccddeeff", "00112233-4455-6677-8899-aabbccddeeff"},
    {DUCKDB_TYPE_DATE, "0044-03-15 (BC)", "0044-03-15 (BC)"},
    {DUCKDB_TYPE_DATE, "2024-02-30", "!date"},
    {DUCKDB_TYPE_TIME, "24:00:00", "24:00:00"},
    {DUCKDB_TYPE_TIME_NS, "01:02:03.123456789", "01:02:03.123456789"},
    {DUCKDB_TYPE_TIME_TZ, "12:00:00+02", "12:00:00+02"},
    {DUCKDB_TYPE_TIMESTAMP_S, "2024-01-01 10:00:00", "2024-01-01 10:00:00"},
    {DUCKDB_TYPE_TIMESTAMP_MS, "infinity", "infinity"},
    {DUCKDB_TYPE_TIMESTAMP, "290309-12-22 (BC) 00:00:00", "290309-12-22 (BC) 00:00:00"},
    {DUCKDB_TYPE_TIMESTAMP_NS, "2024-01-01 10:00:00.123456789", "2024-01-01 10:00:00.123456789"},
    {DUCKDB_TYPE_TIMESTAMP_TZ, "2024-06-01 00:00:00+02", "2024-05-31 22:00:00+00"},
    {DUCKDB_TYPE_TIMESTAMP_TZ, "2024-06-01 00:00:00", "2024-06-01 00:00:00+00"},
    {DUCKDB_TYPE_INTERVAL, "1 month 2 days 00:00:03", "1 month 2 days 00:00:03"},
    {DUCKDB_TYPE_BIT, "010101", "010101"},
    {DUCKDB_TYPE_BIT, "012", "!"},
    {DUCKDB_TYPE_BIGNUM, "-123456789012345678901234567890123456789012",
     "-123456789012345678901234567890123456789012"},
    {DUCKDB_TYPE_GEOMETRY, "POINT (1 2)", "POINT (1 2)"},
    {DUCKDB_TYPE_GEOMETRY, "nowhere", "!geometry"},
    {kVariantId, "text", "text"},
    {DUCKDB_TYPE_INVALID, "1", "!"},
    {DUCKDB_TYPE_ANY, "1", "!"},
    {DUCKDB_TYPE_STRUCT, "1", "!"},
    {DUCKDB_TYPE_STRING_LITERAL, "1", "!"},
};

TEST_F(CastValue, TextsBecomeWhatTheTypeMakesOfThem) {
    for (const char* zone : {"UTC", "Asia/Kathmandu"}) {
        setenv("TZ", zone, 1);
        for (const CastRow& row : gCastRows) {
            const std::string result = Cast(row.mText, MakeType(row.mType));
            if (row.mResult[0] == '!') {
                EXPECT_EQ(result[0], '!') << row.mText;
                EXPECT_NE(result.find(row.mResult + 1), std::string::npos) << result;
            } else {
                EXPECT_EQ(result, row.mResult) << "type " << row.mType;
            }
        }
    }
    unsetenv("TZ");
}

TEST_F(CastValue, DecimalsTakeTheWidthOfTheirType) {
    EXPECT_EQ(Cast("123.45", OwnedLogicalType(duckdb_create_decimal_type(5, 2))), "123.45");
    EXPECT_EQ(Cast("", OwnedLogicalType(duckdb_create_decimal_type(1, 0)))[0], '!');
    EXPECT_EQ(Cast("1e5", OwnedLogicalType(duckdb_create_decimal_type(2, 0)))[0], '!');
}

TEST_F(CastValue, FailsWithoutAValueOrATypeAndTellsNoText) {
    const OwnedLogicalType none(duckdb_create_decimal_type(200, 3));
    ASSERT_FALSE(none);
    EXPECT_EQ(Cast("1", none), "!");

    const OwnedLogicalType type = MakeType(DUCKDB_TYPE_INTEGER);
    const OwnedValue text = MakeText("1");
    OwnedValue value;
    EXPECT_EQ(duckdb_cast_value(nullptr, type.Get(), value.Put(), nullptr), DuckDBError);
    EXPECT_EQ(duckdb_cast_value(text.Get(), type.Get(), nullptr, nullptr), DuckDBError);
    EXPECT_EQ(duckdb_cast_value(text.Get(), type.Get(), value.Put(), nullptr), DuckDBSuccess);
}

TEST_F(CastValue, SqlNullCastsToANullOfAnyType) {
    const OwnedValue null(duckdb_create_null_value());
    for (const duckdb_type id : {DUCKDB_TYPE_INTEGER, DUCKDB_TYPE_VARCHAR, kVariantId}) {
        OwnedValue value;
        ASSERT_EQ(duckdb_cast_value(null.Get(), MakeType(id).Get(), value.Put(), nullptr), DuckDBSuccess);
        EXPECT_TRUE(duckdb_is_null_value(value.Get()));
    }
}

TEST_F(CastValue, JsonIsCheckedAndKeptAsItIs) {
    const OwnedLogicalType json = MakeJsonType();
    for (const char* text : {"{\"a\": [1, {\"b\": null}]}", "[]", " 12 ", "\"\\u00e4\"", "null"}) {
        EXPECT_EQ(Cast(text, json), text);
    }
    for (const char* text : {"{bad", "[1,2", "", "[1]x", "{'a':1}", "[\"\\ud800\"]"}) {
        EXPECT_EQ(Cast(text, json).find("!Malformed JSON"), 0) << text;
    }
    EXPECT_EQ(Cast("[1, {}]", OwnedLogicalType(duckdb_create_list_type(json.Get()))), "[1, '{}']");
}

TEST_F(CastValue, JsonBecomesAVariant) {
    const OwnedLogicalType json = MakeJsonType();
    const OwnedLogicalType variant = MakeType(kVariantId);
    const auto number_of = [&](const std::string& inText) {
        const OwnedValue text = MakeText(inText);
        OwnedValue as_json;
        OwnedValue as_variant;
        EXPECT_EQ(duckdb_cast_value(text.Get(), json.Get(), as_json.Put(), nullptr), DuckDBSuccess);
        OwnedText error;
        if (duckdb_cast_value(as_json.Get(), variant.Get(), as_variant.Put(), error.Put()) != DuckDBSuccess) {
            EXPECT_NE(ViewOf(error).find("1000 levels"), std::string_view::npos);
            return -2;
        }
        return duckdb_value_variant_type(as_variant.Get());
    };
    EXPECT_EQ(number_of("{\"a\":1}"), 29);
    EXPECT_EQ(number_of("[1,2]"), 30);
    EXPECT_EQ(number_of("7"), 11);
    EXPECT_EQ(number_of("null"), 0);
    EXPECT_EQ(number_of(std::string(1000, '[') + std::string(1000, ']')), 30);
    EXPECT_EQ(number_of(std::string(100'000, '[') + std::string(100'000, ']')), -2);
    EXPECT_EQ(number_of("[\"" + std::string(5000, '[') + "\\\"\"]"), 30) << "brackets in texts nest nothing";
}

TEST_F(CastValue, ListsOfVariantsCanBeNamedThroughTheCInterface) {
    const OwnedLogicalType list(duckdb_create_list_type(MakeType(kVariantId).Get()));
    const OwnedValue numbers = ValueOf("[1, 2]");
    OwnedValue value;
    ASSERT_EQ(duckdb_cast_value(numbers.Get(), list.Get(), value.Put(), nullptr), DuckDBSuccess);
    const OwnedValue first(duckdb_get_list_child(value.Get(), 0));
    EXPECT_EQ(duckdb_value_variant_type(first.Get()), 5);
}

TEST_F(CastValue, ThreadsMayCastJsonAtTheSameTime) {
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([] {
            const OwnedLogicalType json = MakeJsonType();
            for (int turn = 0; turn < 25; ++turn) {
                EXPECT_EQ(Cast("[" + std::to_string(turn) + "]", json), "[" + std::to_string(turn) + "]");
                EXPECT_EQ(Cast("[", json)[0], '!');
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

} // namespace
} // namespace orlimbara::duckdb_support::test
