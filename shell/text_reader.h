/// @file
/// Reading a short text from its front: what the parsers of literals, dates and words share.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "shell/failure.h"
#include "shell/text.h"

namespace orlimbara::shell {

/// Reads a text from its front.
class TextReader {
public:
    explicit TextReader(std::string_view inText) : mRest(inText) {}

    bool IsAtEnd() const { return mRest.empty(); }
    char Peek() const { return mRest.empty() ? '\0' : mRest.front(); }
    std::string_view get_Rest() const { return mRest; }
    void Skip(std::size_t inCount) { mRest.remove_prefix(inCount); }
    void SkipWhitespace() {
        while (!mRest.empty() && IsWhitespace(mRest.front())) {
            mRest.remove_prefix(1);
        }
    }
    bool Accept(char inCharacter) {
        const bool isThere = !mRest.empty() && mRest.front() == inCharacter;
        mRest.remove_prefix(isThere ? 1 : 0);
        return isThere;
    }

    /// Reads `inFewest` to `inMost` digits as a number.
    std::optional<std::int64_t> Number(std::size_t inFewest, std::size_t inMost) {
        std::size_t count = 0;
        std::int64_t number = 0;
        while (count < inMost && count < mRest.size() && IsDigit(mRest[count])) {
            number = number * 10 + (mRest[count++] - '0');
        }
        if (count < inFewest) {
            return std::nullopt;
        }
        mRest.remove_prefix(count);
        return number;
    }

    /// Reads a quoted text. Throws ShellError if the quote isn't closed.
    std::string Quoted() {
        std::string text;
        for (std::size_t i = 1; i < mRest.size(); ++i) {
            if (mRest[i] != '\'') {
                text += mRest[i];
            } else if (i + 1 < mRest.size() && mRest[i + 1] == '\'') {
                text += mRest[i++];
            } else {
                mRest.remove_prefix(i + 1);
                return text;
            }
        }
        throw ShellError("a quote is not closed");
    }

    /// The text up to whitespace or one of `inStops`.
    std::string_view Word(std::string_view inStops) {
        std::size_t length = 0;
        while (length < mRest.size() && !IsWhitespace(mRest[length]) &&
               inStops.find(mRest[length]) == std::string_view::npos) {
            ++length;
        }
        const std::string_view word = mRest.substr(0, length);
        mRest.remove_prefix(length);
        return word;
    }

private:
    std::string_view mRest;
};

} // namespace orlimbara::shell
