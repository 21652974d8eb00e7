// What the procedures do with the host's table of functions.

#include <climits>
#include <thread>

#include "duckdb_faults.h"
#include "procedure_test.h"

namespace orlimbara::procedures::test {

namespace {

std::int32_t gAnswer = 0; // of the entries below

class BoundaryTest : public ProcedureTest {
protected:
    const std::string path = WriteParquet("SELECT range AS n FROM range(100)");
    procedure_api table = *orkit::standin::GetProcedureTable();
};

TEST_F(BoundaryTest, TellsTheHostOfFiveProceduresInOrder) {
    const std::vector<orkit::standin::RegisteredProcedure> expected = {
        {"fetch_parquet", 1, 4, "uri [, columns [, where [, limit]]]", "Reads a parquet file."},
        {"parquet_schema", 1, 1, "uri", "Returns parquet column schema."},
        {"parquet_metadata", 1, 1, "uri", "Returns parquet file metadata."},
        {"parquet_count", 1, 2, "uri [, where]", "Returns parquet row count."},
        {"fetch_duckdb", 2, 3, "uri, table_or_view [, limit]", "Returns rows from a DuckDB table or view."},
    };
    const auto procedures = orkit::standin::ListProcedures();
    ASSERT_EQ(procedures.size(), expected.size());
    for (std::size_t index = 0; index < expected.size(); ++index) {
        const auto tie = [](const auto& each) {
            return std::tie(each.name, each.minimumArguments, each.maximumArguments, each.signature,
                            each.description);
        };
        EXPECT_EQ(tie(procedures[index]), tie(expected[index]));
    }
    BindProcedureApi(nullptr); // a host that bound no table gets no procedures
    RegisterProcedures(ProcedureContext().get_Handle());
}

TEST_F(BoundaryTest, TakesEveryAnswerButZeroForARefusal) {
    table.register_procedure = [](call_context, const procedure_descriptor*) { return gAnswer; };
    table.make_row_cursor = [](call_context, std::uint64_t, std::uint64_t, const char* const*,
                               const host_value* const*, host_cursor*) { return gAnswer; };
    table.make_callback_cursor = [](call_context, const cursor_descriptor*, host_cursor*) { return gAnswer; };
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
        EXPECT_EQ(ErrorOf("parquet_schema", {Text(path)}), "Unable to create cursor.");
        EXPECT_EQ(ErrorOf("fetch_parquet", {Text(path)}), "Unable to create DuckDB cursor.");
        EXPECT_EQ(duckdb_support::LiveHandleCount(), 0);
    }
}

TEST_F(BoundaryTest, ReportsEveryKindOfFailureOnceAndGivesNoCursor) {
    table.value_is_null = [](host_value) -> std::uint8_t { throw 42; };
    BindProcedureApi(&table);
    for (const auto& [procedure, message] : std::initializer_list<std::pair<const char*, const char*>>{
             {"fetch_parquet", "Unexpected error while reading parquet file."},
             {"fetch_duckdb", "Unexpected error while reading DuckDB table or view."},
             {"parquet_schema", "Unexpected error while reading parquet schema."},
             {"parquet_metadata", "Unexpected error while reading parquet metadata."},
             {"parquet_count", "Unexpected error while counting parquet rows."},
         }) {
        EXPECT_EQ(ErrorOf(procedure, Arguments(procedure == std::string("fetch_duckdb") ? 2 : 1, Text(path))),
                  message);
    }
    table.value_is_null = [](host_value) -> std::uint8_t { throw std::bad_alloc(); };
    EXPECT_EQ(ErrorOf("parquet_count", {Text(path)}), std::bad_alloc().what());
}

TEST_F(BoundaryTest, ReportsADuckDBThatGivesNoReason) {
    const std::string database = WriteDatabase("CREATE TABLE t AS SELECT 1 AS n");
    struct FaultCase {
        const char* function;
        const char* procedure;
        const char* message;
    };
    for (const FaultCase& each : {
             FaultCase{"duckdb_open", "parquet_schema", "Unable to open in-memory DuckDB database."},
             {"duckdb_connect", "parquet_count", "Unable to connect to in-memory DuckDB database."},
             {"duckdb_connect", "fetch_duckdb", "Unable to connect to DuckDB database."},
             {"duckdb_query", "parquet_schema", "DuckDB query failed."},
             {"duckdb_query", "fetch_parquet", "DuckDB query failed."},
             {"duckdb_result_get_chunk", "parquet_metadata", "Unable to access DuckDB result chunk."},
         }) {
        const FailingFunction failing(each.function);
        const bool is_parquet = each.procedure != std::string("fetch_duckdb");
        EXPECT_EQ(ErrorOf(each.procedure,
                          is_parquet ? Arguments{Text(path)} : Arguments{Text(database), Text("t")}),
                  each.message);
        EXPECT_EQ(duckdb_support::LiveHandleCount(), 0);
    }
}

TEST_F(BoundaryTest, ReportsAHostThatMakesNoValue) {
    orkit::standin::FailCall(orkit::standin::Fault::NewProcedureValue, 2);
    EXPECT_EQ(ErrorOf("parquet_schema", {Text(path)}), std::bad_alloc().what());

    ProcedureCursor cursor = Open("fetch_parquet", {Text(path)});
    ASSERT_TRUE(cursor.NextRow());
    const auto failure = [&cursor]() -> std::string {
        try {
            return cursor.ReadValue(0).AsText();
        } catch (const std::runtime_error& error) {
            return error.what();
        }
    };
    orkit::standin::FailCall(orkit::standin::Fault::NewProcedureValue, 1);
    EXPECT_EQ(failure(), std::bad_alloc().what());
    table.new_int64 = [](call_context, std::int64_t) -> host_value { throw 42; };
    BindProcedureApi(&table);
    EXPECT_EQ(failure(), "Unexpected error while reading a row.");
    BindProcedureApi(orkit::standin::GetProcedureTable());
    EXPECT_EQ(failure(), "0"); // the cursor is as good as before
}

// Memory after the arguments that the host counts is not the module's: here, values that would show.
TEST_F(BoundaryTest, ReadsNoArgumentMoreThanTheHostCounts) {
    table.argument_count = [](call_context) { return gAnswer; };
    BindProcedureApi(&table);
    const ProcedureValue database = Text(WriteDatabase("CREATE TABLE t AS FROM range(100)"));
    const auto rows = [](const char* name, const Arguments& arguments, std::int32_t count) {
        gAnswer = count;
        return Fetch(name, arguments);
    };
    EXPECT_EQ(rows("parquet_count", {Text(path), Text("1 = 0")}, 1), std::vector<Row>{{Int(100)}});
    EXPECT_EQ(rows("parquet_count", {Text(path), Text("1 = 0")}, 2), std::vector<Row>{{Int(0)}});
    const Arguments four = {Text(path), Text("n, n"), Text("n < 50"), Int(3)};
    constexpr std::pair<std::size_t, std::size_t> kRowsAndColumns[] = {{100, 1}, {100, 2}, {50, 2}, {3, 2}};
    for (std::int32_t count = 1; count <= 4; ++count) {
        const std::vector<Row> got = rows("fetch_parquet", four, count);
        EXPECT_EQ(std::pair(got.size(), got.front().size()), kRowsAndColumns[count - 1]);
    }
    EXPECT_EQ(rows("fetch_duckdb", {database, Text("t"), Int(3)}, 2).size(), 100U);
    gAnswer = 1;
    EXPECT_EQ(ErrorOf("fetch_duckdb", {database, Text("t")}),
              "fetch_duckdb requires database URI and DuckDB table or view name.");
    gAnswer = 0;
    EXPECT_EQ(ErrorOf("fetch_parquet", {Text(path)}), "fetch_parquet requires parquet file path.");
}

TEST_F(BoundaryTest, SharesNothingBetweenCallsOnSeveralThreads) {
    std::vector<std::thread> threads;
    for (std::int64_t limit = 10; limit <= 40; limit += 10) {
        threads.emplace_back([this, limit] {
            EXPECT_EQ(Fetch("fetch_parquet", {Text(path), Null(), Null(), Int(limit)}).size(),
                      static_cast<std::size_t>(limit));
            EXPECT_EQ(ErrorOf("fetch_parquet", {Null()}), "fetch_parquet requires a text argument.");
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

} // namespace

} // namespace orlimbara::procedures::test
