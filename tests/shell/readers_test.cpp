// The shell's readers: of scripts, literals, CSV files, DuckDB's messages and the history.
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include "host/exceptions.h"
#include "pieces.h"
#include "render_support.h"
#include "shell/csv_reader.h"
#include "shell/failure.h"
#include "shell/files.h"
#include "shell/history.h"
#include "shell/literals.h"
#include "tests_support/table.h"
#include "tests_support/temp_folder.h"

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
    {R"(E'a\';b';e'a\\';E'a''\';';ename'a\';1e'a\';';$e'\';';c)",
     R"(E'a\';b'|e'a\\'|E'a''\';'|ename'a\'|1e'a\';'|$e'\';'|c)"},
    {"E'a';\n'\\';E'a'/**/\n'\\';E'a' \n '\\';b';E'a' -- ;\n '\\';b';E'a' '\\';E'a' x\n'\\';E'a\\",
     "E'a'|'\\'|E'a'/**/\n'\\'|E'a' \n '\\';b'|E'a' -- ;\n '\\';b'|E'a' '\\'|E'a' x\n'\\'|E'a\\"},
    // Dollar quotes.
    {"$$a;b$$;$t$a;$$;$u$;$t$;$t$t$;$x$t$;$1;$2;c", "$$a;b$$|$t$a;$$;$u$;$t$|$t$t$;$x$t$|$1|$2|c"},
    {"$1$t$;$t$;a$t$;b$t$;1$t$;$t$;$é_1$;$é_1$;$a b$;c", "$1$t$;$t$|a$t$|b$t$|1$t$;$t$|$é_1$;$é_1$|$a b$|c"},
    // Comments.
    {"a -- b;c\nd;a -- b;c\rd;a - - b;c / * d;a--", "a -- b;c\nd|a -- b;c\rd|a - - b|c / * d|a--"},
    {"-- x;\n /* y; */ a;/* 1 /* 2; */ ; */b;/*/;*/c;/**/d;/***/e;/* never closed; ", "a|b|c|d|e"},
    {"a /*; ", "a /*; "},
    {"-- only\n", ""},
    // Whitespace beyond ASCII.
    {"\u00A0\u3000a;\uFEFFb;e\u00A0'a\\';a\u00A0\u2003;'b\u00A0';é;c -- \u00A0",
     "a|b|e\u00A0'a\\'|a|'b\u00A0'|é|c -- \u00A0"},
    // Dot commands.
    {".mode csv\na;\n.mode csv\r\nb;\n.print ; b -- c\n.quit",
     "\n.mode csv|a|\n.mode csv|b|\n.print ; b -- c|\n.quit"},
    {"-- c\n.quit\n/* \n.x\n */ .y", "\n.quit|.y"},
    {"a\n.b\n;c; .d", "a\n.b\n|c|.d"},
    {"\uFEFF.b\n\uFEFF.c;", "\n.b|.c"}, // a byte order mark at the start alone
    // A zero byte is like any other here; the shell refuses the piece.
    {"a\0b;\0;'a\0;b';c"s, "a\0b|\0|'a\0;b'|c"s},
};

TEST(Splitter, SplitsScriptsAsDuckDBScansThem) {
    for (const auto& [script, expected] : kScripts) {
        for (std::size_t part = 1; part < 40; ++part) {
            std::string pieces;
            for (const std::string& piece : Split(script, part)) {
                pieces += (pieces.empty() ? "" : "|") + piece;
            }
            EXPECT_EQ(pieces, expected) << script << " in parts of " << part;
        }
    }
}

/// The kinds and contents of literals.
std::string Describe(const std::vector<Literal>& inLiterals) {
    static constexpr const char* kKinds[] = {"null",     "boolean", "long",   "llong", "ullong",
                                             "double",   "text",    "binary", "date",  "time",
                                             "datetime", "json",    "array"};
    std::string all;
    for (const Literal& each : inLiterals) {
        const std::string contents[] = {"",
                                        each.boolean ? "true" : "false",
                                        std::to_string(each.number),
                                        std::to_string(each.number),
                                        std::to_string(each.unsignedNumber),
                                        std::to_string(each.real),
                                        "<" + each.text + ">",
                                        std::to_string(each.text.size()) + " <" + each.text + ">",
                                        FormatDate(each.date),
                                        FormatTime(each.time),
                                        FormatDateTime(each.date, each.time),
                                        each.text,
                                        std::string("of ") + kKinds[static_cast<int>(each.itemKind)] + " [" +
                                            Describe(each.items) + "]"};
        const auto kind = static_cast<int>(each.kind);
        all += std::string(all.empty() ? "" : ", ") + kKinds[kind] + (kind ? " " : "") + contents[kind];
    }
    return all;
}

