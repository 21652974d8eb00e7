#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "host_standin/number_text.h"
#include "standin_test.h"

namespace orkit::standin {

namespace {

String FromBytes(const std::string& inBytes) {
    return String(inBytes.data(), static_cast<std::ptrdiff_t>(inBytes.size()));
}

std::u16string Wide(const String& inText) { return {inText.c_str(), inText.get_Length()}; }

std::string ToBytes(const std::u16string& inText) {
    const StFromUTF16 converted(inText.data(), static_cast<std::ptrdiff_t>(inText.size()),
                                GetConverter_UTF8());
    return {converted.c_str(), converted.get_Length()};
}

struct Conversion {
    const char* mWhat;
    std::string mBytes;
    std::u16string mText;
};

// Each case stands alone and, to reach every place of the block-wise reading, behind and before ASCII.
TEST(Text, ReadsUtf8AndReplacesWhatIsMalformed) {
    using namespace std::string_literals;
    const std::vector<Conversion> conversions = {
        {"nothing", "", u""},
        {"zero character", "a\0b"s, u"a\0b"s},
        {"two bytes", "\xC3\x9F", u"\u00DF"},
        {"three bytes", "\xE2\x82\xAC", u"\u20AC"},
        {"surrogate pair", "\xF0\x9F\x98\x80", u"\U0001F600"},
        {"highest character", "\xF4\x8F\xBF\xBF", u"\U0010FFFF"},
        {"noncharacter", "\xEF\xBF\xBF", u"\uFFFF"},
        {"beyond the highest", "\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"overlong slash", "\xC0\xAF", u"\uFFFD\uFFFD"},
        {"overlong zero", "\xE0\x80\x80", u"\uFFFD\uFFFD\uFFFD"},
        {"half a pair in UTF-8", "\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD"},
        {"lone continuation", "\x80", u"\uFFFD"},
        {"byte that never occurs", "\xFF", u"\uFFFD"},
        {"cut after one of two", "\xC3", u"\uFFFD"},
        {"cut after two of three", "\xE2\x82", u"\uFFFD"},
        {"cut after three of four", "\xF0\x9F\x98", u"\uFFFD"},
        {"cut, then a good one", "\xE2\x82\xC3\x9F", u"\uFFFD\u00DF"},
    };
    for (const Conversion& conversion : conversions) {
        for (std::size_t before = 0; before < 40; ++before) {
            for (const std::size_t after : {0, 1, 15, 16, 17, 33}) {
                const std::string bytes =
                    std::string(before, 'x') + conversion.mBytes + std::string(after, 'y');
                const std::u16string text =
                    std::u16string(before, u'x') + conversion.mText + std::u16string(after, u'y');
                ASSERT_EQ(Wide(FromBytes(bytes)), text) << conversion.mWhat << ' ' << before << ' ' << after;
                std::u16string buffer(bytes.size(), u'#');
                buffer.resize(ConvertToUTF16(bytes.data(), bytes.size(), GetConverter_UTF8(), buffer.data()));
                ASSERT_EQ(buffer, text) << conversion.mWhat << ' ' << before << ' ' << after;
            }
        }
    }
}

TEST(Text, WritesUtf8AndReplacesUnpairedSurrogates) {
    using namespace std::string_literals;
    const std::vector<Conversion> conversions = {
        {"zero character", "a\0b"s, u"a\0b"s},
        {"highest of two bytes", "\xDF\xBF", u"\u07FF"},
        {"lowest of three bytes", "\xE0\xA0\x80", u"\u0800"},
        {"pair", "\xF0\x90\x80\x80", u"\U00010000"},
        {"high surrogate at the end", "\xEF\xBF\xBD", {char16_t{0xD800}}},
        {"low surrogate alone", "\xEF\xBF\xBD", {char16_t{0xDC00}}},
        {"pair the wrong way round", "\xEF\xBF\xBD\xEF\xBF\xBD", {char16_t{0xDC00}, char16_t{0xD800}}},
        {"high surrogate before a letter", "\xEF\xBF\xBDx", {char16_t{0xD800}, u'x'}},
    };
    for (const Conversion& conversion : conversions) {
        for (std::size_t before = 0; before < 40; ++before) {
            for (const std::size_t after : {0, 1, 16, 33}) {
                const std::string bytes =
                    std::string(before, 'x') + conversion.mBytes + std::string(after, 'y');
                const std::u16string text =
                    std::u16string(before, u'x') + conversion.mText + std::u16string(after, u'y');
                ASSERT_EQ(ToBytes(text), bytes) << conversion.mWhat << ' ' << before << ' ' << after;
            }
        }
    }
}

TEST(Text, RandomCharactersComeBackAsTheyWere) {
    std::mt19937 random(20240131);
    const std::array<char32_t, 6> limits = {0x80, 0x80, 0x80, 0x800, 0x10000, 0x110000};
    for (int round = 0; round < 2000; ++round) {
        std::u16string text;
        const std::size_t length = random() % 100;
        while (text.size() < length) {
            const auto character = static_cast<char32_t>(random() % limits[random() % limits.size()]);
            if (character >= 0x10000) {
                text += static_cast<char16_t>(0xD7C0 + (character >> 10));
                text += static_cast<char16_t>(0xDC00 + (character & 0x3FF));
            } else if (character < 0xD800 || character > 0xDFFF) {
                text += static_cast<char16_t>(character);
            }
        }
        ASSERT_EQ(Wide(FromBytes(ToBytes(text))), text);
    }
}

TEST(Text, LengthMinusOneEndsAtTheZeroCharacterAndNullIsEmpty) {
    EXPECT_EQ(String("abc\0def").get_Length(), 3U);
    EXPECT_EQ(String(u"abc\0def", 7).get_Length(), 7U);
    EXPECT_TRUE(String(static_cast<const char*>(nullptr)).isEmpty());
    EXPECT_EQ(StToUTF16(nullptr, -1, GetConverter_UTF8()).get_Length(), 0U);
    EXPECT_EQ(StFromUTF16(u"\u20AC\0x", -1, GetConverter_UTF8()).get_Length(), 3U);
    EXPECT_TRUE(String::sEmpty.isEmpty());
}

TEST(Text, NumbersAreAppendedInDecimal) {
    String text("n=");
    text << std::uint32_t{0} << String(",") << std::numeric_limits<std::uint64_t>::max();
    EXPECT_EQ(Narrow(text), "n=0,18446744073709551615");
}

TEST(Text, WholeNumbersAreReadFromTheBeginOfATextUpToTheirLimits) {
    constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
    constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
    constexpr std::uint64_t kUMax = std::numeric_limits<std::uint64_t>::max();
    struct Case {
        const char16_t* mText;
        std::int64_t mNumber;
        std::uint64_t mUnsigned;
    };
    const std::vector<Case> cases = {
        {u"", 0, 0},
        {u"12", 12, 12},
        {u" \t\n-12abc", -12, static_cast<std::uint64_t>(-12)},
        {u"+7", 7, 7},
        {u"- 7", 0, 0},
        {u"--7", 0, 0},
        {u"0x10", 0, 0},
        {u"1e3", 1, 1},
        {u"\u0661", 0, 0}, // a digit of another script
        {u"9223372036854775807", kMax, static_cast<std::uint64_t>(kMax)},
        {u"9223372036854775808", kMax, std::uint64_t{1} << 63},
        {u"-9223372036854775808", kMin, std::uint64_t{1} << 63},
        {u"-9223372036854775809", kMin, std::uint64_t{1} << 63},
        {u"18446744073709551615", kMax, kUMax},
        {u"18446744073709551616", kMax, kUMax},
        {u"99999999999999999999999999", kMax, kUMax},
    };
    for (const Case& test : cases) {
        EXPECT_EQ(String(test.mText).parseLLong(), test.mNumber) << Narrow(test.mText);
        EXPECT_EQ(TextToUInt64(test.mText), test.mUnsigned) << Narrow(test.mText);
    }
}

TEST(Text, DoublesComeBackFromTheirShortestText) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    const std::vector<std::pair<double, const char*>> cases = {
        {0.1, "0.1"},
        {-0.0, "-0"},
        {1e21, "1e+21"},
        {5e-324, "5e-324"},
        {1.0 / 3, "0.3333333333333333"},
        {1.7976931348623157e308, "1.7976931348623157e+308"},
        {kInfinity, "Infinity"},
        {-kInfinity, "-Infinity"},
    };
    for (const auto& [number, text] : cases) {
        EXPECT_EQ(Narrow(FormatNumber(number)), text);
        EXPECT_EQ(TextToDouble(Wide(String(text))), number);
    }
    EXPECT_EQ(Narrow(FormatNumber(0.1F)), "0.1");
    EXPECT_TRUE(std::isnan(TextToDouble(u"NaN")));
    EXPECT_EQ(TextToDouble(u" +1.5e2x"), 150.0);
    EXPECT_EQ(TextToDouble(u"1e"), 1.0);
    EXPECT_EQ(TextToDouble(u".5"), 0.5);
    EXPECT_EQ(TextToDouble(u"."), 0.0);
    EXPECT_EQ(TextToDouble(u"1e999"), kInfinity);
    EXPECT_EQ(TextToDouble(u"-1e999"), -kInfinity);
    EXPECT_EQ(TextToDouble(u"1e-999"), 0.0);
}

TEST(Text, EscapingDoublesSingleQuotesAlone) {
    const auto escape = [](const char16_t* inText) {
        return std::u16string(OwnedTextU(EscapeStringU(inText, 0)).get());
    };
    EXPECT_EQ(escape(u"it's ''\\\""), u"it''s ''''\\\"");
    EXPECT_EQ(escape(u"'"), u"''");
    EXPECT_EQ(escape(u""), u"");
    EXPECT_EQ(escape(nullptr), u"");
}

} // namespace
} // namespace orkit::standin
