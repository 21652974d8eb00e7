#include "procedures/arguments.h"

#include <cerrno>

#include "procedure_test.h"
#include "procedures/quoting.h"

#include <rapidcheck/gtest.h> // needs GoogleTest before it

namespace orlimbara::procedures::test {

namespace {

class ArgumentsTest : public ProcedureTest {};

ArgumentView ViewOf(const ProcedureContext& context) {
    return {context.get_Handle(), context.get_ArgumentHandles(), "fetch_parquet"};
}

using ValueCases = std::vector<std::pair<Value, std::string>>;

TEST_F(ArgumentsTest, MakeAColumnListOfTextsAndArrays) {
    const auto array = ProcedureValue::Array;
    ValueCases cases = {{{}, "*"}, {nullptr, "*"}, {" * ", "*"}, {12, R"("12")"}, {array({}), "*"}};
    cases.emplace_back(array({Value(nullptr), Value("  "), Value(), array({})}), "*");
    cases.emplace_back(array({Value("*")}), R"("*")");
    cases.emplace_back(array({Value(" a,b "), Value(nullptr), Value(7)}), R"("a,b", "7")");
    for (const auto& row : Table(R"(,,|*; a,, b ,|"a", "b"; *, a|"*", "a"; "a,b"|"""a", "b""")")) {
        cases.emplace_back(row[0], row[1]);
    }
    for (const auto& [value, list] : cases) {
        const ProcedureContext context({Value("f"), value});
        EXPECT_EQ(BuildParquetSelect(ViewOf(context)), "SELECT " + list + " FROM read_parquet('f')");
    }
}

TEST_F(ArgumentsTest, ReadALimitOrSayWhatIsWrongWithIt) {
    errno = ERANGE; // an earlier call's error must not matter
    ValueCases cases = {
        {{}, ""}, {nullptr, ""}, {0, "0"}, {-1, "refused: limit must not be negative"}, {" 42\n", "42"}};
    cases.emplace_back(ProcedureValue::UInt64(~0ULL), "18446744073709551615");
    cases.emplace_back(ProcedureValue::Double(3), "3");
    cases.emplace_back(ProcedureValue::Double(3.5), "refused: limit must be an integer");
    cases.emplace_back(ProcedureValue::Array({}), "refused: invalid stoll argument");
    cases.emplace_back(std::string("4\0", 2), "refused: limit must be an integer");
    for (const auto& row : Table(R"(
             +42|42; -0|0; 9223372036854775807|9223372036854775807; |refused: invalid stoll argument
             -9223372036854775809|refused: stoll argument out of range; - 1|refused: invalid stoll argument
             12345678901234567890x|refused: stoll argument out of range
             -5|refused: limit must not be negative; -5x|refused: limit must be an integer)")) {
        cases.emplace_back(row[0], row[1]);
    }
    for (const auto& [value, limit] : cases) {
        const ProcedureContext context({value});
        EXPECT_EQ(ResultOf([&] { return ViewOf(context).Limit(0); }), limit) << value;
    }
}

TEST(Quoting, BuildsTheSelectOfATableName) {
    auto cases = Table(R"(
        "a.b"." t "|"a.b"." t "; "say ""hi""".t|"say ""hi"""."t"; ""|""; a"b"c|"a""b""c"; "a"b|"""a""b"; a. .b|; .a|; a.|; a."b|; "|)");
    cases.push_back({"t; DROP TABLE t", R"("t; DROP TABLE t")"});
    cases.push_back({" \t\n\v\f\r main . t\n", R"("main"."t")"});
    cases.push_back({"\xC2\xA0x", "\"\xC2\xA0x\""}); // not whitespace in the C locale
    cases.push_back({{"\0 a", 3}, {"\"\0 a\"", 5}});
    for (const auto& row : cases) {
        EXPECT_EQ(ResultOf([&] { return BuildTableSelect(row[0]); }),
                  row[1].empty() ? "refused: Invalid DuckDB table or view name." : "SELECT * FROM " + row[1]);
    }
    EXPECT_EQ(ResultOf([] { return BuildTableSelect(" \n"); }),
              "refused: fetch_duckdb requires DuckDB table or view name.");
    EXPECT_EQ(UnquoteIdentifier(R"("a"b")"), R"(a"b)");
    EXPECT_EQ(UnquoteIdentifier(R"("a"""b")"), R"(a""b)");
    EXPECT_EQ(UnquoteIdentifier("a\""), "a\"");
}

RC_GTEST_PROP(Quoting, UndoesItselfOnRandomBytes, (const std::string& bytes)) {
    const std::string name = QuoteIdentifier(bytes) + "." + QuoteIdentifier("x." + bytes);
    RC_ASSERT(BuildTableSelect(name) == "SELECT * FROM " + name);
}

} // namespace

} // namespace orlimbara::procedures::test
