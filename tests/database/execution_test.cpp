#include "host_standin/live_objects.h"
#include "tests_support/object_fixture.h"

namespace orkit::orsql::test {
namespace {

class DirectExecution : public ObjectTest {
protected:
    void SetUp() override {
        ObjectTest::SetUp();
        mDatabase = CreateDatabase("direct.duckdb");
    }
    void TearDown() override {
        mDatabase.reset();
        ObjectTest::TearDown();
    }
    smart_ptr<I_DuckDBQueryResult> Query(std::string_view inSql) {
        return mDatabase->SqlQuery(Wide(inSql), kCursorLocationServer, nullptr);
    }
    std::string Count(const std::string& inTable) {
        return SelectOne(mDatabase, "SELECT count(*) FROM " + inTable);
    }

    smart_ptr<I_DuckDBDatabase> mDatabase;
};

TEST_F(DirectExecution, ExecuteSumsTheRowsChangedOfAScript) {
    EXPECT_EQ(Execute(mDatabase, "CREATE TABLE t (i INTEGER); INSERT INTO t VALUES (1), (2); SELECT * FROM t;"
                                 "UPDATE t SET i = i + 1; DELETE FROM t WHERE i = 2"),
              5);
    EXPECT_EQ(Count("t"), "1");
}

TEST_F(DirectExecution, EveryPathReadiesTheHostsThread) {
    const std::uint64_t before = standin::get_Init3Count();
    Query("SELECT 1");
    OpenCursor(mDatabase, "SELECT 1", kCursorLocationServer);
    EXPECT_EQ(standin::get_Init3Count(), before + 2);
    Execute(mDatabase, "SELECT 1");
    EXPECT_EQ(standin::get_Init3Count(), before + 4) << "its own, and that of the query inside";
}

TEST_F(DirectExecution, ResultsOfAScriptAreChained) {
    const smart_ptr<I_DuckDBQueryResult> first =
        Query("CREATE TABLE t (i INTEGER); INSERT INTO t VALUES (1), (2); SELECT i AS n FROM t ORDER BY i");
    EXPECT_EQ(first->get_ResultFlags(), 0u) << "neither rows nor a count";
    const smart_ptr<I_DuckDBQueryResult> second = first->get_NextResult();
    ASSERT_TRUE(second);
    EXPECT_FALSE(first->get_NextResult()) << "the chain runs through the new object";
    EXPECT_EQ(second->get_ResultFlags(), I_DuckDBQueryResult::kResultHasRowsChanged);
    EXPECT_EQ(second->get_RowsChanged(), 2);
    EXPECT_FALSE(second->get_Cursor());
    const smart_ptr<I_DuckDBQueryResult> third = second->get_NextResult();
    ASSERT_TRUE(third);
    EXPECT_EQ(third->get_ResultFlags(), I_DuckDBQueryResult::kResultHasCursor);
    EXPECT_EQ(third->get_RowsChanged(), 0);
    EXPECT_EQ(ReadAll(third->get_Cursor()), (Rows{{"1"}, {"2"}}));
    EXPECT_FALSE(third->get_NextResult());
    EXPECT_EQ(third->get_ErrorPosition(), -1);
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

TEST_F(DirectExecution, CursorOutlivesItsQueryResult) {
    smart_ptr<I_DuckDBQueryResult> result = Query("SELECT 42");
    const smart_ptr<I_DuckDBCursor> cursor = result->get_Cursor();
    result.reset();
    EXPECT_EQ(ReadAll(cursor), (Rows{{"42"}}));
}

TEST_F(DirectExecution, TextsWithoutAStatementRaise) {
    for (const char* const text : {"", "  \n", "-- nothing", "/* nothing */", ";"}) {
        ExpectDuckDBError([&] { Execute(mDatabase, text); }, "direct", "Failed to extract statements");
    }
}

TEST_F(DirectExecution, TextEndsAtItsFirstZeroCharacter) {
    const String sql(u"SELECT 1\0 this is never read", 27);
    EXPECT_EQ(ReadAll(mDatabase->SqlSelect(sql, kCursorLocationServer, nullptr)), (Rows{{"1"}}));
}

TEST_F(DirectExecution, FailuresCarryDuckDBsJsonText) {
    const struct {
        const char* mSql;
        const char* mPart;
    } kCases[] = {
        {"SELECT * FROM missing", R"("exception_type":"Catalog")"},
        {"SELEC 1", "Parser Error: "},
        {"SELECT 'x'::INTEGER", R"("exception_type":"Conversion")"},
        {"SELECT nonsense", R"("position":"7")"},
    };
    for (const auto& test : kCases) {
        ExpectDuckDBErrorWith([&] { Query(test.mSql); }, "direct", test.mPart);
        EXPECT_EQ(SelectOne(mDatabase, "SELECT 1"), "1") << "the database stays good";
    }
}

TEST_F(DirectExecution, AFailureAtExecutionRollsBackAnOpenTransaction) {
    Execute(mDatabase, "CREATE TABLE t (i INTEGER)");
    ExpectDuckDBErrorWith(
        [&] {
            Execute(mDatabase,
                    "BEGIN; INSERT INTO t VALUES (1); SELECT 'x'::INTEGER; INSERT INTO t VALUES (2)");
        },
        "direct", "Conversion");
    EXPECT_EQ(Count("t"), "0");
    Execute(mDatabase, "BEGIN; ROLLBACK"); // no transaction is open
    ExpectDuckDBErrorWith(
        [&] { Execute(mDatabase, "INSERT INTO t VALUES (1); SELECT 'x'::INTEGER; DELETE FROM t"); }, "direct",
        "Conversion");
    EXPECT_EQ(Count("t"), "1") << "without a transaction the first statement stays, and the third never runs";
}

TEST_F(DirectExecution, AFailureAtPreparationKeepsWhatRanBefore) {
    Execute(mDatabase, "CREATE TABLE t (i INTEGER)");
    ExpectDuckDBErrorWith(
        [&] { Execute(mDatabase, "BEGIN; INSERT INTO t VALUES (1); SELECT * FROM missing; DELETE FROM t"); },
        "direct", "missing");
    EXPECT_EQ(Count("t"), "1") << "no ROLLBACK was sent: the transaction is still open";
    Execute(mDatabase, "COMMIT");
    EXPECT_EQ(Count("t"), "1");
}

TEST_F(DirectExecution, SelectTakesOneStatementThatGivesRows) {
    Execute(mDatabase, "CREATE TABLE t (i INTEGER)");
    ExpectDuckDBError([&] { Select(mDatabase, "INSERT INTO t VALUES (1); SELECT * FROM t"); }, "direct",
                      "Query doesn't return a single result");
    EXPECT_EQ(Count("t"), "1") << "both statements ran";
    ExpectDuckDBError([&] { Select(mDatabase, "INSERT INTO t VALUES (2)"); }, "direct",
                      "Query doesn't return a result");
    EXPECT_EQ(Count("t"), "2") << "its changes stay";
}

TEST_F(DirectExecution, AClosedDatabaseRefuses) {
    mDatabase->Close();
    ExpectDuckDBError([&] { Execute(mDatabase, "SELECT 1"); }, "direct", "DuckDBDatabase is not open");
    ExpectDuckDBError([&] { Select(mDatabase, "SELECT 1"); }, "direct", "DuckDBDatabase is not open");
    ExpectDuckDBError([&] { Query("SELECT 1"); }, "direct", "DuckDBDatabase is not open");
    mDatabase->Open();
}

TEST_F(DirectExecution, AnEmptyArrayOfValuesRunsAScript) {
    EXPECT_EQ(mDatabase->SqlExecute("CREATE TABLE t (i INTEGER); INSERT INTO t VALUES (1)",
                                    smart_ptr<ValueArray>(new ValueArray(0))),
              1);
}

} // namespace
} // namespace orkit::orsql::test
