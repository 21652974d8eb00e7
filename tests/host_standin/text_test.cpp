#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

#include "host/json.h"
#include "host_standin/number_text.h"
#include "tests_support/host_fixture.h"

namespace orkit::standin::test {
namespace {

using namespace orkit::test;

using namespace std::string_literals;

std::u16string Wide(const String& inText) { return {inText.c_str(), inText.get_Length()}; }

// Each case is tested alone and, to cover the block-wise code, before and after ASCII.
TEST(Text, ConvertsToAndFromUtf8ReplacingMalformedInput) {
    const std::pair<std::string, std::u16string> conversions[] = {
        {"", u""},
        {"a\0b"s, u"a\0b"s},
        {"\xC3\x9F\xDF\xBF\xE0\xA0\x80", u"\u00DF\u07FF\u0800"},
        {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", u"\U00010000\U0010FFFF"},
        {"\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"\xC0\xAF", u"\uFFFD\uFFFD"},
        {"\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD"},
        {"\x80\xFF", u"\uFFFD\uFFFD"},
        {"\xF0\x9F\x98", u"\uFFFD"}, // cut
        {"\xE2\x82\xC3\x9F", u"\uFFFD\u00DF"}};
    for (const auto& [bytes, text] : conversions) {
        for (std::size_t before = 0; before < 40; ++before) {
            for (const std::size_t after : {0U, 1U, 15U, 16U, 17U, 33U}) {
                const std::string given = std::string(before, 'x') + bytes + std::string(after, 'y');
                const std::u16string expected =
                    std::u16string(before, 'x') + text + std::u16string(after, 'y');
                const String read(given.data(), static_cast<std::ptrdiff_t>(given.size()));
                ASSERT_EQ(Wide(read), expected) << bytes << ' ' << before << ' ' << after;
                ASSERT_EQ(Text(read), std::filesystem::path(expected).string()) << bytes << ' ' << before;
            }
        }
    }
    const std::string replaced = "\xEF\xBF\xBD";
    for (const std::u16string& text : {u"x\xD800"s, u"x\xDC00"s}) { // half a pair at the end
        EXPECT_EQ(Text(String(text.data(), 2)), "x" + replaced);
    }
    EXPECT_EQ(Text(String(u"\xDC00\xD800x", 3)), replaced + replaced + "x");
    std::u16string buffer(4, u'#');
    EXPECT_EQ(ConvertToUTF16("\xC3\x9Fx", 3, GetConverter_UTF8(), buffer.data()), 2U);
    EXPECT_EQ(buffer, u"\u00DFx##");
    EXPECT_EQ(String("abc\0def").get_Length(), 3U);
    EXPECT_TRUE(String("abc", 0).isEmpty());
    EXPECT_TRUE(String(static_cast<const char*>(nullptr)).isEmpty());
    EXPECT_EQ(StFromUTF16(u"\u20AC\0x", -1, GetConverter_UTF8()).get_Length(), 3U);
    EXPECT_EQ(std::u16string(OwnedTextU(EscapeStringU(u"it's ''\\\"", 0)).get()), u"it''s ''''\\\"");
    EXPECT_EQ(std::u16string(OwnedTextU(EscapeStringU(nullptr, 0)).get()), u"");
}

/// Texts, and their values as a signed number, an unsigned one and a double.
constexpr const char* kNumbers = R"(
    |0|0|0; -12abc|-12|18446744073709551604|-12; +7|7|7|7; - 7|0|0|0; --7|0|0|0; 1e3|1|1|1000; +1.5E-2x|1|1|0.015
    1e|1|1|1; 1.e+|1|1|1; .5|0|0|0.5; .|0|0|0; 1e-999|1|1|0; Infinity|0|0|Infinity; -Infinity|0|0|-Infinity
    9223372036854775807|9223372036854775807|9223372036854775807|9223372036854775808; Inf|0|0|0
    9223372036854775808|9223372036854775807|9223372036854775808|9223372036854775808
    -9223372036854775808|-9223372036854775808|9223372036854775808|-9223372036854775808
    -9223372036854775809|-9223372036854775808|9223372036854775808|-9223372036854775808
    18446744073709551615|9223372036854775807|18446744073709551615|18446744073709551616
    18446744073709551616|9223372036854775807|18446744073709551615|18446744073709551616; NaN|0|0|NaN
    1e999|1|1|Infinity; -1e999|-1|18446744073709551615|-Infinity; ١|0|0|0)"; // a digit of another script

TEST(Text, IsReadAsTheNumberItBeginsWith) {
    for (const auto& row : Table(kNumbers)) {
        for (const char* const before : {"", " \t\n\r"}) {
            const String text((before + row[0]).c_str());
            EXPECT_EQ(std::to_string(text.parseLLong()), row.at(1)) << row[0];
            EXPECT_EQ(std::to_string(TextToUInt64(Wide(text))), row.at(2)) << row[0];
            const double number = std::strtod(row.at(3).c_str(), nullptr);
            const double read = TextToDouble(Wide(text));
            EXPECT_TRUE(read == number || (std::isnan(read) && std::isnan(number))) << row[0] << read;
        }
    }
    const double infinity = std::numeric_limits<double>::infinity();
    for (const auto& [number, text] : {std::pair(-0.0, "-0"), std::pair(1.0 / 3, "0.3333333333333333"),
                                       std::pair(-infinity, "-Infinity")}) {
        EXPECT_EQ(Text(FormatNumber(number)), text);
    }
    EXPECT_EQ(Text(FormatNumber(0.1F)), "0.1");
}

TEST(JsonTexts, AreValidExactlyWhenTheWholeTextIsOneValue) {
    EXPECT_FALSE(Json(nullptr).isValid());
    for (const char* const text : {" {} ", "[1,2]", "null", "-0.5e+3", "\"\\ud83d\\ude00\"", "[[{}],1e400]",
                                   "-1e99999999999", "1e-000400", "[0.0e0,\"\\\"12\\\\\",10]"}) {
        EXPECT_TRUE(Json(text).isValid()) << text;
    }
    for (const char* const text : {"", "1e", "-", "1e+", "[01]", "-012", "1.", "{}{}", "{} x", "[1,]",
                                   "{a:1}", "01", "NaN", "\"\\ud83d\"", "\"open", "[", "// comment\n1"}) {
        EXPECT_FALSE(Json(text).isValid()) << text;
    }
    // A recursive reader would run out of stack.
    constexpr std::size_t kDepth = 300'000;
    EXPECT_TRUE(Json((std::string(kDepth, '[') + std::string(kDepth, ']')).c_str()).isValid());
}

TEST(JsonTexts, GiveTheMembersOfTheTopObject) {
    const Json json(R"( { "message" : "a \"b\"\n\u20ac", "number":-1.50e+2,
        "big":123456789012345678901234567890, "beyond":-12.5e400, "yes":true, "nothing":null, "list":[1, [2 ] ,{"deep":3}],
        "object" : { "deep" : "]}" }, "twice":1, "twice":2, "":"empty name", "zero\u0000in":"z" } )");
    for (const auto& row : Table(R"(number|-1.50e+2; big|123456789012345678901234567890; twice|1
             beyond|-12.5e400; yes|true; nothing|; list|[1, [2 ] ,{"deep":3}]; object|{ "deep" : "]}" }
             |empty name; zero|; deep|; Message|)")) {
        EXPECT_EQ(Text(json.get_JsonValue(row[0].c_str())), row.at(1)) << row[0];
    }
    EXPECT_EQ(Text(json.get_JsonValue("message")), "a \"b\"\n\xE2\x82\xAC");
    EXPECT_EQ(Text(json.get_JsonValue(String("zero\0in", 7))), "z");
    EXPECT_TRUE(Json("[{\"a\":1}]").get_JsonValue("a").isEmpty());
}

} // namespace
} // namespace orkit::standin::test
