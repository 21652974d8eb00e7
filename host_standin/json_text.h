/// @file
/// JSON texts (RFC 8259) in UTF-16, read and written. An escape of half a surrogate pair makes a text
/// invalid. There is no limit on numbers or nesting: a number is kept as its text, and no depth overflows the
/// stack.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/string.h"
#include "host/value.h"

namespace orkit::standin {

enum class JsonKind : std::uint8_t { Null, Boolean, Number, String, Object, Array };

/// A member of the top-level object.
struct JsonMember {
    std::u16string mName;
    JsonKind mKind = JsonKind::Null;
    /// A string's decoded text; any other value's JSON text, unchanged.
    std::u16string mText;
};

/// The kind of value that the text is; nothing if it isn't JSON.
std::optional<JsonKind> CheckJson(std::u16string_view inText);

/// The members of the top-level object in their order, including several of one name. Empty if the text is
/// another kind of value; nothing if it isn't JSON.
std::optional<std::vector<JsonMember>> ReadJsonMembers(std::u16string_view inText);

/// The first member with exactly this name.
std::optional<JsonMember> FindJsonMember(std::u16string_view inText, std::u16string_view inName);

/// A value as JSON text:
///
/// | Value | JSON |
/// |---|---|
/// | null, a null pointer, an empty JSON value, a holder of nothing | null |
/// | Boolean | true, false |
/// | number | the number's text; "Infinity", "-Infinity" and "NaN" as strings |
/// | JSON value | its text, unchanged |
/// | array | an array |
/// | holder | the inner value |
/// | binary | a string of two lower-case hexadecimal digits per byte |
/// | date, time, text, enum | a string of the value's text |
String ValueToJson(const orsql::I_Value& inValue);

} // namespace orkit::standin
