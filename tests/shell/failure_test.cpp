#include "shell/failure.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/exceptions.h"
#include "tests_support/table.h"

namespace orlimbara::shell::test {
namespace {

TEST(Failure, TakesDuckDBsTextApart) {
    for (const auto& row : tests_support::Table(R"(
             {"exception_type":"Binder","exception_message":"no é here","position":"7"}|no é here|Binder|7
             Parser Error: {"exception_type":"Binder","exception_message":"no","position":"7"}|no|Binder|7
             Parser Error: {"exception_message":"bad"}|bad|Parser|-1
             {"exception_type":"IO","exception_message":"x"}|x|IO|-1
             {"exception_type":"IO","exception_message":"x","position":"many"}|x|IO|-1
             IO Error: Cannot open|IO Error: Cannot open|IO|-1; {"other":1}|{"other":1}||-1
             Some Error: Cannot open|Some Error: Cannot open||-1; plain words|plain words||-1)")) {
        const ErrorParts parts = TakeApart(row[0]);
        EXPECT_EQ(
            std::vector({row[0], parts.readable, parts.type, std::to_string(parts.position.value_or(-1))}),
            row);
    }
    try {
        throw orkit::xDBError(417792);
    } catch (...) {
        EXPECT_EQ(DescribeFailure(CurrentFailure(), {}), "error: xDBError 417792\n");
    }
}

TEST(Failure, ShowsThePlaceOnATerminal) {
    const auto describe = [](const std::string& position, const std::string& statement,
                             const ErrorStyle& style) {
        Failure failure;
        failure.className = "xDuckDBError";
        failure.message =
            R"({"exception_type":"Binder","exception_message":"no b","position":")" + position + "\"}";
        failure.statement = statement;
        return DescribeFailure(failure, style);
    };
    ErrorStyle style;
    EXPECT_EQ(describe("13", "SELECT 'é日',\nb FROM t", style),
              "error: no b\n  type: Binder, position: 13\n");
    style.isTerminal = true;
    EXPECT_EQ(describe("13", "SELECT 'é日',\nb FROM t", style),
              "error: no b\n  type: Binder, position: 13\n  SELECT 'é日',\n             ^\n");
    EXPECT_EQ(
        describe("20", "SELECT '日本語', b FROM t", style),
        "error: no b\n  type: Binder, position: 20\n  SELECT '日本語', b FROM t\n                   ^\n");
    style.width = 40;
    const std::string shown = describe("20", std::string(20, 'x') + std::string(200, 'y'), style);
    EXPECT_NE(shown.find("…"), std::string::npos);
    EXPECT_EQ(shown.find(std::string(40, 'y')), std::string::npos);
}

} // namespace
} // namespace orlimbara::shell::test
