#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "host/json.h"
#include "host_standin/number_text.h"
#include "standin_test.h"

namespace orkit::standin {

namespace {

using namespace std::string_literals;

std::u16string Wide(const String& inText) { return {inText.c_str(), inText.get_Length()}; }

struct Conversion {
    std::string mBytes;
    std::u16string mText;
    std::string mBack = mBytes; // written again
};

const std::string kReplaced = "\xEF\xBF\xBD";

// Each case stands alone and, to reach every place of the block-wise work, behind and before ASCII.
TEST(Text, IsReadAndWrittenAsUtf8WithWhatIsMalformedReplaced) {
    const std::vector<Conversion> conversions = {
        {"", u""},
        {"a\0b"s, u"a\0b"s},
        {"\xC3\x9F", u"\u00DF"},
        {"\xDF\xBF\xE0\xA0\x80", u"\u07FF\u0800"},
        {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", u"\U00010000\U0010FFFF"},
        {"\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD", kReplaced + kReplaced + kReplaced + kReplaced},
        {"\xC0\xAF", u"\uFFFD\uFFFD", kReplaced + kReplaced},
        {"\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD", kReplaced + kReplaced + kReplaced},
        {"\x80\xFF", u"\uFFFD\uFFFD", kReplaced + kReplaced},
        {"\xF0\x9F\x98", u"\uFFFD", kReplaced}, // cut
        {"\xE2\x82\xC3\x9F", u"\uFFFD\u00DF", kReplaced + "\xC3\x9F"},
    };
    for (const auto& [bytes, text, back] : conversions) {
        for (std::size_t before = 0; before < 40; ++before) {
            for (const std::size_t after : {0, 1, 15, 16, 17, 33}) {
                const auto place = [&](const auto& inMiddle) {
                    using Piece = std::decay_t<decltype(inMiddle)>;
                    return Piece(before, 'x') + inMiddle + Piece(after, 'y');
                };
                const std::string all = place(bytes);
                const String read(all.data(), static_cast<std::ptrdiff_t>(all.size()));
                ASSERT_EQ(Wide(read), place(text)) << bytes << ' ' << before << ' ' << after;
                ASSERT_EQ(Narrow(read), place(back)) << bytes << ' ' << before << ' ' << after;
            }
        }
    }
    for (const std::u16string& text : {u"x\xD800"s, u"x\xDC00"s}) { // half a pair at the end
        EXPECT_EQ(Narrow(String(text.data(), 2)), "x" + kReplaced);
    }
    EXPECT_EQ(Narrow(String(u"\xDC00\xD800x", 3)), kReplaced + kReplaced + "x");
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

TEST(Text, IsReadAsTheNumberItBeginsWith) {
    constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
    constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
    constexpr std::uint64_t kUMax = std::numeric_limits<std::uint64_t>::max();
    struct Case {
        const char16_t* mText;
        std::int64_t mNumber;
        std::uint64_t mUnsigned;
        double mDouble;
    };
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    for (const Case& test : {
             Case{u"", 0, 0, 0},
             {u" \t\n\r-12abc", -12, static_cast<std::uint64_t>(-12), -12},
             {u"+7", 7, 7, 7},
             {u"- 7", 0, 0, 0},
             {u"--7", 0, 0, 0},
             {u"1e3", 1, 1, 1000},
             {u" +1.5E-2x", 1, 1, 0.015},
             {u"1e", 1, 1, 1},
             {u"1.e+", 1, 1, 1},
             {u".5", 0, 0, 0.5},
             {u".", 0, 0, 0},
             {u"\u0661", 0, 0, 0}, // a digit of another script
             {u"9223372036854775807", kMax, std::uint64_t{kMax}, 0x1p63},
             {u"9223372036854775808", kMax, std::uint64_t{1} << 63, 0x1p63},
             {u"-9223372036854775808", kMin, std::uint64_t{1} << 63, -0x1p63},
             {u"-9223372036854775809", kMin, std::uint64_t{1} << 63, -0x1p63},
             {u"18446744073709551615", kMax, kUMax, 0x1p64},
             {u"18446744073709551616", kMax, kUMax, 0x1p64},
             {u"1e999", 1, 1, kInfinity},
             {u"-1e999", -1, kUMax, -kInfinity},
             {u"1e-999", 1, 1, 0},
             {u" Infinity", 0, 0, kInfinity},
             {u"-Infinity", 0, 0, -kInfinity},
             {u"Inf", 0, 0, 0},
         }) {
        EXPECT_EQ(String(test.mText).parseLLong(), test.mNumber) << Narrow(test.mText);
        EXPECT_EQ(TextToUInt64(test.mText), test.mUnsigned) << Narrow(test.mText);
        EXPECT_EQ(TextToDouble(test.mText), test.mDouble) << Narrow(test.mText);
    }
    EXPECT_TRUE(std::isnan(TextToDouble(u"NaN")));
    for (const auto& [number, text] : std::vector<std::pair<double, const char*>>{
             {0.1, "0.1"}, {-0.0, "-0"}, {1.0 / 3, "0.3333333333333333"}, {-kInfinity, "-Infinity"}}) {
        EXPECT_EQ(Narrow(FormatNumber(number)), text);
    }
    EXPECT_EQ(Narrow(FormatNumber(0.1F)), "0.1");
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
    // A reader that calls itself for each level would run out of stack.
    constexpr std::size_t kDepth = 300'000;
    EXPECT_TRUE(Json((std::string(kDepth, '[') + std::string(kDepth, ']')).c_str()).isValid());
}

TEST(JsonTexts, GiveTheMembersOfTheTopObject) {
    const Json json(R"( { "message" : "a \"b\"\n\u20ac", "number":-1.50e+2,
        "big":123456789012345678901234567890, "beyond":-12.5e400, "yes":true, "nothing":null, "list":[1, [2 ] ,{"deep":3}],
        "object" : { "deep" : "]}" }, "twice":1, "twice":2, "":"empty name", "zero\u0000in":"z" } )");
    for (const auto& [name, text] : std::vector<std::pair<String, const char*>>{
             {"message", "a \"b\"\n\xE2\x82\xAC"},
             {"number", "-1.50e+2"},
             {"big", "123456789012345678901234567890"},
             {"beyond", "-12.5e400"},
             {"yes", "true"},
             {"nothing", ""},
             {"list", "[1, [2 ] ,{\"deep\":3}]"},
             {"object", "{ \"deep\" : \"]}\" }"},
             {"twice", "1"},
             {"", "empty name"},
             {String("zero\0in", 7), "z"},
             {"zero", ""},
             {"deep", ""},
             {"Message", ""},
         }) {
        EXPECT_EQ(Narrow(json.get_JsonValue(name)), text) << Narrow(name);
    }
    EXPECT_TRUE(Json("[{\"a\":1}]").get_JsonValue("a").isEmpty());
}

} // namespace
} // namespace orkit::standin
