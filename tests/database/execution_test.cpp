#include "tests_support/object_fixture.h"

namespace orkit::orsql::test {
namespace {

class DirectExecution : public ObjectTest {
protected:
    void SetUp() override {
        ObjectTest::SetUp();
        mDatabase = CreateDatabase("direct.duckdb");
        Execute(mDatabase, "CREATE TABLE t (i INTEGER)");
    }
    void TearDown() override {
        mDatabase.reset();
        ObjectTest::TearDown();
    }
    std::string Count() { return SelectOne(mDatabase, "SELECT count(*) FROM t"); }

    smart_ptr<I_DuckDBDatabase> mDatabase;
};

TEST_F(DirectExecution, ResultsOfAScriptAreChained) {
    const smart_ptr<I_DuckDBQueryResult> first = mDatabase->SqlQuery(
        "CREATE TABLE u (i INTEGER); INSERT INTO t VALUES (1), (2); SELECT i AS n FROM t ORDER BY i",
        kCursorLocationServer, nullptr);
    EXPECT_EQ(first->get_ResultFlags(), 0u) << "neither rows nor a count";
    const smart_ptr<I_DuckDBQueryResult> second = first->get_NextResult();
    ASSERT_TRUE(second);
    EXPECT_FALSE(first->get_NextResult()) << "the chain runs through the new object";
    EXPECT_EQ(second->get_ResultFlags(), I_DuckDBQueryResult::kResultHasRowsChanged);
    EXPECT_EQ(second->get_RowsChanged(), 2);
    EXPECT_FALSE(second->get_Cursor());
    smart_ptr<I_DuckDBQueryResult> third = second->get_NextResult();
    ASSERT_TRUE(third);
    EXPECT_EQ(third->get_ResultFlags(), I_DuckDBQueryResult::kResultHasCursor);
    EXPECT_EQ(third->get_RowsChanged(), 0);
    EXPECT_EQ(third->get_ErrorPosition(), -1);
    EXPECT_FALSE(third->get_NextResult());
    const smart_ptr<I_DuckDBCursor> cursor = third->get_Cursor();
    third.reset();
    EXPECT_EQ(ReadAll(cursor), (Rows{{"1"}, {"2"}})) << "the cursor outlives its result";

    const char* const script = "INSERT INTO t VALUES (3); SELECT * FROM t; UPDATE t SET i = i + 1";
    EXPECT_EQ(Execute(mDatabase, script), 4) << "the sum of the rows changed";
    EXPECT_EQ(mDatabase->SqlExecute(script, smart_ptr<ValueArray>(new ValueArray(0))), 5)
        << "an empty array of values is none";
}

TEST_F(DirectExecution, CursorLocationReachesTheWholeChain) {
    for (const auto& [location, isClient] : {std::pair{0u, false}, {1u, true}, {2u, false}, {77u, false}}) {
        smart_ptr<I_DuckDBQueryResult> result = mDatabase->SqlQuery("SELECT 1; SELECT 2", location, nullptr);
        int seen = 0;
        for (; result; result = result->get_NextResult(), ++seen) {
            EXPECT_EQ(Extension()->get_IsClientCursor(result->get_Cursor()), isClient) << location;
        }
        EXPECT_EQ(seen, 2);
        const smart_ptr<I_DuckDBCursor> cursor = OpenCursor(mDatabase, "SELECT 1", location);
        EXPECT_EQ(Extension()->get_IsClientCursor(cursor), isClient) << location;
    }
}

TEST_F(DirectExecution, TextEndsAtItsFirstZeroCharacter) {
    for (const char* const text : {"", "  \n", "-- nothing", "/* nothing */", ";"}) {
        ExpectDuckDBError([&] { Execute(mDatabase, text); }, "direct", "Failed to extract statements");
    }
    const String sql(u"SELECT 1\0 this is never read", 27);
    EXPECT_EQ(ReadAll(mDatabase->SqlSelect(sql, kCursorLocationServer, nullptr)), (Rows{{"1"}}));
}

TEST_F(DirectExecution, FailuresCarryDuckDBsTextAndKeepWhatTheyMust) {
    const struct {
        const char* mSql;
        const char* mPart;
        const char* mCount; ///< of the rows that are there after a COMMIT, if there is something to commit
    } kCases[] = {
        {"SELECT nonsense", R"("position":"7")", "0"},
        {"SELECT * FROM missing", R"("exception_type":"Catalog")", "0"},
        {"BEGIN; INSERT INTO t VALUES (1); SELEC 1", "Parser Error: ", "0"},
        // At preparation: what ran before stays, and no ROLLBACK is sent.
        {"BEGIN; INSERT INTO t VALUES (1); SELECT * FROM missing; DELETE FROM t", "missing", "1"},
        // At execution: an open transaction is rolled back.
        {"BEGIN; INSERT INTO t VALUES (1); SELECT 'x'::INTEGER; DELETE FROM t", "Conversion", "0"},
        {"INSERT INTO t VALUES (1); SELECT 'x'::INTEGER; DELETE FROM t", "Conversion", "1"},
    };
    for (const auto& test : kCases) {
        SCOPED_TRACE(test.mSql);
        ExpectDuckDBErrorWith([&] { Execute(mDatabase, test.mSql); }, "direct", test.mPart);
        EXPECT_EQ(Count(), test.mCount) << "the connection is good";
        Catch([&] { Execute(mDatabase, "COMMIT"); });
        EXPECT_EQ(Count(), test.mCount);
        Execute(mDatabase, "DELETE FROM t");
    }
}

TEST_F(DirectExecution, ARunWithValuesThatFailsIsNotRolledBack) {
    const smart_ptr<ValueArray> values(new ValueArray(1));
    values->Append(smart_ptr<I_Value>(CreateValueString(true, nullptr, nullptr))); // an empty text
    Execute(mDatabase, "BEGIN; INSERT INTO t VALUES (1)");
    ExpectDuckDBErrorWith([&] { mDatabase->SqlQuery("SELECT ? FROM missing", 2, values); }, "direct",
                          "Catalog");
    EXPECT_EQ(Count(), "1");
    ExpectDuckDBErrorWith([&] { mDatabase->SqlQuery("SELECT ?::INTEGER", 2, values); }, "direct",
                          "Conversion");
    ExpectDuckDBErrorWith([&] { Count(); }, "direct", "Current transaction is aborted");
    EXPECT_EQ(Count(), "0") << "the question did it";
    EXPECT_EQ(mDatabase->SqlExecute("INSERT INTO t SELECT length(?)", values), 1);
}

TEST_F(DirectExecution, SelectTakesOneStatementThatGivesRows) {
    ExpectDuckDBError([&] { Select(mDatabase, "INSERT INTO t VALUES (1); SELECT * FROM t"); }, "direct",
                      "Query doesn't return a single result");
    EXPECT_EQ(Count(), "1") << "both statements ran";
    ExpectDuckDBError([&] { Select(mDatabase, "INSERT INTO t VALUES (2)"); }, "direct",
                      "Query doesn't return a result");
    EXPECT_EQ(Count(), "2") << "its changes stay";
    mDatabase->Close();
    ExpectDuckDBError([&] { Execute(mDatabase, "SELECT 1"); }, "direct", "DuckDBDatabase is not open");
    ExpectDuckDBError([&] { Select(mDatabase, "SELECT 1"); }, "direct", "DuckDBDatabase is not open");
}

} // namespace
} // namespace orkit::orsql::test
