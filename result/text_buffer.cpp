#include "result/text_buffer.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "result/envelope.h"

namespace orkit::orsql {

namespace {

/// Through C the text of a value ends at its first zero byte.
std::string_view UpToZero(std::string_view inText) noexcept {
    if (inText.empty()) {
        return {};
    }
    const void* const zero = std::memchr(inText.data(), 0, inText.size());
    return zero ? inText.substr(0, static_cast<std::size_t>(static_cast<const char*>(zero) - inText.data()))
                : inText;
}

} // namespace

smart_ptr<I_Value> TextBuffer::MakeString(std::string_view inText) {
    const String text = Widen(UpToZero(inText));
    smart_ptr<I_Value> value(CreateValueString(false, nullptr, nullptr));
    value->put_MaxLength(static_cast<std::uint32_t>(2 * text.get_Length() + 2));
    value->put_String(text);
    return value;
}

smart_ptr<I_Value> TextBuffer::MakeEnvelope(std::string_view inTypeName, std::string_view inText) {
    mJson.clear();
    AppendEnvelope(mJson, inTypeName, UpToZero(inText));
    smart_ptr<I_Value> value(CreateValueJSON(false, nullptr, nullptr));
    value->put_String(Widen(mJson));
    return value;
}

String TextBuffer::Widen(std::string_view inText) {
    if (mRoom < inText.size()) {
        const std::size_t room = std::max(inText.size(), 2 * mRoom);
        mWide = std::make_unique_for_overwrite<char16_t[]>(room);
        mRoom = room;
    }
    const std::size_t length = ConvertToUTF16(inText.data(), inText.size(), mConverter, mWide.get());
    return String(mWide.get(), static_cast<std::ptrdiff_t>(length));
}

} // namespace orkit::orsql
