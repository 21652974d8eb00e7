#include <limits>
#include <optional>

#include "host/value.h"
#include "host_standin/json_text.h"
#include "host_standin/number_text.h"
#include "host_standin/value_support.h"

namespace orkit::orsql {

namespace {

using detail::ViewOf;

// Base of all text values: as numbers they read as the number that the text begins with.
class TextValue : public AspectHost_imp {
public:
    std::uint32_t get_Length() const override {
        return static_cast<std::uint32_t>(get_Text().size() * sizeof(char16_t));
    }
    void get_String(String& outText, std::int32_t inMaxLength) const override {
        detail::GiveText(get_Text(), inMaxLength, outText);
    }

    bool get_Boolean() const override { return standin::ConvertNumber<bool>(get_Double()); }
    std::uint8_t get_Byte() const override { return static_cast<std::uint8_t>(get_LLong()); }
    std::int16_t get_Short() const override { return static_cast<std::int16_t>(get_LLong()); }
    std::uint16_t get_UShort() const override { return static_cast<std::uint16_t>(get_LLong()); }
    std::int32_t get_Long() const override { return static_cast<std::int32_t>(get_LLong()); }
    std::uint32_t get_ULong() const override { return static_cast<std::uint32_t>(get_LLong()); }
    std::int64_t get_LLong() const override { return standin::TextToInt64(get_Text()); }
    std::uint64_t get_ULLong() const override { return standin::TextToUInt64(get_Text()); }
    float get_Float() const override { return static_cast<float>(get_Double()); }
    double get_Double() const override { return standin::TextToDouble(get_Text()); }

protected:
    explicit TextValue(bool inIsNullable) : AspectHost_imp(inIsNullable) {}
    TextValue(bool inIsNullable, const String& inText) : AspectHost_imp(inIsNullable), mText(inText) {}

    // Empty while the value is null.
    std::u16string_view get_Text() const {
        return TextValue::get_IsNull() ? std::u16string_view() : ViewOf(mText);
    }

    void SetText(const String& inText) {
        mText = inText;
        SetNotNull();
    }

private:
    String mText;
};

class StringValue final : public TextValue {
public:
    explicit StringValue(bool inIsNullable) : TextValue(inIsNullable) {}

    std::uint32_t get_Type() const override { return value_type::kString; }
    std::uint32_t get_MaxLength() const override { return mCapacity; }

    void put_MaxLength(std::uint32_t inMaxLength) override {
        if (!get_Text().empty() && NeededCapacity(get_Text()) > inMaxLength) {
            standin::ThrowValueError("the text doesn't fit the new capacity");
        }
        mCapacity = inMaxLength;
    }

    void put_String(const String& inText) override {
        if (NeededCapacity(ViewOf(inText)) > mCapacity) {
            standin::ThrowValueError("the text doesn't fit the capacity of the value");
        }
        SetText(inText);
    }

private:
    // With the terminator.
    static std::size_t NeededCapacity(std::u16string_view inText) {
        return (inText.size() + 1) * sizeof(char16_t);
    }

    std::uint32_t mCapacity = 0;
};

class EnumValue final : public TextValue {
public:
    EnumValue(bool inIsNullable, const String& inText) : TextValue(inIsNullable, inText) {}
    std::uint32_t get_Type() const override { return value_type::kEnum; }
};

smart_ptr<I_Value> MakeString(std::u16string_view inText) {
    smart_ptr<I_Value> value = CreateValueString(false, nullptr, nullptr);
    value->put_MaxLength(static_cast<std::uint32_t>((inText.size() + 1) * sizeof(char16_t)));
    value->put_String(detail::ToString(inText));
    return value;
}

smart_ptr<I_Value> MakeMember(const standin::JsonMember& inMember) {
    using standin::JsonKind;
    smart_ptr<I_Value> value;
    switch (inMember.mKind) {
    case JsonKind::Null:
        value = CreateValueBoolean(true, nullptr, nullptr);
        value->put_IsNull(true);
        return value;
    case JsonKind::Boolean:
        value = CreateValueBoolean(false, nullptr, nullptr);
        value->put_Boolean(inMember.mText == u"true");
        return value;
    case JsonKind::Object:
    case JsonKind::Array:
        value = CreateValueJSON(false, nullptr, nullptr);
        value->put_String(detail::ToString(inMember.mText));
        return value;
    default:
        return MakeString(inMember.mText);
    }
}

class JsonValue final : public TextValue, public I_ValueJSON {
public:
    explicit JsonValue(bool inIsNullable) : TextValue(inIsNullable) {}

    void* QueryInterface(std::uint32_t inInterfaceId) override {
        const bool isObject = mKind == standin::JsonKind::Object && !JsonValue::get_IsNull();
        return inInterfaceId == I_ValueJSON::kInterfaceId && isObject ? static_cast<I_ValueJSON*>(this)
                                                                      : nullptr;
    }
    std::uint32_t get_Type() const override { return value_type::kJSON; }
    std::uint32_t get_MaxLength() const override { return std::numeric_limits<std::uint32_t>::max(); }
    void put_MaxLength(std::uint32_t) override {} // the capacity is unlimited

    void put_String(const String& inText) override {
        const std::optional<standin::JsonKind> kind = standin::CheckJson(ViewOf(inText));
        if (!kind) {
            standin::ThrowValueError("the text is not JSON");
        }
        SetText(inText);
        mKind = *kind;
    }

    smart_ptr<I_Value> get_Member(const String& inName) const override {
        const std::optional<standin::JsonMember> member = standin::FindJsonMember(get_Text(), ViewOf(inName));
        return member ? MakeMember(*member) : nullptr;
    }

private:
    standin::JsonKind mKind = standin::JsonKind::Null;
};

} // namespace

I_Value* CreateValueString(bool inIsNullable, const void*, const void*) {
    return detail::NewValue<StringValue>(inIsNullable);
}
I_Value* CreateValueJSON(bool inIsNullable, const void*, const void*) {
    return detail::NewValue<JsonValue>(inIsNullable);
}
I_Value* CreateValueEnum(bool inIsNullable, const void* inTypeParameter, const void*) {
    const auto* const text = static_cast<const String*>(inTypeParameter);
    return detail::NewValue<EnumValue>(inIsNullable, text ? *text : String::sEmpty);
}

} // namespace orkit::orsql
