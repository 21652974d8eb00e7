/// @file
/// Splitting a script into SQL statements and dot commands, by the rules of DuckDB's scanner.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace orlimbara::shell {

/// One piece of a script.
struct Piece {
    enum class Kind { Statement, DotCommand };
    Kind kind;
    /// A statement, from its first character after whitespace and comments up to but not including the ";";
    /// or a dot command's line without its line end.
    std::string text;
    std::size_t line = 1; ///< of its first character, from 1
};

/// Splits a script that is fed in parts of any size. A statement is available once its ";" is fed, a dot
/// command once its line is complete.
class Splitter {
public:
    /// Adds text.
    void Feed(std::string_view inText);
    /// Ends the text: the rest is a piece too.
    void Finish();
    /// The next piece; nothing if it isn't complete yet.
    std::optional<Piece> Next();
    /// Whether a statement, a quote or a comment is open.
    bool IsOpen() const;
    /// Returns to the state of a new splitter.
    void Reset() { *this = Splitter(); }

private:
    enum class State { Plain, Quoted, EscapedQuoted, DollarQuoted, LineComment, BlockComment };
    /// Whether a following quote continues the E'…' that has just ended.
    enum class Continuation { None, Adjacent, SameLine, NextLine };
    enum class Step { Go, NeedMore, Statement, DotCommand };

    Step Scan();
    Step ScanPlain();
    std::optional<Step> ScanGap();
    Step ScanToken();
    void ScanQuoted();
    Step ScanEscaped();
    void ScanDollarQuoted();
    void ScanLineComment();
    Step ScanBlockComment();
    Step ScanIdentifier();
    Step ScanDollar();
    Step ScanUnicodeSpace(std::size_t& outLength) const;

    bool Has(std::size_t inCount) const { return mPosition + inCount <= mText.size(); }
    char At(std::size_t inOffset) const { return mText[mPosition + inOffset]; }
    bool IsLineStart(std::size_t inPosition) const;
    void CountLines(std::size_t inEnd);
    void Begin();
    void SkipWhitespace(bool inIsNewLine, std::size_t inLength);
    Piece Take(Piece::Kind inKind, std::size_t inEnd, std::size_t inNext);
    void Forget();

    std::string mText;
    std::size_t mPosition = 0;
    bool mAtLineStart = true; // of the text's first byte
    bool mIsAtStart = true;   // nothing was dropped yet
    std::size_t mLine = 1;    // at mCounted
    std::size_t mCounted = 0;
    bool mIsFinished = false;
    State mState = State::Plain;
    Continuation mContinuation = Continuation::None;
    char mQuote = 0;
    std::size_t mDepth = 0;
    std::string mTag;                  // with both dollars
    std::size_t mBodyStart = 0;        // of the dollar quote
    std::optional<std::size_t> mStart; // of the open statement
};

} // namespace orlimbara::shell
