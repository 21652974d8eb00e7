/// @file
/// The conversion between UTF-8 and UTF-16 that all others use. Malformed input becomes U+FFFD, one for each
/// maximal sequence that could begin a character.
#pragma once

#include <cstddef>
#include <string>

#include "host/string.h"

namespace orkit::standin {

/// @param outText holds at least `inLength` code units. @return the units written.
std::size_t Utf8ToUtf16(const char* inText, std::size_t inLength, char16_t* outText) noexcept;

/// @param inLength in code units. @return the UTF-8 bytes.
std::string Utf16ToUtf8(const char16_t* inText, std::size_t inLength);

inline std::string ToUtf8(const String& inText) { return Utf16ToUtf8(inText.c_str(), inText.get_Length()); }

/// @param inText in UTF-8; may hold zero bytes.
inline String FromUtf8(const std::string& inText) {
    return String(inText.data(), static_cast<std::ptrdiff_t>(inText.size()));
}

} // namespace orkit::standin
