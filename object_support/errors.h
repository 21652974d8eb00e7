/// @file
/// The one way to throw xDuckDBError.
#pragma once

#include "host/exceptions.h"
#include "host/string.h"
#include "object_support/text.h"

namespace orkit::orsql {

/// The context of failures for which no database is at hand.
inline constexpr const char* kUnknownContext = "unknown";
/// The context of values that DuckDB can't take or give.
inline constexpr const char* kValueContext = "value";

/// Throws xDuckDBError, code 468225.
/// @param inContext the first text, mostly the database's name.
[[noreturn]] inline void ThrowDuckDBError(const String& inContext, const String& inMessage) {
    throw xDuckDBError(error_code::kDuckDB, inContext.c_str(), inMessage.c_str(), nullptr, nullptr);
}

/// The same with a UTF-8 message, which is copied first: it may belong to a handle that the exception ends.
[[noreturn]] inline void ThrowDuckDBError(const String& inContext, const char* inMessage) {
    ThrowDuckDBError(inContext, StringFromUTF8(inMessage));
}

} // namespace orkit::orsql
