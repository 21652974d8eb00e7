/// @file
/// Host literals: the values that dot commands take.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace orsql {

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

/// One value as it was written. Whole numbers are in the narrowest of the three kinds that holds them.
struct Literal {
    enum class Kind {
        Null,
        Boolean,
        Long,
        LLong,
        ULLong,
        Double,
        Text,
        Binary,
        Date,
        Time,
        DateTime,
        Json,
        Array
    };
    Kind kind = Kind::Null;
    bool boolean = false;
    std::int64_t number = 0;          ///< of Long and LLong
    std::uint64_t unsignedNumber = 0; ///< of ULLong
    double real = 0;
    std::string text; ///< of Text and Json, in UTF-8; the bytes of Binary
    CalendarDate date;
    ClockTime time;
    std::vector<Literal> items; ///< of Array: each of `itemKind` or NULL
    Kind itemKind = Kind::Text; ///< of Array
    bool operator==(const Literal&) const = default;
};

/// The literals of a text, separated by blanks. What is no literal raises ShellError.
std::vector<Literal> ParseLiterals(std::string_view inText);

/// The words of a text, separated by blanks; a word in '…' may hold blanks, and quotes doubled. A quote that
/// isn't closed raises ShellError.
std::vector<std::string> ParseWords(std::string_view inText);

/// The first word of a text, and what stands behind it in `outRest`. Empty if there is none.
std::string TakeWord(std::string_view inText, std::string_view& outRest);

/// Days of a month of the proleptic Gregorian calendar; year 0 is 1 BC.
std::uint16_t DaysInMonth(std::int32_t inYear, std::uint16_t inMonth);

/// "2024-01-31"; years outside 0000 to 9999 with a sign.
std::string FormatDate(const CalendarDate& inDate);
/// "12:30:00.250"
std::string FormatTime(const ClockTime& inTime);
/// "2024-01-31T12:30:00.250"
std::string FormatDateTime(const CalendarDate& inDate, const ClockTime& inTime);

} // namespace orsql