/// Literals, with kind and content.
constexpr const char* kLiterals = R"(
    NULL true  false|null, boolean true, boolean false; 0 -1 +5 007|long 0, long -1, long 5, long 7
    2147483647 -2147483648|long 2147483647, long -2147483648
    2147483648 -2147483649|llong 2147483648, llong -2147483649
    9223372036854775807 -9223372036854775808|llong 9223372036854775807, llong -9223372036854775808
    9223372036854775808 18446744073709551615|ullong 9223372036854775808, ullong 18446744073709551615
    1.5 -.5 5.|double 1.500000, double -0.500000, double 5.000000
    1e3 2E-1 1e-999|double 1000.000000, double 0.200000, double 0.000000
    'it''s, [a]' '' a'b|text <it's, [a]>, text <>, text <a'b>; date time|text <date>, text <time>
    word 1x e5 . -|text <word>, text <1x>, text <e5>, text <.>, text <->
    x'4a4B' X''|binary 2 <JK>, binary 0 <>
    1_000 0x10 NaN dates 'x'|text <1_000>, text <0x10>, text <NaN>, text <dates>, text <x>
    date '2024-02-29' date'0000-01-01'|date 2024-02-29, date 0000-01-01
    date '-0044-03-15' date '+12345-12-31'|date -0044-03-15, date +12345-12-31
    time '12:30:00.250' time '23:59' time '01:02:03.4'|time 12:30:00.250, time 23:59:00.000, time 01:02:03.400
    datetime '2024-01-31 12:30:00.250'|datetime 2024-01-31T12:30:00.250
    DATETIME '2024-01-31T00:00:00'|datetime 2024-01-31T00:00:00.000
    json '{"a": [1, "it''s"]}' json '1'|json {"a": [1, "it's"]}, json 1
    []|array of text []; [ NULL , NULL ]|array of text [null, null]
    [a, 'b c',NULL]|array of text [text <a>, text <b c>, null]
    [1, 3000000000, NULL]|array of llong [llong 1, llong 3000000000, null]
    [date '2024-01-31']|array of date [date 2024-01-31]
    [1, 18446744073709551615]|array of ullong [ullong 1, ullong 18446744073709551615]
    [[1],[2,3]] x|array of array [array of long [long 1], array of long [long 2, long 3]], text <x>)";

TEST(Literals, AreReadAsTheHostKnowsThem) {
    for (const auto& row : tests_support::Table(kLiterals)) {
        EXPECT_EQ(Describe(ParseLiterals(row.at(0))), row.at(1)) << row[0];
    }
    EXPECT_EQ(Describe(ParseLiterals("  'a;|'\ttrue ")), "text <a;|>, boolean true");
    EXPECT_TRUE(ParseLiterals("").empty());
}

