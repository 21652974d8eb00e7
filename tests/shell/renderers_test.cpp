#include <algorithm>
#include <filesystem>
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

/// Equal rows of a query, after which reading may fail.
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

template <class... Arguments>
std::string RenderTyped(Mode inMode, const RenderSettings& inSettings, const Arguments&... inArguments) {
    TypedRows rows(inArguments...);
    return Rendered(inMode, inSettings, rows);
}

TEST(Box, ShowsHeadAndTailWithTheCountBetween) {
    const auto show = [](std::uint64_t inLimit, int inCount) {
        TableRows rows({"n", "square"});
        for (int i = 1; i <= inCount; ++i) {
            rows.Add({NumberCell(i), NumberCell(std::int64_t{i} * i)});
        }
        return Rendered(Mode::Box, {.maxRows = inLimit}, rows);
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
    const std::string whole = show(0, 5);
    EXPECT_EQ(std::ranges::count(whole, '\n'), 9);
    EXPECT_EQ(show(5, 5), whole);
    EXPECT_EQ(show(6, 5), whole);
}

TEST(Box, FitsTheTerminalWheneverItCan) {
    EXPECT_TRUE(rc::check([] {
        const auto total = *rc::gen::inRange<std::size_t>(1, 300);
        std::vector<ColumnWidth> all(*rc::gen::inRange<std::size_t>(1, 100));
        for (ColumnWidth& each : all) {
            each.wanted = *rc::gen::inRange<std::size_t>(1, 200);
            each.least = *rc::gen::inRange<std::size_t>(1, each.wanted + 1);
        }
        std::vector<ColumnWidth> shown;
        for (const std::size_t column : ChooseColumns(all, total)) {
            shown.push_back(column == kLeftOut ? ColumnWidth{} : all[column]);
        }
        const std::vector<std::size_t> widths = FitColumns(shown, total);
        const std::size_t lines = widths.size() * 3 + 1;
        std::size_t sum = lines, least = lines, most = lines;
        for (std::size_t i = 0; i < widths.size(); ++i) {
            RC_ASSERT(widths[i] >= shown[i].least && widths[i] <= shown[i].wanted);
            sum += widths[i];
            least += shown[i].least;
            most += shown[i].wanted;
        }
        RC_ASSERT(sum == std::min(most, std::max(total, least)));
        RC_ASSERT(least <= total || widths.size() <= 2);
    }));
}

TEST(Box, LeavesMiddleColumnsOutRatherThanCutNumbers) {
    const Column column = {.name = "n", .type = "BIGINT", .isNumber = true, .isWhole = true};
    const auto render = [&](auto... rows) {
        return RenderTyped(Mode::Box, {.width = 40}, 30, rows..., column);
    };
    EXPECT_EQ(render(2, NumberCell(123456789)),
              R"(┌───────────┬───┬───────────┐
│         n │ … │         n │
│    BIGINT │ … │    BIGINT │
├───────────┼───┼───────────┤
│ 123456789 │ … │ 123456789 │
│ 123456789 │ … │ 123456789 │
└───────────┴───┴───────────┘
30 columns, 2 shown
)");
    EXPECT_NE(render(1, NumberCell(1)).find("n = 1\none row of 30 columns"), std::string::npos);
}

TEST(Decimals, KeepTheirScaleUpToFifteenDigits) {
    for (const auto& [width, text] : {std::pair{15, "1.50"}, std::pair{16, "1.5"}}) {
        const Column column = {.name = "d", .decimal = DecimalType{width, 2}};
        const auto render = [&](Mode mode) { return RenderTyped(mode, {}, 1, 1, DoubleCell(1.5), column); };
        EXPECT_EQ(render(Mode::Line), std::string("d = ") + text + "\n");
        EXPECT_EQ(render(Mode::Box).find("shown to 15 digits") != std::string::npos, width > 15);
        EXPECT_EQ(render(Mode::Csv), "d\n1.5\n");
    }
}

/// All characters that could affect a terminal, in a cell, a name and a text, in each mode.
TEST(Terminals, ShowNothingThatActsOnThem) {
    std::u32string controls = U"\u061C\u200E\u200F\u202A\u202E\u2066\u2069\x7F";
    for (char32_t c = 1; c <= 0x20; ++c) {
        controls += c + 0x7F; // 0x80 to 0x9F
        controls += c == '\n' || c == '\t' || c == ' ' ? 1 : c;
    }
    const RenderSettings settings = {.isTerminal = true};
    for (const char32_t c : controls) {
        const std::string bytes = std::filesystem::path(std::u32string(1, c)).string();
        const auto cells = [&](Mode mode, const RenderSettings& how) {
            return RenderTyped(mode, how, 1, 1, TextCell("b" + bytes), Column{.name = "a" + bytes});
        };
        const Failure failure = {.className = "orsql", .message = "d" + bytes};
        std::string shown = DescribeFailure(failure, {true, false, 80});
        for (const Mode mode : {Mode::Box, Mode::Csv, Mode::Line, Mode::Markdown}) {
            shown += cells(mode, settings);
            shown += Written(mode, settings, [&](Renderer& r) { r.WriteText("c" + bytes); });
        }
        EXPECT_EQ(shown.find(bytes), std::string::npos) << int(c) << shown;
        EXPECT_EQ(HarmlessJson("\"" + bytes + "\"").find(bytes), c < 0x20 ? 1U : std::string::npos);
        EXPECT_NE(cells(Mode::Csv, {}).find("b" + bytes), std::string::npos) << "into a file";
    }
}

TEST(Box, CutsTextToTheColumn) {
    EXPECT_EQ(CutToWidth("abcdef", 6), "abcdef");
    EXPECT_EQ(CutToWidth("日本語", 4), "日…");
    EXPECT_EQ(CutToWidth("日本語", 1), "…");
}

TEST(Json, IsValidWhateverTheCells) {
    EXPECT_TRUE(rc::check([] {
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
            for (const auto* const cell : {&cells[0], &cells[1]["json"]}) {
                RC_ASSERT(std::string(cell->GetString(), cell->GetStringLength()) == ValidUtf8(texts[i]));
            }
        }
    }));
}

TEST(Json, GivesDoublesThatReadBack) {
    EXPECT_TRUE(rc::check([](double number) {
        const Cell cell = DoubleCell(number);
        RC_ASSERT(cell.kind == Cell::Kind::Number);
        RC_ASSERT(std::strtod(cell.text.c_str(), nullptr) == number);
        rapidjson::Document document;
        document.Parse(cell.text.c_str());
        RC_ASSERT(document.IsDouble());
    }));
}

TEST(Json, StaysValidWhenRowsFailHalfWay) {
    const Column column = {.name = "c", .type = "INTEGER", .typeId = 4};
    const auto render = [&](Mode mode) { return RenderTyped(mode, {}, 1, 1, NumberCell(1), column, true); };
    EXPECT_EQ(render(Mode::Jsonl),
              R"({"kind":"rows","columns":[{"name":"c","type":"INTEGER","id":4}],"rows":[[1]],)"
              R"("error":{"class":"std::exception","message":"out of rows"}})"
              "\n");
    rapidjson::Document document;
    document.Parse(render(Mode::Json).c_str());
    ASSERT_FALSE(document.HasParseError());
    EXPECT_STREQ(document[0]["error"]["message"].GetString(), "out of rows");
}

} // namespace
} // namespace orlimbara::shell::test
