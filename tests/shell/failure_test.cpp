#include "shell/failure.h"

#include <string>

#include <gtest/gtest.h>

#include "host/exceptions.h"

namespace orlimbara::shell {
namespace {

constexpr const char* kBinder =
    R"({"exception_type":"Binder","exception_message":"no é here","position":"7"})";

struct PartsCase {
    std::string message;
    std::string readable;
    std::string type;
    std::int64_t position; // -1: none
};

TEST(Failure, TakesDuckDBsTextApart) {
    const std::vector<PartsCase> examples = {
        {kBinder, "no é here", "Binder", 7},
        {std::string("Parser Error: ") + kBinder, "no é here", "Binder", 7},
        {R"(Parser Error: {"exception_message":"bad"})", "bad", "Parser", -1},
        {R"({"exception_type":"IO","exception_message":"x"})", "x", "IO", -1},
        {R"({"exception_type":"IO","exception_message":"x","position":"many"})", "x", "IO", -1},
        {"IO Error: Cannot open", "IO Error: Cannot open", "IO", -1},
        {"Some Error: Cannot open", "Some Error: Cannot open", "", -1},
        {R"({"other":1})", R"({"other":1})", "", -1},
        {"plain words", "plain words", "", -1},
        {"", "", "", -1},
    };
    for (const PartsCase& example : examples) {
        const ErrorParts parts = TakeApart(example.message);
        EXPECT_EQ(parts.readable, example.readable);
        EXPECT_EQ(parts.type, example.type) << example.message;
        EXPECT_EQ(parts.position.value_or(-1), example.position) << example.message;
    }
}

template <class Raise>
Failure FailureOf(Raise inRaise) {
    try {
        inRaise();
    } catch (...) {
        return CurrentFailure();
    }
    return {};
}

TEST(Failure, KnowsTheHostsClasses) {
    const Failure duckdb = FailureOf([] { throw orkit::orsql::xDuckDBError(468225, "flights", "broken"); });
    EXPECT_EQ(duckdb.className, "xDuckDBError");
    EXPECT_EQ(duckdb.code, 468225U);
    EXPECT_EQ(duckdb.context, "flights");
    EXPECT_EQ(duckdb.message, "broken");
    const Failure open = FailureOf([] { throw orkit::xException(626688, "no file"); });
    EXPECT_EQ(open.className, "xException");
    EXPECT_FALSE(open.context);
    EXPECT_EQ(open.message, "no file");
    const Failure backup = FailureOf([] { throw orkit::xDBError(417792); });
    EXPECT_EQ(backup.className, "xDBError");
    EXPECT_EQ(DescribeFailure(backup, {}), "error: xDBError 417792\n");
    const Failure standard = FailureOf([] { throw std::runtime_error("oh"); });
    EXPECT_EQ(standard.className, "std::exception");
    EXPECT_FALSE(standard.code);
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
} // namespace orlimbara::shell
