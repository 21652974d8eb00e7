/// @file
/// UTF-8 text in the shell: conversion to and from the host's String, display width, small helpers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "host/string.h"

namespace orlimbara::shell {

/// UTF-8 of a host text; unpaired surrogates become U+FFFD.
std::string ToUtf8(const orkit::String& inText);
/// The same, reusing the memory of `outText`.
void AssignUtf8(const orkit::String& inText, std::string& outText);
/// A host text from UTF-8; invalid bytes become U+FFFD. Zero characters are kept.
orkit::String ToHost(std::string_view inText);
/// `inText` with every invalid byte replaced by U+FFFD, so that it is UTF-8.
std::string ValidUtf8(std::string_view inText);

/// The columns that a UTF-8 text takes on a terminal: wide characters count 2, combining ones 0.
std::size_t DisplayWidth(std::string_view inText);
/// `inText` itself if it is at most `inWidth` columns wide, else its beginning and "…", together at most
/// `inWidth` columns. @param inWidth at least 1.
std::string CutToWidth(std::string_view inText, std::size_t inWidth);
/// The text with everything that could affect a terminal escaped: control characters except line feed and tab
/// (C0, DEL, C1) as \xNN, bidirectional controls as \uNNNN. Bytes that aren't UTF-8 become U+FFFD.
std::string Harmless(std::string_view inText);
/// The same with \n and \t for line feed and tab: one line.
std::string OneLine(std::string_view inText);
/// The same for JSON, with JSON's escapes \u00NN, so that it stays the same JSON.
std::string HarmlessJson(std::string_view inJson);

/// Eight bytes of a text, searched with a few operations on one number.
class Bytes8 {
public:
    explicit Bytes8(std::uint64_t inBytes) : mBytes(inBytes) {}
    bool Has(char inByte) const {
        const Bytes8 difference(mBytes ^ (kOnes * static_cast<unsigned char>(inByte)));
        return difference.HasBelow(1);
    }
    /// @param inLimit at most 128.
    bool HasBelow(unsigned char inLimit) const {
        return ((mBytes - kOnes * inLimit) & ~mBytes & kOnes << 7) != 0;
    }
    bool IsAscii() const { return (mBytes & kOnes << 7) == 0; }

private:
    static constexpr std::uint64_t kOnes = 0x0101010101010101;
    std::uint64_t mBytes;
};

/// Whether `inTest` is true for any part of a text. It gets eight bytes at a time, padded with letters.
template <class Test>
bool HasAny(std::string_view inText, Test inTest) {
    std::uint64_t word = 0x6161616161616161;
    if (inText.size() < sizeof word) {
        for (const char byte : inText) {
            word = word << 8 | static_cast<unsigned char>(byte);
        }
        return inTest(Bytes8(word));
    }
    const char* const last = inText.data() + inText.size() - sizeof word;
    for (const char* text = inText.data(); text < last; text += sizeof word) {
        std::memcpy(&word, text, sizeof word);
        if (inTest(Bytes8(word))) {
            return true;
        }
    }
    std::memcpy(&word, last, sizeof word);
    return inTest(Bytes8(word));
}

/// ASCII whitespace: space, tab, line feed, carriage return, form feed, vertical tab.
bool IsWhitespace(char inCharacter);
inline bool IsDigit(char inCharacter) { return inCharacter >= '0' && inCharacter <= '9'; }
/// Without the whitespace at both ends.
std::string_view Trim(std::string_view inText);
/// Whether two texts are equal, ignoring the case of ASCII letters.
bool EqualsIgnoringCase(std::string_view inLeft, std::string_view inRight);
/// Whether `inText` begins with `inPrefix`, ignoring the case of ASCII letters.
bool StartsIgnoringCase(std::string_view inText, std::string_view inPrefix);

} // namespace orlimbara::shell
