#include "procedures/quoting.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include "procedure_test.h"

namespace orlimbara::procedures::test {

namespace {

using namespace std::string_view_literals;

struct TextCase {
    std::string_view text;
    std::string_view expected;
};

TEST(Quoting, TrimsTheBlanksOfTheCLocaleAtBothEnds) {
    for (const TextCase& each : {TextCase{"", ""},
                                 {" \t\n\v\f\r", ""},
                                 {" a b\t", "a b"},
                                 {"a", "a"},
                                 {"\xC2\xA0x", "\xC2\xA0x"},
                                 {"\0 a"sv, "\0 a"sv}}) {
        EXPECT_EQ(TrimText(each.text), each.expected);
    }
}

TEST(Quoting, DoublesNothingButTheDelimiter) {
    EXPECT_EQ(QuoteLiteral(R"(/data/it's "here"\n.parquet)"), R"('/data/it''s "here"\n.parquet')");
    EXPECT_EQ(QuoteIdentifier(R"(a "b" 'c' \)"), R"("a ""b"" 'c' \")");
    EXPECT_EQ(QuoteLiteral("''"), "''''''");
    EXPECT_EQ(QuoteLiteral(""), "''");
    EXPECT_EQ(QuoteIdentifier(""), R"("")");
    EXPECT_EQ(QuoteLiteral("\xFF\0\n"sv), "'\xFF\0\n'"sv);
    EXPECT_EQ(ParquetSource(" o'clock "), "read_parquet(' o''clock ')");
}

TEST(Quoting, BuildsTheSelectOfATableName) {
    for (const TextCase& each : {
             TextCase{"t", R"("t")"},
             {"main.t", R"("main"."t")"},
             {"  main . t\n", R"("main"."t")"},
             {"a.b.c.d", R"("a"."b"."c"."d")"},
             {R"("a.b".t)", R"("a.b"."t")"},
             {R"(" a ".t)", R"(" a "."t")"},
             {R"("say ""hi""".t)", R"("say ""hi"""."t")"},
             {R"("")", R"("")"},
             {R"(a"b"c)", R"("a""b""c")"},
             {"t; DROP TABLE t", R"("t; DROP TABLE t")"},
         }) {
        EXPECT_EQ(BuildTableSelect(each.text), "SELECT * FROM " + std::string(each.expected));
    }
}

TEST(Quoting, RefusesNamesWithoutAName) {
    constexpr std::string_view invalid = "Invalid DuckDB table or view name.";
    constexpr std::string_view missing = "fetch_duckdb requires DuckDB table or view name.";
    for (const TextCase& each : {TextCase{" \n", missing},
                                 {"a..b", invalid},
                                 {".a", invalid},
                                 {"a.", invalid},
                                 {"a. .b", invalid},
                                 {"\"a", invalid},
                                 {"a.\"b", invalid},
                                 {"\"", invalid},
                                 {R"("a""b)", invalid}}) {
        try {
            ADD_FAILURE() << each.text << " gave " << BuildTableSelect(each.text);
        } catch (const std::exception& failure) {
            EXPECT_EQ(failure.what(), each.expected) << each.text;
        }
    }
}

TEST(Quoting, UnquotesOnlyWhatIsQuotedOnBothSides) {
    for (const TextCase& each : {TextCase{"a", "a"},
                                 {"\"", "\""},
                                 {"\"a", "\"a"},
                                 {"a\"", "a\""},
                                 {R"("")", ""},
                                 {R"("a""b")", R"(a"b)"},
                                 {R"("a"b")", R"(a"b)"},
                                 {R"("""")", "\""},
                                 {R"("a"""b")", R"(a""b)"}}) {
        EXPECT_EQ(UnquoteIdentifier(each.text), each.expected);
    }
}

TEST(Quoting, CutsColumnTextsAtEveryComma) {
    using Names = std::vector<std::string_view>;
    EXPECT_EQ(SplitColumnText("a,, b ,"), (Names{"a", "b"}));
    EXPECT_EQ(SplitColumnText(R"("a,b")"), (Names{"\"a", "b\""}));
    EXPECT_EQ(SplitColumnText(", ,\t"), Names{});
    EXPECT_EQ(SplitColumnText(""), Names{});
}

RC_GTEST_PROP(Quoting, UndoesItselfOnRandomBytes, (const std::string& bytes)) {
    RC_ASSERT(UnquoteIdentifier(QuoteIdentifier(bytes)) == bytes);
    const std::string name = QuoteIdentifier(bytes) + "." + QuoteIdentifier("x." + bytes);
    RC_ASSERT(BuildTableSelect(name) == "SELECT * FROM " + name);
}

/// Valid UTF-8 without a zero byte, with more quotes than chance would give.
rc::Gen<std::string> Utf8Text() {
    const auto character = rc::gen::weightedOneOf<std::string>(
        {{3, rc::gen::element<std::string>("'", "\"", "\\", "\n", ".", ",", "--", "/*", ";", "$$", "%")},
         {5, rc::gen::map(rc::gen::inRange<char32_t>(1, 0x10FFFF), [](char32_t point) {
              if (point >= 0xD800 && point < 0xE000) {
                  point -= 0x1000;
              }
              std::string bytes;
              if (point < 0x80) {
                  bytes += static_cast<char>(point);
                  return bytes;
              }
              const int tail = point < 0x800 ? 1 : point < 0x10000 ? 2 : 3;
              constexpr unsigned leads[] = {0, 0xC0, 0xE0, 0xF0};
              bytes += static_cast<char>(leads[tail] | point >> (6 * tail));
              for (int shift = 6 * (tail - 1); shift >= 0; shift -= 6) {
                  bytes += static_cast<char>(0x80 | (point >> shift & 0x3F));
              }
              return bytes;
          })}});
    return rc::gen::map(rc::gen::container<std::vector<std::string>>(character),
                        [](const std::vector<std::string>& characters) {
                            std::string text;
                            for (const std::string& each : characters) {
                                text += each;
                            }
                            return text;
                        });
}

TEST(Quoting, CarriesRandomTextsThroughDuckDB) {
    Duck duck;
    EXPECT_TRUE(rc::check("literals and identifiers come back byte by byte", [&duck] {
        const std::string text = *Utf8Text();
        RC_ASSERT(duck.Texts("SELECT " + QuoteLiteral(text)) == std::vector<std::string>{text});
        RC_PRE(!text.empty()); // DuckDB refuses an empty identifier
        const duckdb_support::OwnedResult result = duck.Run("SELECT 1 AS " + QuoteIdentifier(text));
        duckdb_result copy = result.Struct();
        RC_ASSERT(duckdb_column_name(&copy, 0) == text);
    }));
}

} // namespace

} // namespace orlimbara::procedures::test
