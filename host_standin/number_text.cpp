#include "host_standin/number_text.h"

#include <algorithm>
#include <clocale>
#include <cstdlib>
#include <string>

namespace orkit::standin {

namespace {

bool IsSpace(char16_t inUnit) noexcept { return inUnit == u' ' || (inUnit >= u'\t' && inUnit <= u'\r'); }
bool IsDigit(char16_t inUnit) noexcept { return inUnit >= u'0' && inUnit <= u'9'; }
bool IsSign(char16_t inUnit) noexcept { return inUnit == u'+' || inUnit == u'-'; }

std::size_t SkipDigits(std::u16string_view inText, std::size_t inFrom) noexcept {
    while (inFrom < inText.size() && IsDigit(inText[inFrom])) {
        ++inFrom;
    }
    return inFrom;
}

std::u16string_view SkipSpace(std::u16string_view inText) noexcept {
    while (!inText.empty() && IsSpace(inText.front())) {
        inText.remove_prefix(1);
    }
    return inText;
}

// The end of the exponent at `inFrom`, or `inFrom` if there is none.
std::size_t SkipExponent(std::u16string_view inText, std::size_t inFrom) noexcept {
    std::size_t at = inFrom;
    if (at >= inText.size() || (inText[at] != u'e' && inText[at] != u'E')) {
        return inFrom;
    }
    ++at;
    if (at < inText.size() && IsSign(inText[at])) {
        ++at;
    }
    const std::size_t end = SkipDigits(inText, at);
    return end > at ? end : inFrom;
}

// A number that is too big or too small for from_chars: strtod tells which, in the locale "C".
double ConvertOutOfRange(const std::string& inDigits) noexcept {
#ifdef _WIN32
    static const _locale_t locale = _create_locale(LC_ALL, "C");
    return _strtod_l(inDigits.c_str(), nullptr, locale);
#else
    static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
    return strtod_l(inDigits.c_str(), nullptr, locale);
#endif
}

double ConvertWord(std::u16string_view inText) noexcept {
    const bool isNegative = inText.starts_with(u'-');
    if (isNegative) {
        inText.remove_prefix(1);
    }
    if (inText.starts_with(u"Infinity")) {
        constexpr double kInfinity = std::numeric_limits<double>::infinity();
        return isNegative ? -kInfinity : kInfinity;
    }
    return inText.starts_with(u"NaN") ? std::numeric_limits<double>::quiet_NaN() : 0.0;
}

// The number's optional sign, digits and, if `inIsFloat`, its fraction and exponent; empty if there is none.
std::u16string_view FindNumber(std::u16string_view inText, bool inIsFloat) noexcept {
    inText = SkipSpace(inText);
    const std::size_t begin = !inText.empty() && IsSign(inText.front()) ? 1 : 0;
    std::size_t end = SkipDigits(inText, begin);
    std::size_t digits = end - begin;
    if (inIsFloat && end < inText.size() && inText[end] == u'.') {
        const std::size_t fractionEnd = SkipDigits(inText, end + 1);
        digits += fractionEnd - end - 1;
        end = fractionEnd;
    }
    if (digits == 0) {
        return {};
    }
    return inText.substr(0, inIsFloat ? SkipExponent(inText, end) : end);
}

struct Integer {
    bool mIsNegative = false;
    std::uint64_t mMagnitude = 0; // at most 2^64 - 1
};

Integer FindInteger(std::u16string_view inText) noexcept {
    std::u16string_view digits = FindNumber(inText, false);
    Integer found;
    if (!digits.empty() && IsSign(digits.front())) {
        found.mIsNegative = digits.front() == u'-';
        digits.remove_prefix(1);
    }
    constexpr std::uint64_t kLimit = std::numeric_limits<std::uint64_t>::max();
    for (const char16_t digit : digits) {
        const auto value = static_cast<std::uint64_t>(digit - u'0');
        if (found.mMagnitude > (kLimit - value) / 10) {
            found.mMagnitude = kLimit;
            break;
        }
        found.mMagnitude = found.mMagnitude * 10 + value;
    }
    return found;
}

std::int64_t ToSigned(const Integer& inInteger) noexcept {
    constexpr auto kMax = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    if (inInteger.mIsNegative) {
        return static_cast<std::int64_t>(0 - std::min(inInteger.mMagnitude, kMax + 1));
    }
    return static_cast<std::int64_t>(std::min(inInteger.mMagnitude, kMax));
}

} // namespace

std::int64_t TextToInt64(std::u16string_view inText) noexcept { return ToSigned(FindInteger(inText)); }

std::uint64_t TextToUInt64(std::u16string_view inText) noexcept {
    const Integer integer = FindInteger(inText);
    return integer.mIsNegative ? static_cast<std::uint64_t>(ToSigned(integer)) : integer.mMagnitude;
}

double TextToDouble(std::u16string_view inText) {
    const std::u16string_view number = FindNumber(inText, true);
    if (number.empty()) {
        return ConvertWord(SkipSpace(inText));
    }
    // from_chars accepts a minus, but no plus.
    const std::string digits(number.begin() + (number.front() == u'+' ? 1 : 0), number.end());
    double value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    return error == std::errc::result_out_of_range ? ConvertOutOfRange(digits) : value;
}

} // namespace orkit::standin
