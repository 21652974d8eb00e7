#include <algorithm>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidjson/document.h>

#include "render_support.h"
#include "shell/renderers.h"
#include "shell/text.h"

namespace orlimbara::shell::test {
namespace {

TableRows MakeRows(std::vector<std::string> inNames, std::initializer_list<Row> inRows) {
    TableRows rows(std::move(inNames));
    for (const Row& row : inRows) {
        rows.Add(row);
    }
    return rows;
}

TableRows Numbers(int inCount) {
    TableRows rows({"n", "square"});
    for (int i = 1; i <= inCount; ++i) {
        rows.Add({NumberCell(i), NumberCell(std::int64_t{i} * i)});
    }
    return rows;
}

TEST(Box, AlignsWideCharactersAndNumbers) {
    TableRows rows = MakeRows({"name", "n"}, {{TextCell("日本"), NumberCell(1)},
                                              {TextCell("e\u0301a\tb"), NumberCell(-20)},
                                              {TextCell("2\nd"), NumberCell(3)}});
    EXPECT_EQ(Rendered(Mode::Box, {}, rows), "┌───────┬─────┐\n"
                                             "│ name  │   n │\n"
                                             "├───────┼─────┤\n"
                                             "│ 日本  │   1 │\n"
                                             "│ e\u0301a\\tb │ -20 │\n"
                                             "│ 2\\nd  │   3 │\n"
                                             "└───────┴─────┘\n");
}

TEST(Box, ShowsHeadAndTailWithTheCountBetween) {
    const auto show = [](std::uint64_t inLimit, int inCount) {
        RenderSettings settings;
        settings.maxRows = inLimit;
        TableRows rows = Numbers(inCount);
        return Rendered(Mode::Box, settings, rows);
    };
    EXPECT_EQ(show(3, 1000), R"(┌──────┬─────────────────┐
│    n │          square │
├──────┼─────────────────┤
│    1 │               1 │
│    2 │               4 │
├──────┴─────────────────┤
│ … 1000 rows, 3 shown … │
├──────┬─────────────────┤
│ 1000 │         1000000 │
└──────┴─────────────────┘
)");
    for (const std::uint64_t limit : {5U, 6U}) {
        EXPECT_EQ(show(limit, 5), show(0, 5)) << limit;
    }
    EXPECT_EQ(std::ranges::count(show(0, 5), '\n'), 9);
}

TEST(Box, FitsTheTerminalWheneverItCan) {
    rc::check([] {
        const auto wanted = *rc::gen::nonEmpty(
            rc::gen::container<std::vector<std::size_t>>(rc::gen::inRange<std::size_t>(1, 200)));
        const auto total = *rc::gen::inRange<std::size_t>(1, 300);
        std::vector<ColumnWidth> all;
        for (const std::size_t width : wanted) {
            all.push_back({width, *rc::gen::inRange<std::size_t>(1, width + 1)});
        }
        std::vector<ColumnWidth> shown;
        for (const std::size_t column : ChooseColumns(all, total)) {
            shown.push_back(column == kLeftOut ? ColumnWidth{} : all[column]);
        }
        const std::vector<std::size_t> widths = FitColumns(shown, total);
        std::size_t sum = widths.size() * 3 + 1;
        std::size_t least = sum;
        std::size_t most = sum;
        for (std::size_t i = 0; i < widths.size(); ++i) {
            RC_ASSERT(widths[i] >= shown[i].least && widths[i] <= shown[i].wanted);
            sum += widths[i];
            least += shown[i].least;
            most += shown[i].wanted;
        }
        RC_ASSERT(sum == std::min(most, std::max(total, least)));
        RC_ASSERT(least <= total || widths.size() <= 2);
    });
}

/// A query's columns with one row, or the same row several times; behind them rows may fail to be read.
class TypedRows final : public RowSource {
public:
    TypedRows(std::size_t inColumns, std::size_t inRows, const Cell& inCell, const Column& inColumn,
              bool inFails = false)
        : mLeft(inRows), mRow(inColumns, inCell), mFails(inFails) {
        mColumns.assign(inColumns, inColumn);
    }
    bool Next(Row& outRow) override {
        if (mLeft == 0 && mFails) {
            throw std::runtime_error("out of rows");
        }
        outRow = mRow;
        return mLeft-- > 0;
    }

private:
    std::size_t mLeft;
    Row mRow;
    bool mFails;
};

TEST(Box, LeavesMiddleColumnsOutRatherThanCutNumbers) {
    RenderSettings settings;
    settings.width = 40;
    Column column;
    column.name = "n";
    column.type = "BIGINT";
    column.isNumber = column.isWhole = true;
    TypedRows rows(30, 2, NumberCell(123456789), column);
    EXPECT_EQ(Rendered(Mode::Box, settings, rows), "┌───────────┬───┬───────────┐\n"
                                                   "│         n │ … │         n │\n"
                                                   "│    BIGINT │ … │    BIGINT │\n"
                                                   "├───────────┼───┼───────────┤\n"
                                                   "│ 123456789 │ … │ 123456789 │\n"
                                                   "│ 123456789 │ … │ 123456789 │\n"
                                                   "└───────────┴───┴───────────┘\n"
                                                   "30 columns, 2 shown\n");
    TypedRows row(30, 1, NumberCell(1), column);
    EXPECT_NE(Rendered(Mode::Box, settings, row).find("n = 1\none row of 30 columns"), std::string::npos);
}

TEST(Decimals, KeepTheirScaleUpToFifteenDigits) {
    const Cell cell = DoubleCell(1.5);
    for (const auto& [width, text] : {std::pair{15, "1.50"}, std::pair{16, "1.5"}}) {
        Column column;
        column.name = "d";
        column.decimal = DecimalType{width, 2};
        TypedRows line(1, 1, cell, column);
        EXPECT_EQ(Rendered(Mode::Line, {}, line), std::string("d = ") + text + "\n");
        TypedRows box(1, 1, cell, column);
        EXPECT_EQ(Rendered(Mode::Box, {}, box).find("shown to 15 digits") != std::string::npos, width > 15);
        TypedRows csv(1, 1, cell, column);
        EXPECT_EQ(Rendered(Mode::Csv, {}, csv), "d\n1.5\n");
    }
}

/// All characters that could act on a terminal, in a cell, a name and a text, in each mode.
TEST(Terminals, ShowNothingThatActsOnThem) {
    std::u32string controls = U"\u061C\u200E\u200F\u202A\u202E\u2066\u2069\x7F";
    for (char32_t c = 1; c <= 0x20; ++c) {
        controls += c + 0x7F; // 0x80 to 0x9F
        controls += c == '\n' || c == '\t' || c == ' ' ? 1 : c;
    }
    RenderSettings settings;
    settings.isTerminal = true;
    for (const char32_t c : controls) {
        const std::string bytes = std::filesystem::path(std::u32string(1, c)).string();
        for (const Mode mode : {Mode::Box, Mode::Csv, Mode::Line, Mode::Markdown}) {
            TableRows rows = MakeRows({"a" + bytes}, {{TextCell("b" + bytes)}});
            EXPECT_EQ(Rendered(mode, settings, rows).find(bytes), std::string::npos) << int(c) << int(mode);
            EXPECT_EQ(Written(mode, settings, [&](Renderer& r) { r.WriteText("c" + bytes); }).find(bytes),
                      std::string::npos);
        }
        Failure failure;
        failure.className = "orsql";
        failure.message = "d" + bytes;
        EXPECT_EQ(DescribeFailure(failure, {true, false, 80}).find(bytes), std::string::npos) << int(c);
        EXPECT_EQ(HarmlessJson("\"" + bytes + "\"").find(bytes), c < 0x20 ? 1U : std::string::npos);
        TableRows csv = MakeRows({"a"}, {{TextCell("b" + bytes)}});
        EXPECT_NE(Rendered(Mode::Csv, {}, csv).find("b" + bytes), std::string::npos) << "into a file";
    }
}

TEST(Box, CutsTextToTheColumn) {
    EXPECT_EQ(CutToWidth("abcdef", 6), "abcdef");
    EXPECT_EQ(CutToWidth("abcdef", 4), "abc…");
    EXPECT_EQ(CutToWidth("日本語", 4), "日…");
    EXPECT_EQ(CutToWidth("日本語", 1), "…");
}

TEST(Renderers, QuoteAndEscapeAsTheFormatsTell) {
    RenderSettings settings;
    settings.nullText = "-,-";
    const struct {
        Mode mode;
        RenderSettings settings;
        TableRows rows;
        const char* expected;
    } examples[] = {
        {Mode::Csv,
         {},
         MakeRows({"a,b", "c"}, {{TextCell("say \"hi\""), TextCell("two\nlines")}, {TextCell(""), Cell()}}),
         "\"a,b\",c\n\"say \"\"hi\"\"\",\"two\nlines\"\n\"\",\n"},
        {Mode::Csv, settings, MakeRows({"a", "b"}, {{Cell(), NumberCell(2)}}), "a,b\n\"-,-\",2\n"},
        {Mode::Line,
         {},
         MakeRows({"a", "long"}, {{NumberCell(1), Cell()}, {NumberCell(2), TextCell("x")}}),
         "   a = 1\nlong = NULL\n\n   a = 2\nlong = x\n"},
        {Mode::Markdown,
         {},
         MakeRows({"a|b", "n"}, {{TextCell("x|y\nz"), NumberCell(1)}}),
         "| a\\|b | n |\n|---|---:|\n| x\\|y<br>z | 1 |\n"}};
    for (const auto& [mode, settings_used, rows, expected] : examples) {
        TableRows source = rows;
        EXPECT_EQ(Rendered(mode, settings_used, source), expected);
    }
}

TEST(Json, IsValidWhateverTheCells) {
    rc::check([] {
        const auto texts =
            *rc::gen::container<std::vector<std::string>>(rc::gen::container<std::string>(rc::gen::oneOf(
                rc::gen::character<char>(), rc::gen::elementOf(std::string("\"\\\x01\x1F/\n\xC3\xA9")))));
        TableRows rows({"text", "json"});
        for (const std::string& text : texts) {
            rows.Add({TextCell(text), {Cell::Kind::Json, ValidUtf8(text)}});
        }
        const std::string lines = Rendered(Mode::Jsonl, {}, rows);
        rapidjson::Document document;
        document.Parse<rapidjson::kParseValidateEncodingFlag>(lines.c_str(), lines.size());
        RC_ASSERT(!document.HasParseError());
        RC_ASSERT(lines.find('\n') == lines.size() - 1);
        RC_ASSERT(document["count"].GetUint64() == texts.size());
        for (std::size_t i = 0; i < texts.size(); ++i) {
            const auto& cells = document["rows"][static_cast<rapidjson::SizeType>(i)];
            RC_ASSERT(std::string(cells[0].GetString(), cells[0].GetStringLength()) == ValidUtf8(texts[i]));
            RC_ASSERT(std::string(cells[1]["json"].GetString(), cells[1]["json"].GetStringLength()) ==
                      ValidUtf8(texts[i]));
        }
    });
}

TEST(Json, GivesDoublesThatReadBack) {
    rc::check([](double number) {
        const Cell cell = DoubleCell(number);
        RC_ASSERT(cell.kind == Cell::Kind::Number);
        RC_ASSERT(std::strtod(cell.text.c_str(), nullptr) == number);
        rapidjson::Document document;
        document.Parse(cell.text.c_str());
        RC_ASSERT(document.IsDouble());
    });
    EXPECT_EQ(DoubleCell(0.1).text, "0.1");
    EXPECT_EQ(DoubleCell(2).text, "2.0");
    EXPECT_EQ(DoubleCell(1e300).text, "1e+300");
    EXPECT_EQ(DoubleCell(-std::numeric_limits<double>::infinity()), (Cell{Cell::Kind::Special, "-Infinity"}));
}

TEST(Json, StaysValidWhenRowsFailHalfWay) {
    Column column;
    column.name = "c";
    column.type = "INTEGER";
    column.typeId = 4;
    TypedRows rows(1, 1, NumberCell(1), column, true);
    EXPECT_EQ(Rendered(Mode::Jsonl, {}, rows),
              R"({"kind":"rows","columns":[{"name":"c","type":"INTEGER","id":4}],"rows":[[1]],)"
              R"("error":{"class":"std::exception","message":"out of rows"}})"
              "\n");
    TypedRows again(1, 1, NumberCell(1), column, true);
    const std::string array = Rendered(Mode::Json, {}, again);
    rapidjson::Document document;
    document.Parse(array.c_str());
    ASSERT_FALSE(document.HasParseError()) << array;
    EXPECT_STREQ(document[0]["error"]["message"].GetString(), "out of rows");
}

TEST(Json, IsOneArrayOfAllAnswers) {
    const auto write = [](Renderer& r) { r.WriteDone(), r.WriteText("a\"b"), r.WriteChanged(3); };
    EXPECT_EQ(
        Written(Mode::Json, {}, write),
        "[\n  {\n    \"kind\": \"done\"\n  },\n  {\n    \"kind\": \"text\",\n    \"text\": \"a\\\"b\"\n  },\n"
        "  {\n    \"kind\": \"changed\",\n    \"count\": 3\n  }\n]\n");
    EXPECT_EQ(Written(Mode::Json, {}, [](Renderer&) {}), "[]\n");
}

} // namespace
} // namespace orlimbara::shell::test
