#include <functional>
#include <limits>

#include "statement_fixture.h"

namespace orkit::orsql::test {
namespace {

class TypedBindings : public StatementTest {};

struct Binding {
    const char* mName;
    std::function<void(I_DuckDBStatement&, std::uint32_t)> mBind;
    const char* mType; ///< what DuckDB says of the parameter
    const char* mText;
};

const std::uint8_t kBits[] = {3, 0b11100101}; // three bits of padding, which are set
const std::uint8_t kBadBits[] = {8, 0};
const std::uint8_t kMagnitude[] = {1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
constexpr std::int64_t kMicros = 1'700'000'000'123'456;

const std::vector<Binding> kBindings = {
    {"Null", [](auto& s, auto i) { s.BindNull(i); }, "\"NULL\"", "NULL"},
    {"Boolean", [](auto& s, auto i) { s.BindBoolean(i, 2); }, "BOOLEAN", "true"},
    {"TinyInt", [](auto& s, auto i) { s.BindTinyInt(i, -128); }, "TINYINT", "-128"},
    {"UTinyInt", [](auto& s, auto i) { s.BindUTinyInt(i, 255); }, "UTINYINT", "255"},
    {"SmallInt", [](auto& s, auto i) { s.BindSmallInt(i, -32768); }, "SMALLINT", "-32768"},
    {"USmallInt", [](auto& s, auto i) { s.BindUSmallInt(i, 65535); }, "USMALLINT", "65535"},
    {"Integer", [](auto& s, auto i) { s.BindInteger(i, std::numeric_limits<std::int32_t>::min()); },
     "INTEGER", "-2147483648"},
    {"UInteger", [](auto& s, auto i) { s.BindUInteger(i, 4294967295u); }, "UINTEGER", "4294967295"},
    {"BigInt", [](auto& s, auto i) { s.BindBigInt(i, std::numeric_limits<std::int64_t>::min()); }, "BIGINT",
     "-9223372036854775808"},
    {"UBigInt", [](auto& s, auto i) { s.BindUBigInt(i, ~0ull); }, "UBIGINT", "18446744073709551615"},
    {"HugeInt", [](auto& s, auto i) { s.BindHugeInt(i, 0, 1); }, "HUGEINT", "18446744073709551616"},
    {"UHugeInt", [](auto& s, auto i) { s.BindUHugeInt(i, ~0ull, ~0ull); }, "UHUGEINT",
     "340282366920938463463374607431768211455"},
    {"Decimal", [](auto& s, auto i) { s.BindDecimal(i, 3, 2, 125, 0); }, "DECIMAL(3,2)", "1.25"},
    {"Decimal of 128 bits", [](auto& s, auto i) { s.BindDecimal(i, 38, 1, ~0ull - 14, -1); }, "DECIMAL(38,1)",
     "-1.5"},
    {"Float", [](auto& s, auto i) { s.BindFloat(i, 1.5f); }, "FLOAT", "1.5"},
    {"Double", [](auto& s, auto i) { s.BindDouble(i, 0.1); }, "DOUBLE", "0.1"},
    {"Date", [](auto& s, auto i) { s.BindDate(i, 2024, 2, 29); }, "DATE", "2024-02-29"},
    {"Time", [](auto& s, auto i) { s.BindTime(i, 3'600'000'001); }, "TIME", "01:00:00.000001"},
    {"TimeNs", [](auto& s, auto i) { s.BindTimeNs(i, 3'600'000'000'001); }, "TIME_NS", "01:00:00.000000001"},
    {"TimeTz", [](auto& s, auto i) { s.BindTimeTz(i, 3'600'000'000, -5400); }, "TIME WITH TIME ZONE",
     "01:00:00-01:30"},
    {"Timestamp", [](auto& s, auto i) { s.BindTimestamp(i, kMicros); }, "TIMESTAMP",
     "2023-11-14 22:13:20.123456"},
    {"TimestampTz", [](auto& s, auto i) { s.BindTimestampTz(i, kMicros); }, "TIMESTAMP WITH TIME ZONE",
     "2023-11-14 22:13:20.123456+00"},
    {"TimestampS", [](auto& s, auto i) { s.BindTimestampS(i, 1'700'000'000); }, "TIMESTAMP_S",
     "2023-11-14 22:13:20"},
    {"TimestampMs", [](auto& s, auto i) { s.BindTimestampMs(i, -1); }, "TIMESTAMP_MS",
     "1969-12-31 23:59:59.999"},
    {"TimestampNs", [](auto& s, auto i) { s.BindTimestampNs(i, 1); }, "TIMESTAMP_NS",
     "1970-01-01 00:00:00.000000001"},
    {"Interval", [](auto& s, auto i) { s.BindInterval(i, 14, -3, 4'000'000); }, "INTERVAL",
     "1 year 2 months -3 days 00:00:04"},
    {"Varchar", [](auto& s, auto i) { s.BindVarchar(i, Wide("it's 漢字 😀")); }, "VARCHAR", "it's 漢字 😀"},
    {"Varchar, empty", [](auto& s, auto i) { s.BindVarchar(i, String()); }, "VARCHAR", ""},
    {"Blob", [](auto& s, auto i) { s.BindBlob(i, "\xCA\x00\xFE", 3); }, "BLOB", "\\xCA\\x00\\xFE"},
    {"Blob, empty", [](auto& s, auto i) { s.BindBlob(i, nullptr, 0); }, "BLOB", ""},
    {"Bit", [](auto& s, auto i) { s.BindBit(i, kBits, sizeof kBits); }, "BIT", "00101"},
    {"Bignum", [](auto& s, auto i) { s.BindBignum(i, kMagnitude, sizeof kMagnitude, true); }, "BIGNUM",
     "-340282366920938463463374607431768211456"},
    {"Uuid", [](auto& s, auto i) { s.BindUuid(i, 0x0123456789abcdef, 0xfedcba9876543210); }, "UUID",
     "fedcba98-7654-3210-0123-456789abcdef"},
};

TEST_F(TypedBindings, EachBindsItsTypeAndValue) {
    Execute(mDatabase, "SET TimeZone = 'UTC'");
    for (const Binding& binding : kBindings) {
        SCOPED_TRACE(binding.mName);
        const Statement statement = Prepare("SELECT $1::VARCHAR, typeof($1)");
        binding.mBind(*statement, 1);
        for (int run = 0; run < 2; ++run) {
            EXPECT_EQ(Run(statement), (Rows{{binding.mText, binding.mType}})) << "run " << run;
        }
    }
}

TEST_F(TypedBindings, EachRefusesWhatIsNoParameter) {
    for (const Binding& binding : kBindings) {
        SCOPED_TRACE(binding.mName);
        const Statement statement = Prepare("SELECT $1::INTEGER");
        statement->BindInteger(1, 9);
        for (const std::uint32_t index : {0u, 2u, 4294967295u}) {
            ExpectDuckDBErrorWith([&] { binding.mBind(*statement, index); }, mName,
                                  "Can not bind to parameter number " + std::to_string(index));
        }
        EXPECT_EQ(Run(statement), (Rows{{"9"}})) << "earlier bindings stay";
    }
}

TEST_F(TypedBindings, EachIsSilentBeforePreparingAndRaisesOnceCutOff) {
    const Statement statement = Make("SELECT $1");
    for (const Binding& binding : kBindings) {
        binding.mBind(*statement, 1);
    }
    statement->PrepareNext();
    ExpectDuckDBErrorWith([&] { statement->SqlExecute(); }, mName, "Values were not provided");
    mDatabase->Close();
    for (const Binding& binding : kBindings) {
        ExpectDuckDBError([&] { binding.mBind(*statement, 1); }, "unknown", "DuckDBDatabase is invalid");
    }
}

TEST_F(TypedBindings, ValuesBeyondTheRangesOfDuckDBAreRefused) {
    const Binding kBeyond[] = {
        {"month 13", [](auto& s, auto i) { s.BindDate(i, 2024, 13, 1); }, "", "Date out of range"},
        {"width 200", [](auto& s, auto i) { s.BindDecimal(i, 200, 2, 125, 0); }, "", "width"},
        {"no bits", [](auto& s, auto i) { s.BindBit(i, kBits, 1); }, "",
         "Failed to bind BIT statement parameter"},
        {"no bytes for bits", [](auto& s, auto i) { s.BindBit(i, nullptr, 0); }, "", "Failed to bind BIT"},
        {"padding 8", [](auto& s, auto i) { s.BindBit(i, kBadBits, 2); }, "", "Failed to bind BIT"},
        {"no magnitude", [](auto& s, auto i) { s.BindBignum(i, kMagnitude, 0, false); }, "",
         "Failed to bind BIGNUM statement parameter"},
        {"no bytes", [](auto& s, auto i) { s.BindBlob(i, nullptr, 1); }, "", ""},
    };
    const Statement statement = Prepare("SELECT $1");
    for (const Binding& beyond : kBeyond) {
        SCOPED_TRACE(beyond.mName);
        // DuckDB's text of this failure must not be taken for that of the next.
        ExpectDuckDBErrorWith([&] { statement->BindInteger(7, 1); }, mName, "parameter number 7");
        ExpectDuckDBErrorWith([&] { beyond.mBind(*statement, 1); }, mName, beyond.mText);
    }
    statement->BindInteger(1, 5);
    EXPECT_EQ(Run(statement), (Rows{{"5"}}));
}

TEST_F(TypedBindings, OnlyTheLowBitsOfMonthAndDayCount) {
    const Statement statement = Prepare("SELECT $1::VARCHAR");
    statement->BindDate(1, 2024, 256 + 2, 512 + 29);
    EXPECT_EQ(Run(statement), (Rows{{"2024-02-29"}}));
}

TEST_F(TypedBindings, TextIsBoundWholeBeyondAZeroCharacter) {
    const Statement statement = Prepare("SELECT strlen($1)");
    statement->BindVarchar(1, Wide(std::string_view("a\0ü", 4)));
    EXPECT_EQ(Run(statement), (Rows{{"4"}}));
}

TEST_F(TypedBindings, LastAsLongAsThePreparedStatement) {
    const Statement statement = Make("SELECT $1::INTEGER; SELECT $1::INTEGER");
    statement->PrepareNext();
    statement->BindInteger(1, 5);
    EXPECT_EQ(Run(statement), (Rows{{"5"}}));
    statement->PrepareNext();
    ExpectDuckDBErrorWith([&] { Run(statement); }, mName, "Values were not provided");
    statement->BindInteger(1, 6);
    statement->ClearBindings();
    ExpectDuckDBErrorWith([&] { Run(statement); }, mName, "Values were not provided");
}

} // namespace
} // namespace orkit::orsql::test
