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
#include "shell/text_reader.h"

namespace orlimbara::shell {

namespace {

using Kind = Literal::Kind;

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
    TextReader reader(inText);
    return ReadDate(reader, outLiteral.date) && reader.IsAtEnd();
}

bool MakeTime(const std::string& inText, Literal& outLiteral) {
    TextReader reader(inText);
    return ReadTime(reader, outLiteral.time) && reader.IsAtEnd();
}

bool MakeDateTime(const std::string& inText, Literal& outLiteral) {
    TextReader reader(inText);
    return ReadDate(reader, outLiteral.date) && (reader.Accept(' ') || reader.Accept('T')) &&
           ReadTime(reader, outLiteral.time) && reader.IsAtEnd();
}

bool MakeJson(const std::string& inText, Literal& outLiteral) {
    outLiteral.text = ValidUtf8(inText);
    return inText.find('\0') == std::string::npos && orkit::Json(outLiteral.text.c_str()).isValid();
}

/// The words that give the kind of the quoted text after them.
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

/// 1 for an integer, 2 for a number with a point or an exponent, 0 for other words.
int NumberForm(std::string_view inWord) {
    TextReader reader(inWord);
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
            // A number that is too small rounds to 0, as strtod does; one that is too large has no double.
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

/// Reads a value with one of the prefix words, if there is one.
std::optional<Literal> ReadPrefixed(TextReader& ioReader) {
    for (const Prefix& prefix : kPrefixes) {
        if (!StartsIgnoringCase(ioReader.get_Rest(), prefix.word)) {
            continue;
        }
        TextReader behind(ioReader.get_Rest().substr(prefix.word.size()));
        if (prefix.word.size() > 1) {
            behind.SkipWhitespace();
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

Literal ReadValue(TextReader& ioReader, std::string_view inStops, int inDepth = 0);

bool IsWhole(Kind inKind) { return inKind == Kind::Long || inKind == Kind::LLong || inKind == Kind::ULLong; }

/// Finds the common kind of an array's items; for integers the narrowest that holds them all.
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

/// Reading and using arrays is recursive, so nesting is limited.
constexpr int kDeepestArray = 1000;

Literal ReadArray(TextReader& ioReader, int inDepth) {
    if (inDepth == kDeepestArray) {
        throw ShellError(fmt::format("arrays are nested deeper than {}", kDeepestArray));
    }
    Literal array;
    array.kind = Kind::Array;
    ioReader.Accept('[');
    ioReader.SkipWhitespace();
    if (!ioReader.Accept(']')) {
        do {
            ioReader.SkipWhitespace();
            array.items.push_back(ReadValue(ioReader, ",]", inDepth + 1));
            ioReader.SkipWhitespace();
        } while (ioReader.Accept(','));
        if (!ioReader.Accept(']')) {
            throw ShellError("an array is not closed");
        }
    }
    SettleItemKind(array);
    return array;
}

/// Reads a value. @param inStops characters that end an unquoted word, in addition to whitespace.
/// @param inDepth the number of arrays around it.
Literal ReadValue(TextReader& ioReader, std::string_view inStops, int inDepth) {
    if (ioReader.Peek() == '[') {
        return ReadArray(ioReader, inDepth);
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

void RequireWhitespace(const TextReader& inReader) {
    if (!inReader.IsAtEnd() && !IsWhitespace(inReader.Peek())) {
        throw ShellError(fmt::format("a blank is missing before {}", inReader.get_Rest()));
    }
}

std::string ReadWord(TextReader& ioReader) {
    ioReader.SkipWhitespace();
    if (ioReader.Peek() != '\'') {
        return std::string(ioReader.Word(""));
    }
    std::string word = ioReader.Quoted();
    RequireWhitespace(ioReader);
    return word;
}

} // namespace

std::vector<Literal> ParseLiterals(std::string_view inText) {
    std::vector<Literal> literals;
    TextReader reader(inText);
    for (reader.SkipWhitespace(); !reader.IsAtEnd(); reader.SkipWhitespace()) {
        literals.push_back(ReadValue(reader, ""));
        RequireWhitespace(reader);
    }
    return literals;
}

std::vector<std::string> ParseWords(std::string_view inText) {
    std::vector<std::string> words;
    TextReader reader(inText);
    for (reader.SkipWhitespace(); !reader.IsAtEnd(); reader.SkipWhitespace()) {
        words.push_back(ReadWord(reader));
    }
    return words;
}

std::string TakeWord(std::string_view inText, std::string_view& outRest) {
    TextReader reader(inText);
    std::string word = ReadWord(reader);
    outRest = reader.get_Rest();
    return word;
}

} // namespace orlimbara::shell
