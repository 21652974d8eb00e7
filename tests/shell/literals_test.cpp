#include "shell/literals.h"

#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "shell/failure.h"

namespace orlimbara::shell {

using Kind = Literal::Kind;

namespace {

/// A literal as "KIND content", for tables of examples.
std::string Describe(const Literal& inLiteral) {
    switch (inLiteral.kind) {
    case Kind::Null:
        return "null";
    case Kind::Boolean:
        return inLiteral.boolean ? "true" : "false";
    case Kind::Long:
        return "long " + std::to_string(inLiteral.number);
    case Kind::LLong:
        return "llong " + std::to_string(inLiteral.number);
    case Kind::ULLong:
        return "ullong " + std::to_string(inLiteral.unsignedNumber);
    case Kind::Double:
        return "double " + std::to_string(inLiteral.real);
    case Kind::Text:
        return "text <" + inLiteral.text + ">";
    case Kind::Binary:
        return "binary " + std::to_string(inLiteral.text.size()) + " <" + inLiteral.text + ">";
    case Kind::Date:
        return "date " + FormatDate(inLiteral.date);
    case Kind::Time:
        return "time " + FormatTime(inLiteral.time);
    case Kind::DateTime:
        return "datetime " + FormatDateTime(inLiteral.date, inLiteral.time);
    case Kind::Json:
        return "json " + inLiteral.text;
    case Kind::Array:
        break;
    }
    std::string text = "array of " + std::to_string(static_cast<int>(inLiteral.itemKind)) + " [";
    for (const Literal& item : inLiteral.items) {
        text += Describe(item) + ",";
    }
    return text + "]";
}

std::string Describe(const std::string& inText) {
    std::string text;
    for (const Literal& literal : ParseLiterals(inText)) {
        text += (text.empty() ? "" : " | ") + Describe(literal);
    }
    return text;
}

std::string ArrayOf(Kind inKind, const std::string& inItems) {
    return "array of " + std::to_string(static_cast<int>(inKind)) + " [" + inItems + "]";
}

TEST(Literals, AreReadAsTheHostKnowsThem) {
    const std::vector<std::pair<std::string, std::string>> examples = {
        {"", ""},
        {"  NULL\ttrue  false ", "null | true | false"},
        {"0 -1 +5 007", "long 0 | long -1 | long 5 | long 7"},
        {"2147483647 -2147483648", "long 2147483647 | long -2147483648"},
        {"2147483648 -2147483649", "llong 2147483648 | llong -2147483649"},
        {"9223372036854775807 -9223372036854775808",
         "llong 9223372036854775807 | llong -9223372036854775808"},
        {"9223372036854775808 18446744073709551615",
         "ullong 9223372036854775808 | ullong 18446744073709551615"},
        {"1.5 -.5 5. 1e3 2E-1 1e-999",
         "double 1.500000 | double -0.500000 | double 5.000000 | double 1000.000000 | double 0.200000 | "
         "double 0.000000"},
        {"'it''s; [a]' '' a'b", "text <it's; [a]> | text <> | text <a'b>"},
        {"word 1x e5 . - 1_000 0x10 NaN dates 'x'", "text <word> | text <1x> | text <e5> | text <.> | text "
                                                    "<-> | text <1_000> | text <0x10> | text <NaN> | "
                                                    "text <dates> | text <x>"},
        {"x'4a4B' X''", "binary 2 <JK> | binary 0 <>"},
        {"date '2024-02-29' date'0000-01-01' date '-0044-03-15' date '+12345-12-31'",
         "date 2024-02-29 | date 0000-01-01 | date -0044-03-15 | date +12345-12-31"},
        {"time '12:30:00.250' time '23:59' time '01:02:03.4'",
         "time 12:30:00.250 | time 23:59:00.000 | time 01:02:03.400"},
        {"datetime '2024-01-31 12:30:00.250' DATETIME '2024-01-31T00:00:00'",
         "datetime 2024-01-31T12:30:00.250 | datetime 2024-01-31T00:00:00.000"},
        {"date time", "text <date> | text <time>"},
        {"json '{\"a\": [1, \"it''s\"]}' json '1'", "json {\"a\": [1, \"it's\"]} | json 1"},
        {"[]", ArrayOf(Kind::Text, "")},
        {"[ NULL , NULL ]", ArrayOf(Kind::Text, "null,null,")},
        {"[a, 'b c',NULL]", ArrayOf(Kind::Text, "text <a>,text <b c>,null,")},
        {"[1, 3000000000, NULL]", ArrayOf(Kind::LLong, "llong 1,llong 3000000000,null,")},
        {"[1, 18446744073709551615]", ArrayOf(Kind::ULLong, "ullong 1,ullong 18446744073709551615,")},
        {"[date '2024-01-31']", ArrayOf(Kind::Date, "date 2024-01-31,")},
        {"[[1],[2,3]] x", ArrayOf(Kind::Array, ArrayOf(Kind::Long, "long 1,") + "," +
                                                   ArrayOf(Kind::Long, "long 2,long 3,") + ",") +
                              " | text <x>"},
    };
    for (const auto& [text, expected] : examples) {
        EXPECT_EQ(Describe(text), expected) << text;
    }
}

TEST(Literals, ArraysNestOnlySoDeep) {
    const auto nested = [](std::size_t depth) {
        return std::string(depth, '[') + "1" + std::string(depth, ']');
    };
    EXPECT_EQ(ParseLiterals(nested(1000)).size(), 1u);
    EXPECT_THROW(ParseLiterals(nested(1001)), ShellError);
    EXPECT_THROW(ParseLiterals(nested(100000)), ShellError);
}

TEST(Literals, ThatAreNoneAreRefused) {
    for (const std::string text : {"18446744073709551616",
                                   "-9223372036854775809",
                                   "1e999",
                                   "'open",
                                   "'a'b",
                                   "x'ABC'",
                                   "x'AG'",
                                   "date '2023-02-29'",
                                   "date '2024-13-01'",
                                   "date '24-01-01'",
                                   "date '12345-01-01'",
                                   "time '24:00:00'",
                                   "time '12:60'",
                                   "time '12:30:00.2501'",
                                   "time '1:2:3'",
                                   "datetime '2024-01-31'",
                                   "json '{a'",
                                   "json ''",
                                   "[1, a]",
                                   "[1, 1.5]",
                                   "[1",
                                   "[1,]",
                                   "[1] x [",
                                   "[-1, 18446744073709551615]",
                                   "[1]x"}) {
        EXPECT_THROW(ParseLiterals(text), ShellError) << text;
    }
}

TEST(Words, AreBareOrQuoted) {
    EXPECT_EQ(ParseWords(" a 'b c' 'it''s' 1 [x] it's "),
              (std::vector<std::string>{"a", "b c", "it's", "1", "[x]", "it's"}));
    EXPECT_THROW(ParseWords("'open"), ShellError);
    std::string_view rest;
    EXPECT_EQ(TakeWord("  call [1, 2]", rest), "call");
    EXPECT_EQ(rest, " [1, 2]");
}

} // namespace
} // namespace orlimbara::shell
