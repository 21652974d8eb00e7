/// @file
/// The conversions between UTF-8, which DuckDB speaks, and the host's text.
#pragma once

#include <cstddef>

#include "host/string.h"

namespace orkit::orsql {

/// @param inText UTF-8; null counts as empty. @param inLength in bytes; -1 means zero-terminated.
inline String StringFromUTF8(const char* inText, std::ptrdiff_t inLength = -1) {
    const StToUTF16 wide(inText, inLength, GetConverter_UTF8());
    return String(wide.c_str(), static_cast<std::ptrdiff_t>(wide.get_Length()));
}

/// The text in UTF-8, held by the object that is returned.
inline StFromUTF16 ToUTF8(const String& inText) { return {inText, GetConverter_UTF8()}; }

/// DuckDB's text, or the fixed text where DuckDB gives none.
inline const char* TextOr(const char* inDuckDBText, const char* inFixedText) noexcept {
    return inDuckDBText ? inDuckDBText : inFixedText;
}

} // namespace orkit::orsql
