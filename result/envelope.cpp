#include "result/envelope.h"

#include "object_support/text.h"

namespace orkit::orsql {

namespace {

/// The letter behind the backslash for a byte that has one, else 0.
constexpr char EscapeLetter(unsigned char inByte) noexcept {
    switch (inByte) {
    case '\b':
        return 'b';
    case '\t':
        return 't';
    case '\n':
        return 'n';
    case '\f':
        return 'f';
    case '\r':
        return 'r';
    case '"':
        return '"';
    case '\\':
        return '\\';
    default:
        return 0;
    }
}

} // namespace

std::string EscapeJsonString(std::string_view inText) {
    std::string escaped;
    AppendEscapedJson(escaped, inText);
    return escaped;
}

void AppendEscapedJson(std::string& ioJson, std::string_view inText) {
    static constexpr char kHexDigits[] = "0123456789abcdef";
    static constexpr std::size_t kRoomForEscapes = 16;

    ioJson.reserve(ioJson.size() + inText.size() + kRoomForEscapes);
    for (const char character : inText) {
        const auto byte = static_cast<unsigned char>(character);
        if (const char letter = EscapeLetter(byte)) {
            ioJson += '\\';
            ioJson += letter;
        } else if (byte < 0x20) {
            ioJson += "\\u00";
            ioJson += kHexDigits[byte >> 4];
            ioJson += kHexDigits[byte & 0xF];
        } else {
            ioJson += character;
        }
    }
}

void AppendEnvelope(std::string& ioJson, std::string_view inTypeName, std::string_view inText) {
    ioJson += R"({"duckdb_variant":true,"variant_type":")";
    AppendEscapedJson(ioJson, inTypeName);
    ioJson += R"(","value":")";
    AppendEscapedJson(ioJson, inText);
    ioJson += R"("})";
}

smart_ptr<I_Value> MakeEnvelopeValue(std::string_view inTypeName, std::string_view inText) {
    std::string json;
    AppendEnvelope(json, inTypeName, inText);
    smart_ptr<I_Value> value(CreateValueJSON(false, nullptr, nullptr));
    value->put_String(StringFromUTF8(json.data(), static_cast<std::ptrdiff_t>(json.size())));
    return value;
}

} // namespace orkit::orsql
