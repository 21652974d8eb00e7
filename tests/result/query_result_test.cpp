#include "result/query_result.h"
#include "tests_support/duck.h"
#include "tests_support/object_fixture.h"

namespace orkit::orsql::test {
namespace {

class QueryResults : public ObjectTest {};

TEST_F(QueryResults, TakesDuckDBsErrorApart) {
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
        // On DuckDB directly: the runs of a database raise before a failed result gets to a query result.
        const tests_support::Duck duck;
        duck.Run(test.mAsJson ? "SET errors_as_json = true" : "SELECT 1");
        ResultList results(1);
        duckdb_query(duck.Connection(), test.mSql, results.front().Put());
        const smart_ptr<I_DuckDBQueryResult> result(
            new DuckDBQueryResult(nullptr, std::move(results), kCursorLocationServer));
        EXPECT_EQ(result->get_ResultFlags(), I_DuckDBQueryResult::kResultHasError) << test.mSql;
        EXPECT_NE(Text(result->get_ErrorMessage()).find(test.mMessagePart), std::string::npos)
            << Text(result->get_ErrorMessage());
        EXPECT_EQ(Text(result->get_ErrorType()), test.mType) << test.mSql;
        EXPECT_EQ(result->get_ErrorPosition(), test.mPosition) << test.mSql;
        EXPECT_FALSE(result->get_Cursor() || result->get_NextResult());
        EXPECT_EQ(result->get_RowsChanged(), 0);
    }
}

TEST_F(QueryResults, KeepsWhatItToldAfterItWasCutOff) {
    const smart_ptr<I_DuckDBDatabase> database = CreateDatabase();
    Execute(database, "CREATE TABLE t (i INTEGER)");
    const smart_ptr<I_DuckDBQueryResult> result =
        database->SqlQuery("INSERT INTO t VALUES (1), (2); SELECT 1", kCursorLocationServer, nullptr);
    EXPECT_EQ(result->AddRef() + result->Release(), 3u);
    database->Close();
    EXPECT_EQ(orlimbara::duckdb_support::LiveHandleCount(), 0);
    EXPECT_EQ(result->get_ResultFlags(), I_DuckDBQueryResult::kResultHasRowsChanged);
    EXPECT_EQ(result->get_RowsChanged(), 2);
    EXPECT_FALSE(result->get_NextResult());

    const smart_ptr<I_DuckDBQueryResult> empty(new DuckDBQueryResult(nullptr, {}, kCursorLocationClient));
    EXPECT_EQ(empty->get_ResultFlags(), 0u);
    EXPECT_EQ(empty->get_ErrorPosition(), -1);
    EXPECT_TRUE(empty->get_ErrorMessage().isEmpty() && empty->get_ErrorType().isEmpty());
    EXPECT_FALSE(empty->get_NextResult() || empty->get_Cursor());
}

} // namespace
} // namespace orkit::orsql::test
