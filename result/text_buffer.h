/// @file
/// From DuckDB's UTF-8 to host texts through one buffer that is kept.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include <duckdb.h>

#include "host/string.h"
#include "host/unknown.h"
#include "host/value.h"

namespace orkit::orsql {

/// The bytes of a text or blob of a vector; good as long as the vector and the string stay where they are.
inline std::string_view ViewOf(const duckdb_string_t& inString) noexcept {
    const std::size_t length = inString.value.inlined.length;
    return {length <= sizeof(inString.value.inlined.inlined) ? inString.value.inlined.inlined
                                                             : inString.value.pointer.ptr,
            length};
}

/// Makes values of texts. Its buffers grow to the longest text that it met and stay, so that a text costs no
/// allocation besides the value's own.
class TextBuffer {
public:
    /// What TextToStringValue makes of the text up to its first zero byte. @param inText UTF-8.
    smart_ptr<I_Value> MakeString(std::string_view inText);

    /// What MakeEnvelopeValue makes of the text up to its first zero byte. @param inTypeName, inText UTF-8.
    smart_ptr<I_Value> MakeEnvelope(std::string_view inTypeName, std::string_view inText);

private:
    /// @param inText UTF-8, taken whole.
    String Widen(std::string_view inText);

    const I_Converter* mConverter = GetConverter_UTF8();
    std::unique_ptr<char16_t[]> mWide;
    std::size_t mRoom = 0; // of mWide, in code units
    std::string mJson;
};

} // namespace orkit::orsql
