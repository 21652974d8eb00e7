/// @file
/// Dates and times as text, for the value objects and the procedure table alike. The shell has a calendar of
/// its own, which also parses and validates: it isn't for hosts to use.
#pragma once

#include <array>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <string>

namespace orkit::standin {

/// The parts are kept as they were set and not validated.
struct DateParts {
    std::int32_t mYear = 0;
    std::uint32_t mMonth = 0;
    std::uint32_t mDay = 0;
    bool operator==(const DateParts&) const = default;
};

struct TimeParts {
    std::uint32_t mHour = 0;
    std::uint32_t mMinute = 0;
    std::uint32_t mSecond = 0;
    std::uint32_t mMillisecond = 0;
    bool operator==(const TimeParts&) const = default;
};

/// For instance "2024-01-31". As in ISO 8601, years beyond four digits have a sign and at least five digits.
inline std::string FormatDate(const DateParts& inDate) {
    const bool isPlain = inDate.mYear >= 0 && inDate.mYear <= 9999;
    std::array<char, 40> text;
    const int length = std::snprintf(text.data(), text.size(),
                                     isPlain ? "%04" PRId32 "-%02u-%02u" : "%+06" PRId32 "-%02u-%02u",
                                     inDate.mYear, inDate.mMonth, inDate.mDay);
    return {text.data(), static_cast<std::size_t>(length)};
}

/// For instance "23:59:59.999".
inline std::string FormatTime(const TimeParts& inTime) {
    std::array<char, 48> text;
    const int length = std::snprintf(text.data(), text.size(), "%02u:%02u:%02u.%03u", inTime.mHour,
                                     inTime.mMinute, inTime.mSecond, inTime.mMillisecond);
    return {text.data(), static_cast<std::size_t>(length)};
}

inline std::string FormatDateTime(const DateParts& inDate, const TimeParts& inTime) {
    return FormatDate(inDate) + ' ' + FormatTime(inTime);
}

} // namespace orkit::standin
