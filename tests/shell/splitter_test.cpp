#include "shell/splitter.h"

#include <string>
#include <vector>

#include <duckdb.h>
#include <gtest/gtest.h>
#include <rapidcheck.h>

namespace orlimbara::shell {

void PrintTo(const Piece& inPiece, std::ostream* outStream) {
    *outStream << (inPiece.kind == Piece::Kind::DotCommand ? "command" : "statement") << " <" << inPiece.text
               << ">";
}

bool operator==(const Piece& inLeft, const Piece& inRight) {
    return inLeft.kind == inRight.kind && inLeft.text == inRight.text;
}

namespace {

std::vector<Piece> Split(std::string_view inText, std::size_t inPart = std::string::npos) {
    Splitter splitter;
    std::vector<Piece> pieces;
    const auto take = [&] {
        while (auto piece = splitter.Next()) {
            pieces.push_back(*piece);
        }
    };
    while (!inText.empty()) {
        splitter.Feed(inText.substr(0, inPart));
        inText.remove_prefix(std::min(inPart, inText.size()));
        take();
    }
    splitter.Finish();
    take();
    return pieces;
}

std::vector<Piece> Statements(const std::vector<std::string>& inTexts) {
    std::vector<Piece> pieces;
    for (const std::string& text : inTexts) {
        pieces.push_back({text.starts_with('.') ? Piece::Kind::DotCommand : Piece::Kind::Statement, text});
    }
    return pieces;
}

struct SplitCase {
    std::string text;
    std::vector<std::string> pieces; // a text that begins with a dot is a dot command
};

std::vector<SplitCase> SplitCases() {
    using namespace std::string_literals;
    return {
        {"", {}},
        {" ;\n;; \t", {}},
        {"a;b", {"a", "b"}},
        {"a ; b ", {"a ", "b "}},
        // Quotes.
        {"'a;b';c", {"'a;b'", "c"}},
        {"'it''s;';c", {"'it''s;'", "c"}},
        {R"('a\';b)", {R"('a\')", "b"}},
        {"\"a;\"\";b\";c", {"\"a;\"\";b\"", "c"}},
        {"'never closed; b", {"'never closed; b"}},
        // Texts with escapes.
        {R"(E'a\';b';c)", {R"(E'a\';b')", "c"}},
        {R"(e'a\\';c)", {R"(e'a\\')", "c"}},
        {R"(E'a''\';';c)", {R"(E'a''\';')", "c"}},
        {R"(name'a\';c)", {R"(name'a\')", "c"}},
        {R"(1e'a\';';c)", {R"(1e'a\';')", "c"}},
        {"E'a' \n '\\';b';c", {"E'a' \n '\\';b'", "c"}},
        {"E'a' -- ;\n '\\';b';c", {"E'a' -- ;\n '\\';b'", "c"}},
        {"E'a' '\\';c", {"E'a' '\\'", "c"}},
        {"E'a' x\n'\\';c", {"E'a' x\n'\\'", "c"}},
        {"E'a\\", {"E'a\\"}},
        // Dollar quotes.
        {"$$a;b$$;c", {"$$a;b$$", "c"}},
        {"$t$a;$$;$u$;$t$;c", {"$t$a;$$;$u$;$t$", "c"}},
        {"$t$;$x$t$;c", {"$t$;$x$t$", "c"}},
        {"$1;$2;c", {"$1", "$2", "c"}},
        {"$1$t$;$t$;c", {"$1$t$;$t$", "c"}},
        {"a$t$;b$t$", {"a$t$", "b$t$"}},
        {"1$t$;$t$;c", {"1$t$;$t$", "c"}},
        {"$é_1$;$é_1$;c", {"$é_1$;$é_1$", "c"}},
        {"$a b$;c", {"$a b$", "c"}},
        {R"($e'\';';c)", {R"($e'\';')", "c"}},
        // Comments.
        {"a -- b;c\nd;e", {"a -- b;c\nd", "e"}},
        {"a -- b;c\rd;e", {"a -- b;c\rd", "e"}},
        {"-- x;\n /* y; */ a;b", {"a", "b"}},
        {"/* 1 /* 2; */ ; */a;b", {"a", "b"}},
        {"/*/;*/a;/**/b;/***/c", {"a", "b", "c"}},
        {"a /*; ", {"a /*; "}},
        {"/* never closed; ", {}},
        {"-- only\n", {}},
        {"a - - b;c / * d;e", {"a - - b", "c / * d", "e"}},
        {"a--", {"a--"}},
        // Blanks beyond ASCII.
        {"\u00A0\u3000a;\uFEFFb", {"a", "b"}},
        {"e\u00A0'a\\';b", {"e\u00A0'a\\'", "b"}},
        {"a\u00A0\u2003;'b\u00A0';c -- \u00A0", {"a", "'b\u00A0'", "c -- \u00A0"}},
        {"é;b", {"é", "b"}},
        // Dot commands.
        {".mode csv\na;", {".mode csv", "a"}},
        {".mode csv\r\na;", {".mode csv", "a"}},
        {"a;\n.print ; b -- c\n.quit", {"a", ".print ; b -- c", ".quit"}},
        {"-- c\n.quit\n/* \n.x\n */ .y", {".quit", "." /* see below */}},
        {"a\n.b\n;", {"a\n.b\n"}},
        {"a; .b", {"a", ".b" /* see below */}},
        // A zero byte is a byte like others here; the shell refuses the piece.
        {"a\0b;c"s, {"a\0b"s, "c"}},
        {"\0;c"s, {"\0"s, "c"}},
        {"'a\0;b';c"s, {"'a\0;b'"s, "c"}},
    };
}

TEST(Splitter, CutsScriptsAsDuckDBScansThem) {
    for (const SplitCase& example : SplitCases()) {
        SCOPED_TRACE(example.text);
        std::vector<Piece> expected = Statements(example.pieces);
        // Two texts begin with a dot that isn't at the start of a line.
        if (example.text == "a; .b") {
            expected[1].kind = Piece::Kind::Statement;
        }
        if (example.text.ends_with("*/ .y")) {
            expected[1] = {Piece::Kind::Statement, ".y"};
        }
        EXPECT_EQ(Split(example.text), expected);
        EXPECT_EQ(Split(example.text, 1), expected) << "byte by byte";
        EXPECT_EQ(Split(example.text, 2), expected) << "in twos";
    }
}

TEST(Splitter, GivesAStatementBeforeTheNextOneCame) {
    Splitter splitter;
    splitter.Feed("SELECT 1;");
    ASSERT_TRUE(splitter.Next());
    EXPECT_FALSE(splitter.IsOpen());
    splitter.Feed("\n.mode csv");
    EXPECT_FALSE(splitter.Next()) << "the line isn't complete";
    splitter.Feed("\nSELECT '");
    EXPECT_EQ(splitter.Next()->text, ".mode csv");
    EXPECT_FALSE(splitter.Next());
    EXPECT_TRUE(splitter.IsOpen());
}

/// Counts statements with DuckDB itself.
class DuckDBCounter {
public:
    DuckDBCounter() {
        duckdb_open(nullptr, &mDatabase);
        duckdb_connect(mDatabase, &mConnection);
    }
    ~DuckDBCounter() {
        duckdb_disconnect(&mConnection);
        duckdb_close(&mDatabase);
    }
    idx_t Count(const std::string& inSql, std::string& outError) const {
        duckdb_extracted_statements statements = nullptr;
        const idx_t count = duckdb_extract_statements(mConnection, inSql.c_str(), &statements);
        const char* const error = duckdb_extract_statements_error(statements);
        outError = error ? error : "";
        duckdb_destroy_extracted(&statements);
        return count;
    }

private:
    duckdb_database mDatabase = nullptr;
    duckdb_connection mConnection = nullptr;
};

TEST(Splitter, FindsAsManyStatementsAsDuckDB) {
    const DuckDBCounter counter;
    const std::vector<std::string> items = {"1",         "'a;b'",   "'it''s; \\'",   R"(E'\';\\')",
                                            "e'''\\';'", "$$;'$$",  "$t$;$$;$u$t$",  "$1",
                                            "\"c;\"",    "x'0A'",   "a$t$",          "1.5e3",
                                            "'--;'",     "'/*;'",   "E'a' \n'\\';'", "a.b",
                                            "$é$;$é$",   "ünïcode", "\"it's\"",      "E'a'  -- ';\n  '\\''"};
    // No blanks beyond ASCII: DuckDB looks for those before it knows quotes from comments.
    const std::vector<std::string> gaps = {" ",  "\n",         " /* ; */ ", " -- ;'\n", "/* /* ; */ ' */",
                                           "\t", " -- $$\r\n", " /**/ "};
    rc::check([&] {
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
        std::string error;
        RC_ASSERT(counter.Count(script, error) == static_cast<idx_t>(count));
        const std::vector<Piece> pieces = Split(script);
        RC_ASSERT(pieces.size() == static_cast<std::size_t>(count));
        RC_ASSERT(Split(script, static_cast<std::size_t>(*rc::gen::inRange(1, 9))) == pieces);
        for (const Piece& piece : pieces) {
            RC_ASSERT(counter.Count(piece.text, error) == 1U);
        }
    });
}

TEST(Splitter, GivesTheSamePiecesHoweverTheTextComes) {
    const std::string alphabet = "a1eE'\"$;-*/\\\n .\r\xC2\xA0\xE2\x80";
    rc::check([&] {
        const auto text = *rc::gen::container<std::string>(rc::gen::elementOf(alphabet));
        const auto part = static_cast<std::size_t>(*rc::gen::inRange(1, 6));
        RC_ASSERT(Split(text, part) == Split(text));
    });
}

} // namespace
} // namespace orlimbara::shell
