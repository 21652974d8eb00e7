/// @file
/// The one way between UTF-8 and the host's text, and the one way to raise a failure with a context.
#pragma once

#include <cstddef>

#include "host/exceptions.h"
#include "host/string.h"

namespace orkit::orsql {

/// The context of failures for which no database is at hand.
inline constexpr const char* kUnknownContext = "unknown";

/// @param inText UTF-8; null counts as empty. @param inLength in bytes; -1 means zero-terminated.
inline String StringFromUTF8(const char* inText, std::ptrdiff_t inLength = -1) {
    const StToUTF16 wide(inText, inLength, GetConverter_UTF8());
    return String(wide.c_str(), static_cast<std::ptrdiff_t>(wide.get_Length()));
}

/// A text of DuckDB's, or the fixed text where DuckDB gives none.
inline const char* TextOr(const char* inDuckDBText, const char* inFixedText) noexcept {
    return inDuckDBText ? inDuckDBText : inFixedText;
}

/// Raises xDuckDBError, code 468225.
/// @param inContext the first text, mostly the database's name.
/// @param inMessage the second text in UTF-8; read before the exception is raised, so that it may belong to a
/// handle that goes on the way out.
[[noreturn]] inline void RaiseDuckDBError(const String& inContext, const char* inMessage) {
    throw xDuckDBError(error_code::kDuckDB, inContext.c_str(), StringFromUTF8(inMessage).c_str(), nullptr,
                       nullptr);
}

} // namespace orkit::orsql
