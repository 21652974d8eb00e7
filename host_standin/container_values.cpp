#include <vector>

#include "host/value.h"
#include "host_standin/json_text.h"
#include "host_standin/value_support.h"

namespace orkit::orsql {

namespace {

// As text: the text of the inner value.
class HolderValue final : public AspectHost_imp, public I_ValueHolder {
public:
    explicit HolderValue(bool inIsNullable) noexcept : AspectHost_imp(inIsNullable) {}

    void* QueryInterface(std::uint32_t inInterfaceId) override {
        return inInterfaceId == I_ValueHolder::kInterfaceId ? static_cast<I_ValueHolder*>(this) : nullptr;
    }
    std::uint32_t get_Type() const override { return value_type::kHolder; }
    void get_String(String& outText, std::int32_t inMaxLength) const override {
        const smart_ptr<I_Value> inner = HolderValue::get_Inner();
        inner ? inner->get_String(outText, inMaxLength) : outText.clear();
    }

    smart_ptr<I_Value> get_Inner() const override { return HolderValue::get_IsNull() ? nullptr : mInner; }
    void put_Inner(smart_ptr<I_Value> inValue) override {
        mInner = std::move(inValue);
        SetNotNull();
    }

private:
    smart_ptr<I_Value> mInner;
};

// As text: a JSON array of its items.
class ArrayValue final : public AspectHost_imp, public I_ValueArray {
public:
    ArrayValue(bool inIsNullable, std::uint32_t inItemType) noexcept
        : AspectHost_imp(inIsNullable), mItemType(inItemType) {}

    void* QueryInterface(std::uint32_t inInterfaceId) override {
        return inInterfaceId == I_ValueArray::kInterfaceId ? static_cast<I_ValueArray*>(this) : nullptr;
    }
    std::uint32_t get_Type() const override { return value_type::kArray; }
    void get_String(String& outText, std::int32_t inMaxLength) const override {
        const String text = ArrayValue::get_IsNull() ? String() : standin::ValueToJson(*this);
        detail::GiveText(detail::ViewOf(text), inMaxLength, outText);
    }

    std::uint32_t get_ItemType() const override { return mItemType; }
    std::uint32_t get_Count() const override {
        return ArrayValue::get_IsNull() ? 0 : static_cast<std::uint32_t>(mItems.size());
    }
    smart_ptr<I_Value> get_Item(std::uint32_t inIndex) const override {
        return inIndex >= 1 && inIndex <= ArrayValue::get_Count() ? mItems[inIndex - 1] : nullptr;
    }
    void AppendItem(smart_ptr<I_Value> inValue) override {
        mItems.push_back(std::move(inValue));
        SetNotNull();
    }

private:
    const std::uint32_t mItemType;
    std::vector<smart_ptr<I_Value>> mItems;
};

} // namespace

I_Value* CreateValueHolder(bool inIsNullable, const void*, const void*) {
    return detail::NewValue<HolderValue>(inIsNullable);
}
I_Value* CreateValueArray(bool inIsNullable, const void* inTypeParameter, const void*) {
    const auto type =
        inTypeParameter ? *static_cast<const std::uint32_t*>(inTypeParameter) : value_type::kString;
    return detail::NewValue<ArrayValue>(inIsNullable, type);
}

} // namespace orkit::orsql
