#include "result/text_buffer.h"

#include <cstdint>
#include <cstring>

namespace orkit::orsql {

namespace {

/// The letter after the backslash for a byte that has one, else 0.
constexpr char EscapeLetter(unsigned char inByte) noexcept {
    constexpr std::string_view kBytes = "\b\t\n\f\r\"\\";
    constexpr std::string_view kLetters = "btnfr\"\\";
    const std::size_t index = kBytes.find(static_cast<char>(inByte));
    return index == std::string_view::npos ? '\0' : kLetters[index];
}

/// Appends a text as the content of a JSON string: double quotes, backslashes and control characters are
/// escaped, all other bytes stay.
void AppendEscaped(std::string& ioJson, std::string_view inText) {
    static constexpr char kHexDigits[] = "0123456789abcdef";
    static constexpr std::size_t kReserveForEscapes = 16;

    ioJson.reserve(ioJson.size() + inText.size() + kReserveForEscapes);
    for (const char character : inText) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte >= 0x20 && byte != '"' && byte != '\\') {
            ioJson += character;
        } else if (const char letter = EscapeLetter(byte)) {
            ioJson += '\\';
            ioJson += letter;
        } else {
            ioJson += "\\u00";
            ioJson += kHexDigits[byte >> 4];
            ioJson += kHexDigits[byte & 0xF];
        }
    }
}

} // namespace

smart_ptr<I_Value> TextBuffer::MakeEnvelope(std::string_view inTypeName, std::string_view inText) {
    constexpr std::size_t kMostKept = std::size_t{1} << 20; // bytes
    mJson = R"({"duckdb_variant":true,"variant_type":")";
    AppendEscaped(mJson, inTypeName);
    mJson += R"(","value":")";
    AppendEscaped(mJson, UpToZero(inText));
    mJson += R"("})";
    smart_ptr<I_Value> value(CreateValueJSON(false, nullptr, nullptr));
    value->put_String(String(mJson.data(), static_cast<std::ptrdiff_t>(mJson.size())));
    if (mJson.capacity() > kMostKept) {
        mJson = std::string();
    }
    return value;
}

} // namespace orkit::orsql
