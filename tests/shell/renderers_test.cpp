#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidjson/document.h>

#include "render_support.h"
#include "shell/renderers.h"
#include "shell/text.h"

namespace orlimbara::shell {
namespace {

std::vector<std::string> Lines(const std::string& inText) {
    std::vector<std::string> lines;
    std::istringstream stream(inText);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

TableRows Numbers(int inCount) {
    TableRows rows({"n", "square"});
    for (int i = 1; i <= inCount; ++i) {
        rows.Add({NumberCell(i), NumberCell(std::int64_t{i} * i)});
    }
    return rows;
}

TEST(Box, AlignsWideCharactersAndNumbers) {
    TableRows rows({"name", "n"});
    rows.Add({TextCell("日本"), NumberCell(1)});
    rows.Add({TextCell("e\u0301a\tb"), NumberCell(-20)});
    rows.Add({TextCell("two\nlines"), NumberCell(3)});
    EXPECT_EQ(Rendered(Mode::Box, {}, rows), "┌───────┬─────┐\n"
                                             "│ name  │   n │\n"
                                             "├───────┼─────┤\n"
                                             "│ 日本  │   1 │\n"
                                             "│ e\u0301a\\tb │ -20 │\n"
                                             "│ two   │   3 │\n"
                                             "│ lines │     │\n"
                                             "└───────┴─────┘\n");
}

TEST(Box, ShowsHeadAndTailWithTheCountBetween) {
    RenderSettings settings;
    settings.maxRows = 3;
    TableRows rows = Numbers(1000);
    const std::vector<std::string> lines = Lines(Rendered(Mode::Box, settings, rows));
    ASSERT_EQ(lines.size(), 10U);
    EXPECT_NE(lines[3].find("│    1 │"), std::string::npos) << lines[3];
    EXPECT_NE(lines[4].find("│    2 │"), std::string::npos) << lines[4];
    EXPECT_NE(lines[6].find("1000 rows"), std::string::npos) << lines[6];
    EXPECT_NE(lines[8].find("1000000 │"), std::string::npos) << lines[8];
    for (const std::string& line : lines) {
        EXPECT_EQ(DisplayWidth(line), DisplayWidth(lines[0])) << line;
    }
}

TEST(Box, ShowsAllRowsThatTheLimitAllows) {
    for (const std::uint64_t limit : {0U, 5U, 6U}) {
        RenderSettings settings;
        settings.maxRows = limit;
        TableRows rows = Numbers(5);
        EXPECT_EQ(Lines(Rendered(Mode::Box, settings, rows)).size(), 9U) << limit;
    }
}

TEST(Box, FitsTheTerminalWheneverItCan) {
    rc::check([] {
        auto widths = *rc::gen::nonEmpty(
            rc::gen::container<std::vector<std::size_t>>(rc::gen::inRange<std::size_t>(1, 200)));
        const auto total = *rc::gen::inRange<std::size_t>(1, 300);
        const std::vector<std::size_t> before = widths;
        FitColumns(widths, total);
        std::size_t sum = widths.size() * 3 + 1;
        std::size_t least = sum;
        std::size_t wanted = sum;
        for (std::size_t i = 0; i < widths.size(); ++i) {
            RC_ASSERT(widths[i] <= before[i]);
            RC_ASSERT(widths[i] >= std::min<std::size_t>(before[i], 4));
            sum += widths[i];
            least += std::min<std::size_t>(before[i], 4);
            wanted += before[i];
        }
        RC_ASSERT(sum <= std::max(total, least));
        RC_ASSERT(sum == std::min(wanted, std::max(total, least)));
    });
}

TEST(Box, CutsTextToTheColumn) {
    EXPECT_EQ(CutToWidth("abcdef", 6), "abcdef");
    EXPECT_EQ(CutToWidth("abcdef", 4), "abc…");
    EXPECT_EQ(CutToWidth("日本語", 4), "日…");
    EXPECT_EQ(CutToWidth("日本語", 1), "…");
}

TEST(Csv, QuotesAsTheFormatTells) {
    TableRows rows({"a,b", "c"});
    rows.Add({TextCell("say \"hi\""), TextCell("two\nlines")});
    rows.Add({TextCell(""), Cell()});
    EXPECT_EQ(Rendered(Mode::Csv, {}, rows), "\"a,b\",c\n\"say \"\"hi\"\"\",\"two\nlines\"\n\"\",\n");
    RenderSettings settings;
    settings.nullText = "-,-";
    TableRows nulls({"a", "b"});
    nulls.Add({Cell(), NumberCell(2)});
    EXPECT_EQ(Rendered(Mode::Csv, settings, nulls), "a,b\n\"-,-\",2\n");
}

TEST(Line, PutsEachCellOnALineOfItsOwn) {
    TableRows rows({"a", "long"});
    rows.Add({NumberCell(1), Cell()});
    rows.Add({NumberCell(2), TextCell("x")});
    EXPECT_EQ(Rendered(Mode::Line, {}, rows), "   a = 1\nlong = NULL\n\n   a = 2\nlong = x\n");
}

TEST(Markdown, EscapesWhatWouldEndACell) {
    TableRows rows({"a|b", "n"});
    rows.Add({TextCell("x|y\nz"), NumberCell(1)});
    EXPECT_EQ(Rendered(Mode::Markdown, {}, rows), "| a\\|b | n |\n|---|---:|\n| x\\|y<br>z | 1 |\n");
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

/// Rows that can't be read past the first.
class FailingRows final : public RowSource {
public:
    FailingRows() { mColumns.push_back({"c", "INTEGER", 4, std::nullopt, true}); }
    bool Next(Row& outRow) override {
        if (mHasGiven) {
            throw std::runtime_error("out of rows");
        }
        mHasGiven = true;
        outRow = {NumberCell(1)};
        return true;
    }

private:
    bool mHasGiven = false;
};

TEST(Json, StaysValidWhenRowsFailHalfWay) {
    FailingRows rows;
    EXPECT_EQ(Rendered(Mode::Jsonl, {}, rows),
              R"({"kind":"rows","columns":[{"name":"c","type":"INTEGER","id":4}],"rows":[[1]],)"
              R"("error":{"class":"std::exception","message":"out of rows"}})"
              "\n");
    FailingRows again;
    const std::string array = Rendered(Mode::Json, {}, again);
    rapidjson::Document document;
    document.Parse(array.c_str());
    ASSERT_FALSE(document.HasParseError()) << array;
    EXPECT_STREQ(document[0]["error"]["message"].GetString(), "out of rows");
}

TEST(Json, IsOneArrayOfAllAnswers) {
    const auto write = [](Renderer& renderer) {
        renderer.WriteDone();
        renderer.WriteText("a\"b");
        renderer.WriteChanged(3);
    };
    EXPECT_EQ(Written(Mode::Json, {}, write), R"([
  {
    "kind": "done"
  },
  {
    "kind": "text",
    "text": "a\"b"
  },
  {
    "kind": "changed",
    "count": 3
  }
]
)");
    EXPECT_EQ(Written(Mode::Json, {}, [](Renderer&) {}), "[]\n");
}

} // namespace
} // namespace orlimbara::shell
