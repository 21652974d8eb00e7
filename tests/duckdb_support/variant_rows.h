#pragma once

#include <cstdint>

namespace orlimbara::duckdb_support::test {

/// A VARIANT of each number but 0, and what it holds.
struct VariantRow {
    const char* mSql;
    std::int32_t mNumber;
    const char* mType; // of the payload
    const char* mText;
};

// A long text lies outside of a vector's own cells, a short one inside.
inline constexpr VariantRow gVariantRows[] = {
    {"true", 1, "BOOLEAN", "true"},
    {"false", 2, "BOOLEAN", "false"},
    {"(-5)::TINYINT", 3, "TINYINT", "-5"},
    {"(-32768)::SMALLINT", 4, "SMALLINT", "-32768"},
    {"7::INTEGER", 5, "INTEGER", "7"},
    {"9223372036854775807", 6, "BIGINT", "9223372036854775807"},
    {"170141183460469231731687303715884105727::HUGEINT", 7, "HUGEINT",
     "170141183460469231731687303715884105727"},
    {"255::UTINYINT", 8, "UTINYINT", "255"},
    {"65535::USMALLINT", 9, "USMALLINT", "65535"},
    {"4294967295::UINTEGER", 10, "UINTEGER", "4294967295"},
    {"18446744073709551615::UBIGINT", 11, "UBIGINT", "18446744073709551615"},
    {"340282366920938463463374607431768211455::UHUGEINT", 12, "UHUGEINT",
     "340282366920938463463374607431768211455"},
    {"1.5::FLOAT", 13, "FLOAT", "1.5"},
    {"'nan'::DOUBLE", 14, "DOUBLE", "nan"},
    {"123.45::DECIMAL(5,2)", 15, "DECIMAL(5,2)", "123.45"},
    {"(-0.001)::DECIMAL(38,3)", 15, "DECIMAL(38,3)", "-0.001"},
    {"''", 16, "VARCHAR", ""},
    {"'häuser und noch ein langer Text'", 16, "VARCHAR", "häuser und noch ein langer Text"},
    {"'\\x00\\xFF'::BLOB", 17, "BLOB", "\\x00\\xFF"},
    {"'00112233-4455-6677-8899-aabbccddeeff'::UUID", 18, "UUID", "00112233-4455-6677-8899-aabbccddeeff"},
    {"DATE '2024-02-29'", 19, "DATE", "2024-02-29"},
    {"TIME '12:34:56.789012'", 20, "TIME", "12:34:56.789012"},
    {"'12:34:56.789012345'::TIME_NS", 21, "TIME_NS", "12:34:56.789012345"},
    {"'2024-01-01 10:00:00'::TIMESTAMP_S", 22, "TIMESTAMP_S", "2024-01-01 10:00:00"},
    {"'2024-01-01 10:00:00.123'::TIMESTAMP_MS", 23, "TIMESTAMP_MS", "2024-01-01 10:00:00.123"},
    {"'1677-01-01 10:00:00.123456'::TIMESTAMP", 24, "TIMESTAMP", "1677-01-01 10:00:00.123456"},
    {"'2024-01-01 10:00:00.123456789'::TIMESTAMP_NS", 25, "TIMESTAMP_NS", "2024-01-01 10:00:00.123456789"},
    {"'10:00:00+02'::TIMETZ", 26, "TIME WITH TIME ZONE", "10:00:00+02"},
    {"'2024-01-01 10:00:00+02'::TIMESTAMPTZ", 27, "TIMESTAMP WITH TIME ZONE", "2024-01-01 08:00:00+00"},
    {"INTERVAL '1 month 2 days 3 seconds'", 28, "INTERVAL", "1 month 2 days 00:00:03"},
    {"{'a': 1, 'b': [true, NULL], 'c': 'x\"y', 'd': 1.50::DECIMAL(3,2), 'e': DATE '2024-01-01'}", 29, "JSON",
     R"({"a":1,"b":[true,null],"c":"x\"y","d":1.50,"e":"2024-01-01"})"},
    {"[1::VARIANT, 'two'::VARIANT, {'three': 'inf'::DOUBLE}::VARIANT]", 30, "JSON",
     R"([1,"two",{"three":Infinity}])"},
    {"[]", 30, "JSON", "[]"},
    {"'123456789012345678901234567890123456789012'::BIGNUM", 31, "BIGNUM",
     "123456789012345678901234567890123456789012"},
    {"'010101'::BIT", 32, "BIT", "010101"},
    {"'POINT (1 2)'::GEOMETRY", 33, "GEOMETRY", "POINT (1 2)"},
};

} // namespace orlimbara::duckdb_support::test
