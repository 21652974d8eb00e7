/// @file
/// Numbers as text and texts as numbers, independent of the locale.
#pragma once

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string_view>
#include <type_traits>

#include "host/string.h"

namespace orkit::standin {

/// The decimal integer that a text begins with, after whitespace and with an optional sign; 0 if there is
/// none, the nearest limit if it is too big.
std::int64_t TextToInt64(std::u16string_view inText) noexcept;
/// The same up to 2^64 - 1. A negative number is TextToInt64's, converted to unsigned.
std::uint64_t TextToUInt64(std::u16string_view inText) noexcept;

/// The double that a text begins with, also "Infinity" and "NaN"; 0 if there is none, an infinity if it is
/// too big.
double TextToDouble(std::u16string_view inText);

/// Whether FormatNumber gives digits, not "Infinity" or "NaN".
template <class Number>
bool IsFinite(Number inNumber) noexcept {
    if constexpr (std::is_floating_point_v<Number>) {
        return std::isfinite(inNumber);
    } else {
        return true;
    }
}

/// A number's text: decimal digits; for floating-point numbers the shortest that read back as the same
/// number, or "Infinity", "-Infinity", "NaN"; for a bool "true" or "false".
template <class Number>
String FormatNumber(Number inNumber) {
    if constexpr (std::is_same_v<Number, bool>) {
        return inNumber ? u"true" : u"false";
    } else {
        if (!IsFinite(inNumber)) {
            return std::isnan(static_cast<double>(inNumber)) ? u"NaN"
                   : inNumber > Number{0}                    ? u"Infinity"
                                                             : u"-Infinity";
        }
        std::array<char, 32> digits;
        const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), inNumber).ptr;
        return String(digits.data(), end - digits.data());
    }
}

/// A number in another width: integers are truncated as in C++; a floating-point number is rounded toward
/// zero and limited to the range of the other type; NaN becomes 0.
template <class To, class From>
To ConvertNumber(From inNumber) noexcept {
    if constexpr (std::is_same_v<To, bool>) {
        return inNumber != From{0};
    } else if constexpr (std::is_floating_point_v<From> && std::is_integral_v<To>) {
        // The limits as floating-point numbers; the upper one is a power of two, so both are exact.
        constexpr auto kAbove =
            static_cast<From>(std::uint64_t{1} << (std::numeric_limits<To>::digits - 1)) * 2;
        if (std::isnan(inNumber)) {
            return 0;
        }
        if (inNumber >= kAbove) {
            return std::numeric_limits<To>::max();
        }
        constexpr From kLowest = std::is_signed_v<To> ? -kAbove : From{0};
        return inNumber <= kLowest ? std::numeric_limits<To>::min() : static_cast<To>(inNumber);
    } else {
        return static_cast<To>(inNumber);
    }
}

} // namespace orkit::standin