TEST(Literals, RefuseOtherTexts) {
    for (
        const auto& row : tests_support::Table(
            R"(18446744073709551616; -9223372036854775809; 1e999; 'open; 'a'b; x'ABC'; x'AG'; date '2023-02-29'
             date '2024-13-01'; date '24-01-01'; date '12345-01-01'; time '24:00:00'; time '12:60'; json '{a'; json ''
             time '12:30:00.2501'; time '1:2:3'; datetime '2024-01-31'; [1, a]; [1, 1.5]; [1; [1,]; [1] x [
             [-1, 18446744073709551615]; [1]x)")) {
        EXPECT_THROW(ParseLiterals(row[0]), ShellError) << row[0];
    }
    const auto nested = [](std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
    EXPECT_EQ(ParseLiterals(nested(1000)).size(), 1u);
    EXPECT_THROW(ParseLiterals(nested(1001)), ShellError);
    EXPECT_THROW(ParseLiterals(nested(100000)), ShellError);
    EXPECT_EQ(ParseWords(" a 'b c' 'it''s' 1 [x] it's "),
              (std::vector<std::string>{"a", "b c", "it's", "1", "[x]", "it's"}));
    EXPECT_THROW(ParseWords("'open"), ShellError);
}

using Records = std::vector<CsvRecord>;
constexpr auto kNull = std::nullopt;

TEST(CsvReader, DistinguishesEmptyFromQuotedCells) {
    const std::vector<std::pair<std::string, Records>> examples = {
        {"", {}},
        {"a,b\r\n,\"\"\r\n\"c\"\r\nd", {{"a", "b"}, {kNull, ""}, {"c"}, {"d"}}},
        {"\n", {{kNull}}},
        {"\uFEFFa b, c ", {{"a b", " c "}}},
        {"a\rb\n", {{"a\rb"}}}};
    for (const auto& [text, records] : examples) {
        EXPECT_EQ(ReadCsv(text), records) << text;
    }
}

TEST(CsvReader, NamesTheLineOfAFault) {
    for (const std::string text : {"a\n\"b", "a\n\"b\"c", "a\nb\"c\"", "\"a\n\"b"}) {
        try {
            ReadCsv(text);
            ADD_FAILURE() << text;
        } catch (const ShellError& error) {
            EXPECT_NE(std::string(error.what()).find("line 2"), std::string::npos) << error.what();
        }
    }
}

TEST(CsvReader, ReadsBackWhatCsvModeWrites) {
    EXPECT_TRUE(rc::check([] {
        const auto width = static_cast<std::size_t>(*rc::gen::inRange(1, 4));
        const auto texts = *rc::gen::container<std::vector<std::string>>(
            rc::gen::container<std::string>(rc::gen::elementOf(std::string("a,\"\n\r ;é"))));
        Records records(texts.size() / width, CsvRecord(width));
        TableRows rows{std::vector<std::string>(width, "c")};
        for (std::size_t i = 0; i < records.size(); ++i) {
            Row row(width);
            for (std::size_t j = 0; j < width; ++j) {
                if (*rc::gen::inRange(0, 4) > 0) {
                    records[i][j] = texts[i * width + j];
                    row[j] = {Cell::Kind::Text, texts[i * width + j]};
                }
            }
            rows.Add(row);
        }
        RC_ASSERT(ReadCsv(Rendered(Mode::Csv, {.hasHeader = false}, rows)) == records);
    }));
}

TEST(Failure, ParsesDuckDBsText) {
    for (const auto& row : tests_support::Table(R"(
             {"exception_type":"Binder","exception_message":"no é here","position":"7"}|no é here|Binder|7
             Parser Error: {"exception_type":"Binder","exception_message":"no","position":"7"}|no|Binder|7
             Parser Error: {"exception_message":"bad"}|bad|Parser|-1
             {"exception_type":"IO","exception_message":"x"}|x|IO|-1
             {"exception_type":"IO","exception_message":"x","position":"many"}|x|IO|-1
             IO Error: Cannot open|IO Error: Cannot open|IO|-1; {"other":1}|{"other":1}||-1
             Some Error: Cannot open|Some Error: Cannot open||-1; plain words|plain words||-1)")) {
        const ErrorParts parts = TakeApart(row[0]);
        EXPECT_EQ(
            std::vector({row[0], parts.readable, parts.type, std::to_string(parts.position.value_or(-1))}),
            row);
    }
    try {
        throw orkit::xDBError(417792);
    } catch (...) {
        EXPECT_EQ(DescribeFailure(CurrentFailure(), {}), "error: xDBError 417792\n");
    }
}

TEST(Failure, ShowsThePlaceOnATerminal) {
    const auto describe = [](int position, const std::string& statement, const ErrorStyle& style) {
        const std::string message = R"({"exception_type":"Binder","exception_message":"no b","position":")" +
                                    std::to_string(position) + "\"}";
        return DescribeFailure({.className = "xDuckDBError", .message = message, .statement = statement},
                               style);
    };
    const std::string error = "error: no b\n  type: Binder, position: ";
    EXPECT_EQ(describe(13, "SELECT 'é日',\nb FROM t", {}), error + "13\n");
    EXPECT_EQ(describe(13, "SELECT 'é日',\nb FROM t", {.isTerminal = true}),
              error + "13\n  SELECT 'é日',\n             ^\n");
    EXPECT_EQ(describe(20, "SELECT '日本語', b FROM t", {.isTerminal = true}),
              error + "20\n  SELECT '日本語', b FROM t\n                   ^\n");
    const std::string shown =
        describe(20, std::string(20, 'x') + std::string(200, 'y'), {.isTerminal = true, .width = 40});
    EXPECT_NE(shown.find("…"), std::string::npos);
    EXPECT_EQ(shown.find(std::string(40, 'y')), std::string::npos);
}

TEST(History, KeepsEntriesWholeAndItsFileShort) {
    const tests_support::TempFolder folder;
    const std::string path = folder / "history";
    std::ofstream(path) << "\\\\143\n\\146\\101n\\12\n4 > 3;\n"; // as versions before wrote them
    const std::string entry = "SELECT '\\n\\143',\n'\\\\é';";
    const std::vector<std::string> entries = {"\\143", "fAn12", "4 > 3;", entry};
    AppendHistory(path, entry);
    EXPECT_EQ(LoadHistory(path, 9), entries);
    EXPECT_EQ(LoadHistory(path, 1), std::vector{entry});
    EXPECT_EQ(LoadHistory(path, 9), entries) << "shortened too early";
    AppendHistory(path, "last");
    EXPECT_EQ(LoadHistory(path, 1), std::vector{"last"s});
    EXPECT_EQ(ReadFile(path), "last\n");
}

} // namespace
} // namespace orlimbara::shell::test
