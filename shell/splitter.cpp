#include "shell/splitter.h"

#include <algorithm>
#include <array>

#include "shell/text.h"

namespace orlimbara::shell {

namespace {

using Byte = unsigned char;

bool IsTagStart(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' || static_cast<Byte>(c) >= 0x80;
}
bool IsTagPart(char c) { return IsTagStart(c) || IsDigit(c); }
bool IsIdentifierPart(char c) { return IsTagPart(c) || c == '$'; }
bool IsLineEnd(char c) { return c == '\n' || c == '\r'; }

/// The characters beyond ASCII that DuckDB reads as a space.
constexpr std::array<std::string_view, 18> kUnicodeSpaces = {
    "\u00A0", "\u2000", "\u2001", "\u2002", "\u2003", "\u2004", "\u2005", "\u2006", "\u2007",
    "\u2008", "\u2009", "\u200A", "\u200B", "\u202F", "\u205F", "\u2060", "\u3000", "\uFEFF"};
constexpr std::size_t kLongestSpace = 3;
constexpr std::string_view kByteOrderMark = "\uFEFF";

/// The length of the space beyond ASCII that ends a text, else 0.
std::size_t SpaceAtEnd(std::string_view inText) {
    const auto found = std::find_if(kUnicodeSpaces.begin(), kUnicodeSpaces.end(),
                                    [&](std::string_view space) { return inText.ends_with(space); });
    return found == kUnicodeSpaces.end() ? 0 : found->size();
}

} // namespace

void Splitter::Feed(std::string_view inText) {
    Forget();
    mText += inText;
}

void Splitter::Finish() { mIsFinished = true; }

bool Splitter::IsOpen() const { return mStart || mState != State::Plain; }

std::optional<Piece> Splitter::Next() {
    while (mPosition < mText.size()) {
        const Step step = Scan();
        if (step == Step::NeedMore) {
            break;
        }
        if (step == Step::DotCommand) {
            const std::size_t newLine = mText.find('\n', mPosition);
            if (newLine == std::string::npos && !mIsFinished) {
                return std::nullopt;
            }
            const std::size_t end = std::min(newLine, mText.size());
            mStart = mPosition;
            Piece piece = Take(Piece::Kind::DotCommand, end, std::min(end + 1, mText.size()));
            if (piece.text.ends_with('\r')) {
                piece.text.pop_back();
            }
            return piece;
        }
        if (step == Step::Statement) {
            const bool hasText = mStart.has_value();
            Piece piece = Take(Piece::Kind::Statement, mPosition, mPosition + 1);
            if (hasText && !piece.text.empty()) {
                return piece;
            }
        }
    }
    if (mIsFinished && mStart) {
        Piece piece = Take(Piece::Kind::Statement, mText.size(), mText.size());
        if (!piece.text.empty()) {
            return piece;
        }
    }
    return std::nullopt;
}

Splitter::Step Splitter::Scan() {
    switch (mState) {
    case State::Quoted:
        ScanQuoted();
        return Step::Go;
    case State::EscapedQuoted:
        return ScanEscaped();
    case State::DollarQuoted:
        ScanDollarQuoted();
        return Step::Go;
    case State::LineComment:
        ScanLineComment();
        return Step::Go;
    case State::BlockComment:
        return ScanBlockComment();
    case State::Plain:
        break;
    }
    return ScanPlain();
}

Splitter::Step Splitter::ScanPlain() {
    const char c = At(0);
    if (c == '.' && !mStart && IsLineStart(mPosition)) {
        return Step::DotCommand;
    }
    if (c == ';') {
        return Step::Statement;
    }
    if (const std::optional<Step> gap = ScanGap()) {
        return *gap;
    }
    if (c == '\'' && (mContinuation == Continuation::Adjacent || mContinuation == Continuation::NextLine)) {
        mState = State::EscapedQuoted;
        ++mPosition;
        return Step::Go;
    }
    Begin();
    return ScanToken();
}

/// Skips whitespace or enters a comment. Returns nothing if a token begins here.
std::optional<Splitter::Step> Splitter::ScanGap() {
    const char c = At(0);
    if (IsWhitespace(c)) {
        SkipWhitespace(IsLineEnd(c), 1);
        return Step::Go;
    }
    if (c == '-' || c == '/') {
        if (!Has(2) && !mIsFinished) {
            return Step::NeedMore;
        }
        if (Has(2) && At(1) == (c == '-' ? '-' : '*')) {
            mState = c == '-' ? State::LineComment : State::BlockComment;
            mDepth = 1;
            mContinuation = c == '-' ? mContinuation : Continuation::None;
            mPosition += 2;
            return Step::Go;
        }
    }
    if (static_cast<Byte>(c) >= 0x80) {
        std::size_t length = 0;
        const Step step = ScanUnicodeSpace(length);
        if (step == Step::NeedMore) {
            return step;
        }
        if (length) {
            SkipWhitespace(false, length);
            return Step::Go;
        }
    }
    return std::nullopt;
}

Splitter::Step Splitter::ScanToken() {
    const char c = At(0);
    if (c == '\'' || c == '"') {
        mState = State::Quoted;
        mQuote = c;
        ++mPosition;
        return Step::Go;
    }
    if (c == '$') {
        return ScanDollar();
    }
    if (IsTagStart(c)) {
        return ScanIdentifier();
    }
    // A number ends before a "$" or a letter, unlike an identifier that holds digits.
    ++mPosition;
    return Step::Go;
}

/// Scans a whole name. After a lone "e" it includes the quote, which starts a text with escapes.
Splitter::Step Splitter::ScanIdentifier() {
    std::size_t end = mPosition;
    while (end < mText.size() && IsIdentifierPart(mText[end])) {
        if (static_cast<Byte>(mText[end]) >= 0x80 && end > mPosition) {
            const std::size_t start = mPosition;
            mPosition = end;
            std::size_t length = 0;
            const Step step = ScanUnicodeSpace(length);
            mPosition = start;
            if (step == Step::NeedMore) {
                return step;
            }
            if (length) {
                break;
            }
        }
        ++end;
    }
    if (end == mText.size() && !mIsFinished) {
        return Step::NeedMore;
    }
    const bool isEscapePrefix = end == mPosition + 1 && (At(0) == 'e' || At(0) == 'E');
    mPosition = end;
    if (isEscapePrefix && Has(1) && At(0) == '\'') {
        mState = State::EscapedQuoted;
        ++mPosition;
    }
    return Step::Go;
}

Splitter::Step Splitter::ScanDollar() {
    std::size_t end = mPosition + 1;
    if (end < mText.size() && IsTagStart(mText[end])) {
        while (end < mText.size() && IsTagPart(mText[end])) {
            ++end;
        }
    }
    if (end == mText.size() && !mIsFinished) {
        return Step::NeedMore;
    }
    if (end < mText.size() && mText[end] == '$') {
        mTag = mText.substr(mPosition, end + 1 - mPosition);
        mState = State::DollarQuoted;
        mPosition = mBodyStart = end + 1;
    } else {
        ++mPosition; // a parameter, or a lone "$"; a name after it is scanned as a name
    }
    return Step::Go;
}

/// @param outLength the length of the space beyond ASCII at the current position, else 0.
Splitter::Step Splitter::ScanUnicodeSpace(std::size_t& outLength) const {
    const std::string_view rest = std::string_view(mText).substr(mPosition);
    for (const std::string_view space : kUnicodeSpaces) {
        if (rest.starts_with(space)) {
            outLength = space.size();
        }
    }
    return !outLength && rest.size() < kLongestSpace && !mIsFinished ? Step::NeedMore : Step::Go;
}

/// A doubled quote ends the text and starts it again, with the same effect.
void Splitter::ScanQuoted() {
    const std::size_t end = mText.find(mQuote, mPosition);
    if (end == std::string::npos) {
        mPosition = mText.size();
        return;
    }
    mPosition = end + 1;
    mState = State::Plain;
}

Splitter::Step Splitter::ScanEscaped() {
    const std::size_t end = mText.find_first_of("\\'", mPosition);
    if (end == std::string::npos) {
        mPosition = mText.size();
    } else if (mText[end] == '\'') {
        mPosition = end + 1;
        mState = State::Plain;
        mContinuation = Continuation::Adjacent;
    } else if (end + 1 < mText.size()) {
        mPosition = end + 2;
    } else {
        mPosition = mIsFinished ? mText.size() : end;
        return mIsFinished ? Step::Go : Step::NeedMore;
    }
    return Step::Go;
}

void Splitter::ScanDollarQuoted() {
    // Only part of the tag may have been fed, so the search starts earlier by the tag's length.
    const std::size_t back = std::min(mTag.size() - 1, mPosition - mBodyStart);
    const std::size_t found = mText.find(mTag, mPosition - back);
    if (found == std::string::npos) {
        mPosition = mText.size();
        return;
    }
    mPosition = found + mTag.size();
    mState = State::Plain;
}

void Splitter::ScanLineComment() {
    const std::size_t end = mText.find_first_of("\n\r", mPosition);
    mPosition = std::min(end, mText.size());
    if (end != std::string::npos) {
        mState = State::Plain;
    }
}

Splitter::Step Splitter::ScanBlockComment() {
    const std::size_t found = mText.find_first_of("*/", mPosition);
    mPosition = std::min(found, mText.size());
    if (found == std::string::npos) {
        return Step::Go;
    }
    if (!Has(2)) {
        mPosition += mIsFinished ? 1U : 0U;
        return mIsFinished ? Step::Go : Step::NeedMore;
    }
    const bool isStart = At(0) == '/' && At(1) == '*';
    const bool isEnd = At(0) == '*' && At(1) == '/';
    mPosition += isStart || isEnd ? 2 : 1;
    if (isStart) {
        ++mDepth;
    } else if (isEnd && --mDepth == 0) {
        mState = State::Plain;
    }
    return Step::Go;
}

/// A byte order mark at the start of the whole text is skipped.
bool Splitter::IsLineStart(std::size_t inPosition) const {
    if (inPosition == 0) {
        return mAtLineStart;
    }
    return mText[inPosition - 1] == '\n' ||
           (mIsAtStart && std::string_view(mText).substr(0, inPosition) == kByteOrderMark);
}

void Splitter::CountLines(std::size_t inEnd) {
    if (mCounted < inEnd) {
        const auto begin = mText.begin();
        mLine += static_cast<std::size_t>(std::count(begin + static_cast<std::ptrdiff_t>(mCounted),
                                                     begin + static_cast<std::ptrdiff_t>(inEnd), '\n'));
        mCounted = inEnd;
    }
}

void Splitter::Begin() {
    mContinuation = Continuation::None;
    if (!mStart) {
        mStart = mPosition;
    }
}

void Splitter::SkipWhitespace(bool inIsNewLine, std::size_t inLength) {
    if (mContinuation != Continuation::None && mContinuation != Continuation::NextLine) {
        mContinuation = inIsNewLine ? Continuation::NextLine : Continuation::SameLine;
    }
    mPosition += inLength;
}

/// Takes the piece from the open statement's start to `inEnd`, and continues at `inNext`.
Piece Splitter::Take(Piece::Kind inKind, std::size_t inEnd, std::size_t inNext) {
    const std::size_t start = mStart.value_or(inEnd);
    std::string text = mText.substr(start, inEnd - start);
    if (inKind == Piece::Kind::Statement && mState == State::Plain) {
        // DuckDB doesn't accept these spaces at the very end of a text.
        for (std::size_t length = SpaceAtEnd(text); length != 0; length = SpaceAtEnd(text)) {
            text.resize(text.size() - length);
        }
    }
    mStart.reset();
    mContinuation = Continuation::None;
    mPosition = inNext;
    CountLines(start);
    return {inKind, std::move(text), mLine};
}

/// Drops text that no open piece needs. Moves the rest, so it is called once per fed part.
void Splitter::Forget() {
    const std::size_t count = mState == State::Plain || mStart ? mStart.value_or(mPosition) : 0;
    if (count == 0) {
        return;
    }
    mAtLineStart = IsLineStart(count);
    mIsAtStart = false;
    CountLines(count);
    mText.erase(0, count);
    mCounted -= count;
    mPosition -= count;
    if (mStart) {
        mStart = 0;
        mBodyStart = mState == State::DollarQuoted ? mBodyStart - count : 0;
    }
}

} // namespace orlimbara::shell
