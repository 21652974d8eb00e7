#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include "pieces.h"
#include "tests_support/duck.h"

namespace orlimbara::shell::test {
namespace {

using namespace std::string_literals;

/// Scripts, and their pieces with '|' between them.
const std::pair<std::string, std::string> kScripts[] = {
    {"", ""},
    {" ;\n;; \t", ""},
    {"a;b ; c ", "a|b |c "},
    {R"('a;b';'it''s;';'a\';"a;"";b";c)", R"('a;b'|'it''s;'|'a\'|"a;"";b"|c)"},
    {"'never closed; b", "'never closed; b"},
    // Texts with escapes.
    {R"(E'a\';b';e'a\\';E'a''\';';name'a\';1e'a\';';$e'\';';c)",
     R"(E'a\';b'|e'a\\'|E'a''\';'|name'a\'|1e'a\';'|$e'\';'|c)"},
    {"E'a' \n '\\';b';E'a' -- ;\n '\\';b';E'a' '\\';E'a' x\n'\\';E'a\\",
     "E'a' \n '\\';b'|E'a' -- ;\n '\\';b'|E'a' '\\'|E'a' x\n'\\'|E'a\\"},
    // Dollar quotes.
    {"$$a;b$$;$t$a;$$;$u$;$t$;$t$;$x$t$;$1;$2;c", "$$a;b$$|$t$a;$$;$u$;$t$|$t$;$x$t$|$1|$2|c"},
    {"$1$t$;$t$;a$t$;b$t$;1$t$;$t$;$é_1$;$é_1$;$a b$;c", "$1$t$;$t$|a$t$|b$t$|1$t$;$t$|$é_1$;$é_1$|$a b$|c"},
    // Comments.
    {"a -- b;c\nd;a -- b;c\rd;a - - b;c / * d;a--", "a -- b;c\nd|a -- b;c\rd|a - - b|c / * d|a--"},
    {"-- x;\n /* y; */ a;/* 1 /* 2; */ ; */b;/*/;*/c;/**/d;/***/e;/* never closed; ", "a|b|c|d|e"},
    {"a /*; ", "a /*; "},
    {"-- only\n", ""},
    // Blanks beyond ASCII.
    {"\u00A0\u3000a;\uFEFFb;e\u00A0'a\\';a\u00A0\u2003;'b\u00A0';é;c -- \u00A0",
     "a|b|e\u00A0'a\\'|a|'b\u00A0'|é|c -- \u00A0"},
    // Dot commands.
    {".mode csv\na;\n.mode csv\r\nb;\n.print ; b -- c\n.quit",
     "\n.mode csv|a|\n.mode csv|b|\n.print ; b -- c|\n.quit"},
    {"-- c\n.quit\n/* \n.x\n */ .y", "\n.quit|.y"},
    {"a\n.b\n;c; .d", "a\n.b\n|c|.d"},
    // A zero byte is a byte like others here; the shell refuses the piece.
    {"a\0b;\0;'a\0;b';c"s, "a\0b|\0|'a\0;b'|c"s},
};

TEST(Splitter, CutsScriptsAsDuckDBScansThem) {
    for (const auto& [script, expected] : kScripts) {
        for (const std::size_t part : {std::string::npos, std::size_t{1}, std::size_t{2}}) {
            std::string pieces;
            for (const std::string& piece : Split(script, part)) {
                pieces += (pieces.empty() ? "" : "|") + piece;
            }
            EXPECT_EQ(pieces, expected) << script << " in parts of " << part;
        }
    }
}

TEST(Splitter, FindsAsManyStatementsAsDuckDB) {
    const tests_support::Duck duck;
    const auto count_statements = [&](const std::string& inSql) {
        duckdb_support::OwnedExtractedStatements statements;
        return duckdb_extract_statements(duck.Connection(), inSql.c_str(), statements.Put());
    };
    const std::vector<std::string> items = {"1",         "'a;b'",   "'it''s; \\'",   R"(E'\';\\')",
                                            "e'''\\';'", "$$;'$$",  "$t$;$$;$u$t$",  "$1",
                                            "\"c;\"",    "x'0A'",   "a$t$",          "1.5e3",
                                            "'--;'",     "'/*;'",   "E'a' \n'\\';'", "a.b",
                                            "$é$;$é$",   "ünïcode", "\"it's\"",      "E'a'  -- ';\n  '\\''"};
    // No blanks beyond ASCII: DuckDB looks for those before it knows quotes from comments.
    const std::vector<std::string> gaps = {" ",  "\n",         " /* ; */ ", " -- ;'\n", "/* /* ; */ ' */",
                                           "\t", " -- $$\r\n", " /**/ "};
    EXPECT_TRUE(rc::check([&] {
        const auto count = *rc::gen::inRange(1, 5);
        std::string script = *rc::gen::elementOf(gaps);
        for (int i = 0; i < count; ++i) {
            script += "SELECT";
            const auto width = *rc::gen::inRange(1, 5);
            for (int j = 0; j < width; ++j) {
                script += (j ? "," : "") + *rc::gen::elementOf(gaps) + *rc::gen::elementOf(items) +
                          *rc::gen::elementOf(gaps);
            }
            script += ";" + *rc::gen::elementOf(gaps);
        }
        RC_ASSERT(count_statements(script) == static_cast<idx_t>(count));
        const std::vector<std::string> pieces = Split(script);
        RC_ASSERT(pieces.size() == static_cast<std::size_t>(count));
        RC_ASSERT(Split(script, static_cast<std::size_t>(*rc::gen::inRange(1, 9))) == pieces);
        for (const std::string& piece : pieces) {
            RC_ASSERT(count_statements(piece) == 1U);
        }
    }));
}

} // namespace
} // namespace orlimbara::shell::test
