/// @file
/// Host literals: the values that dot commands take.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "shell/calendar.h"

namespace orlimbara::shell {

/// One value as it was written. An integer has the narrowest of the three kinds that holds it.
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

/// The literals of a text, separated by whitespace. Throws ShellError for anything else.
std::vector<Literal> ParseLiterals(std::string_view inText);

/// The words of a text, separated by whitespace; a word in '…' may contain whitespace and doubled quotes.
/// Throws ShellError for an unclosed quote.
std::vector<std::string> ParseWords(std::string_view inText);

/// The first word of a text, empty if there is none. `outRest` gets what follows it.
std::string TakeWord(std::string_view inText, std::string_view& outRest);

} // namespace orlimbara::shell
