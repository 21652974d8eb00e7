// A VARIANT goes out through a cursor and comes back as a parameter. docs/values.md lists what these tests
// show.

#include "statement_fixture.h"

namespace orkit::orsql::test {
namespace {

class RoundTrip : public StatementTest {
protected:
    void SetUp() override {
        StatementTest::SetUp();
        Execute(mDatabase, "SET TimeZone = 'UTC'");
    }
    /// The host value of an expression's VARIANT, as both kinds of cursor give it.
    Value Leave(const std::string& inSql, std::uint32_t inCursorLocation = kCursorLocationServer) const {
        const smart_ptr<I_DuckDBCursor> cursor =
            OpenCursor(mDatabase, "SELECT (" + inSql + ")::VARIANT", inCursorLocation);
        cursor->NextRecord();
        return cursor->get_Value(0);
    }
};

constexpr const char* kExact[] = {
    "NULL",
    "NULL::INTEGER",
    "true",
    "false",
    "(-128)::TINYINT",
    "(-32768)::SMALLINT",
    "(-2147483648)::INTEGER",
    "(-9223372036854775808)::BIGINT",
    "(-170141183460469231731687303715884105728)::HUGEINT",
    "255::UTINYINT",
    "65535::USMALLINT",
    "4294967295::UINTEGER",
    "18446744073709551615::UBIGINT",
    "340282366920938463463374607431768211455::UHUGEINT",
    "0.1::FLOAT",
    "'nan'::FLOAT",
    "0.1::DOUBLE",
    "'-inf'::DOUBLE",
    "'-0'::DOUBLE",
    "1.25::DECIMAL(3,2)",
    "-0.05::DECIMAL(3,2)",
    "0.5::DECIMAL(1,1)",
    "'99999999999999999999999999999999999999'::DECIMAL(38,0)",
    "'0.99999999999999999999999999999999999999'::DECIMAL(38,38)",
    "''",
    "'\"it''s\" \\ 漢字 😀' || chr(10) || chr(31) || chr(127)",
    "repeat('x\"', 500000)",
    "'b'::ENUM('a', 'b')",
    "'\\xCA\\x00\\xFE'::BLOB",
    "''::BLOB",
    "'fedcba98-7654-3210-0123-456789abcdef'::UUID",
    "DATE '2024-02-29'",
    "DATE '0044-03-15 (BC)'",
    "'5877642-06-25 (BC)'::DATE",
    "TIME '23:59:59.999999'",
    "TIME '24:00:00'",
    "'12:30:00.000000001'::TIME_NS",
    "'12:30:00.5+05:30'::TIMETZ",
    "'1969-12-31 23:59:59'::TIMESTAMP_S",
    "'infinity'::TIMESTAMP_S",
    "'1969-12-31 23:59:59.999'::TIMESTAMP_MS",
    "'0044-03-15 (BC) 12:00:00'::TIMESTAMP_MS",
    "'2024-01-31 12:30:00.000001'::TIMESTAMP",
    "'-infinity'::TIMESTAMP",
    "'2024-01-31 12:30:00.123456789'::TIMESTAMP_NS",
    "'infinity'::TIMESTAMP_NS",
    "'2024-01-31 12:30:00.5+02'::TIMESTAMPTZ",
    "'infinity'::TIMESTAMPTZ",
    "INTERVAL '1 year 2 months -3 days 4.5 seconds'",
    "INTERVAL '-0.000001 seconds'",
    "'0101'::BIT",
    "'-340282366920938463463374607431768211456'::BIGNUM",
    "'POINT Z (1.5 2 3)'::GEOMETRY",
    "'LINESTRING EMPTY'::GEOMETRY",
    "[]::INTEGER[]",
    "['a', NULL, '\"b\\', 'c' || chr(0) || chr(10)]",
    "[true, NULL]",
    "[18446744073709551615::UBIGINT]",
    "[0.1::DOUBLE, 'nan'::DOUBLE, 1e300]",
    "{'a': 'x', 'b': [{'c': NULL, 'd': 'y'}]}",
    "MAP {'k': true}",
    "array_value('a', 'b')",
    "union_value(k := 'x')",
    "'{\"a\": [true, -1.5]}'::JSON",
};

TEST_F(RoundTrip, ComesBackAsItWas) {
    for (const std::string sql : kExact) {
        SCOPED_TRACE(sql.substr(0, 100));
        const std::string original = "(" + sql + ")::VARIANT";
        for (const std::uint32_t location : {1u, 2u}) {
            Value value;
            ASSERT_EQ(Catch([&] { value = Leave(sql, location); }).mMessage.value_or(""), "");
            EXPECT_EQ(RunWith("SELECT variant_typeof($1::VARIANT) = variant_typeof(" + original +
                                  "), $1::VARIANT IS NOT DISTINCT FROM " + original +
                                  ", $1::VARIANT::VARCHAR IS NOT DISTINCT FROM " + original + "::VARCHAR",
                              {value}),
                      (Rows{{"true", "true", "true"}}));
        }
    }
}

struct Changed {
    const char* mSql;
    const char* mPath;       ///< of the part that changes; null for the whole
    const char* mTypeBefore; ///< DuckDB's words for it
    const char* mTypeAfter;
    const char* mTextAfter;
};

constexpr Changed kChanged[] = {
    // A DECIMAL is as wide as its text.
    {"1.5::DECIMAL(10,4)", nullptr, "DECIMAL(10, 4)", "DECIMAL(5, 4)", "1.5000"},
    {"-7::DECIMAL(38,0)", nullptr, "DECIMAL(38, 0)", "DECIMAL(1, 0)", "-7"},
    // The text of a cell ends at a zero character.
    {"'a' || chr(0) || 'b'", nullptr, "VARCHAR", "VARCHAR", "a"},
    // A JSON number is of the widest type already when it goes out.
    {"'5'::JSON", nullptr, "UINT64", "UINT64", "5"},
    // Inside of lists and structs there are the types of JSON alone.
    {"[1::TINYINT]", "1::UINTEGER", "INT8", "UINT64", "1"},
    {"[-1::SMALLINT]", "1::UINTEGER", "INT16", "INT64", "-1"},
    {"[0.1::FLOAT]", "1::UINTEGER", "FLOAT", "DOUBLE", "0.10000000149011612"},
    {"{'a': 1.5::DECIMAL(3,2)}", "'a'", "DECIMAL(3, 2)", "DOUBLE", "1.5"},
    {"[18446744073709551616::HUGEINT]", "1::UINTEGER", "INT128", "DOUBLE", "1.8446744073709552e+19"},
    {"['-5'::BIGNUM]", "1::UINTEGER", "BIGNUM", "INT64", "-5"},
    {"{'a': DATE '2024-01-31'}", "'a'", "DATE", "VARCHAR", "2024-01-31"},
    {"[TIME '12:30:00']", "1::UINTEGER", "TIME_MICROS", "VARCHAR", "12:30:00"},
    {"['2024-01-31 12:30:00'::TIMESTAMP_MS]", "1::UINTEGER", "TIMESTAMP_MILIS", "VARCHAR",
     "2024-01-31 12:30:00"},
    {"[INTERVAL '1 day']", "1::UINTEGER", "INTERVAL", "VARCHAR", "1 day"},
    {"['fedcba98-7654-3210-0123-456789abcdef'::UUID]", "1::UINTEGER", "UUID", "VARCHAR",
     "fedcba98-7654-3210-0123-456789abcdef"},
    {"['\\xAA'::BLOB]", "1::UINTEGER", "BLOB", "VARCHAR", "\\xAA"},
    {"['0101'::BIT]", "1::UINTEGER", "BITSTRING", "VARCHAR", "0101"},
    {"['POINT (1 2)'::GEOMETRY]", "1::UINTEGER", "GEOMETRY", "VARCHAR", "POINT (1 2)"},
};

TEST_F(RoundTrip, ComesBackChanged) {
    for (const Changed& row : kChanged) {
        SCOPED_TRACE(row.mSql);
        const auto part = [&row](const std::string& inVariant) {
            return row.mPath ? "variant_extract(" + inVariant + ", " + row.mPath + ")" : inVariant;
        };
        const std::string before = part("(" + std::string(row.mSql) + ")::VARIANT");
        const std::string after = part("$1::VARIANT");
        EXPECT_EQ(RunWith("SELECT variant_typeof(" + before + "), variant_typeof(" + after + "), " + after +
                              "::VARCHAR",
                          {Leave(row.mSql)}),
                  (Rows{{row.mTypeBefore, row.mTypeAfter, row.mTextAfter}}));
    }
}

TEST_F(RoundTrip, InfinityHasNoCalendar) {
    const Value date = Leave("'infinity'::DATE"); // a date that the calendar doesn't reach
    ExpectDuckDBErrorWith([&] { RunWith("SELECT $1", {date}); }, mName, "Date out of range");
    const Raised raised = Catch([&] { Leave("'infinity'::TIMESTAMP_MS"); });
    EXPECT_NE(raised.mMessage.value_or("").find("out of range"), std::string::npos);
}

} // namespace
} // namespace orkit::orsql::test
