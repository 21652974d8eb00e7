#include "tests_support/object_fixture.h"

namespace orkit::orsql::test {
namespace {

class DirectExecution : public ObjectTest {
protected:
    DirectExecution() {
        mDatabase = CreateDatabase("direct.duckdb");
        Execute(mDatabase, "CREATE TABLE t (i INTEGER)");
    }
    std::string Count() { return SelectOne(mDatabase, "SELECT count(*) FROM t"); }
};

TEST_F(DirectExecution, ResultsOfAScriptAreChained) {
    const QueryResult first = mDatabase->SqlQuery(
        "CREATE TABLE u (i INTEGER); INSERT INTO t VALUES (1), (2); FROM t ORDER BY i", 1, nullptr);
    std::string chain;
    Cursor cursor;
    for (QueryResult result = first; result; result = result->get_NextResult()) {
        cursor = result->get_Cursor();
        chain += std::to_string(result->get_ResultFlags()) + " " + std::to_string(result->get_RowsChanged()) +
                 " " + std::to_string(result->get_ErrorPosition()) + (cursor ? " rows;" : ";");
    }
    EXPECT_EQ(chain, "0 0 -1;2 2 -1;1 0 -1 rows;");
    EXPECT_FALSE(first->get_NextResult()) << "the chain runs through the new objects";
    EXPECT_EQ(ReadAll(cursor), Table("1; 2")) << "the cursor outlives its result";
    EXPECT_TRUE(Extension()->get_IsClientCursor(cursor));

    const char* const script = "INSERT INTO t VALUES (3); SELECT * FROM t; UPDATE t SET i = i + 1";
    EXPECT_EQ(Execute(mDatabase, script), 4) << "the sum of the rows changed";
    EXPECT_EQ(mDatabase->SqlExecute(script, Values({})), 5) << "an empty array of values is none";
}

TEST_F(DirectExecution, TextEndsAtItsFirstZeroCharacter) {
    for (const char* const text : {"", "-- nothing", ";"}) {
        ExpectError([&] { Execute(mDatabase, text); }, "direct", "Failed to extract statements");
    }
    EXPECT_EQ(SelectOne(mDatabase, std::string_view("SELECT 1\0 this is never read", 27)), "1");
}

TEST_F(DirectExecution, FailuresCarryDuckDBsTextAndKeepWhatTheyMust) {
    // A script, a part of the failure's text, and the number of rows that are there then, also after a
    // COMMIT.
    const std::tuple<std::string, std::string, std::string> kCases[] = {
        {"SELECT nonsense", R"("position":"7")", "0"},
        {"BEGIN; INSERT INTO t VALUES (1); SELEC 1", "Parser Error: ", "0"},
        // At preparation: what ran before stays, and no ROLLBACK is sent.
        {"BEGIN; INSERT INTO t VALUES (1); SELECT * FROM missing; DELETE FROM t", "Catalog", "1"},
        // At execution: an open transaction is rolled back.
        {"BEGIN; INSERT INTO t VALUES (1); SELECT 'x'::INTEGER; DELETE FROM t", "Conversion", "0"},
        {"INSERT INTO t VALUES (1); SELECT 'x'::INTEGER; DELETE FROM t", "Conversion", "1"},
    };
    for (const auto& [script, part, rows] : kCases) {
        ExpectErrorWith([&, sql = script] { Execute(mDatabase, sql); }, "direct", part);
        EXPECT_EQ(Count(), rows) << "the connection is good after " << script;
        Catch([&] { Execute(mDatabase, "COMMIT"); });
        EXPECT_EQ(Count(), rows) << script;
        Execute(mDatabase, "DELETE FROM t");
    }
}

TEST_F(DirectExecution, ARunWithValuesThatFailsIsNotRolledBack) {
    const auto values = Values({TextValue("")});
    Execute(mDatabase, "BEGIN; INSERT INTO t VALUES (1)");
    ExpectErrorWith([&] { mDatabase->SqlQuery("SELECT ? FROM missing", 2, values); }, "direct", "Catalog");
    EXPECT_EQ(Count(), "1");
    ExpectErrorWith([&] { mDatabase->SqlQuery("SELECT ?::INTEGER", 2, values); }, "direct", "Conversion");
    ExpectErrorWith([&] { Count(); }, "direct", "Current transaction is aborted");
    EXPECT_EQ(Count(), "0") << "the question did it";
    EXPECT_EQ(mDatabase->SqlExecute("INSERT INTO t SELECT length(?)", values), 1);
}

TEST_F(DirectExecution, SelectRequiresOneStatementWithRows) {
    ExpectError([&] { Select(mDatabase, "INSERT INTO t VALUES (1); SELECT * FROM t"); }, "direct",
                "Query doesn't return a single result");
    EXPECT_EQ(Count(), "1") << "both statements ran";
    ExpectError([&] { Select(mDatabase, "INSERT INTO t VALUES (2)"); }, "direct",
                "Query doesn't return a result");
    EXPECT_EQ(Count(), "2") << "its changes stay";
    mDatabase->Close();
    ExpectError([&] { Execute(mDatabase, "SELECT 1"); }, "direct", "DuckDBDatabase is not open");
    ExpectError([&] { Select(mDatabase, "SELECT 1"); }, "direct", "DuckDBDatabase is not open");
}

} // namespace
} // namespace orkit::orsql::test
