// How the procedures use the host's table of functions.

#include <climits>
#include <thread>

#include "procedure_test.h"

namespace orlimbara::procedures::test {

namespace {

std::int32_t gAnswer = 0; // of the entries below

class BoundaryTest : public ProcedureTest {
protected:
    const std::string path = WriteParquet("SELECT range AS n FROM range(100)");
    procedure_api table = *orkit::standin::GetProcedureTable();
};

TEST_F(BoundaryTest, RegistersFiveProceduresInOrder) {
    tests_support::Rows told;
    for (const auto& each : orkit::standin::ListProcedures()) {
        told.push_back({each.name,
                        std::to_string(each.minimumArguments) + std::to_string(each.maximumArguments),
                        each.signature, each.description});
    }
    EXPECT_EQ(told, Table(R"(
        fetch_parquet|14|uri [, columns [, where [, limit]]]|Reads a parquet file.
        parquet_schema|11|uri|Returns parquet column schema.
        parquet_metadata|11|uri|Returns parquet file metadata.
        parquet_count|12|uri [, where]|Returns parquet row count.
        fetch_duckdb|23|uri, table_or_view [, limit]|Returns rows from a DuckDB table or view.)"));
    BindProcedureApi(nullptr); // a host that bound no table gets no procedures
    RegisterProcedures(ProcedureContext().get_Handle());
}

TEST_F(BoundaryTest, TreatsEveryResultButZeroAsARefusal) {
    table.register_procedure = [](auto...) { return gAnswer; };
    table.make_row_cursor = [](auto...) { return gAnswer; };
    table.make_callback_cursor = [](auto...) { return gAnswer; };
    BindProcedureApi(&table);
    for (const std::int32_t answer : {-1, 1, INT_MIN}) {
        gAnswer = answer;
        const ProcedureContext context;
        RegisterProcedures(context.get_Handle());
        std::vector<std::string> expected;
        for (const auto& procedure : orkit::standin::ListProcedures()) {
            expected.push_back("Cannot register " + procedure.name + " procedure.");
        }
        EXPECT_EQ(context.get_Errors(), expected);
        EXPECT_EQ(OutcomeOf("parquet_schema", {path}), "Unable to create cursor.");
        EXPECT_EQ(OutcomeOf("fetch_parquet", {path}), "Unable to create DuckDB cursor.");
        EXPECT_EQ(duckdb_support::LiveHandleCount(), 0);
    }
}

TEST_F(BoundaryTest, ReportsEveryKindOfFailureOnceAndGivesNoCursor) {
    const std::string database = WriteDatabase("CREATE TABLE t AS SELECT 1 AS n");
    table.value_is_null = [](auto...) -> std::uint8_t { throw 42; };
    for (const auto& row : Table(R"(
             |fetch_parquet|Unexpected error while reading parquet file.
             |fetch_duckdb|Unexpected error while reading DuckDB table or view.
             |parquet_schema|Unexpected error while reading parquet schema.
             |parquet_metadata|Unexpected error while reading parquet metadata.
             |parquet_count|Unexpected error while counting parquet rows.
             duckdb_open|parquet_schema|Unable to open in-memory DuckDB database.
             duckdb_connect|parquet_count|Unable to connect to in-memory DuckDB database.
             duckdb_connect|fetch_duckdb|Unable to connect to DuckDB database.
             duckdb_query|parquet_schema|DuckDB query failed.
             duckdb_query|fetch_parquet|DuckDB query failed.
             duckdb_result_get_chunk|parquet_metadata|Unable to access DuckDB result chunk.)")) {
        gFailingFunction = row[0];
        BindProcedureApi(row[0].empty() ? &table : orkit::standin::GetProcedureTable());
        EXPECT_EQ(OutcomeOf(row[1], row[1] == "fetch_duckdb" ? Row{database, "t"} : Row{path}), row[2]);
        EXPECT_EQ(duckdb_support::LiveHandleCount(), 0);
    }
    gFailingFunction.clear();
    table.value_is_null = [](auto...) -> std::uint8_t { throw std::bad_alloc(); };
    BindProcedureApi(&table);
    EXPECT_EQ(OutcomeOf("parquet_count", {path}), std::bad_alloc().what());
}

TEST_F(BoundaryTest, ReportsAHostThatCantMakeAValue) {
    orkit::standin::FailCall(orkit::standin::Fault::NewProcedureValue, 2);
    EXPECT_EQ(OutcomeOf("parquet_schema", {path}), std::bad_alloc().what());

    ProcedureCursor cursor = Open("fetch_parquet", {path});
    ASSERT_TRUE(cursor.NextRow());
    const auto read = [&] { return ResultOf([&] { return cursor.ReadValue(0).AsText(); }); };
    orkit::standin::FailCall(orkit::standin::Fault::NewProcedureValue, 1);
    EXPECT_EQ(read(), std::string("refused: ") + std::bad_alloc().what());
    table.new_int64 = [](auto...) -> host_value { throw 42; };
    BindProcedureApi(&table);
    EXPECT_EQ(read(), "refused: Unexpected error while reading a row.");
    BindProcedureApi(orkit::standin::GetProcedureTable());
    EXPECT_EQ(read(), "0"); // the cursor still works
}

// Memory after the arguments that the host counts must not be read: here it has values that would show.
TEST_F(BoundaryTest, ReadsNoMoreArgumentsThanTheHostCounts) {
    table.argument_count = [](auto...) { return gAnswer; };
    BindProcedureApi(&table);
    const std::string database = WriteDatabase("CREATE TABLE t AS FROM range(100)");
    const Row four = {path, "n, n", "n < 50", 3};
    const Row three = {database, "t", 3};
    const std::tuple<const char*, Row, std::int32_t, const char*> cases[] = {
        {"fetch_parquet", four, 0, "fetch_parquet requires parquet file path."},
        {"fetch_parquet", four, 1, "n 100 rows"},
        {"fetch_parquet", four, 2, "n n_1 100 rows"},
        {"fetch_parquet", four, 3, "n n_1 50 rows"},
        {"fetch_parquet", four, 4, "n n_1 3 rows"},
        {"fetch_duckdb", three, 1, "fetch_duckdb requires database URI and DuckDB table or view name."},
        {"fetch_duckdb", three, 2, "range 100 rows"}};
    for (const auto& [procedure, arguments, count, outcome] : cases) {
        gAnswer = count;
        EXPECT_EQ(OutcomeOf(procedure, arguments), outcome);
    }
    for (const auto& [count, rows] : {std::pair(1, 100), std::pair(2, 0)}) {
        gAnswer = count;
        EXPECT_EQ(Fetch("parquet_count", {path, "1 = 0"}), std::vector<Row>{{rows}});
    }
}

TEST_F(BoundaryTest, SharesNothingBetweenCallsOnSeveralThreads) {
    std::vector<std::jthread> threads; // joined by their destructors
    for (int limit = 10; limit <= 40; limit += 10) {
        threads.emplace_back([this, limit] {
            EXPECT_EQ(OutcomeOf("fetch_parquet", {path, nullptr, nullptr, limit}),
                      "n " + std::to_string(limit) + " rows");
            EXPECT_EQ(OutcomeOf("fetch_parquet", {nullptr}), "fetch_parquet requires a text argument.");
        });
    }
}

} // namespace

} // namespace orlimbara::procedures::test
