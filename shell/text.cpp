#include "shell/text.h"

#include <algorithm>
#include <array>
#include <cstring>

#include <fmt/format.h>
#include <utf8proc.h>

namespace orlimbara::shell {

namespace {

char LowerAscii(char inCharacter) {
    return inCharacter >= 'A' && inCharacter <= 'Z' ? static_cast<char>(inCharacter - 'A' + 'a')
                                                    : inCharacter;
}

/// Iterates over the code points of a text; an invalid byte counts as a U+FFFD of one byte.
template <class OnCodePoint>
void WalkCodePoints(std::string_view inText, OnCodePoint inOnCodePoint) {
    const auto* bytes = reinterpret_cast<const utf8proc_uint8_t*>(inText.data());
    std::size_t position = 0;
    while (position < inText.size()) {
        utf8proc_int32_t codePoint = 0;
        utf8proc_ssize_t length = utf8proc_iterate(
            bytes + position, static_cast<utf8proc_ssize_t>(inText.size() - position), &codePoint);
        if (length < 1) {
            length = 1;
            codePoint = 0xFFFD;
        }
        if (!inOnCodePoint(codePoint, position, static_cast<std::size_t>(length))) {
            return;
        }
        position += static_cast<std::size_t>(length);
    }
}

std::size_t WidthOf(utf8proc_int32_t inCodePoint) {
    return static_cast<std::size_t>(std::max(0, utf8proc_charwidth(inCodePoint)));
}

bool IsAscii(std::string_view inText) {
    return !HasAny(inText, [](Bytes8 bytes) { return !bytes.IsAscii(); });
}

/// Narrows so many units. @return all their bits.
template <std::size_t kCount>
unsigned NarrowUnits(const char16_t* inText, char* outText) {
    std::array<char16_t, kCount> units;
    std::array<char, kCount> bytes;
    std::memcpy(units.data(), inText, sizeof units);
    unsigned bits = 0;
    for (std::size_t i = 0; i < kCount; ++i) {
        bits |= units[i];
        bytes[i] = static_cast<char>(units[i]);
    }
    std::memcpy(outText, bytes.data(), sizeof bytes);
    return bits;
}

/// Narrows a text. @return false if it isn't all ASCII; what was written then means nothing.
bool NarrowAscii(const char16_t* inText, std::size_t inLength, char* outText) {
    constexpr std::size_t kBlock = 8;
    unsigned bits = 0;
    if (inLength < kBlock) {
        for (std::size_t i = 0; i < inLength; ++i) {
            bits |= NarrowUnits<1>(inText + i, outText + i);
        }
        return bits < 0x80;
    }
    const std::size_t last = inLength - kBlock;
    for (std::size_t i = 0; i < last; i += kBlock) {
        bits |= NarrowUnits<kBlock>(inText + i, outText + i);
    }
    return (bits | NarrowUnits<kBlock>(inText + last, outText + last)) < 0x80; // again what overlaps
}

/// Whether a character could do more to a terminal than show itself.
bool IsControl(utf8proc_int32_t inCodePoint) {
    return inCodePoint < 0x20 || (inCodePoint >= 0x7F && inCodePoint < 0xA0) || inCodePoint == 0x061C ||
           inCodePoint == 0x200E || inCodePoint == 0x200F ||
           (inCodePoint >= 0x202A && inCodePoint <= 0x202E) ||
           (inCodePoint >= 0x2066 && inCodePoint <= 0x2069);
}

void AppendEscape(std::string& ioText, char32_t inCodePoint) {
    const auto number = static_cast<std::uint32_t>(inCodePoint);
    ioText += number < 0x100 ? fmt::format("\\x{:02x}", number) : fmt::format("\\u{:04x}", number);
}

bool IsPlainAscii(std::string_view inText) {
    return !HasAny(inText,
                   [](Bytes8 bytes) { return !bytes.IsAscii() || bytes.HasBelow(' ') || bytes.Has(0x7F); });
}

/// A copy in which `inAppend` writes each control character.
template <class AppendControl>
std::string Escape(std::string_view inText, AppendControl inAppend) {
    if (IsPlainAscii(inText)) {
        return std::string(inText);
    }
    std::string text;
    text.reserve(inText.size());
    WalkCodePoints(inText, [&](utf8proc_int32_t codePoint, std::size_t position, std::size_t length) {
        const std::string_view bytes = inText.substr(position, length);
        if (IsControl(codePoint)) {
            inAppend(text, static_cast<char32_t>(codePoint));
        } else if (codePoint == 0xFFFD) {
            text += "\xEF\xBF\xBD"; // perhaps in place of a byte that isn't UTF-8
        } else {
            text += bytes;
        }
        return true;
    });
    return text;
}

} // namespace

std::string ToUtf8(const orkit::String& inText) {
    std::string text;
    AssignUtf8(inText, text);
    return text;
}

void AssignUtf8(const orkit::String& inText, std::string& outText) {
    outText.resize(inText.get_Length());
    if (!NarrowAscii(inText.c_str(), inText.get_Length(), outText.data())) {
        const orkit::StFromUTF16 converted(inText, orkit::GetConverter_UTF8());
        outText.assign(converted.c_str(), converted.get_Length());
    }
}

orkit::String ToHost(std::string_view inText) {
    // data() of an empty view may be null, which means "no text" and gives the same String.
    return inText.empty() ? orkit::String()
                          : orkit::String(inText.data(), static_cast<std::ptrdiff_t>(inText.size()));
}

std::string ValidUtf8(std::string_view inText) {
    if (IsAscii(inText)) {
        return std::string(inText);
    }
    return ToUtf8(ToHost(inText));
}

std::size_t DisplayWidth(std::string_view inText) {
    std::size_t width = 0;
    WalkCodePoints(inText, [&](utf8proc_int32_t codePoint, std::size_t, std::size_t) {
        width += WidthOf(codePoint);
        return true;
    });
    return width;
}

std::string CutToWidth(std::string_view inText, std::size_t inWidth) {
    if (DisplayWidth(inText) <= inWidth) {
        return std::string(inText);
    }
    std::size_t width = 0;
    std::size_t end = 0;
    WalkCodePoints(inText, [&](utf8proc_int32_t codePoint, std::size_t position, std::size_t length) {
        width += WidthOf(codePoint);
        if (width + 1 > inWidth) {
            return false;
        }
        end = position + length;
        return true;
    });
    return std::string(inText.substr(0, end)) + "…";
}

std::string Harmless(std::string_view inText) {
    return Escape(inText, [](std::string& ioText, char32_t inCodePoint) {
        if (inCodePoint == '\n' || inCodePoint == '\t') {
            ioText += static_cast<char>(inCodePoint);
        } else {
            AppendEscape(ioText, inCodePoint);
        }
    });
}

std::string OneLine(std::string_view inText) {
    return Escape(inText, [](std::string& ioText, char32_t inCodePoint) {
        if (inCodePoint == '\n' || inCodePoint == '\t') {
            ioText += inCodePoint == '\n' ? "\\n" : "\\t";
        } else {
            AppendEscape(ioText, inCodePoint);
        }
    });
}

std::string HarmlessJson(std::string_view inJson) {
    return Escape(inJson, [](std::string& ioText, char32_t inCodePoint) {
        if (inCodePoint < 0x20) { // JSON writes those of its texts as escapes: these lie between its members
            ioText += static_cast<char>(inCodePoint);
        } else {
            ioText += fmt::format("\\u{:04x}", static_cast<std::uint32_t>(inCodePoint));
        }
    });
}

bool IsWhitespace(char inCharacter) {
    return inCharacter == ' ' || (inCharacter >= '\t' && inCharacter <= '\r');
}

std::string_view Trim(std::string_view inText) {
    while (!inText.empty() && IsWhitespace(inText.front())) {
        inText.remove_prefix(1);
    }
    while (!inText.empty() && IsWhitespace(inText.back())) {
        inText.remove_suffix(1);
    }
    return inText;
}

bool EqualsIgnoringCase(std::string_view inLeft, std::string_view inRight) {
    return inLeft.size() == inRight.size() && StartsIgnoringCase(inLeft, inRight);
}

bool StartsIgnoringCase(std::string_view inText, std::string_view inPrefix) {
    return inText.size() >= inPrefix.size() &&
           std::equal(inPrefix.begin(), inPrefix.end(), inText.begin(),
                      [](char left, char right) { return LowerAscii(left) == LowerAscii(right); });
}

} // namespace orlimbara::shell
