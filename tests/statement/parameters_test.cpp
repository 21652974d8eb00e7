#include <limits>

#include "result/value_conversion.h"
#include "statement_fixture.h"

namespace orkit::orsql::test {
namespace {

class Parameters : public StatementTest {
protected:
    void ExpectParameter(const Value& inValue, const char* inText, const char* inType) const {
        EXPECT_EQ(RunWith("SELECT $1::VARCHAR, typeof($1)", {inValue}), (Rows{{inText, inType}}));
    }
};

Value DateValue(std::int32_t inYear, std::uint16_t inMonth, std::uint16_t inDay) {
    Value value(CreateValueDate(true, nullptr, nullptr));
    QueryAspect<I_ValueDate>(value.get())->put_Date(inYear, inMonth, inDay);
    return value;
}

Value TimeValue(std::uint16_t inHour, std::uint16_t inMinute, std::uint16_t inSecond,
                std::uint16_t inMillisecond) {
    Value value(CreateValueTime(true, nullptr, nullptr));
    QueryAspect<I_ValueTime>(value.get())->put_Time(inHour, inMinute, inSecond, inMillisecond);
    return value;
}

Value DateTimeValue(std::int32_t inYear, std::uint16_t inMonth, std::uint16_t inHour) {
    Value value(CreateValueDateTime(true, nullptr, nullptr));
    QueryAspect<I_ValueDateTime>(value.get())->put_DateTime(inYear, inMonth, 28, inHour, 4, 5, 678);
    return value;
}

Value EnumValue() {
    const String text("red");
    return CreateValueEnum(true, &text, nullptr);
}

Value Holder(Value inInner) {
    Value value(CreateValueHolder(true, nullptr, nullptr));
    QueryAspect<I_ValueHolder>(value.get())->put_Inner(std::move(inInner));
    return value;
}

Value ArrayValue(std::uint32_t inItemType, std::initializer_list<Value> inItems) {
    Value value(CreateValueArray(true, &inItemType, nullptr));
    for (const Value& item : inItems) {
        QueryAspect<I_ValueArray>(value.get())->AppendItem(item);
    }
    return value;
}

/// A value of a type that the stand-in host has no class for, or that lacks its type's aspect.
class OddValue final : public AspectHost_imp {
public:
    explicit OddValue(std::uint32_t inType) : AspectHost_imp(true), mType(inType) {}
    std::uint32_t get_Type() const override { return mType; }
    void get_String(String& outText, std::int32_t) const override { outText = "-7"; }
    std::int32_t get_Long() const override { return -7; }
    std::uint32_t get_ULong() const override { return 7; }
    double get_Double() const override { return -7.5; }

private:
    std::uint32_t mType;
};

Value Odd(std::uint32_t inType) { return new OddValue(inType); }

TEST_F(Parameters, EachHostTypeHasItsType) {
    using namespace value_type;
    struct Case {
        Value mValue;
        const char* mText;
        const char* mType;
    };
    Value nullText = TextValue("x");
    nullText->put_IsNull(true);
    const Case cases[] = {
        {nullptr, "NULL", "\"NULL\""},
        {nullText, "NULL", "\"NULL\""},
        {MakeValue(CreateValueBoolean, &I_Value::put_Boolean, true), "true", "BOOLEAN"},
        {MakeValue(CreateValueByte, &I_Value::put_Byte, std::uint8_t{255}), "255", "UTINYINT"},
        {MakeValue(CreateValueShort, &I_Value::put_Short, std::int16_t{-32768}), "-32768", "SMALLINT"},
        {MakeValue(CreateValueUShort, &I_Value::put_UShort, std::uint16_t{65535}), "65535", "USMALLINT"},
        {Odd(kMedium), "-7", "INTEGER"},
        {Odd(kUMedium), "7", "UINTEGER"},
        {Number(std::numeric_limits<std::int32_t>::min()), "-2147483648", "INTEGER"},
        {MakeValue(CreateValueULong, &I_Value::put_ULong, 4294967295u), "4294967295", "UINTEGER"},
        {MakeValue(CreateValueLLong, &I_Value::put_LLong, std::numeric_limits<std::int64_t>::min()),
         "-9223372036854775808", "BIGINT"},
        {MakeValue(CreateValueULLong, &I_Value::put_ULLong, std::numeric_limits<std::uint64_t>::max()),
         "18446744073709551615", "UBIGINT"},
        {MakeValue(CreateValueFloat, &I_Value::put_Float, 1.5f), "1.5", "FLOAT"},
        {MakeValue(CreateValueDouble, &I_Value::put_Double, 0.1), "0.1", "DOUBLE"},
        {Odd(kDecimal), "-7.5", "DOUBLE"},
        {Odd(kNumeric), "-7.5", "DOUBLE"},
        {DateValue(2024, 2, 29), "2024-02-29", "DATE"},
        {DateValue(-43, 3, 15), "0044-03-15 (BC)", "DATE"},
        {TimeValue(23, 59, 58, 7), "23:59:58.007", "TIME"},
        {DateTimeValue(2024, 2, 3), "2024-02-28 03:04:05.678", "TIMESTAMP_MS"},
        {DateTimeValue(1969, 12, 23), "1969-12-28 23:04:05.678", "TIMESTAMP_MS"},
        {TextValue("it's"), "it's", "VARCHAR"},
        {TextValue(""), "", "VARCHAR"},
        {BytesToValue("\xCA\x00\xFE", 3), "\\xCA\\x00\\xFE", "BLOB"},
        {BytesToValue("", 0), "", "BLOB"},
        {JsonValue(R"({"a":[1,2]})"), R"({"a":[1,2]})", "VARCHAR"},
        {JsonValue(R"({"duckdb_value":false,"value_type":"INT32","value":"7"})"),
         R"({"duckdb_value":false,"value_type":"INT32","value":"7"})", "VARCHAR"},
        {Holder(Holder(Number(5))), "5", "INTEGER"},
        {Holder(nullptr), "NULL", "\"NULL\""},
        {Odd(kHolder), "NULL", "\"NULL\""},
        {Odd(kArray), "NULL", "\"NULL\""},
        {Odd(kDate), "-7", "VARCHAR"},
        {Odd(kTime), "-7", "VARCHAR"},
        {Odd(kDateTime), "-7", "VARCHAR"},
        {Odd(77), "-7", "VARCHAR"},
        {ArrayValue(kLong, {Number(1), nullptr, Number(3)}), "[1, NULL, 3]", "INTEGER[]"},
        {ArrayValue(kDateTime, {}), "[]", "TIMESTAMP_MS[]"},
        {ArrayValue(kLLong, {TextValue("12"), Number(3)}), "[12, 3]", "BIGINT[]"},
        {ArrayValue(kLongBinary, {BytesToValue("\x01", 1)}), "[\\x01]", "BLOB[]"},
        {ArrayValue(kJSON, {JsonValue(R"({"duckdb_value":true,"value_type":"INT8","value":"5"})")}), "[5]",
         "VARCHAR[]"},
        {ArrayValue(kArray, {ArrayValue(kLong, {Number(1), Number(2)})}), "['[1, 2]']", "VARCHAR[]"},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.mText);
        ExpectParameter(row.mValue, row.mText, row.mType);
    }
}

TEST_F(Parameters, ArraysTakeTheTypeOfTheirItems) {
    using namespace value_type;
    const std::pair<std::uint32_t, const char*> types[] = {
        {kBoolean, "BOOLEAN[]"},  {kByte, "UTINYINT[]"},         {kShort, "SMALLINT[]"},
        {kUShort, "USMALLINT[]"}, {kMedium, "INTEGER[]"},        {kUMedium, "UINTEGER[]"},
        {kLong, "INTEGER[]"},     {kULong, "UINTEGER[]"},        {kLLong, "BIGINT[]"},
        {kULLong, "UBIGINT[]"},   {kFloat, "FLOAT[]"},           {kDouble, "DOUBLE[]"},
        {kDecimal, "DOUBLE[]"},   {kNumeric, "DOUBLE[]"},        {kDate, "DATE[]"},
        {kTime, "TIME[]"},        {kDateTime, "TIMESTAMP_MS[]"}, {kFixedBinary, "BLOB[]"},
        {kVarBinary, "BLOB[]"},   {kLongBinary, "BLOB[]"},       {kExternalBinary, "BLOB[]"},
        {kString, "VARCHAR[]"},   {kHolder, "VARCHAR[]"},        {77, "VARCHAR[]"},
    };
    for (const auto& [code, type] : types) {
        ExpectParameter(ArrayValue(code, {nullptr}), "[NULL]", type);
    }
}

TEST_F(Parameters, TextOfAnyKindSurvives) {
    std::string controls;
    for (char byte = 1; byte < 0x20; ++byte) {
        controls += byte;
    }
    const std::string megabyte(1 << 20, 'x');
    for (const std::string& text : {controls, std::string("\"quotes\" 'and' \\backslashes\\"),
                                    std::string("漢字 😀 \xF4\x8F\xBF\xBF \x7F"), megabyte}) {
        const Rows rows = RunWith("SELECT $1, strlen($1)", {TextValue(Wide(text))});
        EXPECT_EQ(rows.at(0).at(0), text);
        EXPECT_EQ(rows.at(0).at(1), std::to_string(text.size()));
    }
    // A zero character goes in; it is the text of the cell that ends there.
    EXPECT_EQ(RunWith("SELECT strlen($1)", {TextValue(Wide(std::string_view("a\0b", 3)))}), (Rows{{"3"}}));
}

TEST_F(Parameters, EnumsAreRefused) {
    for (const Value& value :
         {EnumValue(), Odd(value_type::kEnumSet), ArrayValue(value_type::kEnum, {}),
          ArrayValue(value_type::kEnumSet, {nullptr}), ArrayValue(20, {EnumValue()}), Holder(EnumValue())}) {
        ExpectDuckDBError([&] { RunWith("SELECT $1", {value}); }, "value",
                          "Orlimbara enum values are not supported by DuckDB binding");
    }
}

TEST_F(Parameters, WhatDuckDBCannotMakeIsAFailedBinding) {
    const Value misfit = ArrayValue(value_type::kLong, {Number(1), TextValue("two")});
    for (const Value& value : {misfit, ArrayValue(value_type::kArray, {Holder(misfit)})}) {
        ExpectDuckDBError([&] { RunWith("SELECT $1", {value}); }, mName,
                          "Failed to bind statement parameter");
    }
    ExpectDuckDBErrorWith([&] { RunWith("SELECT $1", {DateValue(2023, 2, 29)}); }, mName,
                          "Date out of range");
    ExpectDuckDBErrorWith([&] { RunWith("SELECT $1", {DateTimeValue(400000, 1, 1)}); }, mName, "range");
}

/// A value that closes the database when it is read.
class ClosingValue final : public AspectHost_imp {
public:
    explicit ClosingValue(I_DuckDBDatabase* inDatabase) : AspectHost_imp(true), mDatabase(inDatabase) {}
    std::uint32_t get_Type() const override { return value_type::kLong; }
    void get_String(String&, std::int32_t) const override {}
    std::int32_t get_Long() const override {
        mDatabase->Close();
        return 1;
    }

private:
    I_DuckDBDatabase* mDatabase;
};

TEST_F(Parameters, ValueThatClosesTheDatabaseWhileItIsRead) {
    const Value closing(new ClosingValue(mDatabase.get()));
    const auto values = Values({Number(1), closing, Number(3)});
    const std::function<void(I_DuckDBStatement&)> kWays[] = {
        [&](auto& s) { s.BindValue(2, closing); },
        [&](auto& s) { s.BindValues(values); },
        [&](auto& s) {
            s.BindRows(RowsOf({values, values})), s.SqlExecute();
        },
    };
    for (const auto& way : kWays) {
        const Statement statement = Prepare("SELECT $1, $2, $3");
        ExpectDuckDBError([&] { way(*statement); }, "unknown", "DuckDBDatabase is invalid");
        mDatabase->Open();
    }
    ExpectDuckDBError([&] { mDatabase->SqlExecute("SELECT $1, $2, $3", values); }, mName,
                      "DuckDBDatabase is not open");
    mDatabase->Open();
}

TEST_F(Parameters, ValuesGoWithOneStatement) {
    Execute(mDatabase, "CREATE TABLE t (i INTEGER)");
    EXPECT_EQ(mDatabase->SqlExecute("INSERT INTO t VALUES (?), (?)", Values({Number(1), nullptr})), 2);
    EXPECT_EQ(mDatabase->SqlExecute("INSERT INTO t VALUES (4); INSERT INTO t VALUES (5)", Values({})), 2)
        << "an empty array is none";
    EXPECT_EQ(mDatabase->SqlQuery("DELETE FROM t WHERE i > ?", 2, Values({Number(3)}))->get_RowsChanged(), 2);
    EXPECT_EQ(RunWith("SELECT $2 || $1", {TextValue("a"), TextValue("b")}), (Rows{{"ba"}}));

    ExpectDuckDBErrorWith([&] { RunWith("SELECT 1; SELECT ?", {Number(1)}); }, mName, "multiple statements");
    ExpectDuckDBErrorWith([&] { RunWith("SELEC ?", {Number(1)}); }, mName, "syntax error");
    ExpectDuckDBErrorWith(
        [&] {
            RunWith("SELECT $1", {Number(1), Number(2)});
        },
        mName, "Can not bind to parameter number 2");
    ExpectDuckDBErrorWith([&] { RunWith("SELECT $1, $2", {Number(1)}); }, mName, "Values were not provided");
    ExpectDuckDBErrorWith([&] { RunWith("SELECT $1::INTEGER", {TextValue("x")}); }, mName,
                          "Could not convert string 'x' to INT32");
    EXPECT_EQ(SelectOne(mDatabase, "SELECT count(*) FROM t"), "2");
}

} // namespace
} // namespace orkit::orsql::test
