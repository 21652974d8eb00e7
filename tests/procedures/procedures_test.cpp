#include <filesystem>

#include "procedure_test.h"

namespace orlimbara::procedures::test {

namespace {

class ProceduresTest : public ProcedureTest {
protected:
    /// A hundred rows of a number, a text that is NULL in every tenth, and a column with an awkward name.
    const std::string path =
        WriteParquet("SELECT range AS n, CASE WHEN range % 10 > 0 THEN 'row ' || range END"
                     " AS t, range / 2 AS \"half \"\"of\"\" it, n\" FROM range(100)");
    const std::string database = WriteDatabase(
        "CREATE TABLE t AS SELECT range AS n FROM range(10);"
        "CREATE SCHEMA \"my.schema\"; CREATE TABLE \"my.schema\".\"a \"\"b\"\"\" AS SELECT 'x' AS c;"
        "CREATE VIEW v AS SELECT n * 2 AS twice, NULL AS nothing FROM t WHERE n > 6");
};

TEST_F(ProceduresTest, ReturnTheRequestedRowsOrTheFirstFaultyArgument) {
    const std::string quoted = PathOf("it's; 50%.parquet");
    std::filesystem::copy_file(path, quoted);
    const std::string missing = PathOf("no'file.parquet");
    const char* const nowhere = "/no/such/folder/x.db";
    const Value none;
    const Value awkward = ProcedureValue::Array({Value("half \"of\" it, n")});
    const std::string no_files = "IO Error: No files found that match the pattern \"";
    // For a failure the start of DuckDB's text is enough.
    std::vector<std::tuple<std::string, Row, std::string>> cases = {
        {"fetch_parquet", {path}, "n t half \"of\" it, n 100 rows"},
        {"fetch_parquet", {quoted}, "n t half \"of\" it, n 100 rows"},
        {"fetch_parquet", {PathOf("*.parquet")}, "n t half \"of\" it, n 200 rows"},
        {"fetch_parquet", {path, "t, n"}, "t n 100 rows"},
        {"fetch_parquet", {path, "n, n"}, "n n_1 100 rows"},
        {"fetch_parquet", {path, awkward, " n < 5\n"}, "half \"of\" it, n 5 rows"},
        {"fetch_parquet", {path, nullptr, " ", 0}, "n t half \"of\" it, n 0 rows"},
        {"fetch_parquet", {path, "n", "t IS NULL", " 1000 "}, "n 10 rows"},
        {"fetch_parquet", {path, "n", "n < 50 OR t LIKE '%''%'", nullptr}, "n 50 rows"},
        {"fetch_parquet", {path, none, none, none}, "n t half \"of\" it, n 100 rows"},
        {"fetch_parquet", {nullptr, "a", "a", -1}, "fetch_parquet requires a text argument."},
        {"fetch_parquet", {"x", nullptr, "no sql", -1}, "limit must not be negative"},
        {"fetch_parquet", {" "}, no_files + " \""},
        {"fetch_parquet", {path, "*, n"}, "Binder Error: Referenced column \"*\" not found"},
        {"fetch_parquet", {path, nullptr, "n <"}, "Parser Error: syntax error at"},
        // The probe reads no row, so only the query itself reaches the text that isn't a number.
        {"fetch_parquet", {path, nullptr, "t::INTEGER > 1"}, "Conversion Error: Could not"},
        {"parquet_count", {path, "nosuch = 1"}, "Binder Error: Referenced column \"nosuch\""},
        {"fetch_duckdb", {database, " \"SHOP\" . main . t "}, "n 10 rows"},
        {"fetch_duckdb", {database, R"("my.schema"."a ""b""")"}, "c 1 rows"},
        {"fetch_duckdb", {database, "v"}, "twice nothing 3 rows"},
        {"fetch_duckdb", {database, "t", 3}, "n 3 rows"},
        {"fetch_duckdb", {nullptr, "a.", -1}, "fetch_duckdb requires a text argument."},
        {"fetch_duckdb", {database, "", -1}, "fetch_duckdb requires a text argument."},
        {"fetch_duckdb", {nowhere, "a.", -1}, "Invalid DuckDB table or view name."},
        {"fetch_duckdb", {nowhere, "t", -1}, "limit must not be negative"},
        {"fetch_duckdb", {nowhere, "t"}, "Unable to open DuckDB database."},
        {"fetch_duckdb", {database, "t) UNION (SELECT 1"}, "Catalog Error: Table with name t) U"},
    };
    for (const char* const name : {"fetch_parquet", "parquet_schema", "parquet_metadata", "parquet_count"}) {
        cases.push_back({name, {missing}, no_files + missing});
        for (const Value& value : Row{none, nullptr, "", ProcedureValue::Array({Value(path)})}) {
            cases.push_back({name, {value}, std::string(name) + " requires a text argument."});
        }
    }
    for (const auto& [procedure, arguments, outcome] : cases) {
        EXPECT_EQ(OutcomeOf(procedure, arguments).substr(0, outcome.size()), outcome) << procedure;
    }
    EXPECT_EQ(Fetch("fetch_parquet", {path}).back(), (Row{99, "row 99", ProcedureValue::Double(49.5)}));
    EXPECT_EQ(Fetch("fetch_duckdb", {database, "v"}).back(), (Row{18, nullptr}));
}

TEST_F(ProceduresTest, CountAllRowsOrThoseThatAPredicateKeeps) {
    EXPECT_EQ(OutcomeOf("parquet_count", {path}), "count 1 rows");
    for (const auto& [predicate, count] : std::initializer_list<std::pair<Value, int>>{
             {nullptr, 100}, {" \n", 100}, {" n < 10 OR n = 99 ", 11}, {ProcedureValue::Bool(false), 0}}) {
        EXPECT_EQ(Fetch("parquet_count", {path, predicate}), std::vector<Row>{{count}});
    }
}

TEST_F(ProceduresTest, ShowTheThreeTypesOfEachColumn) {
    WriteParquet("SELECT 1.5::DECIMAL(9, 2) AS \"the price\", uuid() AS id, [1] AS list, {'a': 1} AS struct,"
                 " MAP {1: 2} AS map, 1::UTINYINT AS tiny, TIMESTAMP_NS '2024-01-01' AS ns WHERE false");
    ProcedureCursor cursor = Open("parquet_schema", {path});
    EXPECT_EQ(duckdb_support::LiveHandleCount(), 0);
    EXPECT_EQ(RowsOf(cursor), (std::vector<Row>{{1, "the price", "DECIMAL", "DOUBLE", 6, "double"},
                                                {2, "id", "UUID", "VARCHAR", 10, "text"},
                                                {3, "list", "LIST", "VARCHAR", 10, "text"},
                                                {4, "struct", "STRUCT", "VARCHAR", 10, "text"},
                                                {5, "map", "MAP", "VARCHAR", 10, "text"},
                                                {6, "tiny", "UTINYINT", "UTINYINT", 12, "uint64"},
                                                {7, "ns", "TIMESTAMP_NS", "TIMESTAMP", 5, "datetime"}}));
    EXPECT_EQ(OutcomeOf("parquet_schema", {path}),
              "ordinal name duckdb_type runtime_type orlimbara_type orlimbara_type_name 7 rows");
}

TEST_F(ProceduresTest, GiveTheRowsOfDuckDBsMetadata) {
    WriteParquet("SELECT range AS a, 'x' AS b FROM range(5000)", ", ROW_GROUP_SIZE 2048");
    std::string expected;
    for (const std::string& name :
         Duck().Texts("SELECT column_name FROM (DESCRIBE FROM parquet_metadata('" + path + "'))")) {
        expected += name + " ";
    }
    EXPECT_EQ(OutcomeOf("parquet_metadata", {path}), expected + "6 rows"); // three row groups of two columns
}

TEST_F(ProceduresTest, KeepEachCursorsDuckDBUntilItsDestroy) {
    ProcedureCursor first = Open("fetch_parquet", {path});
    ProcedureCursor second = Open("fetch_parquet", {path});
    using duckdb_support::HandleKind;
    EXPECT_EQ(duckdb_support::LiveHandleCount(HandleKind::Database), 2);
    ASSERT_TRUE(first.NextRow());
    EXPECT_EQ(duckdb_support::LiveHandleCount(HandleKind::DataChunk), 1);
    first = ProcedureCursor();
    EXPECT_EQ(duckdb_support::LiveHandleCount(HandleKind::Database), 1);
    second.get_Descriptor()->destroy(ProcedureContext().get_Handle(), nullptr); // does nothing
    EXPECT_EQ(RowsOf(second).size(), 100U);
}

} // namespace

} // namespace orlimbara::procedures::test
