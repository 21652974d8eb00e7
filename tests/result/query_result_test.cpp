#include "duckdb_support/handles.h"
#include "result/query_result.h"
#include "tests_support/object_fixture.h"

namespace orkit::orsql::test {
namespace {

namespace support = orlimbara::duckdb_support;

class QueryResult : public ObjectTest {
protected:
    /// The outcome of a failed statement, run on DuckDB directly: the runs of a database raise before a
    /// failed result gets to a query result.
    static smart_ptr<I_DuckDBQueryResult> ResultOf(const char* inSql, bool inErrorsAsJson) {
        support::OwnedDatabase database;
        support::OwnedConnection connection;
        EXPECT_EQ(duckdb_open(nullptr, database.Put()), DuckDBSuccess);
        EXPECT_EQ(duckdb_connect(database.Get(), connection.Put()), DuckDBSuccess);
        if (inErrorsAsJson) {
            support::OwnedResult ignored;
            duckdb_query(connection.Get(), "SET errors_as_json = true;", ignored.Put());
        }
        ResultList results(1);
        duckdb_query(connection.Get(), inSql, results.front().Put());
        return smart_ptr<I_DuckDBQueryResult>(
            new DuckDBQueryResult(nullptr, std::move(results), kCursorLocationServer));
    }
};

TEST_F(QueryResult, TakesDuckDBsErrorApart) {
    const struct {
        const char* mSql;
        bool mAsJson;
        const char* mMessagePart;
        const char* mType;
        std::int64_t mPosition;
    } kCases[] = {
        {"SELECT nonsense", true, "Referenced column \"nonsense\" was not found", "Binder", 7},
        {"SELECT 'x'::INTEGER", true, "Could not convert string 'x' to INT32", "Conversion", 10},
        {"SELECT nonsense", false, "Binder Error: Referenced column", "", -1},
        // Not JSON as a whole: the text goes into the message untouched.
        {"SELEC 1", true, "Parser Error: {\"exception_type\":\"Parser\"", "", -1},
    };
    for (const auto& test : kCases) {
        const smart_ptr<I_DuckDBQueryResult> result = ResultOf(test.mSql, test.mAsJson);
        EXPECT_EQ(result->get_ResultFlags(), I_DuckDBQueryResult::kResultHasError) << test.mSql;
        EXPECT_NE(Text(result->get_ErrorMessage()).find(test.mMessagePart), std::string::npos)
            << Text(result->get_ErrorMessage());
        EXPECT_EQ(Text(result->get_ErrorType()), test.mType) << test.mSql;
        EXPECT_EQ(result->get_ErrorPosition(), test.mPosition) << test.mSql;
        EXPECT_FALSE(result->get_Cursor());
        EXPECT_EQ(result->get_RowsChanged(), 0);
        EXPECT_FALSE(result->get_NextResult());
    }
}

TEST_F(QueryResult, AnEmptyListHoldsNothing) {
    const smart_ptr<I_DuckDBQueryResult> result(new DuckDBQueryResult(nullptr, {}, kCursorLocationClient));
    EXPECT_EQ(result->get_ResultFlags(), 0u);
    EXPECT_EQ(result->get_ErrorPosition(), -1);
    EXPECT_TRUE(result->get_ErrorMessage().isEmpty() && result->get_ErrorType().isEmpty());
    EXPECT_FALSE(result->get_NextResult());
    EXPECT_FALSE(result->get_Cursor());
    result->Invalidate();
}

TEST_F(QueryResult, KeepsWhatItToldAfterItWasCutOff) {
    const smart_ptr<I_DuckDBDatabase> database = CreateDatabase();
    Execute(database, "CREATE TABLE t (i INTEGER)");
    const smart_ptr<I_DuckDBQueryResult> result =
        database->SqlQuery("INSERT INTO t VALUES (1), (2); SELECT 1", kCursorLocationServer, nullptr);
    database->Close();
    EXPECT_EQ(result->get_ResultFlags(), I_DuckDBQueryResult::kResultHasRowsChanged);
    EXPECT_EQ(result->get_RowsChanged(), 2);
    EXPECT_FALSE(result->get_NextResult());
}

TEST_F(QueryResult, AFailingCursorLeavesNoTrace) {
    const smart_ptr<I_DuckDBDatabase> database = CreateDatabase("failing.duckdb");
    ExpectDuckDBErrorWith(
        [&] {
            database->SqlQuery("SELECT 'infinity'::TIMESTAMP_MS::VARIANT; SELECT 1", kCursorLocationClient,
                               nullptr);
        },
        "failing", "timestamp");
    // A later statement of the chain fails when its turn comes.
    const smart_ptr<I_DuckDBQueryResult> result = database->SqlQuery(
        "SELECT 1; SELECT 'infinity'::TIMESTAMP_MS::VARIANT; SELECT 2", kCursorLocationClient, nullptr);
    ExpectDuckDBErrorWith([&] { result->get_NextResult(); }, "failing", "timestamp");
    EXPECT_EQ(ReadAll(result->get_Cursor()), (Rows{{"1"}}));
}

} // namespace
} // namespace orkit::orsql::test
