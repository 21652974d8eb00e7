#include "shell/failure.h"

#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "host/exceptions.h"

namespace orlimbara::shell::test {
namespace {

constexpr const char* kBinder =
    R"({"exception_type":"Binder","exception_message":"no é here","position":"7"})";

TEST(Failure, TakesDuckDBsTextApart) {
    using Parts = std::tuple<std::string, std::string, std::int64_t>; // readable, type, position or -1
    const std::pair<std::string, Parts> examples[] = {
        {kBinder, {"no é here", "Binder", 7}},
        {std::string("Parser Error: ") + kBinder, {"no é here", "Binder", 7}},
        {R"(Parser Error: {"exception_message":"bad"})", {"bad", "Parser", -1}},
        {R"({"exception_type":"IO","exception_message":"x"})", {"x", "IO", -1}},
        {R"({"exception_type":"IO","exception_message":"x","position":"many"})", {"x", "IO", -1}},
        {"IO Error: Cannot open", {"IO Error: Cannot open", "IO", -1}},
        {"Some Error: Cannot open", {"Some Error: Cannot open", "", -1}},
        {R"({"other":1})", {R"({"other":1})", "", -1}},
        {"plain words", {"plain words", "", -1}},
        {"", {"", "", -1}},
    };
    for (const auto& [message, expected] : examples) {
        const ErrorParts parts = TakeApart(message);
        EXPECT_EQ(Parts(parts.readable, parts.type, parts.position.value_or(-1)), expected) << message;
    }
}

TEST(Failure, KnowsTheHostsClasses) {
    const std::pair<std::function<void()>, const char*> examples[] = {
        {[] { throw orkit::orsql::xDuckDBError(468225, "flights", "broken"); },
         "xDuckDBError 468225 <flights> broken"},
        {[] { throw orkit::xException(626688, "no file"); }, "xException 626688 <none> no file"},
        {[] { throw orkit::xDBError(417792); }, "xDBError 417792 <none> "},
        {[] { throw std::runtime_error("oh"); }, "std::exception <none> oh"},
    };
    for (const auto& [call, expected] : examples) {
        try {
            call();
        } catch (...) {
            const Failure failure = CurrentFailure();
            EXPECT_EQ(failure.className + (failure.code ? " " + std::to_string(*failure.code) : "") + " <" +
                          failure.context.value_or("none") + "> " + failure.message,
                      expected);
            if (failure.message.empty()) {
                EXPECT_EQ(DescribeFailure(failure, {}), "error: xDBError 417792\n");
            }
        }
    }
}

TEST(Failure, ShowsThePlaceOnATerminal) {
    Failure failure;
    failure.className = "xDuckDBError";
    failure.message = R"({"exception_type":"Binder","exception_message":"no b","position":"13"})";
    failure.statement = "SELECT 'é日',\nb FROM t";
    EXPECT_EQ(DescribeFailure(failure, {}), "error: no b\n  type: Binder, position: 13\n");
    ErrorStyle style;
    style.isTerminal = true;
    EXPECT_EQ(DescribeFailure(failure, style), "error: no b\n  type: Binder, position: 13\n"
                                               "  SELECT 'é日',\n             ^\n");
    failure.statement = "SELECT '日本語', b FROM t";
    failure.message = R"({"exception_type":"Binder","exception_message":"no b","position":"20"})";
    EXPECT_EQ(DescribeFailure(failure, style), "error: no b\n  type: Binder, position: 20\n"
                                               "  SELECT '日本語', b FROM t\n                   ^\n");
    failure.statement = std::string(20, 'x') + std::string(200, 'y');
    style.width = 40;
    const std::string shown = DescribeFailure(failure, style);
    EXPECT_NE(shown.find("…"), std::string::npos);
    EXPECT_EQ(shown.find(std::string(40, 'y')), std::string::npos);
}

} // namespace
} // namespace orlimbara::shell::test
