#include "shell/calendar.h"

#include <array>
#include <cstdlib>
#include <optional>

#include <fmt/format.h>

#include "shell/text_reader.h"

namespace orlimbara::shell {

bool ReadDate(TextReader& ioReader, CalendarDate& outDate) {
    const bool isNegative = ioReader.Peek() == '-';
    const bool isSigned = ioReader.Accept('-') || ioReader.Accept('+');
    const auto year = ioReader.Number(4, isSigned ? 9 : 4);
    if (!year || !ioReader.Accept('-')) {
        return false;
    }
    const auto month = ioReader.Number(2, 2);
    if (!month || !ioReader.Accept('-')) {
        return false;
    }
    const auto day = ioReader.Number(2, 2);
    if (!day || *month < 1 || *month > 12) {
        return false;
    }
    outDate.year = static_cast<std::int32_t>(isNegative ? -*year : *year);
    outDate.month = static_cast<std::uint16_t>(*month);
    outDate.day = static_cast<std::uint16_t>(*day);
    return *day >= 1 && *day <= DaysInMonth(outDate.year, outDate.month);
}

bool ReadTime(TextReader& ioReader, ClockTime& outTime) {
    std::array<std::int64_t, 3> parts{};
    for (std::size_t i = 0; i < parts.size(); ++i) {
        if (i == 2 && ioReader.IsAtEnd()) {
            break; // the seconds may be left out
        }
        const auto part = i == 0 || ioReader.Accept(':') ? ioReader.Number(2, 2) : std::nullopt;
        if (!part) {
            return false;
        }
        parts[i] = *part;
    }
    std::int64_t milliseconds = 0;
    if (ioReader.Accept('.')) {
        const std::size_t before = ioReader.get_Rest().size();
        const auto fraction = ioReader.Number(1, 3);
        if (!fraction) {
            return false;
        }
        milliseconds = *fraction;
        for (std::size_t digits = before - ioReader.get_Rest().size(); digits < 3; ++digits) {
            milliseconds *= 10;
        }
    }
    outTime = {static_cast<std::uint16_t>(parts[0]), static_cast<std::uint16_t>(parts[1]),
               static_cast<std::uint16_t>(parts[2]), static_cast<std::uint16_t>(milliseconds)};
    return parts[0] < 24 && parts[1] < 60 && parts[2] < 60;
}

std::uint16_t DaysInMonth(std::int32_t inYear, std::uint16_t inMonth) {
    constexpr std::array<std::uint16_t, 12> kDays = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool isLeap = (inYear % 4 == 0 && inYear % 100 != 0) || inYear % 400 == 0;
    return static_cast<std::uint16_t>(kDays[inMonth - 1U] + (inMonth == 2 && isLeap ? 1 : 0));
}

std::string FormatDate(const CalendarDate& inDate) {
    const bool isPlain = inDate.year >= 0 && inDate.year <= 9999;
    return isPlain ? fmt::format("{:04}-{:02}-{:02}", inDate.year, inDate.month, inDate.day)
                   : fmt::format("{}{:04}-{:02}-{:02}", inDate.year < 0 ? '-' : '+',
                                 std::abs(std::int64_t{inDate.year}), inDate.month, inDate.day);
}

std::string FormatTime(const ClockTime& inTime) {
    return fmt::format("{:02}:{:02}:{:02}.{:03}", inTime.hour, inTime.minute, inTime.second,
                       inTime.millisecond);
}

std::string FormatDateTime(const CalendarDate& inDate, const ClockTime& inTime) {
    return FormatDate(inDate) + 'T' + FormatTime(inTime);
}

} // namespace orlimbara::shell
