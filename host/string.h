/// @file
/// The host's text, and its conversion from and to UTF-8.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace orkit {

/// A text in UTF-16 code units. May hold unpaired surrogates, which the converters replace, and zero
/// characters if it was made with a length.
class String {
public:
    String() = default;
    /// @param inText wide text; null gives an empty String.
    /// @param inLength its length in code units; -1 means zero-terminated.
    String(const char16_t* inText, std::ptrdiff_t inLength = -1)
        : mText(inText ? std::u16string(inText, LengthOf(inText, inLength)) : std::u16string()) {}
    /// @param inText narrow text in UTF-8; invalid bytes become U+FFFD; null gives an empty String.
    /// @param inLength its length in bytes; -1 means zero-terminated.
    String(const char* inText, std::ptrdiff_t inLength = -1);

    /// Appends.
    String& operator<<(const String& inText) {
        mText += inText.mText;
        return *this;
    }
    /// Appends a number in decimal.
    String& operator<<(std::uint64_t inNumber);
    String& operator<<(std::uint32_t inNumber) { return *this << static_cast<std::uint64_t>(inNumber); }
    String& operator+=(const String& inText) { return *this << inText; }

    friend bool operator==(const String& inLeft, const String& inRight) noexcept {
        return inLeft.mText == inRight.mText;
    }
    /// A strict order, by code units.
    friend bool operator<(const String& inLeft, const String& inRight) noexcept {
        return inLeft.mText < inRight.mText;
    }

    /// The text, zero-terminated; valid until the String changes or is destroyed.
    const char16_t* c_str() const noexcept { return mText.c_str(); }
    /// Number of UTF-16 code units.
    std::size_t get_Length() const noexcept { return mText.size(); }
    bool isEmpty() const noexcept { return mText.empty(); }
    void clear() noexcept { mText.clear(); }

    /// The decimal number that the text begins with, after whitespace and with an optional sign; 0 if there
    /// is none. A number beyond 64 bits gives the nearest limit.
    std::int64_t parseLLong() const noexcept;

    /// The empty String that operations return a reference to where there is no text.
    static const String sEmpty;

private:
    static std::size_t LengthOf(const char16_t* inText, std::ptrdiff_t inLength) noexcept {
        return inLength < 0 ? std::char_traits<char16_t>::length(inText) : static_cast<std::size_t>(inLength);
    }

    std::u16string mText;
};

/// A character set's converter; used only by handing it to StFromUTF16 and StToUTF16.
class I_Converter;

/// The converter of UTF-8. Never null; lives as long as the library.
const I_Converter* GetConverter_UTF8();

/// Holds what a converter makes of UTF-16 text. An unpaired surrogate becomes U+FFFD.
class StFromUTF16 {
public:
    StFromUTF16(const String& inText, const I_Converter* inConverter)
        : StFromUTF16(inText.c_str(), static_cast<std::ptrdiff_t>(inText.get_Length()), inConverter) {}
    /// @param inLength in code units; -1 means zero-terminated.
    StFromUTF16(const char16_t* inText, std::ptrdiff_t inLength, const I_Converter* inConverter);

    /// The converted bytes, zero-terminated; valid as long as this object.
    const char* c_str() const noexcept { return mText.c_str(); }
    /// Number of converted bytes, without the terminator.
    std::size_t get_Length() const noexcept { return mText.size(); }

private:
    std::string mText;
};

/// Holds the UTF-16 text that a converter makes of bytes. Invalid bytes become U+FFFD.
class StToUTF16 {
public:
    /// @param inText null counts as empty.
    /// @param inLength in bytes; -1 means zero-terminated.
    StToUTF16(const char* inText, std::ptrdiff_t inLength, const I_Converter* inConverter);

    /// The converted text, zero-terminated; valid as long as this object.
    const char16_t* c_str() const noexcept { return mText.c_str(); }
    /// Number of UTF-16 code units, without the terminator.
    std::size_t get_Length() const noexcept { return mText.size(); }

private:
    std::u16string mText;
};

/// Converts bytes to UTF-16 in a buffer of the caller's: the same as StToUTF16 without an object per text.
/// Invalid bytes become U+FFFD.
/// @param inText the bytes; may be null when the length is 0.
/// @param inLength number of bytes.
/// @param outBuffer holds at least `inLength` code units; UTF-16 never needs more units than UTF-8 bytes.
/// @return the number of code units written; no terminator is added.
std::size_t ConvertToUTF16(const char* inText, std::size_t inLength, const I_Converter* inConverter,
                           char16_t* outBuffer);

/// New wide text, zero-terminated, for use between single quotes in SQL: each single quote is doubled. The
/// caller frees it with FreeTextU.
/// @param inText zero-terminated; null counts as empty.
/// @param inFlags the host's; 0 here.
char16_t* EscapeStringU(const char16_t* inText, std::uint32_t inFlags);

/// Frees a text that this library returned. Null is allowed.
void FreeTextU(char16_t* inText) noexcept;

/// Owns a text of EscapeStringU.
struct TextUDeleter {
    void operator()(char16_t* inText) const noexcept { FreeTextU(inText); }
};
using OwnedTextU = std::unique_ptr<char16_t[], TextUDeleter>;

} // namespace orkit
