#include "procedures/arguments.h"

#include <cerrno>
#include <limits>

#include <gtest/gtest.h>

#include <rapidcheck/gtest.h>

#include "procedure_test.h"
#include "procedures/procedures.h"
#include "procedures/quoting.h"

namespace orlimbara::procedures::test {

namespace {

class ArgumentsTest : public ProcedureTest {};

/// What an operation gives, or "refused: " and the message it throws.
template <typename Operation>
std::string OutcomeOf(Operation&& operation) {
    try {
        return operation();
    } catch (const std::exception& failure) {
        return std::string("refused: ") + failure.what();
    }
}

ArgumentView ViewOf(const ProcedureContext& context) {
    return {context.get_Handle(), context.get_ArgumentHandles(), "fetch_parquet"};
}

struct ValueCase {
    ProcedureValue value;
    std::string expected;
};

TEST_F(ArgumentsTest, MakeAColumnListOfTextsAndArrays) {
    const auto array = ProcedureValue::Array;
    for (const ValueCase& each : {
             ValueCase{ProcedureValue(), "*"},
             {Null(), "*"},
             {Text(" * "), "*"},
             {Text(" ,, "), "*"},
             {Text("a,, b ,"), R"("a", "b")"},
             {Text("*, a"), R"("*", "a")"},
             {Text(R"("a,b")"), R"("""a", "b""")"},
             {Int(12), R"("12")"},
             {array({}), "*"},
             {array({Null(), Text("  "), ProcedureValue(), array({})}), "*"},
             {array({Text("*")}), R"("*")"},
             {array({Text(" a,b "), Null(), Int(7)}), R"("a,b", "7")"},
         }) {
        const ProcedureContext context({Text("f"), each.value});
        EXPECT_EQ(BuildParquetSelect(ViewOf(context)), "SELECT " + each.expected + " FROM read_parquet('f')");
    }
}

TEST_F(ArgumentsTest, ReadALimitOrSayWhatIsWrongWithIt) {
    const char* const negative = "refused: limit must not be negative";
    const char* const not_integer = "refused: limit must be an integer";
    const char* const no_number = "refused: invalid stoll argument";
    const char* const out_of_range = "refused: stoll argument out of range";
    errno = ERANGE; // what an earlier call left must not matter
    for (const ValueCase& each : {
             ValueCase{ProcedureValue(), ""},
             {Null(), ""},
             {Int(0), "0"},
             {Int(-1), negative},
             {ProcedureValue::UInt64(std::numeric_limits<std::uint64_t>::max()), "18446744073709551615"},
             {ProcedureValue::Double(3), "3"},
             {ProcedureValue::Double(3.5), not_integer},
             {ProcedureValue::Array({}), no_number},
             {Text(" +42 \n"), "42"},
             {Text("-0"), "0"},
             {Text("9223372036854775807"), "9223372036854775807"},
             {Text("-9223372036854775809"), out_of_range},
             {Text("12345678901234567890x"), out_of_range},
             {Text("-5"), negative},
             {Text("-5x"), not_integer},
             {Text({"4\0", 2}), not_integer},
             {Text(""), no_number},
             {Text("- 1"), no_number},
         }) {
        const ProcedureContext context({each.value});
        EXPECT_EQ(OutcomeOf([&] { return ViewOf(context).Limit(0); }), each.expected) << each.value;
    }
}

TEST(Quoting, BuildsTheSelectOfATableName) {
    constexpr std::string_view invalid = "refused: Invalid DuckDB table or view name.";
    for (const auto& [name, expected] : std::initializer_list<std::pair<std::string_view, std::string_view>>{
             {"t; DROP TABLE t", R"("t; DROP TABLE t")"},
             {" \t\n\v\f\r main . t\n", R"("main"."t")"},
             {"\xC2\xA0x", "\"\xC2\xA0x\""}, // no blank of the C locale
             {{"\0 a", 3}, {"\"\0 a\"", 5}},
             {R"("a.b"." t ")", R"("a.b"." t ")"},
             {R"("say ""hi""".t)", R"("say ""hi"""."t")"},
             {R"("")", R"("")"},
             {R"(a"b"c)", R"("a""b""c")"},
             {" \n", "refused: fetch_duckdb requires DuckDB table or view name."},
             {"a. .b", invalid},
             {".a", invalid},
             {"a.", invalid},
             {"a.\"b", invalid},
             {"\"", invalid},
         }) {
        const std::string outcome = OutcomeOf([&, text = name] { return BuildTableSelect(text); });
        EXPECT_EQ(outcome, (expected.starts_with("refused") ? "" : "SELECT * FROM ") + std::string(expected));
    }
    EXPECT_EQ(UnquoteIdentifier(R"("a"b")"), R"(a"b)");
    EXPECT_EQ(UnquoteIdentifier(R"("a"""b")"), R"(a""b)");
    EXPECT_EQ(UnquoteIdentifier("a\""), "a\"");
}

RC_GTEST_PROP(Quoting, UndoesItselfOnRandomBytes, (const std::string& bytes)) {
    const std::string name = QuoteIdentifier(bytes) + "." + QuoteIdentifier("x." + bytes);
    RC_ASSERT(BuildTableSelect(name) == "SELECT * FROM " + name);
}

TEST(Quoting, CarriesEveryCharacterThroughDuckDB) {
    const std::string text = "''a\"\"b'\"\\\n\r\t.,--/*;$$%\x7F\xC3\x9F\xE2\x82\xAC\xF0\x9F\x98\x80'";
    const Duck duck;
    EXPECT_EQ(duck.Texts("SELECT " + QuoteLiteral(text)), std::vector{text});
    EXPECT_EQ(duck.Texts("SELECT column_name FROM (DESCRIBE SELECT 1 AS " + QuoteIdentifier(text) + ")"),
              std::vector{text});
}

} // namespace

} // namespace orlimbara::procedures::test
