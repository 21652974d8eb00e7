#include "statement_fixture.h"

namespace orkit::orsql::test {
namespace {

class EnvelopeReading : public StatementTest {
protected:
    /// Type and text of the parameter that an envelope becomes.
    Rows Read(const std::string& inJson) const {
        return RunWith("SELECT $1::VARCHAR, typeof($1)", {JsonValue(inJson)});
    }
    static std::string Envelope(const char* inForm, const std::string& inType,
                                const std::string& inJsonText) {
        const std::string form = inForm;
        return "{\"duckdb_" + form + "\":true,\"" + form + "_type\":\"" + inType +
               "\",\"value\":" + inJsonText + "}";
    }
};

struct Named {
    const char* mName;
    const char* mText;
    const char* mType;
    const char* mResult = nullptr; ///< where the text comes back otherwise
};

constexpr Named kNamed[] = {
    {"VARIANT_NULL", "ignored", "\"NULL\"", "NULL"},
    {"BOOL", "true", "BOOLEAN"},
    {"BOOLEAN", "f", "BOOLEAN", "false"},
    {"BOOL_TRUE", "ignored", "BOOLEAN", "true"},
    {"BOOL_FALSE", "true", "BOOLEAN", "false"},
    {"INT8", "-128", "TINYINT"},
    {"INT16", "-32768", "SMALLINT"},
    {"INT32", "-2147483648", "INTEGER"},
    {"INT64", "-9223372036854775808", "BIGINT"},
    {"INT128", "170141183460469231731687303715884105727", "HUGEINT"},
    {"UINT8", "255", "UTINYINT"},
    {"UINT16", "65535", "USMALLINT"},
    {"UINT32", "4294967295", "UINTEGER"},
    {"UINT64", "18446744073709551615", "UBIGINT"},
    {"UINT128", "340282366920938463463374607431768211455", "UHUGEINT"},
    {"FLOAT", "1.5", "FLOAT"},
    {"DOUBLE", "nan", "DOUBLE"},
    {"DECIMAL", "123.45", "DECIMAL(5,2)"},
    {"DECIMAL", "-0.5", "DECIMAL(2,1)"},
    {"DECIMAL", "7", "DECIMAL(1,0)"},
    {"DECIMAL", ".5", "DECIMAL(1,1)"},
    {"DECIMAL", "12345678901234567890123456789012345678", "DECIMAL(38,0)"},
    {"VARCHAR", "it's", "VARCHAR"},
    {"VARCHAR", "", "VARCHAR"},
    {"UUID", "fedcba98-7654-3210-0123-456789abcdef", "UUID"},
    {"DATE", "0044-03-15 (BC)", "DATE"},
    {"TIME_MICROS", "12:30:00.000001", "TIME"},
    {"TIME_NANOS", "12:30:00.000000001", "TIME_NS"},
    {"TIME_MICROS_TZ", "12:30:00+05:30", "TIME WITH TIME ZONE"},
    {"TIMESTAMP_SEC", "2024-01-31 12:30:00", "TIMESTAMP_S"},
    {"TIMESTAMP_MILIS", "2024-01-31 12:30:00.123", "TIMESTAMP_MS"},
    {"TIMESTAMP_MICROS", "infinity", "TIMESTAMP"},
    {"TIMESTAMP_NANOS", "2024-01-31 12:30:00.123456789", "TIMESTAMP_NS"},
    {"TIMESTAMP_MICROS_TZ", "2024-01-31 12:30:00+00", "TIMESTAMP WITH TIME ZONE"},
    {"INTERVAL", "1 year 2 days 03:00:00", "INTERVAL"},
    {"BITSTRING", "0101", "BIT"},
    {"BIGNUM", "-340282366920938463463374607431768211456", "BIGNUM"},
    {"GEOMETRY", "POINT (1 2)", "GEOMETRY"},
};

TEST_F(EnvelopeReading, EachNameGivesItsTypeInBothForms) {
    Execute(mDatabase, "SET TimeZone = 'UTC'");
    for (const Named& named : kNamed) {
        SCOPED_TRACE(named.mName);
        for (const char* form : {"value", "variant"}) {
            EXPECT_EQ(Read(Envelope(form, named.mName, "\"" + std::string(named.mText) + "\"")),
                      (Rows{{named.mResult ? named.mResult : named.mText, named.mType}}));
        }
    }
}

TEST_F(EnvelopeReading, NestedValuesAreVariants) {
    EXPECT_EQ(Read(Envelope("variant", "ARRAY", R"("[1, \"a\", {\"b\": null}]")")),
              (Rows{{"[1, a, {'b': NULL}]", "VARIANT"}}));
    EXPECT_EQ(Read(Envelope("variant", "OBJECT", R"("{\"a\": 1.5}")")), (Rows{{"{'a': 1.5}", "VARIANT"}}));
    for (const char* type : {"ARRAY", "OBJECT"}) {
        ExpectDuckDBError([&] { Read(Envelope("value", type, "\"[1]\"")); }, "value",
                          "Use duckdb_variant with variant_type ARRAY or OBJECT for DuckDB VARIANT values");
        ExpectDuckDBErrorWith([&] { Read(Envelope("variant", type, "\"[1\"")); }, "value", "JSON");
    }
}

TEST_F(EnvelopeReading, MembersAreFoundByName) {
    EXPECT_EQ(Read(R"({"value":"7","more":[1],"value_type":"INT8","duckdb_value":true})"),
              (Rows{{"7", "TINYINT"}}));
    EXPECT_EQ(Read(R"({"duckdb_variant":true,"duckdb_value":true,"value_type":"INT8","variant_type":"INT16",)"
                   R"("value":"7"})"),
              (Rows{{"7", "TINYINT"}}))
        << "with both markers it is a value envelope";
    EXPECT_EQ(Read(Envelope("value", "INT16", "7")), (Rows{{"7", "SMALLINT"}})) << "a number gives its text";
    const char* const plain = R"({"duckdb_variant":false,"variant_type":"INT8","value":"7"})";
    EXPECT_EQ(Read(plain), (Rows{{plain, "VARCHAR"}})) << "a marker that is false marks nothing";
    EXPECT_EQ(Read("[true]"), (Rows{{"[true]", "VARCHAR"}})) << "no object";
}

TEST_F(EnvelopeReading, MalformedEnvelopesAreRefused) {
    constexpr const char* kNoValueField =
        "Malformed DuckDB value envelope: missing 'value_type' or 'value' field";
    constexpr const char* kNoVariantField =
        "Malformed DuckDB variant envelope: missing 'variant_type' or 'value' field";
    struct Case {
        std::string mJson;
        const char* mContext;
        std::string mMessage;
    };
    const Case cases[] = {
        {R"({"duckdb_value":true,"value_type":"INT32"})", "value", kNoValueField},
        {R"({"duckdb_value":true,"value":"1"})", "value", kNoValueField},
        {R"({"duckdb_value":true,"value_type":"BOOL_TRUE"})", "value", kNoValueField},
        {R"({"duckdb_variant":true,"variant_type":"INT32"})", "variant", kNoVariantField},
        {R"({"duckdb_variant":true,"value_type":"INT32","value":"1"})", "variant", kNoVariantField},
        {Envelope("value", "int32", "\"1\""), "value", "Unsupported DuckDB typed value in envelope: int32"},
        {Envelope("variant", "BLOB", "\"1\""), "value", "Unsupported DuckDB typed value in envelope: BLOB"},
        {Envelope("value", "UNKNOWN", "\"1\""), "value",
         "Unsupported DuckDB typed value in envelope: UNKNOWN"},
        {Envelope("value", "TIMESTAMP_MILLIS", "\"1\""), "value",
         "Unsupported DuckDB typed value in envelope: TIMESTAMP_MILLIS"},
        {Envelope("value", "", "\"1\""), "value", "Unsupported DuckDB typed value in envelope: "},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.mJson);
        ExpectDuckDBError([&] { Read(row.mJson); }, row.mContext, row.mMessage);
    }
}

TEST_F(EnvelopeReading, TextsThatTheTypeDoesNotTakeAreRefused) {
    const std::pair<const char*, std::string> refused[] = {
        {"INT8", "300"},
        {"DATE", "2023-02-29"},
        {"UUID", "x"},
        {"DECIMAL", ""},
        {"DECIMAL", "1e5"},
        {"DECIMAL", "1." + std::string(300, ' ')},
        {"DECIMAL", std::string(300, '1')},
        {"DECIMAL", std::string(256, '0')}, // the width counts modulo 256, and DuckDB has no width 0
        {"BITSTRING", "2"},
        {"GEOMETRY", "POINT (1"},
    };
    for (const auto& [type, text] : refused) {
        SCOPED_TRACE(type);
        const Raised raised = Catch([&] { Read(Envelope("value", type, "\"" + text + "\"")); });
        EXPECT_EQ(raised.mClass, "xDuckDBError") << text;
        EXPECT_EQ(raised.mContext, "value");
        EXPECT_FALSE(raised.mMessage.value_or("").empty());
    }
    ExpectDuckDBErrorWith([&] { Read(Envelope("value", "INT8", "\"300\"")); }, "value",
                          "Could not convert string '300' to INT8");
}

} // namespace
} // namespace orkit::orsql::test
