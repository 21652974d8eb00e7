#include "shell/literals.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "shell/failure.h"
#include "tests_support/table.h"

namespace orlimbara::shell::test {

namespace {

/// What literals are: their kinds and contents.
std::string Describe(const std::vector<Literal>& inLiterals) {
    static constexpr const char* kKinds[] = {"null",     "boolean", "long",   "llong", "ullong",
                                             "double",   "text",    "binary", "date",  "time",
                                             "datetime", "json",    "array"};
    std::string all;
    for (const Literal& each : inLiterals) {
        const std::string contents[] = {"",
                                        each.boolean ? "true" : "false",
                                        std::to_string(each.number),
                                        std::to_string(each.number),
                                        std::to_string(each.unsignedNumber),
                                        std::to_string(each.real),
                                        "<" + each.text + ">",
                                        std::to_string(each.text.size()) + " <" + each.text + ">",
                                        FormatDate(each.date),
                                        FormatTime(each.time),
                                        FormatDateTime(each.date, each.time),
                                        each.text,
                                        std::string("of ") + kKinds[static_cast<int>(each.itemKind)] + " [" +
                                            Describe(each.items) + "]"};
        const auto kind = static_cast<int>(each.kind);
        all += std::string(all.empty() ? "" : ", ") + kKinds[kind] + (kind ? " " : "") + contents[kind];
    }
    return all;
}

/// Literals, and what they are.
constexpr const char* kLiterals = R"(
    NULL true  false|null, boolean true, boolean false; 0 -1 +5 007|long 0, long -1, long 5, long 7
    2147483647 -2147483648|long 2147483647, long -2147483648
    2147483648 -2147483649|llong 2147483648, llong -2147483649
    9223372036854775807 -9223372036854775808|llong 9223372036854775807, llong -9223372036854775808
    9223372036854775808 18446744073709551615|ullong 9223372036854775808, ullong 18446744073709551615
    1.5 -.5 5.|double 1.500000, double -0.500000, double 5.000000
    1e3 2E-1 1e-999|double 1000.000000, double 0.200000, double 0.000000
    'it''s, [a]' '' a'b|text <it's, [a]>, text <>, text <a'b>; date time|text <date>, text <time>
    word 1x e5 . -|text <word>, text <1x>, text <e5>, text <.>, text <->
    x'4a4B' X''|binary 2 <JK>, binary 0 <>
    1_000 0x10 NaN dates 'x'|text <1_000>, text <0x10>, text <NaN>, text <dates>, text <x>
    date '2024-02-29' date'0000-01-01'|date 2024-02-29, date 0000-01-01
    date '-0044-03-15' date '+12345-12-31'|date -0044-03-15, date +12345-12-31
    time '12:30:00.250' time '23:59' time '01:02:03.4'|time 12:30:00.250, time 23:59:00.000, time 01:02:03.400
    datetime '2024-01-31 12:30:00.250'|datetime 2024-01-31T12:30:00.250
    DATETIME '2024-01-31T00:00:00'|datetime 2024-01-31T00:00:00.000
    json '{"a": [1, "it''s"]}' json '1'|json {"a": [1, "it's"]}, json 1
    []|array of text []; [ NULL , NULL ]|array of text [null, null]
    [a, 'b c',NULL]|array of text [text <a>, text <b c>, null]
    [1, 3000000000, NULL]|array of llong [llong 1, llong 3000000000, null]
    [date '2024-01-31']|array of date [date 2024-01-31]
    [1, 18446744073709551615]|array of ullong [ullong 1, ullong 18446744073709551615]
    [[1],[2,3]] x|array of array [array of long [long 1], array of long [long 2, long 3]], text <x>)";

TEST(Literals, AreReadAsTheHostKnowsThem) {
    for (const auto& row : tests_support::Table(kLiterals)) {
        EXPECT_EQ(Describe(ParseLiterals(row.at(0))), row.at(1)) << row[0];
    }
    EXPECT_EQ(Describe(ParseLiterals("  'a;|'\ttrue ")), "text <a;|>, boolean true");
    EXPECT_TRUE(ParseLiterals("").empty());
}

TEST(Literals, ThatAreNoneAreRefused) {
    for (
        const auto& row : tests_support::Table(
            R"(18446744073709551616; -9223372036854775809; 1e999; 'open; 'a'b; x'ABC'; x'AG'; date '2023-02-29'
             date '2024-13-01'; date '24-01-01'; date '12345-01-01'; time '24:00:00'; time '12:60'; json '{a'; json ''
             time '12:30:00.2501'; time '1:2:3'; datetime '2024-01-31'; [1, a]; [1, 1.5]; [1; [1,]; [1] x [
             [-1, 18446744073709551615]; [1]x)")) {
        EXPECT_THROW(ParseLiterals(row[0]), ShellError) << row[0];
    }
    const auto nested = [](std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
    EXPECT_EQ(ParseLiterals(nested(1000)).size(), 1u);
    EXPECT_THROW(ParseLiterals(nested(1001)), ShellError);
    EXPECT_THROW(ParseLiterals(nested(100000)), ShellError);
    EXPECT_EQ(ParseWords(" a 'b c' 'it''s' 1 [x] it's "),
              (std::vector<std::string>{"a", "b c", "it's", "1", "[x]", "it's"}));
    EXPECT_THROW(ParseWords("'open"), ShellError);
}

} // namespace
} // namespace orlimbara::shell::test
