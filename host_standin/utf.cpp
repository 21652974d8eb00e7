#include "host_standin/utf.h"

#include <unicode/utf16.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace orkit::standin {

namespace {

// Texts are mostly ASCII: they are checked and copied in blocks, with loops of fixed length over local
// arrays, which the compiler vectorises.
constexpr std::size_t kBlock = 16;

bool IsAsciiBlock(const char* inText) noexcept {
    std::array<std::uint64_t, kBlock / sizeof(std::uint64_t)> words;
    std::memcpy(words.data(), inText, kBlock);
    return ((words[0] | words[1]) & 0x8080808080808080U) == 0;
}

bool IsAsciiBlock(const char16_t* inText) noexcept {
    std::array<std::uint64_t, kBlock * sizeof(char16_t) / sizeof(std::uint64_t)> words;
    std::memcpy(words.data(), inText, sizeof(words));
    return ((words[0] | words[1] | words[2] | words[3]) & 0xFF80FF80FF80FF80U) == 0;
}

template <class To, class From>
void CopyBlock(const From* inText, To* outText) noexcept {
    std::array<std::make_unsigned_t<From>, kBlock> from;
    std::array<To, kBlock> to;
    std::memcpy(from.data(), inText, sizeof(from));
    for (std::size_t i = 0; i < kBlock; ++i) {
        to[i] = static_cast<To>(from[i]);
    }
    std::memcpy(outText, to.data(), sizeof(to));
}

// Copies the blocks of pure ASCII that the text begins with. Returns their length.
template <class To, class From>
std::size_t CopyAsciiBlocks(const From* inText, std::size_t inLength, To* outText) noexcept {
    std::size_t done = 0;
    while (inLength - done >= kBlock && IsAsciiBlock(inText + done)) {
        CopyBlock(inText + done, outText + done);
        done += kBlock;
    }
    return done;
}

// Converts a text: blocks of ASCII at once, and each other character with `inConvert`, which advances both
// positions. Returns the number of units written.
template <class To, class From, class Convert>
std::size_t ConvertText(const From* inText, std::size_t inLength, To* outText, Convert inConvert) noexcept {
    std::size_t from = 0;
    std::size_t to = 0;
    while (from < inLength) {
        const std::size_t ascii = CopyAsciiBlocks(inText + from, inLength - from, outText + to);
        from += ascii;
        to += ascii;
        const std::size_t stop = std::min(inLength, from + kBlock);
        while (from < stop) {
            if (static_cast<std::make_unsigned_t<From>>(inText[from]) < 0x80) {
                outText[to++] = static_cast<To>(inText[from++]);
            } else {
                inConvert(from, to);
            }
        }
    }
    return to;
}

// The capacity must be 3 bytes per unit.
std::size_t ConvertUnits(const char16_t* inText, std::size_t inLength, char* outText) noexcept {
    auto* const out = reinterpret_cast<std::uint8_t*>(outText);
    return ConvertText(inText, inLength, outText, [=](std::size_t& ioFrom, std::size_t& ioTo) {
        std::uint32_t character = 0;
        U16_NEXT_OR_FFFD(inText, ioFrom, inLength, character);
        U8_APPEND_UNSAFE(out, ioTo, character);
    });
}

} // namespace

std::size_t Utf8ToUtf16(const char* inText, std::size_t inLength, char16_t* outText) noexcept {
    const auto* const text = reinterpret_cast<const std::uint8_t*>(inText);
    return ConvertText(inText, inLength, outText, [=](std::size_t& ioFrom, std::size_t& ioTo) {
        std::int32_t character = 0;
        U8_NEXT_OR_FFFD(text, ioFrom, inLength, character);
        U16_APPEND_UNSAFE(outText, ioTo, character);
    });
}

std::string Utf16ToUtf8(const char16_t* inText, std::size_t inLength) {
    std::string text(inLength, '\0');
    std::size_t done = CopyAsciiBlocks(inText, inLength, text.data());
    if (done < inLength) {
        text.resize(done + 3 * (inLength - done));
        done += ConvertUnits(inText + done, inLength - done, text.data() + done);
        text.resize(done);
    }
    return text;
}

} // namespace orkit::standin
