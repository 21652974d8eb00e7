#include <algorithm>
#include <vector>

#include "host/value.h"
#include "host_standin/value_support.h"

namespace orkit::orsql {

namespace {

// As text: two lower-case hexadecimal digits per byte.
class BinaryValue final : public AspectHost_imp, public I_ValueBinary {
public:
    BinaryValue(bool inIsNullable, std::uint32_t inLength)
        : AspectHost_imp(inIsNullable), mBytes(inLength), mCapacity(inLength) {}

    void* QueryInterface(std::uint32_t inInterfaceId) override {
        return inInterfaceId == I_ValueBinary::kInterfaceId ? static_cast<I_ValueBinary*>(this) : nullptr;
    }
    std::uint32_t get_Type() const override { return value_type::kFixedBinary; }
    std::uint32_t get_Length() const override { return BinaryValue::get_IsNull() ? 0 : get_Size(); }
    std::uint32_t get_MaxLength() const override { return mCapacity; }

    void put_Length(std::uint32_t inLength) override {
        if (inLength > mCapacity) {
            standin::ThrowValueError("the length is beyond the capacity of the value");
        }
        mBytes.resize(inLength);
        SetNotNull();
    }
    void put_MaxLength(std::uint32_t inMaxLength) override {
        if (inMaxLength < get_Size()) {
            standin::ThrowValueError("the bytes don't fit the new capacity");
        }
        mCapacity = inMaxLength;
    }

    void get_String(String& outText, std::int32_t inMaxLength) const override {
        static constexpr std::u16string_view kDigits = u"0123456789abcdef";
        std::u16string text;
        text.reserve(std::size_t{2} * get_Length());
        for (std::uint32_t i = 0; i < get_Length(); ++i) {
            text += kDigits[mBytes[i] >> 4];
            text += kDigits[mBytes[i] & 0xF];
        }
        detail::GiveText(text, inMaxLength, outText);
    }

    std::uint32_t ReadBytes(void* outBuffer, std::uint32_t inLength) const override {
        const std::uint32_t length = std::min(inLength, get_Length());
        std::copy_n(mBytes.begin(), length, static_cast<std::uint8_t*>(outBuffer));
        return length;
    }
    void WriteBytes(const void* inData, std::uint32_t inLength) override {
        if (inLength > get_Size()) {
            standin::ThrowValueError("more bytes than the length of the value");
        }
        std::copy_n(static_cast<const std::uint8_t*>(inData), inLength, mBytes.begin());
        SetNotNull();
    }

private:
    std::uint32_t get_Size() const { return static_cast<std::uint32_t>(mBytes.size()); }

    std::vector<std::uint8_t> mBytes;
    std::uint32_t mCapacity;
};

} // namespace

I_Value* CreateValueFixedBinary(bool inIsNullable, const void* inTypeParameter, const void*) {
    const std::uint32_t length = inTypeParameter ? *static_cast<const std::uint32_t*>(inTypeParameter) : 0;
    return detail::NewValue<BinaryValue>(inIsNullable, length);
}

} // namespace orkit::orsql
