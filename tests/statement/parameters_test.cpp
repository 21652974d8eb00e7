// Host values as parameters, including envelopes, and round trips of VARIANTs through a cursor.
// docs/values.md describes the results.

#include <cstring>

#include "result/value_conversion.h"
#include "statement_fixture.h"

namespace orkit::orsql::test {
namespace {

using namespace value_type;

class Parameters : public StatementTest {};

/// A new value that is set through its aspect.
template <class Aspect, class Create, class... Parameters, class... Arguments>
Value With(Create inCreate, void (Aspect::*inPut)(Parameters...), Arguments... inArguments) {
    Value value(inCreate(true, nullptr, nullptr));
    (QueryAspect<Aspect>(value.get())->*inPut)(static_cast<Parameters>(inArguments)...);
    return value;
}
Value DateTimeValue(int inYear, int inMonth, int inHour) {
    return With(CreateValueDateTime, &I_ValueDateTime::put_DateTime, inYear, inMonth, 28, inHour, 4, 5, 678);
}
Value Holder(const Value& inInner) { return With(CreateValueHolder, &I_ValueHolder::put_Inner, inInner); }

Value ArrayValue(std::uint32_t inItemType, std::initializer_list<Value> inItems) {
    Value value(CreateValueArray(true, &inItemType, nullptr));
    for (const Value& item : inItems) {
        QueryAspect<I_ValueArray>(value.get())->AppendItem(item);
    }
    return value;
}

/// A value of a type for which the stand-in host has no class, or without its type's aspect.
class OddValue : public AspectHost_imp {
public:
    explicit OddValue(
        std::uint32_t inType, std::function<void()> inOnRead = [] {})
        : AspectHost_imp(true), mType(inType), mOnRead(std::move(inOnRead)) {}
    std::uint32_t get_Type() const override { return mType; }
    void get_String(String& outText, std::int32_t) const override { outText = "-7"; }
    std::int32_t get_Long() const override { return mOnRead(), -7; }
    std::uint32_t get_ULong() const override { return 7; }
    double get_Double() const override { return -7.5; }

private:
    const std::uint32_t mType;
    const std::function<void()> mOnRead; ///< called when the number is read
};

/// Fewer bytes than their length says, in a value that is also an envelope.
class OddBytes final : public OddValue, public I_ValueBinary, public I_ValueJSON {
public:
    OddBytes() : OddValue(kVarBinary) {}
    void* QueryInterface(std::uint32_t inInterfaceId) override {
        return inInterfaceId == I_ValueBinary::kInterfaceId ? static_cast<I_ValueBinary*>(this)
               : inInterfaceId == I_ValueJSON::kInterfaceId ? static_cast<I_ValueJSON*>(this)
                                                            : static_cast<void*>(nullptr);
    }
    std::uint32_t get_Length() const override { return 5; }
    std::uint32_t ReadBytes(void* outBuffer, std::uint32_t) const override {
        std::memcpy(outBuffer, "\xCA\x00\xFE", 3);
        return 3;
    }
    void WriteBytes(const void*, std::uint32_t) override {}
    smart_ptr<I_Value> get_Member(const String&) const override {
        return MakeValue(CreateValueBoolean, &I_Value::put_Boolean, true);
    }
};

Value Odd(std::uint32_t inType) { return new OddValue(inType); }

TEST_F(Parameters, EachHostTypeHasItsType) {
    const Value nullText = TextValue("x");
    nullText->put_IsNull(true);
    const std::string odd = "\1\t\n\x1F\"quotes\" 'and' \\backslashes\\ 漢字 😀 \xF4\x8F\xBF\xBF \x7F";
    const std::string large(1 << 20, 'x');
    const char* const plain = R"({"duckdb_variant":false,"variant_type":"INT8","value":"7"})";
    const struct {
        Value mValue;
        const char* mText;
        const char* mType;
        const char* mItemType = mType; ///< of an array of such
    } kCases[] = {
        {nullptr, "NULL", "\"NULL\""},
        {nullText, "NULL", "\"NULL\"", "VARCHAR"},
        {MakeValue(CreateValueBoolean, &I_Value::put_Boolean, true), "true", "BOOLEAN"},
        {MakeValue(CreateValueByte, &I_Value::put_Byte, std::uint8_t{255}), "255", "UTINYINT"},
        {MakeValue(CreateValueShort, &I_Value::put_Short, std::int16_t{-32768}), "-32768", "SMALLINT"},
        {MakeValue(CreateValueUShort, &I_Value::put_UShort, std::uint16_t{65535}), "65535", "USMALLINT"},
        {Odd(kMedium), "-7", "INTEGER"},
        {Odd(kUMedium), "7", "UINTEGER"},
        {Number(-2147483647 - 1), "-2147483648", "INTEGER"},
        {MakeValue(CreateValueULong, &I_Value::put_ULong, ~0u), "4294967295", "UINTEGER"},
        {MakeValue(CreateValueLLong, &I_Value::put_LLong, -1ll << 63), "-9223372036854775808", "BIGINT"},
        {MakeValue(CreateValueULLong, &I_Value::put_ULLong, ~0ull), "18446744073709551615", "UBIGINT"},
        {MakeValue(CreateValueFloat, &I_Value::put_Float, 1.5f), "1.5", "FLOAT"},
        {MakeValue(CreateValueDouble, &I_Value::put_Double, 0.1), "0.1", "DOUBLE"},
        {Odd(kDecimal), "-7.5", "DOUBLE"},
        {Odd(kNumeric), "-7.5", "DOUBLE"},
        {With(CreateValueDate, &I_ValueDate::put_Date, -43, 3, 15), "0044-03-15 (BC)", "DATE"},
        {With(CreateValueTime, &I_ValueTime::put_Time, 23, 59, 58, 7), "23:59:58.007", "TIME"},
        {DateTimeValue(2024, 2, 3), "2024-02-28 03:04:05.678", "TIMESTAMP_MS"},
        {DateTimeValue(1969, 12, 23), "1969-12-28 23:04:05.678", "TIMESTAMP_MS"},
        {TextValue(odd), odd.c_str(), "VARCHAR"},
        {TextValue(large), large.c_str(), "VARCHAR"},
        {BytesToValue("\xCA\x00\xFE", 3), "\\xCA\\x00\\xFE", "BLOB"},
        {BytesToValue("", 0), "", "BLOB"},
        {new OddBytes, "\\xCA\\x00\\xFE", "BLOB"},
        {Odd(kLongBinary), "-7", "VARCHAR", "BLOB"},
        {Odd(kExternalBinary), "-7", "VARCHAR", "BLOB"},
        {TextValue(plain, true), plain, "VARCHAR"}, // a false marker has no effect
        {TextValue("[true]", true), "[true]", "VARCHAR"},
        {Holder(Holder(Number(5))), "5", "INTEGER", "VARCHAR"},
        {Holder(nullptr), "NULL", "\"NULL\"", "VARCHAR"},
        {Odd(kHolder), "NULL", "\"NULL\"", "VARCHAR"},
        {Odd(kArray), "NULL", "\"NULL\"", "VARCHAR"},
        {Odd(kDate), "-7", "VARCHAR", "DATE"},
        {Odd(kTime), "-7", "VARCHAR", "TIME"},
        {Odd(kDateTime), "-7", "VARCHAR", "TIMESTAMP_MS"},
        {Odd(77), "-7", "VARCHAR"},
        {ArrayValue(kLong, {Number(1), nullptr, Number(3)}), "[1, NULL, 3]", "INTEGER[]", "VARCHAR"},
        {ArrayValue(kDateTime, {}), "[]", "TIMESTAMP_MS[]", "VARCHAR"},
        {ArrayValue(kLLong, {TextValue("12"), Number(3)}), "[12, 3]", "BIGINT[]", "VARCHAR"},
        {ArrayValue(kArray, {ArrayValue(kLong, {Number(1)})}), "['[1]']", "VARCHAR[]", "VARCHAR"},
    };
    for (const auto& test : kCases) {
        EXPECT_EQ(Parameter(test.mValue), std::string(test.mText) + " " + test.mType);
        if (test.mValue) {
            EXPECT_EQ(Parameter(ArrayValue(test.mValue->get_Type(), {nullptr})),
                      std::string("[NULL] ") + test.mItemType + "[]")
                << test.mText;
        }
    }
    // A zero character is bound; the cell's text ends there.
    EXPECT_EQ(RunWith("SELECT strlen($1)", {TextValue(std::string_view("a\0b", 3))}), Table("3"));
}

TEST_F(Parameters, ValuesWithoutATypeOrContentAreRefused) {
    const String red("red");
    const Value color(CreateValueEnum(true, &red, nullptr));
    for (const Value& value : {color, Odd(kEnumSet), ArrayValue(kEnum, {}), ArrayValue(kEnumSet, {nullptr}),
                               ArrayValue(kString, {color}), Holder(color)}) {
        ExpectError([&] { Parameter(value); }, "value",
                    "Orlimbara enum values are not supported by DuckDB binding");
    }
    const Value misfit = ArrayValue(kLong, {Number(1), TextValue("two")});
    for (const Value& value : {misfit, ArrayValue(kArray, {Holder(misfit)})}) {
        ExpectFailure("Failed to bind statement parameter", [&] { Parameter(value); });
    }
    const Value noDate = With(CreateValueDate, &I_ValueDate::put_Date, 2023, 2, 29);
    ExpectFailure("Date out of range", [&] { Parameter(noDate); });
    ExpectFailure("range", [&] { Parameter(DateTimeValue(400000, 1, 1)); });
    const Statement script = Make("SELECT ?");
    script->BindValues(Values({Odd(kBoolean)})); // the host throws when it is read
    const DuckDBExecutionResult result = script->ExecuteScript();
    EXPECT_EQ(Text(result.mErrorText), "Unexpected DuckDB error") << "nothing of a foreign failure";
    EXPECT_EQ(result.mErrorCode, 466944u);
    EXPECT_EQ(result.mStatementCount, 0u);
}

TEST_F(Parameters, ValueThatClosesTheDatabaseWhileItIsRead) {
    const Value closing(new OddValue(kLong, [this] { mDatabase->Close(); }));
    const auto values = Values({Number(1), closing, Number(3)});
    const std::function<void(I_DuckDBStatement&)> kWays[] = {
        [&](auto& s) { s.BindValue(2, closing); },
        [&](auto& s) { s.BindValues(values); },
        [&](auto& s) {
            return s.BindRows(RowsOf({values, values})), s.SqlExecute();
        },
    };
    for (const auto& way : kWays) {
        const Statement statement = Prepare("SELECT $1, $2, $3");
        ExpectError([&] { way(*statement); }, "unknown", "DuckDBDatabase is invalid");
        mDatabase->Open();
    }
    ExpectFailure("DuckDBDatabase is not open", [&] { mDatabase->SqlExecute("SELECT $1, $2, $3", values); });
}

class Envelopes : public StatementTest {
protected:
    /// The parameter for an envelope.
    std::string Read(const std::string& inForm, const std::string& inType, const std::string& inText) const {
        return Parameter(TextValue("{\"duckdb_" + inForm + "\":true,\"" + inForm + "_type\":\"" + inType +
                                       "\",\"value\":\"" + inText + "\"}",
                                   true));
    }
    /// The host value of a VARIANT.
    Value Leave(const std::string& inSql, std::uint32_t inCursorLocation = kCursorLocationServer) const {
        const Cursor cursor = OpenCursor(mDatabase, "SELECT (" + inSql + ")::VARIANT", inCursorLocation);
        cursor->NextRecord();
        return cursor->get_Value(0);
    }
};

/// Names and texts that no VARIANT is given as, since the host has a type for them: name, text, type, and the
/// result if it isn't the text.
constexpr const char* kNamed = R"(
    BOOL|true|BOOLEAN; BOOLEAN|f|BOOLEAN|false; BOOL_TRUE|ignored|BOOLEAN|true; BOOL_FALSE|true|BOOLEAN|false
    INT16|-32768|SMALLINT; INT32|-2147483648|INTEGER; INT64|-9223372036854775808|BIGINT; UINT8|255|UTINYINT
    UINT16|65535|USMALLINT; UINT32|4294967295|UINTEGER; UINT64|18446744073709551615|UBIGINT; FLOAT|1.5|FLOAT
    DOUBLE|nan|DOUBLE; DECIMAL|7|DECIMAL(1,0); DECIMAL|.5|DECIMAL(1,1); VARCHAR|it's|VARCHAR; VARCHAR||VARCHAR
    DATE|0044-03-15 (BC)|DATE; TIMESTAMP_MILIS|2024-01-31 12:30:00.123|TIMESTAMP_MS; VARIANT_NULL|x|"NULL"|NULL)";

TEST_F(Envelopes, EachNameGivesItsTypeInBothForms) {
    for (const auto& row : Table(kNamed)) {
        for (const char* form : {"value", "variant"}) {
            EXPECT_EQ(Read(form, row[0], row[1]), row.at(row.size() == 4 ? 3 : 1) + " " + row[2]) << row[0];
        }
    }
    EXPECT_EQ(Read("variant", "ARRAY", R"([1, \"a\", {\"b\": null}])"), "[1, a, {'b': NULL}] VARIANT");
    EXPECT_EQ(Read("variant", "OBJECT", R"({\"a\": 1.5})"), "{'a': 1.5} VARIANT");
    // Members are found by name; with both markers it is a value envelope; a number is used as text.
    EXPECT_EQ(Parameter(TextValue(R"({"more":[1],"value":7,"duckdb_variant":true,"duckdb_value":true,)"
                                  R"("value_type":"INT8","variant_type":"INT16"})",
                                  true)),
              "7 TINYINT");
}

TEST_F(Envelopes, MalformedOnesAreRefused) {
    for (const auto& row :
         Table(R"(value|"value_type":"INT32"}; value|"value":"1"}; variant|"variant_type":"INT32"}
                                    variant|"value_type":"INT32","value":"1"})")) {
        const std::string& form = row[0];
        const Value envelope = TextValue("{\"duckdb_" + form + "\":true," + row[1], true);
        ExpectError([&] { Parameter(envelope); }, form,
                    "Malformed DuckDB " + form + " envelope: missing '" + form + "_type' or 'value' field");
    }
    for (const char* type : {"int32", "BLOB", "UNKNOWN", "TIMESTAMP_MILLIS", ""}) {
        ExpectError([&] { Read("variant", type, "1"); }, "value",
                    std::string("Unsupported DuckDB typed value in envelope: ") + type);
    }
    for (const char* type : {"ARRAY", "OBJECT"}) {
        ExpectError([&] { Read("value", type, "[1]"); }, "value",
                    "Use duckdb_variant with variant_type ARRAY or OBJECT for DuckDB VARIANT values");
        ExpectErrorWith([&] { Read("variant", type, "[1"); }, "value", "JSON");
    }
    // A width is taken modulo 256, and DuckDB has no width 0.
    const Rows unfit = Table(
        "DATE|2023-02-29; UUID|x; DECIMAL|; DECIMAL|1e5; BITSTRING|2; GEOMETRY|POINT (1; DECIMAL|1." +
        std::string(300, ' ') + "0; DECIMAL|" + std::string(300, '1') + "; DECIMAL|" + std::string(256, '0'));
    for (const auto& row : unfit) {
        ExpectErrorWith([&] { Read("value", row[0], row[1]); }, "value", "");
    }
    ExpectErrorWith([&] { Read("value", "INT8", "300"); }, "value", "Could not convert string '300' to INT8");
}

