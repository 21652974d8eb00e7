#include "shell/csv_reader.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include "render_support.h"
#include "shell/failure.h"

namespace orlimbara::shell::test {
namespace {

using Records = std::vector<CsvRecord>;
constexpr auto kNull = std::nullopt;

TEST(CsvReader, TellsEmptyCellsFromQuotedOnes) {
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
        RenderSettings settings;
        settings.hasHeader = false;
        RC_ASSERT(ReadCsv(Rendered(Mode::Csv, settings, rows)) == records);
    }));
}

} // namespace
} // namespace orlimbara::shell::test
