#include "host/value.h"
#include "host_standin/date_text.h"
#include "host_standin/value_support.h"

namespace orkit::orsql {

namespace {

using standin::DateParts;
using standin::TimeParts;

class DateValue final : public AspectHost_imp, public I_ValueDate {
public:
    explicit DateValue(bool inIsNullable) noexcept : AspectHost_imp(inIsNullable) {}

    void* QueryInterface(std::uint32_t inInterfaceId) override {
        return inInterfaceId == I_ValueDate::kInterfaceId ? static_cast<I_ValueDate*>(this) : nullptr;
    }
    std::uint32_t get_Type() const override { return value_type::kDate; }
    void get_String(String& outText, std::int32_t inMaxLength) const override {
        detail::GiveText(DateValue::get_IsNull() ? "" : standin::FormatDate(mDate), inMaxLength, outText);
    }

    void get_Date(std::int32_t& outYear, std::uint16_t& outMonth, std::uint16_t& outDay) const override {
        const DateParts date = DateValue::get_IsNull() ? DateParts{} : mDate;
        outYear = date.mYear;
        outMonth = static_cast<std::uint16_t>(date.mMonth);
        outDay = static_cast<std::uint16_t>(date.mDay);
    }
    void put_Date(std::int32_t inYear, std::uint16_t inMonth, std::uint16_t inDay) override {
        mDate = {inYear, inMonth, inDay};
        SetNotNull();
    }

private:
    DateParts mDate;
};

class TimeValue final : public AspectHost_imp, public I_ValueTime {
public:
    explicit TimeValue(bool inIsNullable) noexcept : AspectHost_imp(inIsNullable) {}

    void* QueryInterface(std::uint32_t inInterfaceId) override {
        return inInterfaceId == I_ValueTime::kInterfaceId ? static_cast<I_ValueTime*>(this) : nullptr;
    }
    std::uint32_t get_Type() const override { return value_type::kTime; }
    void get_String(String& outText, std::int32_t inMaxLength) const override {
        detail::GiveText(TimeValue::get_IsNull() ? "" : standin::FormatTime(mTime), inMaxLength, outText);
    }

    void get_Time(std::uint16_t& outHour, std::uint16_t& outMinute, std::uint16_t& outSecond,
                  std::uint16_t& outMillisecond) const override {
        const TimeParts time = TimeValue::get_IsNull() ? TimeParts{} : mTime;
        outHour = static_cast<std::uint16_t>(time.mHour);
        outMinute = static_cast<std::uint16_t>(time.mMinute);
        outSecond = static_cast<std::uint16_t>(time.mSecond);
        outMillisecond = static_cast<std::uint16_t>(time.mMillisecond);
    }
    void put_Time(std::uint16_t inHour, std::uint16_t inMinute, std::uint16_t inSecond,
                  std::uint16_t inMillisecond) override {
        mTime = {inHour, inMinute, inSecond, inMillisecond};
        SetNotNull();
    }

private:
    TimeParts mTime;
};

class DateTimeValue final : public AspectHost_imp, public I_ValueDateTime {
public:
    explicit DateTimeValue(bool inIsNullable) noexcept : AspectHost_imp(inIsNullable) {}

    void* QueryInterface(std::uint32_t inInterfaceId) override {
        return inInterfaceId == I_ValueDateTime::kInterfaceId ? static_cast<I_ValueDateTime*>(this) : nullptr;
    }
    std::uint32_t get_Type() const override { return value_type::kDateTime; }
    void get_String(String& outText, std::int32_t inMaxLength) const override {
        detail::GiveText(DateTimeValue::get_IsNull() ? "" : standin::FormatDateTime(mDate, mTime),
                         inMaxLength, outText);
    }

    void get_DateTime(std::int32_t& outYear, std::uint16_t& outMonth, std::uint16_t& outDay,
                      std::uint16_t& outHour, std::uint16_t& outMinute, std::uint16_t& outSecond,
                      std::uint16_t& outMillisecond) const override {
        const bool isNull = DateTimeValue::get_IsNull();
        const DateParts date = isNull ? DateParts{} : mDate;
        const TimeParts time = isNull ? TimeParts{} : mTime;
        outYear = date.mYear;
        outMonth = static_cast<std::uint16_t>(date.mMonth);
        outDay = static_cast<std::uint16_t>(date.mDay);
        outHour = static_cast<std::uint16_t>(time.mHour);
        outMinute = static_cast<std::uint16_t>(time.mMinute);
        outSecond = static_cast<std::uint16_t>(time.mSecond);
        outMillisecond = static_cast<std::uint16_t>(time.mMillisecond);
    }
    void put_DateTime(std::int32_t inYear, std::uint16_t inMonth, std::uint16_t inDay, std::uint16_t inHour,
                      std::uint16_t inMinute, std::uint16_t inSecond, std::uint16_t inMillisecond) override {
        mDate = {inYear, inMonth, inDay};
        mTime = {inHour, inMinute, inSecond, inMillisecond};
        SetNotNull();
    }

private:
    DateParts mDate;
    TimeParts mTime;
};

} // namespace

I_Value* CreateValueDate(bool inIsNullable, const void*, const void*) {
    return detail::NewValue<DateValue>(inIsNullable);
}
I_Value* CreateValueTime(bool inIsNullable, const void*, const void*) {
    return detail::NewValue<TimeValue>(inIsNullable);
}
I_Value* CreateValueDateTime(bool inIsNullable, const void*, const void*) {
    return detail::NewValue<DateTimeValue>(inIsNullable);
}

} // namespace orkit::orsql
