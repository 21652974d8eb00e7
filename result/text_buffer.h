/// @file
/// Values made of DuckDB's texts: plain texts and envelopes.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include <duckdb.h>

#include "host/string.h"
#include "host/unknown.h"
#include "host/value.h"

namespace orkit::orsql {

/// The bytes of a text or blob of a vector; valid as long as the vector and the string stay where they are.
inline std::string_view ViewOf(const duckdb_string_t& inString) noexcept {
    const std::size_t length = inString.value.inlined.length;
    return {length <= sizeof(inString.value.inlined.inlined) ? inString.value.inlined.inlined
                                                             : inString.value.pointer.ptr,
            length};
}

/// Makes values from texts, up to their first zero byte.
class TextBuffer {
public:
    /// A String value. @param inText UTF-8.
    smart_ptr<I_Value> MakeString(std::string_view inText);

    /// The same for a text that is wide already; uses all of it.
    static smart_ptr<I_Value> MakeString(const String& inText);

    /// A JSON value that holds an envelope, the form for a DuckDB value that has no host type. statement/
    /// reads it: `{"duckdb_variant":true,"variant_type":"...","value":"..."}`.
    /// @param inTypeName, inText UTF-8; escaped as RFC 8259 says.
    smart_ptr<I_Value> MakeEnvelope(std::string_view inTypeName, std::string_view inText);

private:
    std::string mJson; // kept, so that an envelope costs no allocation of its own
};

} // namespace orkit::orsql
