/// @file
/// Values made of DuckDB's texts: plain texts and envelopes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include <duckdb.h>

#include "duckdb_support/handles.h"
#include "host/string.h"
#include "host/unknown.h"
#include "host/value.h"

namespace orkit::orsql {

using orlimbara::duckdb_support::ViewOf;

/// Makes values from texts, up to their first zero byte.
class TextBuffer {
public:
    /// A String value. @param inText UTF-8.
    static smart_ptr<I_Value> MakeString(std::string_view inText) {
        const std::string_view text = UpToZero(inText);
        return MakeString(String(text.data(), static_cast<std::ptrdiff_t>(text.size())));
    }

    /// The same for a text that is wide already; uses all of it.
    static smart_ptr<I_Value> MakeString(const String& inText) {
        smart_ptr<I_Value> value(CreateValueString(false, nullptr, nullptr));
        value->put_MaxLength(static_cast<std::uint32_t>(2 * inText.get_Length() + 2));
        value->put_String(inText);
        return value;
    }

    /// A JSON value that holds an envelope, the form for a DuckDB value that has no host type. statement/
    /// reads it: `{"duckdb_variant":true,"variant_type":"...","value":"..."}`.
    /// @param inTypeName, inText UTF-8; escaped as RFC 8259 says.
    smart_ptr<I_Value> MakeEnvelope(std::string_view inTypeName, std::string_view inText);

private:
    /// With DuckDB's C functions the text of a value ends at its first zero byte.
    static std::string_view UpToZero(std::string_view inText) noexcept {
        if (inText.empty()) {
            return {};
        }
        const void* const zero = std::memchr(inText.data(), 0, inText.size());
        return zero ? inText.substr(0,
                                    static_cast<std::size_t>(static_cast<const char*>(zero) - inText.data()))
                    : inText;
    }

    std::string mJson; // kept, so that an envelope costs no allocation of its own
};

} // namespace orkit::orsql
