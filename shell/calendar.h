/// @file
/// Dates and times of day: read from text and written as ISO 8601.
#pragma once

#include <cstdint>
#include <string>

namespace orlimbara::shell {

class TextReader;

struct CalendarDate {
    std::int32_t year = 0;
    std::uint16_t month = 1;
    std::uint16_t day = 1;
    bool operator==(const CalendarDate&) const = default;
};

struct ClockTime {
    std::uint16_t hour = 0;
    std::uint16_t minute = 0;
    std::uint16_t second = 0;
    std::uint16_t millisecond = 0;
    bool operator==(const ClockTime&) const = default;
};

/// Reads a date such as "2024-01-31" or "-0044-03-15" from the front of a text. @return false if there is
/// none.
bool ReadDate(TextReader& ioReader, CalendarDate& outDate);
/// Reads a time such as "12:30", "12:30:00" or "12:30:00.250". @return false if there is none.
bool ReadTime(TextReader& ioReader, ClockTime& outTime);

/// The number of days of a month in the proleptic Gregorian calendar; year 0 is 1 BC.
std::uint16_t DaysInMonth(std::int32_t inYear, std::uint16_t inMonth);

/// "2024-01-31"; years outside 0000 to 9999 with a sign.
std::string FormatDate(const CalendarDate& inDate);
/// "12:30:00.250"
std::string FormatTime(const ClockTime& inTime);
/// "2024-01-31T12:30:00.250"
std::string FormatDateTime(const CalendarDate& inDate, const ClockTime& inTime);

} // namespace orlimbara::shell
