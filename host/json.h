/// @file
/// Reading one JSON text.
#pragma once

#include <memory>

#include "host/string.h"

namespace orkit {

/// A JSON text (RFC 8259), parsed once. There is no limit on nesting or on the length of numbers. An escape
/// of half a surrogate pair is invalid.
class Json {
public:
    /// @param inText zero-terminated UTF-8; null counts as an empty text, which isn't valid.
    explicit Json(const char* inText);
    ~Json();
    Json(const Json&) = delete;
    Json& operator=(const Json&) = delete;

    /// Whether the whole text is one JSON value.
    bool isValid() const noexcept;
    /// The member of the top-level object, the first if several have the name: a string's decoded text, any
    /// other value's JSON text. An empty String if there is no such member, the member is null, or the text
    /// isn't an object.
    String get_JsonValue(const String& inName) const;

private:
    struct Imp;
    std::unique_ptr<Imp> mImp;
};

} // namespace orkit