constexpr const char* kExact =
    R"(NULL::INTEGER; true; false; (-128)::TINYINT; (-32768)::SMALLINT; 255::UTINYINT
    (-2147483648)::INTEGER; (-9223372036854775808)::BIGINT; (-170141183460469231731687303715884105728)::HUGEINT
    65535::USMALLINT; 4294967295::UINTEGER; 18446744073709551615::UBIGINT; 340282366920938463463374607431768211455::UHUGEINT
    0.1::FLOAT; 'nan'::FLOAT; '-inf'::DOUBLE; -0.05::DECIMAL(3,2); 0.5::DECIMAL(1,1)
    '0.99999999999999999999999999999999999999'::DECIMAL(38,38); ''; repeat('x"', 500000); 'b'::ENUM('a', 'b')
    concat('"it''s" \ 漢字 😀', chr(10), chr(31), chr(127)); '\xCA\x00\xFE'::BLOB; ''::BLOB; '0101'::BIT
    'fedcba98-7654-3210-0123-456789abcdef'::UUID; DATE '0044-03-15 (BC)'; TIME '24:00:00'; '12:30:00.000000001'::TIME_NS
    '12:30:00.5+05:30'::TIMETZ; 'infinity'::TIMESTAMP_S; '1969-12-31 23:59:59.999'::TIMESTAMP_MS; '-infinity'::TIMESTAMP
    '2024-01-31 12:30:00.123456789'::TIMESTAMP_NS; '2024-01-31 12:30:00.5+02'::TIMESTAMPTZ
    INTERVAL '1 year 2 months -3 days 4.5 seconds'; '-340282366920938463463374607431768211456'::BIGNUM
    'POINT Z (1.5 2 3)'::GEOMETRY; []::INTEGER[]; ['a', NULL, '"b\', concat('c', chr(0), chr(10))]; MAP {'k': true}
    [0.1::DOUBLE, 'nan'::DOUBLE, 1e300]; {'a': 'x', 'b': [{'c': NULL, 'd': 'y'}]}; union_value(k := 'x')
    '{"a": [true, -1.5]}'::JSON)";

