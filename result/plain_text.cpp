#include "result/plain_text.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <string_view>

#include "result/text_buffer.h"

namespace orkit::orsql {

namespace {

constexpr std::int64_t kSecondsPerDay = 86400;

/// "00" to "99".
constexpr auto kTwoDigits = [] {
    std::array<std::array<char16_t, 2>, 100> digits{};
    for (std::size_t number = 0; number < digits.size(); ++number) {
        digits[number] = {static_cast<char16_t>(u'0' + number / 10),
                          static_cast<char16_t>(u'0' + number % 10)};
    }
    return digits;
}();

/// Two digits at a time. @param inNumber below 100.
char16_t* WriteTwo(char16_t* outText, std::uint32_t inNumber) noexcept {
    std::memcpy(outText, kTwoDigits[inNumber].data(), sizeof(kTwoDigits[inNumber]));
    return outText + 2;
}

/// The calendar date of a day since 1970-01-01. @return the end of the text; null outside the years 1 to
/// 9999.
char16_t* WriteDay(char16_t* outText, std::int64_t inDay) noexcept {
    constexpr std::int64_t kFirst = -719162; // 0001-01-01
    constexpr std::int64_t kLast = 2932896;  // 9999-12-31
    if (inDay < kFirst || inDay > kLast) {
        return nullptr;
    }
    // Years begin in March here, so that a leap day is the last day of its year. Each unit is a division of
    // four times the days or of a multiple of them, so that the lengths of centuries, years and months, which
    // differ by a day, are fractions: 146097 / 4, 1461 / 4 and 65536 / 2141 days.
    const auto quarters = 4 * static_cast<std::uint32_t>(inDay + 719468) + 3; // since 0000-03-01
    const std::uint32_t quartersOfCentury = quarters % 146097 | 3;
    std::uint32_t century = quarters / 146097;
    std::uint32_t year = quartersOfCentury / 1461;
    const std::uint32_t dayOfYear = quartersOfCentury % 1461 / 4;
    const std::uint32_t months = 2141 * dayOfYear + 197913;
    std::uint32_t month = months >> 16;
    if (month > 12) {
        month -= 12;
        ++year;
        if (year == 100) {
            year = 0;
            ++century;
        }
    }
    outText = WriteTwo(outText, century);
    outText = WriteTwo(outText, year);
    *outText++ = u'-';
    outText = WriteTwo(outText, month);
    *outText++ = u'-';
    return WriteTwo(outText, (months & 0xFFFF) / 2141 + 1);
}

char16_t* WriteSecond(char16_t* outText, std::uint32_t inSecondOfDay) noexcept {
    outText = WriteTwo(outText, inSecondOfDay / 3600);
    *outText++ = u':';
    outText = WriteTwo(outText, inSecondOfDay / 60 % 60);
    *outText++ = u':';
    return WriteTwo(outText, inSecondOfDay % 60);
}

/// A fraction of a second without the zeros at its end; nothing for 0. @param inDigits of the unit.
char16_t* WriteFraction(char16_t* outText, std::uint32_t inFraction, int inDigits) noexcept {
    if (inFraction == 0) {
        return outText;
    }
    *outText = u'.';
    char16_t* end = outText + 1;
    for (int digit = inDigits; digit > 0; --digit, inFraction /= 10) {
        const std::uint32_t content = inFraction % 10;
        outText[digit] = static_cast<char16_t>(u'0' + content);
        if (content != 0 && end == outText + 1) {
            end = outText + digit + 1;
        }
    }
    return end;
}

/// A part of an INTERVAL with its unit; nothing for 0. @param inNumber from -9999 to 9999.
char16_t* WritePart(char16_t* outText, const char16_t* inBegin, std::int32_t inNumber,
                    std::u16string_view inUnit) noexcept {
    if (inNumber == 0) {
        return outText;
    }
    if (outText != inBegin) {
        *outText++ = u' ';
    }
    if (inNumber < 0) {
        *outText++ = u'-';
    }
    const auto magnitude = static_cast<std::uint32_t>(inNumber < 0 ? -inNumber : inNumber);
    std::array<char16_t, 4> digits;
    WriteTwo(WriteTwo(digits.data(), magnitude / 100), magnitude % 100);
    const std::ptrdiff_t zeros = magnitude < 10 ? 3 : magnitude < 100 ? 2 : magnitude < 1000 ? 1 : 0;
    outText = std::copy(digits.begin() + zeros, digits.end(), outText);
    outText = std::copy(inUnit.begin(), inUnit.end(), outText);
    if (magnitude != 1) {
        *outText++ = u's';
    }
    return outText;
}

std::size_t LengthOf(const char16_t* inEnd, const PlainText& inText) noexcept {
    return inEnd ? static_cast<std::size_t>(inEnd - inText.data()) : 0;
}

template <std::int64_t kUnitsPerSecond, int kDigits>
std::size_t WriteTimeIn(std::int64_t inTime, PlainText& outText) noexcept {
    if (inTime < 0 || inTime > kSecondsPerDay * kUnitsPerSecond) {
        return 0;
    }
    char16_t* const end = WriteSecond(outText.data(), static_cast<std::uint32_t>(inTime / kUnitsPerSecond));
    return LengthOf(WriteFraction(end, static_cast<std::uint32_t>(inTime % kUnitsPerSecond), kDigits),
                    outText);
}

/// @return the end of the text, or null.
template <std::int64_t kUnitsPerSecond, int kDigits>
char16_t* WriteTimestampIn(std::int64_t inTimestamp, PlainText& outText) noexcept {
    constexpr std::int64_t kUnitsPerDay = kSecondsPerDay * kUnitsPerSecond;
    constexpr std::int64_t kInfinity = std::numeric_limits<std::int64_t>::max();
    if (inTimestamp >= kInfinity || inTimestamp <= -kInfinity) {
        return nullptr;
    }
    std::int64_t day = inTimestamp / kUnitsPerDay;
    std::int64_t time = inTimestamp % kUnitsPerDay;
    if (time < 0) {
        --day;
        time += kUnitsPerDay;
    }
    char16_t* end = WriteDay(outText.data(), day);
    if (!end) {
        return nullptr;
    }
    *end++ = u' ';
    end = WriteSecond(end, static_cast<std::uint32_t>(time / kUnitsPerSecond));
    return WriteFraction(end, static_cast<std::uint32_t>(time % kUnitsPerSecond), kDigits);
}

constexpr std::uint32_t kBillion = 1'000'000'000; // nine digits fit 32 bits

/// A magnitude of 128 bits.
std::size_t WriteWide(std::uint64_t inUpper, std::uint64_t inLower, bool inIsNegative,
                      PlainText& outText) noexcept {
    std::array<char16_t, 40> digits; // filled from the end
    char16_t* begin = digits.data() + digits.size();
    while (inUpper != 0) {
        // Long division by a billion, 32 bits at a time.
        std::array<std::uint64_t, 4> parts = {inUpper >> 32, inUpper & 0xFFFFFFFF, inLower >> 32,
                                              inLower & 0xFFFFFFFF};
        std::uint64_t rest = 0;
        for (std::uint64_t& part : parts) {
            const std::uint64_t dividend = rest << 32 | part;
            part = dividend / kBillion;
            rest = dividend % kBillion;
        }
        inUpper = parts[0] << 32 | parts[1];
        inLower = parts[2] << 32 | parts[3];
        auto nine = static_cast<std::uint32_t>(rest);
        for (int i = 0; i < 9; ++i, nine /= 10) {
            *--begin = static_cast<char16_t>(u'0' + nine % 10);
        }
    }
    do {
        *--begin = static_cast<char16_t>(u'0' + inLower % 10);
        inLower /= 10;
    } while (inLower != 0);
    std::size_t length = 0;
    if (inIsNegative) {
        outText[length++] = u'-';
    }
    while (begin != digits.data() + digits.size()) {
        outText[length++] = *begin++;
    }
    return length;
}

} // namespace

std::size_t WriteDate(duckdb_date inDate, PlainText& outText) noexcept {
    return LengthOf(WriteDay(outText.data(), inDate.days), outText);
}

std::size_t WriteTime(duckdb_time inTime, PlainText& outText) noexcept {
    return WriteTimeIn<1'000'000, 6>(inTime.micros, outText);
}

std::size_t WriteTimeNs(duckdb_time_ns inTime, PlainText& outText) noexcept {
    return WriteTimeIn<1'000'000'000, 9>(inTime.nanos, outText);
}

std::size_t WriteTimeTz(duckdb_time_tz inTime, PlainText& outText) noexcept {
    constexpr std::int32_t kMaxOffset = 16 * 3600 - 1;
    // The lower 24 bits hold the greatest offset minus this one.
    const std::int32_t offset = kMaxOffset - static_cast<std::int32_t>(inTime.bits & 0xFFFFFF);
    const auto magnitude = static_cast<std::uint32_t>(offset < 0 ? -offset : offset);
    std::size_t length = WriteTimeIn<1'000'000, 6>(static_cast<std::int64_t>(inTime.bits >> 24), outText);
    if (length == 0 || offset < -kMaxOffset || magnitude % 60 != 0) {
        return 0;
    }
    char16_t* end = outText.data() + length;
    *end++ = offset < 0 ? u'-' : u'+';
    end = WriteTwo(end, magnitude / 3600);
    if (magnitude % 3600 != 0) {
        *end++ = u':';
        end = WriteTwo(end, magnitude / 60 % 60);
    }
    return LengthOf(end, outText);
}

std::size_t WriteTimestamp(duckdb_timestamp inTimestamp, PlainText& outText) noexcept {
    return LengthOf(WriteTimestampIn<1'000'000, 6>(inTimestamp.micros, outText), outText);
}

std::size_t WriteTimestampTz(duckdb_timestamp inTimestamp, PlainText& outText) noexcept {
    char16_t* end = WriteTimestampIn<1'000'000, 6>(inTimestamp.micros, outText);
    if (end) {
        *end++ = u'+';
        *end++ = u'0';
        *end++ = u'0';
    }
    return LengthOf(end, outText);
}

std::size_t WriteTimestampS(duckdb_timestamp_s inTimestamp, PlainText& outText) noexcept {
    return LengthOf(WriteTimestampIn<1, 0>(inTimestamp.seconds, outText), outText);
}

std::size_t WriteTimestampMs(duckdb_timestamp_ms inTimestamp, PlainText& outText) noexcept {
    return LengthOf(WriteTimestampIn<1000, 3>(inTimestamp.millis, outText), outText);
}

std::size_t WriteTimestampNs(duckdb_timestamp_ns inTimestamp, PlainText& outText) noexcept {
    return LengthOf(WriteTimestampIn<1'000'000'000, 9>(inTimestamp.nanos, outText), outText);
}

std::size_t WriteInterval(duckdb_interval inInterval, PlainText& outText) noexcept {
    constexpr std::int64_t kMostMicros = 100LL * 3600 * 1'000'000;
    constexpr std::int32_t kMostParts = 9999;
    if (inInterval.micros <= -kMostMicros || inInterval.micros >= kMostMicros ||
        inInterval.months / 12 < -kMostParts || inInterval.months / 12 > kMostParts ||
        inInterval.days < -kMostParts || inInterval.days > kMostParts) {
        return 0;
    }
    char16_t* const begin = outText.data();
    char16_t* end = WritePart(begin, begin, inInterval.months / 12, u" year");
    end = WritePart(end, begin, inInterval.months % 12, u" month");
    end = WritePart(end, begin, inInterval.days, u" day");
    if (inInterval.micros != 0 || end == begin) {
        if (end != begin) {
            *end++ = u' ';
        }
        if (inInterval.micros < 0) {
            *end++ = u'-';
        }
        const auto magnitude =
            static_cast<std::uint64_t>(inInterval.micros < 0 ? -inInterval.micros : inInterval.micros);
        end = WriteSecond(end, static_cast<std::uint32_t>(magnitude / 1'000'000));
        end = WriteFraction(end, static_cast<std::uint32_t>(magnitude % 1'000'000), 6);
    }
    return LengthOf(end, outText);
}

std::size_t WriteUuid(duckdb_hugeint inUuid, PlainText& outText) noexcept {
    static constexpr char16_t kHexDigits[] = u"0123456789abcdef";
    const std::array<std::uint64_t, 2> halves = {
        static_cast<std::uint64_t>(inUuid.upper) ^ std::uint64_t{1} << 63, inUuid.lower};
    std::size_t length = 0;
    for (std::size_t nibble = 0; nibble < 32; ++nibble) {
        if (nibble == 8 || nibble == 12 || nibble == 16 || nibble == 20) {
            outText[length++] = u'-';
        }
        outText[length++] = kHexDigits[halves[nibble / 16] >> (60 - 4 * (nibble % 16)) & 0xF];
    }
    return length;
}

std::size_t WriteHugeint(duckdb_hugeint inNumber, PlainText& outText) noexcept {
    auto upper = static_cast<std::uint64_t>(inNumber.upper);
    std::uint64_t lower = inNumber.lower;
    const bool isNegative = inNumber.upper < 0;
    if (isNegative) {
        lower = ~lower + 1;
        upper = ~upper + (lower == 0 ? 1 : 0);
    }
    return WriteWide(upper, lower, isNegative, outText);
}

std::size_t WriteUhugeint(duckdb_uhugeint inNumber, PlainText& outText) noexcept {
    return WriteWide(inNumber.upper, inNumber.lower, false, outText);
}

std::size_t WriteBit(duckdb_string_t inBits, PlainText& outText) noexcept {
    const std::string_view bytes = ViewOf(inBits);
    if (bytes.size() - 1 > outText.size() / 8) {
        return 0;
    }
    const auto skipped = static_cast<std::size_t>(static_cast<unsigned char>(bytes[0]));
    const std::size_t end = 8 * (bytes.size() - 1);
    std::size_t length = 0;
    for (std::size_t bit = skipped; bit < end; ++bit) {
        const auto byte = static_cast<unsigned char>(bytes[1 + bit / 8]);
        outText[length++] = (byte >> (7 - bit % 8) & 1) != 0 ? u'1' : u'0';
    }
    return length;
}

} // namespace orkit::orsql
