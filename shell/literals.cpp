#include "shell/literals.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <limits>
#include <optional>

#include <fmt/format.h>

#include "host/json.h"
#include "shell/failure.h"
#include "shell/text.h"

namespace orsql {

namespace {

using Kind = Literal::Kind;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

/// Reads a text from its front.
class Reader {
public:
    explicit Reader(std::string_view inText) : mRest(inText) {}

    /// Arrays that are open around the place.
    int mDepth = 0;

    bool IsAtEnd() const { return mRest.empty(); }
    char Peek() const { return mRest.empty() ? '\0' : mRest.front(); }
    std::string_view get_Rest() const { return mRest; }
    void Skip(std::size_t inCount) { mRest.remove_prefix(inCount); }
    void SkipBlanks() {
        while (!mRest.empty() && IsBlank(mRest.front())) {
            mRest.remove_prefix(1);
        }
    }
    bool Accept(char inCharacter) {
        const bool isThere = !mRest.empty() && mRest.front() == inCharacter;
        mRest.remove_prefix(isThere ? 1 : 0);
        return isThere;
    }

    /// The digits that stand here, at least `inFewest` and at most `inMost`, as a number.
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

    /// The text in the quotes that begin here.
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

    /// What stands here up to a blank, or to one of `inStops`.
    std::string_view Word(std::string_view inStops) {
        std::size_t length = 0;
        while (length < mRest.size() && !IsBlank(mRest[length]) &&
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

bool ReadDate(Reader& ioReader, CalendarDate& outDate) {
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

bool ReadTime(Reader& ioReader, ClockTime& outTime) {
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

bool MakeBinary(const std::string& inText, Literal& outLiteral) {
    const auto digit = [](char c) {
        return IsDigit(c)             ? c - '0'
               : c >= 'a' && c <= 'f' ? c - 'a' + 10
               : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                      : -1;
    };
    if (inText.size() % 2 != 0) {
        return false;
    }
    for (std::size_t i = 0; i < inText.size(); i += 2) {
        const int high = digit(inText[i]);
        const int low = digit(inText[i + 1]);
        if (high < 0 || low < 0) {
            return false;
        }
        outLiteral.text += static_cast<char>(high * 16 + low);
    }
    return true;
}

bool MakeDate(const std::string& inText, Literal& outLiteral) {
    Reader reader(inText);
    return ReadDate(reader, outLiteral.date) && reader.IsAtEnd();
}

bool MakeTime(const std::string& inText, Literal& outLiteral) {
    Reader reader(inText);
    return ReadTime(reader, outLiteral.time) && reader.IsAtEnd();
}

bool MakeDateTime(const std::string& inText, Literal& outLiteral) {
    Reader reader(inText);
    return ReadDate(reader, outLiteral.date) && (reader.Accept(' ') || reader.Accept('T')) &&
           ReadTime(reader, outLiteral.time) && reader.IsAtEnd();
}

bool MakeJson(const std::string& inText, Literal& outLiteral) {
    outLiteral.text = ValidUtf8(inText);
    return inText.find('\0') == std::string::npos && orkit::Json(outLiteral.text.c_str()).isValid();
}

/// The words that say what a quoted text behind them is.
struct Prefix {
    std::string_view word;
    Kind kind;
    bool (*make)(const std::string&, Literal&);
};
constexpr std::array<Prefix, 5> kPrefixes = {{
    {"x", Kind::Binary, MakeBinary},
    {"date", Kind::Date, MakeDate},
    {"time", Kind::Time, MakeTime},
    {"datetime", Kind::DateTime, MakeDateTime},
    {"json", Kind::Json, MakeJson},
}};

/// `inWord` is an optional sign and digits.
Literal MakeWholeNumber(std::string_view inWord) {
    const bool hasPlus = inWord.front() == '+';
    const char* const first = inWord.data() + (hasPlus ? 1 : 0);
    const char* const last = inWord.data() + inWord.size();
    Literal literal;
    if (std::from_chars(first, last, literal.number).ec == std::errc()) {
        const bool isLong = literal.number >= std::numeric_limits<std::int32_t>::min() &&
                            literal.number <= std::numeric_limits<std::int32_t>::max();
        literal.kind = isLong ? Kind::Long : Kind::LLong;
        return literal;
    }
    literal.number = 0;
    if (inWord.front() != '-' && std::from_chars(first, last, literal.unsignedNumber).ec == std::errc()) {
        literal.kind = Kind::ULLong;
        return literal;
    }
    throw ShellError(fmt::format("{} is beyond the numbers of 64 bits", inWord));
}

/// Tells a whole number (1) and a number with a point or an exponent (2) from other words (0).
int NumberForm(std::string_view inWord) {
    Reader reader(inWord);
    if (!reader.Accept('-')) {
        reader.Accept('+');
    }
    const auto digits = [&reader] {
        std::size_t count = 0;
        for (; IsDigit(reader.Peek()); ++count) {
            reader.Skip(1);
        }
        return count;
    };
    std::size_t count = digits();
    int form = 1;
    if (reader.Accept('.')) {
        form = 2;
        count += digits();
    }
    if (count == 0) {
        return 0;
    }
    if (reader.Accept('e') || reader.Accept('E')) {
        form = 2;
        if (!reader.Accept('-')) {
            reader.Accept('+');
        }
        if (digits() == 0) {
            return 0;
        }
    }
    return reader.IsAtEnd() ? form : 0;
}

Literal MakeWord(std::string_view inWord) {
    Literal literal;
    if (EqualsIgnoringCase(inWord, "null")) {
        return literal;
    }
    if (EqualsIgnoringCase(inWord, "true") || EqualsIgnoringCase(inWord, "false")) {
        literal.kind = Kind::Boolean;
        literal.boolean = inWord.size() == 4;
        return literal;
    }
    const int form = NumberForm(inWord);
    if (form == 1) {
        return MakeWholeNumber(inWord);
    }
    if (form == 2) {
        literal.kind = Kind::Double;
        const std::size_t skip = inWord.front() == '+' ? 1 : 0;
        const auto result =
            std::from_chars(inWord.data() + skip, inWord.data() + inWord.size(), literal.real);
        if (result.ec != std::errc()) {
            // Too small rounds to 0, which strtod gives; too large has no double.
            literal.real = std::strtod(std::string(inWord).c_str(), nullptr);
            if (literal.real > 1 || literal.real < -1) {
                throw ShellError(fmt::format("{} is beyond the numbers of a double", inWord));
            }
        }
        return literal;
    }
    literal.kind = Kind::Text;
    literal.text = inWord;
    return literal;
}

/// A value behind one of the prefix words; nothing if none stands here.
std::optional<Literal> ReadPrefixed(Reader& ioReader) {
    for (const Prefix& prefix : kPrefixes) {
        if (!StartsIgnoringCase(ioReader.get_Rest(), prefix.word)) {
            continue;
        }
        Reader behind(ioReader.get_Rest().substr(prefix.word.size()));
        if (prefix.word.size() > 1) {
            behind.SkipBlanks();
        }
        if (behind.Peek() != '\'') {
            continue;
        }
        Literal literal;
        literal.kind = prefix.kind;
        const std::string text = behind.Quoted();
        if (!prefix.make(text, literal)) {
            throw ShellError(
                fmt::format("'{}' is no {} value", text, prefix.word == "x" ? "binary" : prefix.word));
        }
        ioReader = behind;
        return literal;
    }
    return std::nullopt;
}

Literal ReadValue(Reader& ioReader, std::string_view inStops);

bool IsWhole(Kind inKind) { return inKind == Kind::Long || inKind == Kind::LLong || inKind == Kind::ULLong; }

/// Finds the one kind of an array's items; whole numbers take the narrowest kind that holds them all.
void SettleItemKind(Literal& ioArray) {
    std::optional<Kind> kind;
    bool isNegative = false;
    for (const Literal& item : ioArray.items) {
        if (item.kind == Kind::Null) {
            continue;
        }
        isNegative = isNegative || item.number < 0;
        if (!kind || (IsWhole(*kind) && IsWhole(item.kind))) {
            kind = std::max(kind.value_or(item.kind), item.kind);
        } else if (*kind != item.kind) {
            throw ShellError("the items of an array must be of one kind");
        }
    }
    ioArray.itemKind = kind.value_or(Kind::Text);
    if (!IsWhole(ioArray.itemKind)) {
        return;
    }
    if (ioArray.itemKind == Kind::ULLong && isNegative) {
        throw ShellError("no kind of whole number holds all items of the array");
    }
    for (Literal& item : ioArray.items) {
        if (item.kind != Kind::Null && item.kind != ioArray.itemKind) {
            if (ioArray.itemKind == Kind::ULLong) {
                item.unsignedNumber = static_cast<std::uint64_t>(item.number);
                item.number = 0;
            }
            item.kind = ioArray.itemKind;
        }
    }
}

/// Counts an open array, and refuses one too many: reading and using arrays goes by recursion.
class DepthScope {
public:
    explicit DepthScope(Reader& ioReader) : mReader(ioReader) {
        constexpr int kDeepest = 1000;
        if (mReader.mDepth == kDeepest) {
            throw ShellError(fmt::format("arrays are nested deeper than {}", kDeepest));
        }
        ++mReader.mDepth;
    }
    ~DepthScope() { --mReader.mDepth; }
    DepthScope(const DepthScope&) = delete;
    DepthScope& operator=(const DepthScope&) = delete;

private:
    Reader& mReader;
};

Literal ReadArray(Reader& ioReader) {
    Literal array;
    array.kind = Kind::Array;
    const DepthScope depth(ioReader);
    ioReader.Accept('[');
    ioReader.SkipBlanks();
    if (!ioReader.Accept(']')) {
        do {
            ioReader.SkipBlanks();
            array.items.push_back(ReadValue(ioReader, ",]"));
            ioReader.SkipBlanks();
        } while (ioReader.Accept(','));
        if (!ioReader.Accept(']')) {
            throw ShellError("an array is not closed");
        }
    }
    SettleItemKind(array);
    return array;
}

/// Reads the value that begins here. @param inStops what ends a bare word besides a blank.
Literal ReadValue(Reader& ioReader, std::string_view inStops) {
    if (ioReader.Peek() == '[') {
        return ReadArray(ioReader);
    }
    if (ioReader.Peek() == '\'') {
        Literal literal;
        literal.kind = Kind::Text;
        literal.text = ioReader.Quoted();
        return literal;
    }
    if (auto literal = ReadPrefixed(ioReader)) {
        return *literal;
    }
    const std::string_view word = ioReader.Word(inStops);
    if (word.empty()) {
        throw ShellError("a value is missing in an array");
    }
    return MakeWord(word);
}

void RequireBlank(const Reader& inReader) {
    if (!inReader.IsAtEnd() && !IsBlank(inReader.Peek())) {
        throw ShellError(fmt::format("a blank is missing before {}", inReader.get_Rest()));
    }
}

std::string ReadWord(Reader& ioReader) {
    ioReader.SkipBlanks();
    if (ioReader.Peek() != '\'') {
        return std::string(ioReader.Word(""));
    }
    std::string word = ioReader.Quoted();
    RequireBlank(ioReader);
    return word;
}

} // namespace

std::vector<Literal> ParseLiterals(std::string_view inText) {
    std::vector<Literal> literals;
    Reader reader(inText);
    for (reader.SkipBlanks(); !reader.IsAtEnd(); reader.SkipBlanks()) {
        literals.push_back(ReadValue(reader, ""));
        RequireBlank(reader);
    }
    return literals;
}

std::vector<std::string> ParseWords(std::string_view inText) {
    std::vector<std::string> words;
    Reader reader(inText);
    for (reader.SkipBlanks(); !reader.IsAtEnd(); reader.SkipBlanks()) {
        words.push_back(ReadWord(reader));
    }
    return words;
}

std::string TakeWord(std::string_view inText, std::string_view& outRest) {
    Reader reader(inText);
    std::string word = ReadWord(reader);
    outRest = reader.get_Rest();
    return word;
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

} // namespace orsql