TEST_F(Envelopes, RoundTripAVariantUnchanged) {
    for (const auto& row : Table(kExact)) {
        SCOPED_TRACE(row[0]);
        for (const std::uint32_t location : {1u, 2u}) {
            EXPECT_EQ(RunWith("SELECT variant_typeof(p) = variant_typeof(v), p IS NOT DISTINCT FROM v, "
                              "p::VARCHAR IS NOT DISTINCT FROM v::VARCHAR FROM (SELECT $1::VARIANT AS p, (" +
                                  row[0] + ")::VARIANT AS v)",
                              {Leave(row[0], location)}),
                      Table("true|true|true"));
        }
    }
}

TEST_F(Envelopes, RoundTripAVariantWithChanges) {
    // The value, the part of the parameter `p` that changes, its type and its text. A DECIMAL is as wide as
    // its text, a text ends at a zero character, and lists and structs contain only JSON's types.
    for (const auto& row : Table(R"(1.5::DECIMAL(10,4) | p | DECIMAL(5, 4) | 1.5000
                                    concat('a', chr(0), 'b') | p | VARCHAR | a
                                    [1::TINYINT] | variant_extract(p, 1::UINTEGER) | UINT64 | 1
                                    {'a': 1.5::DECIMAL(3,2)} | variant_extract(p, 'a') | DOUBLE | 1.5
                                    [TIME '12:30:00'] | variant_extract(p, 1::UINTEGER) | VARCHAR | 12:30:00)")) {
        EXPECT_EQ(RunWith("SELECT variant_typeof(part), part::VARCHAR FROM (SELECT " + row[1] +
                              " AS part FROM (SELECT $1::VARIANT AS p))",
                          {Leave(row[0])}),
                  (Rows{{row[2], row[3]}}));
    }
    const Value date = Leave("'infinity'::DATE"); // a date beyond the calendar
    ExpectFailure("Date out of range", [&] { Parameter(date); });
    ExpectFailure("out of range", [&] { Leave("'infinity'::TIMESTAMP_MS"); });
    const Value hours = Leave("to_hours(1000000000)"); // DuckDB can't read its own text of it
    ExpectErrorWith([&] { Parameter(hours); }, "value", "Could not convert string '1000000000:00:00'");
}

} // namespace
} // namespace orkit::orsql::test
