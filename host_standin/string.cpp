#include "host/string.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>

#include "host_standin/number_text.h"
#include "host_standin/utf.h"

namespace orkit {

namespace {

template <class Unit>
std::size_t LengthOf(const Unit* inText, std::ptrdiff_t inLength) noexcept {
    if (!inText) {
        return 0;
    }
    return inLength < 0 ? std::char_traits<Unit>::length(inText) : static_cast<std::size_t>(inLength);
}

std::u16string MakeUtf16(const char* inText, std::ptrdiff_t inLength) {
    const std::size_t length = LengthOf(inText, inLength);
    std::u16string text(length, u'\0');
    text.resize(standin::Utf8ToUtf16(inText, length, text.data()));
    return text;
}

} // namespace

class I_Converter {};

const String String::sEmpty;

String::String(const char* inText, std::ptrdiff_t inLength) : mText(MakeUtf16(inText, inLength)) {}

String& String::operator<<(std::uint64_t inNumber) {
    std::array<char, 20> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), inNumber).ptr;
    mText.append(digits.data(), end);
    return *this;
}

std::int64_t String::parseLLong() const noexcept { return standin::TextToInt64(mText); }

// There is only one character set here, so the converter has no content.
const I_Converter* GetConverter_UTF8() {
    static constexpr I_Converter kConverter;
    return &kConverter;
}

StFromUTF16::StFromUTF16(const char16_t* inText, std::ptrdiff_t inLength, const I_Converter*)
    : mText(standin::Utf16ToUtf8(inText, LengthOf(inText, inLength))) {}

StToUTF16::StToUTF16(const char* inText, std::ptrdiff_t inLength, const I_Converter*)
    : mText(MakeUtf16(inText, inLength)) {}

std::size_t ConvertToUTF16(const char* inText, std::size_t inLength, const I_Converter*,
                           char16_t* outBuffer) {
    return standin::Utf8ToUtf16(inText, inLength, outBuffer);
}

char16_t* EscapeStringU(const char16_t* inText, std::uint32_t) {
    const std::size_t length = LengthOf(inText, -1);
    const auto quotes = static_cast<std::size_t>(std::count(inText, inText + length, u'\''));
    auto* const escaped = new char16_t[length + quotes + 1];
    char16_t* to = escaped;
    for (std::size_t i = 0; i < length; ++i) {
        *to++ = inText[i];
        if (inText[i] == u'\'') {
            *to++ = u'\'';
        }
    }
    *to = u'\0';
    return escaped;
}

void FreeTextU(char16_t* inText) noexcept { delete[] inText; }

} // namespace orkit
