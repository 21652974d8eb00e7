#include "host/value.h"
#include "host_standin/number_text.h"
#include "host_standin/value_support.h"

namespace orkit::orsql {

namespace {

// A number or a Boolean, readable and settable in every width.
template <class Number, std::uint32_t kType>
class NumberValue final : public AspectHost_imp {
public:
    explicit NumberValue(bool inIsNullable) noexcept : AspectHost_imp(inIsNullable) {}

    std::uint32_t get_Type() const override { return kType; }
    std::uint32_t get_Length() const override { return sizeof(Number); }
    std::uint32_t get_MaxLength() const override { return sizeof(Number); }
    void get_String(String& outText, std::int32_t inMaxLength) const override {
        const String text = NumberValue::get_IsNull() ? String() : standin::FormatNumber(mNumber);
        detail::GiveText(detail::ViewOf(text), inMaxLength, outText);
    }

    bool get_Boolean() const override { return Read<bool>(); }
    void put_Boolean(bool inValue) override { Write(inValue); }
    std::uint8_t get_Byte() const override { return Read<std::uint8_t>(); }
    void put_Byte(std::uint8_t inValue) override { Write(inValue); }
    std::int16_t get_Short() const override { return Read<std::int16_t>(); }
    void put_Short(std::int16_t inValue) override { Write(inValue); }
    std::uint16_t get_UShort() const override { return Read<std::uint16_t>(); }
    void put_UShort(std::uint16_t inValue) override { Write(inValue); }
    std::int32_t get_Long() const override { return Read<std::int32_t>(); }
    void put_Long(std::int32_t inValue) override { Write(inValue); }
    std::uint32_t get_ULong() const override { return Read<std::uint32_t>(); }
    void put_ULong(std::uint32_t inValue) override { Write(inValue); }
    std::int64_t get_LLong() const override { return Read<std::int64_t>(); }
    void put_LLong(std::int64_t inValue) override { Write(inValue); }
    std::uint64_t get_ULLong() const override { return Read<std::uint64_t>(); }
    void put_ULLong(std::uint64_t inValue) override { Write(inValue); }
    float get_Float() const override { return Read<float>(); }
    void put_Float(float inValue) override { Write(inValue); }
    double get_Double() const override { return Read<double>(); }
    void put_Double(double inValue) override { Write(inValue); }

private:
    template <class To>
    To Read() const {
        return NumberValue::get_IsNull() ? To{} : standin::ConvertNumber<To>(mNumber);
    }
    template <class From>
    void Write(From inValue) {
        mNumber = standin::ConvertNumber<Number>(inValue);
        SetNotNull();
    }

    Number mNumber{};
};

} // namespace

I_Value* CreateValueBoolean(bool inIsNullable, const void*, const void*) {
    return detail::NewValue<NumberValue<bool, value_type::kBoolean>>(inIsNullable);
}
I_Value* CreateValueByte(bool inIsNullable, const void*, const void*) {
    return detail::NewValue<NumberValue<std::uint8_t, value_type::kByte>>(inIsNullable);
}
I_Value* CreateValueShort(bool inIsNullable, const void*, const void*) {
    return detail::NewValue<NumberValue<std::int16_t, value_type::kShort>>(inIsNullable);
}
I_Value* CreateValueUShort(bool inIsNullable, const void*, const void*) {
    return detail::NewValue<NumberValue<std::uint16_t, value_type::kUShort>>(inIsNullable);
}
I_Value* CreateValueLong(bool inIsNullable, const void*, const void*) {
    return detail::NewValue<NumberValue<std::int32_t, value_type::kLong>>(inIsNullable);
}
I_Value* CreateValueULong(bool inIsNullable, const void*, const void*) {
    return detail::NewValue<NumberValue<std::uint32_t, value_type::kULong>>(inIsNullable);
}
I_Value* CreateValueLLong(bool inIsNullable, const void*, const void*) {
    return detail::NewValue<NumberValue<std::int64_t, value_type::kLLong>>(inIsNullable);
}
I_Value* CreateValueULLong(bool inIsNullable, const void*, const void*) {
    return detail::NewValue<NumberValue<std::uint64_t, value_type::kULLong>>(inIsNullable);
}
I_Value* CreateValueFloat(bool inIsNullable, const void*, const void*) {
    return detail::NewValue<NumberValue<float, value_type::kFloat>>(inIsNullable);
}
I_Value* CreateValueDouble(bool inIsNullable, const void*, const void*) {
    return detail::NewValue<NumberValue<double, value_type::kDouble>>(inIsNullable);
}

} // namespace orkit::orsql
