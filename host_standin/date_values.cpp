#include <array>
#include <cinttypes>
#include <cstdio>

#include "host/value.h"
#include "host_standin/value_support.h"

namespace orkit::orsql {

namespace {

// The parts are kept as they were set: whether there is such a day is for the reader to ask.
struct Date {
    std::int32_t mYear = 0;
    std::uint16_t mMonth = 0;
    std::uint16_t mDay = 0;
};

struct Time {
    std::uint16_t mHour = 0;
    std::uint16_t mMinute = 0;
    std::uint16_t mSecond = 0;
    std::uint16_t mMillisecond = 0;
};

using TextBuffer = std::array<char, 64>;

// ISO 8601: years beyond four digits have a sign and at least five.
std::size_t Format(const Date& inDate, char* outText, std::size_t inRoom) {
    const bool isPlain = inDate.mYear >= 0 && inDate.mYear <= 9999;
    const char* const format = isPlain ? "%04" PRId32 "-%02u-%02u" : "%+06" PRId32 "-%02u-%02u";
    return static_cast<std::size_t>(
        std::snprintf(outText, inRoom, format, inDate.mYear, unsigned{inDate.mMonth}, unsigned{inDate.mDay}));
}

std::size_t Format(const Time& inTime, char* outText, std::size_t inRoom) {
    return static_cast<std::size_t>(std::snprintf(outText, inRoom, "%02u:%02u:%02u.%03u",
                                                  unsigned{inTime.mHour}, unsigned{inTime.mMinute},
                                                  unsigned{inTime.mSecond}, unsigned{inTime.mMillisecond}));
}

String ToText(const Date* inDate, const Time* inTime) {
    TextBuffer text;
    std::size_t length = 0;
    if (inDate) {
        length = Format(*inDate, text.data(), text.size());
    }
    if (inDate && inTime) {
        text[length++] = ' ';
    }
    if (inTime) {
        length += Format(*inTime, text.data() + length, text.size() - length);
    }
    return String(text.data(), static_cast<std::ptrdiff_t>(length));
}

class DateValue final : public AspectHost_imp, public I_ValueDate {
public:
    explicit DateValue(bool inIsNullable) noexcept : AspectHost_imp(inIsNullable) {}

    void* QueryInterface(std::uint32_t inInterfaceId) override {
        return inInterfaceId == I_ValueDate::kInterfaceId ? static_cast<I_ValueDate*>(this) : nullptr;
    }
    std::uint32_t get_Type() const override { return value_type::kDate; }
    void get_String(String& outText, std::int32_t inMaxLength) const override {
        const String text = DateValue::get_IsNull() ? String() : ToText(&mDate, nullptr);
        detail::GiveText(detail::ViewOf(text), inMaxLength, outText);
    }

    void get_Date(std::int32_t& outYear, std::uint16_t& outMonth, std::uint16_t& outDay) const override {
        const Date date = DateValue::get_IsNull() ? Date{} : mDate;
        outYear = date.mYear;
        outMonth = date.mMonth;
        outDay = date.mDay;
    }
    void put_Date(std::int32_t inYear, std::uint16_t inMonth, std::uint16_t inDay) override {
        mDate = {inYear, inMonth, inDay};
        SetNotNull();
    }

private:
    Date mDate;
};

class TimeValue final : public AspectHost_imp, public I_ValueTime {
public:
    explicit TimeValue(bool inIsNullable) noexcept : AspectHost_imp(inIsNullable) {}

    void* QueryInterface(std::uint32_t inInterfaceId) override {
        return inInterfaceId == I_ValueTime::kInterfaceId ? static_cast<I_ValueTime*>(this) : nullptr;
    }
    std::uint32_t get_Type() const override { return value_type::kTime; }
    void get_String(String& outText, std::int32_t inMaxLength) const override {
        const String text = TimeValue::get_IsNull() ? String() : ToText(nullptr, &mTime);
        detail::GiveText(detail::ViewOf(text), inMaxLength, outText);
    }

    void get_Time(std::uint16_t& outHour, std::uint16_t& outMinute, std::uint16_t& outSecond,
                  std::uint16_t& outMillisecond) const override {
        const Time time = TimeValue::get_IsNull() ? Time{} : mTime;
        outHour = time.mHour;
        outMinute = time.mMinute;
        outSecond = time.mSecond;
        outMillisecond = time.mMillisecond;
    }
    void put_Time(std::uint16_t inHour, std::uint16_t inMinute, std::uint16_t inSecond,
                  std::uint16_t inMillisecond) override {
        mTime = {inHour, inMinute, inSecond, inMillisecond};
        SetNotNull();
    }

private:
    Time mTime;
};

class DateTimeValue final : public AspectHost_imp, public I_ValueDateTime {
public:
    explicit DateTimeValue(bool inIsNullable) noexcept : AspectHost_imp(inIsNullable) {}

    void* QueryInterface(std::uint32_t inInterfaceId) override {
        return inInterfaceId == I_ValueDateTime::kInterfaceId ? static_cast<I_ValueDateTime*>(this) : nullptr;
    }
    std::uint32_t get_Type() const override { return value_type::kDateTime; }
    void get_String(String& outText, std::int32_t inMaxLength) const override {
        const String text = DateTimeValue::get_IsNull() ? String() : ToText(&mDate, &mTime);
        detail::GiveText(detail::ViewOf(text), inMaxLength, outText);
    }

    void get_DateTime(std::int32_t& outYear, std::uint16_t& outMonth, std::uint16_t& outDay,
                      std::uint16_t& outHour, std::uint16_t& outMinute, std::uint16_t& outSecond,
                      std::uint16_t& outMillisecond) const override {
        const bool isNull = DateTimeValue::get_IsNull();
        const Date date = isNull ? Date{} : mDate;
        const Time time = isNull ? Time{} : mTime;
        outYear = date.mYear;
        outMonth = date.mMonth;
        outDay = date.mDay;
        outHour = time.mHour;
        outMinute = time.mMinute;
        outSecond = time.mSecond;
        outMillisecond = time.mMillisecond;
    }
    void put_DateTime(std::int32_t inYear, std::uint16_t inMonth, std::uint16_t inDay, std::uint16_t inHour,
                      std::uint16_t inMinute, std::uint16_t inSecond, std::uint16_t inMillisecond) override {
        mDate = {inYear, inMonth, inDay};
        mTime = {inHour, inMinute, inSecond, inMillisecond};
        SetNotNull();
    }

private:
    Date mDate;
    Time mTime;
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
