#include "shell/text.h"

#include <algorithm>

#include <fmt/format.h>
#include <utf8proc.h>

namespace orlimbara::shell {

namespace {

char LowerAscii(char inCharacter) {
    return inCharacter >= 'A' && inCharacter <= 'Z' ? static_cast<char>(inCharacter - 'A' + 'a')
                                                    : inCharacter;
}

/// Walks the code points of a text; an invalid byte counts as U+FFFD of one byte.
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
    return std::all_of(inText.begin(), inText.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

} // namespace

std::string ToUtf8(const orkit::String& inText) {
    const orkit::StFromUTF16 converted(inText, orkit::GetConverter_UTF8());
    return std::string(converted.c_str(), converted.get_Length());
}

orkit::String ToHost(std::string_view inText) {
    // A null pointer would stand for "no text", which is the same String, but only data() may be null.
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

std::string OneLine(std::string_view inText) {
    std::string line;
    line.reserve(inText.size());
    for (const char c : inText) {
        switch (c) {
        case '\n':
            line += "\\n";
            break;
        case '\r':
            line += "\\r";
            break;
        case '\t':
            line += "\\t";
            break;
        default:
            if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) {
                line += fmt::format("\\x{:02X}", static_cast<unsigned>(static_cast<unsigned char>(c)));
            } else {
                line += c;
            }
        }
    }
    return line;
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
