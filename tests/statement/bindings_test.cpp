#include <limits>

#include "statement_fixture.h"

namespace orkit::orsql::test {
namespace {

class Bindings : public StatementTest {};

constexpr const char* kNotProvided = "Values were not provided";

const std::uint8_t kBits[] = {7, 0b11100101, 0b10000000}; // seven bits of padding, of which most are set
const std::uint8_t kBadBits[] = {8, 0};
const std::uint8_t kMagnitude[] = {1, 0, 0, 0, 0, 0, 0, 0, 0};
constexpr std::int64_t kMicros = 1'700'000'000'123'456;
constexpr std::int64_t kMin64 = std::numeric_limits<std::int64_t>::min();

using Bind = std::function<void(I_DuckDBStatement&, std::uint32_t)>;
/// A binding, what DuckDB says of the parameter's type, or null where the binding fails, and its text or a
/// part of the failure's.
const std::tuple<Bind, const char*, const char*> kBindings[] = {
    {[](auto& s, auto i) { s.BindNull(i); }, "\"NULL\"", "NULL"},
    {[](auto& s, auto i) { s.BindBoolean(i, 1); }, "BOOLEAN", "true"},
    {[](auto& s, auto i) { s.BindBoolean(i, 2); }, "BOOLEAN", "true"},
    {[](auto& s, auto i) { s.BindTinyInt(i, -128); }, "TINYINT", "-128"},
    {[](auto& s, auto i) { s.BindUTinyInt(i, 255); }, "UTINYINT", "255"},
    {[](auto& s, auto i) { s.BindSmallInt(i, -32768); }, "SMALLINT", "-32768"},
    {[](auto& s, auto i) { s.BindUSmallInt(i, 65535); }, "USMALLINT", "65535"},
    {[](auto& s, auto i) { s.BindInteger(i, -2147483647 - 1); }, "INTEGER", "-2147483648"},
    {[](auto& s, auto i) { s.BindUInteger(i, 4294967295u); }, "UINTEGER", "4294967295"},
    {[](auto& s, auto i) { s.BindBigInt(i, kMin64); }, "BIGINT", "-9223372036854775808"},
    {[](auto& s, auto i) { s.BindUBigInt(i, ~0ull); }, "UBIGINT", "18446744073709551615"},
    {[](auto& s, auto i) { s.BindHugeInt(i, 0, 1); }, "HUGEINT", "18446744073709551616"},
    {[](auto& s, auto i) { s.BindUHugeInt(i, 1, 1); }, "UHUGEINT", "18446744073709551617"},
    {[](auto& s, auto i) { s.BindDecimal(i, 3, 2, 125, 0); }, "DECIMAL(3,2)", "1.25"},
    {[](auto& s, auto i) { s.BindDecimal(i, 38, 1, ~0ull - 14, -1); }, "DECIMAL(38,1)", "-1.5"},
    {[](auto& s, auto i) { s.BindFloat(i, 1.5f); }, "FLOAT", "1.5"},
    {[](auto& s, auto i) { s.BindDouble(i, 0.1); }, "DOUBLE", "0.1"},
    // Only the low bits are used.
    {[](auto& s, auto i) { s.BindDate(i, 2024, 256 + 2, 512 + 29); }, "DATE", "2024-02-29"},
    {[](auto& s, auto i) { s.BindTime(i, 3'600'000'001); }, "TIME", "01:00:00.000001"},
    {[](auto& s, auto i) { s.BindTimeNs(i, 3'600'000'000'001); }, "TIME_NS", "01:00:00.000000001"},
    {[](auto& s, auto i) { s.BindTimeTz(i, 3'600'000'000, -5400); }, "TIME WITH TIME ZONE", "01:00:00-01:30"},
    {[](auto& s, auto i) { s.BindTimestamp(i, kMicros); }, "TIMESTAMP", "2023-11-14 22:13:20.123456"},
    {[](auto& s, auto i) { s.BindTimestampTz(i, 1); }, "TIMESTAMP WITH TIME ZONE",
     "1970-01-01 00:00:00.000001+00"},
    {[](auto& s, auto i) { s.BindTimestampS(i, 1'700'000'000); }, "TIMESTAMP_S", "2023-11-14 22:13:20"},
    {[](auto& s, auto i) { s.BindTimestampMs(i, -1); }, "TIMESTAMP_MS", "1969-12-31 23:59:59.999"},
    {[](auto& s, auto i) { s.BindTimestampNs(i, 1); }, "TIMESTAMP_NS", "1970-01-01 00:00:00.000000001"},
    {[](auto& s, auto i) { s.BindInterval(i, 1, -3, 4'000'000); }, "INTERVAL", "1 month -3 days 00:00:04"},
    {[](auto& s, auto i) { s.BindVarchar(i, Wide("it's 漢字 😀")); }, "VARCHAR", "it's 漢字 😀"},
    {[](auto& s, auto i) { s.BindVarchar(i, String()); }, "VARCHAR", ""},
    {[](auto& s, auto i) { s.BindBlob(i, "\xCA\x00\xFE", 3); }, "BLOB", "\\xCA\\x00\\xFE"},
    {[](auto& s, auto i) { s.BindBlob(i, nullptr, 0); }, "BLOB", ""},
    {[](auto& s, auto i) { s.BindBit(i, kBits, 3); }, "BIT", "110000000"},
    {[](auto& s, auto i) { s.BindBignum(i, kMagnitude, 9, true); }, "BIGNUM", "-18446744073709551616"},
    {[](auto& s, auto i) { s.BindUuid(i, 1, ~0ull - 1); }, "UUID", "ffffffff-ffff-fffe-0000-000000000001"},
    {[](auto& s, auto i) { s.BindDate(i, 2024, 13, 1); }, nullptr, "Date out of range"},
    {[](auto& s, auto i) { s.BindDecimal(i, 200, 2, 125, 0); }, nullptr, "width"},
    {[](auto& s, auto i) { s.BindBit(i, kBits, 1); }, nullptr, "Failed to bind BIT statement parameter"},
    {[](auto& s, auto i) { s.BindBit(i, nullptr, 2); }, nullptr, "Failed to bind BIT"},
    {[](auto& s, auto i) { s.BindBit(i, kBadBits, 2); }, nullptr, "Failed to bind BIT"},
    {[](auto& s, auto i) { s.BindBignum(i, kMagnitude, 0, false); }, nullptr, "Failed to bind BIGNUM"},
    {[](auto& s, auto i) { s.BindBignum(i, nullptr, 1, false); }, nullptr, "Failed to bind BIGNUM"},
    {[](auto& s, auto i) { s.BindBignum(i, kMagnitude, 0x800000, false); }, nullptr, "Failed to bind BIGNUM"},
    {[](auto& s, auto i) { s.BindBlob(i, nullptr, 1); }, nullptr, ""},
};

TEST_F(Bindings, EachBindsItsTypeAndValue) {
    for (const auto& [bind, type, text] : kBindings) {
        SCOPED_TRACE(text);
        const Statement statement = Prepare("SELECT $1::VARCHAR, typeof($1)");
        const Statement another = Prepare("SELECT $1::INTEGER");
        another->BindInteger(1, 9);
        if (type) {
            bind(*statement, 1);
            EXPECT_EQ(Run(statement), (Rows{{text, type}}));
            ExpectFailure("Can not bind to parameter number 2", [&, again = bind] { again(*another, 2); });
        } else {
            // DuckDB's text of this failure must not be used for the next.
            ExpectFailure("parameter number 7", [&] { another->BindInteger(7, 1); });
            ExpectFailure(text, [&, again = bind] { again(*another, 1); });
        }
        EXPECT_EQ(Run(another), Table("9")) << "earlier bindings stay";
    }
    const Statement statement = Prepare("SELECT strlen($1)");
    statement->BindVarchar(1, Wide(std::string_view("a\0ü", 4)));
    EXPECT_EQ(Run(statement), Table("4")) << "beyond a zero character";
}

TEST_F(Bindings, LastAsLongAsThePreparedStatement) {
    const Statement statement = Make("SELECT $1::INTEGER; SELECT $1::INTEGER");
    const Value value = Number(1);
    statement->BindValue(1, value);
    EXPECT_EQ(value->get_RefsCount(), 1u) << "nothing is held of a value";
    for (int i = 0; i < 2; ++i) {
        statement->PrepareNext();
        ExpectFailure(kNotProvided, [&] { Run(statement); });
        statement->BindInteger(1, 5);
        EXPECT_EQ(Run(statement), Table("5"));
        EXPECT_EQ(Run(statement), Table("5"));
    }
    statement->ClearBindings();
    ExpectFailure(kNotProvided, [&] { Run(statement); });
}

TEST_F(Bindings, OneArrayServesEveryStatementAndEveryRun) {
    const Statement script = Make("INSERT INTO t VALUES (?); INSERT INTO t VALUES (? + 1)");
    const auto values = Values({Number(1)});
    script->BindValues(values);
    script->ExecuteAll();
    script->SqlExecute();
    EXPECT_EQ(Content(), "[1, 2, 2]") << "a run on its own has the values too";
    (*values)[0] = Number(7);
    script->SqlExecute();
    EXPECT_EQ(Content(), "[1, 2, 2, 8]") << "the array is the caller's as well, and is read at each run";

    const Statement statement = Prepare("SELECT $1::INTEGER, $2::INTEGER");
    statement->BindInteger(2, 9);
    statement->BindValues(Values({Number(1), nullptr}));
    EXPECT_EQ(Run(statement), Table("1|NULL"));
    const auto three = Values({Number(1), Number(2), Number(3)});
    ExpectFailure("Can not bind to parameter number 3", [&] { statement->BindValues(three); });
    ExpectFailure("Can not bind to parameter number 3", [&] { Run(statement); });
    statement->BindValues(Values({}));
    ExpectFailure(kNotProvided, [&] { Run(statement); });
    // A single value drops the arrays and all bindings; later ones are added.
    const auto two = Values({Number(1), Number(2)});
    for (const bool asRows : {false, true}) {
        asRows ? statement->BindRows(RowsOf({two})) : statement->BindValues(two);
        statement->BindInteger(1, 5);
        ExpectFailure(kNotProvided, [&] { Run(statement); });
        statement->BindValue(2, Number(6));
        EXPECT_EQ(Run(statement), Table("5|6"));
    }
}

TEST_F(Bindings, ArraysLiveAsLongAsTheStatementHoldsThem) {
    const auto values = Values({Number(1)});
    const auto rows = RowsOf({values});
    Statement statement = Prepare("SELECT ?");
    const std::function<void()> kWaysOut[] = {
        [&] { statement->ClearBindings(); },         [&] { statement->BindInteger(1, 2); },
        [&] { statement->BindValue(1, Number(2)); }, [&] { statement->BindRows(nullptr); },
        [&] { statement->BindValues(nullptr); },     [&] { statement.reset(); }};
    for (const auto& wayOut : kWaysOut) {
        statement->BindValues(values);
        EXPECT_EQ(values->get_RefsCount(), 3u);
        statement->BindRows(rows);
        EXPECT_EQ(values->get_RefsCount(), 2u) << "the rows replace the values";
        statement->SqlExecute();
        EXPECT_EQ(values->get_RefsCount(), 3u) << "the current row";
        wayOut();
        EXPECT_EQ(values->get_RefsCount(), 2u);
        EXPECT_EQ(rows->get_RefsCount(), 1u);
    }
    statement = Prepare("SELECT ?");
    statement->BindValues(values);
    mDatabase->Close();
    EXPECT_EQ(values->get_RefsCount(), 3u) << "arrays go with the statement object";
}

TEST_F(Bindings, RowsRunTheStatementOncePerRow) {
    const Statement insert = Prepare("INSERT INTO t SELECT unnest(range(?))");
    insert->BindRows(RowsOf({Values({Number(3)}), Values({Number(1)}), Values({Number(2)})}));
    EXPECT_EQ(insert->SqlExecute(), 2u) << "of the last run, not a sum";
    EXPECT_EQ(Content(), "[0, 0, 0, 1, 1, 2]");
    EXPECT_EQ(insert->SqlQuery(kCursorLocationServer)->get_RowsChanged(), 2) << "all rows run again";
    EXPECT_EQ(Catch([&] { insert->SqlSelect(kCursorLocationServer); }),
              "xFeatureError 40960|orDuckDB - multi-row binding for SqlSelect");
    EXPECT_EQ(SelectOne(mDatabase, "SELECT count(*) FROM t"), "12") << "nothing ran";

    // The last row that ran is bound to the next statement, which here has no parameter for it.
    const Statement select = Make("SELECT ?::INTEGER; SELECT ? + 1; SELECT 1");
    select->BindRows(RowsOf({Values({Number(4)})}));
    for (const char* const result : {"4", "5"}) {
        select->PrepareNext();
        EXPECT_EQ(Run(select), Table(result));
    }
    ExpectFailure("parameter number 1", [&] { select->PrepareNext(); });

    // A row that fails stops the run and rolls nothing back.
    Execute(mDatabase, "DELETE FROM t");
    const Statement statement = Prepare("INSERT INTO t VALUES (?)");
    statement->BindRows(RowsOf({Values({Number(1)}), Values({TextValue("x")}), Values({Number(3)})}));
    ExpectFailure("Could not convert string 'x'", [&] { statement->SqlExecute(); });
    statement->BindRows(RowsOf({Values({Number(2)}), nullptr}));
    ExpectFailure(kNotProvided, [&] { statement->SqlExecute(); });
    EXPECT_EQ(Content(), "[1, 2]");
}

TEST_F(Bindings, NoRowsRunNothing) {
    const Statement statement = Prepare("INSERT INTO t VALUES (1)");
    statement->BindRows(RowsOf({}));
    EXPECT_EQ(statement->SqlExecute(), 0u);
    EXPECT_FALSE(statement->SqlSelect(kCursorLocationServer));
    EXPECT_EQ(Content(), "NULL");
    statement->ClearBindings();
    statement->SqlExecute();
    statement->BindRows(RowsOf({}));
    EXPECT_EQ(statement->SqlQuery(2)->get_RowsChanged(), 1) << "the old result is still there";
    EXPECT_EQ(Content(), "[1]");

    const Statement failing = Prepare("SELECT 'x'::INTEGER");
    ExpectFailure("Could not convert", [&] { failing->SqlExecute(); });
    failing->BindRows(RowsOf({}));
    const QueryResult result = failing->SqlQuery(kCursorLocationServer);
    EXPECT_EQ(result->get_ResultFlags(), I_DuckDBQueryResult::kResultHasError);
    EXPECT_EQ(Text(result->get_ErrorType()), "Conversion");
    EXPECT_EQ(failing->SqlQuery(kCursorLocationServer)->get_ResultFlags(), 0u) << "it went to the first";
}

} // namespace
} // namespace orkit::orsql::test
