#include <filesystem>

#include "procedure_test.h"

namespace orlimbara::procedures::test {

namespace {

class ProceduresTest : public ProcedureTest {
protected:
    /// A hundred rows of a number, a text that is NULL in every tenth, and a column with an awkward name.
    std::string SmallFile() const {
        return WriteParquet("SELECT range AS n, CASE WHEN range % 10 > 0 THEN 'row ' || range END AS t,"
                            " range / 2 AS \"half \"\"of\"\" it, n\" FROM range(100)");
    }
};

struct FetchCase {
    const char* procedure;
    Arguments arguments;
    std::vector<std::string> names;
    std::size_t rows;
};

TEST_F(ProceduresTest, GiveTheColumnsAndRowsAskedFor) {
    const ProcedureValue path = Text(SmallFile());
    const std::string quoted = folder / "it's; 50%.parquet";
    std::filesystem::copy_file(folder / "t.parquet", quoted);
    const ProcedureValue awkward = ProcedureValue::Array({Text("half \"of\" it, n")});
    const ProcedureValue database = Text(WriteDatabase(
        "CREATE TABLE t AS SELECT range AS n FROM range(10);"
        "CREATE SCHEMA \"my.schema\"; CREATE TABLE \"my.schema\".\"a \"\"b\"\"\" AS SELECT 'x' AS c;"
        "CREATE VIEW v AS SELECT n * 2 AS twice, NULL AS nothing FROM t WHERE n > 6"));
    const std::vector<std::string> all = {"n", "t", "half \"of\" it, n"};
    for (const FetchCase& each : {
             FetchCase{"fetch_parquet", {path}, all, 100},
             {"fetch_parquet", {Text(quoted)}, all, 100},
             {"fetch_parquet", {Text(folder / "*.parquet")}, all, 200},
             {"fetch_parquet", {path, Text("t, n")}, {"t", "n"}, 100},
             {"fetch_parquet", {path, Text("n, n")}, {"n", "n_1"}, 100},
             {"fetch_parquet", {path, awkward, Text(" n < 5\n")}, {"half \"of\" it, n"}, 5},
             {"fetch_parquet", {path, Null(), Text(" "), Int(0)}, all, 0},
             {"fetch_parquet", {path, Text("n"), Text("t IS NULL"), Text(" 1000 ")}, {"n"}, 10},
             {"fetch_parquet", {path, Null(), Text("n < 50 OR t LIKE '%''%'"), Null()}, all, 50},
             {"fetch_parquet", {path, ProcedureValue(), ProcedureValue(), ProcedureValue()}, all, 100},
             {"fetch_duckdb", {database, Text(" \"SHOP\" . main . t ")}, {"n"}, 10},
             {"fetch_duckdb", {database, Text(R"("my.schema"."a ""b""")")}, {"c"}, 1},
             {"fetch_duckdb", {database, Text("v")}, {"twice", "nothing"}, 3},
             {"fetch_duckdb", {database, Text("t"), Int(3)}, {"n"}, 3},
         }) {
        ProcedureCursor cursor = Open(each.procedure, each.arguments);
        EXPECT_EQ(NamesOf(cursor), each.names);
        EXPECT_EQ(cursor.get_RowCount(), static_cast<std::int64_t>(each.rows));
        EXPECT_EQ(RowsOf(cursor).size(), each.rows);
    }
    EXPECT_EQ(Fetch("fetch_parquet", {path}).back(),
              (Row{Int(99), Text("row 99"), ProcedureValue::Double(49.5)}));
    EXPECT_EQ(Fetch("fetch_duckdb", {database, Text("v")}).back(), (Row{Int(18), Null()}));
}

TEST_F(ProceduresTest, CountAllRowsOrThoseThatAPredicateKeeps) {
    const ProcedureValue path = Text(SmallFile());
    for (const auto& [arguments, count] : std::initializer_list<std::pair<Arguments, std::int64_t>>{
             {{path}, 100},
             {{path, Null()}, 100},
             {{path, Text(" \n")}, 100},
             {{path, Text(" n < 10 OR n = 99 ")}, 11},
             {{path, ProcedureValue::Bool(false)}, 0}, // by its text
         }) {
        ProcedureCursor cursor = Open("parquet_count", arguments);
        EXPECT_EQ(NamesOf(cursor), std::vector<std::string>{"count"});
        EXPECT_EQ(RowsOf(cursor), std::vector<Row>{{Int(count)}});
    }
}

TEST_F(ProceduresTest, ShowTheThreeTypesOfEachColumn) {
    const std::string path = WriteParquet(
        "SELECT 1.5::DECIMAL(9, 2) AS \"the price\", uuid() AS id, [1] AS list, {'a': 1} AS struct,"
        " MAP {1: 2} AS map, 1::UTINYINT AS tiny, TIMESTAMP_NS '2024-01-01' AS ns WHERE false");
    ProcedureCursor cursor = Open("parquet_schema", {Text(path)});
    EXPECT_EQ(duckdb_support::LiveHandleCount(), 0);
    EXPECT_EQ(NamesOf(cursor), (std::vector<std::string>{"ordinal", "name", "duckdb_type", "runtime_type",
                                                         "orlimbara_type", "orlimbara_type_name"}));
    const auto row = [](int ordinal, const char* name, const char* type, const char* runtime, int host,
                        const char* host_name) {
        return Row{Int(ordinal), Text(name), Text(type), Text(runtime), Int(host), Text(host_name)};
    };
    EXPECT_EQ(RowsOf(cursor), (std::vector<Row>{row(1, "the price", "DECIMAL", "DOUBLE", 6, "double"),
                                                row(2, "id", "UUID", "VARCHAR", 10, "text"),
                                                row(3, "list", "LIST", "VARCHAR", 10, "text"),
                                                row(4, "struct", "STRUCT", "VARCHAR", 10, "text"),
                                                row(5, "map", "MAP", "VARCHAR", 10, "text"),
                                                row(6, "tiny", "UTINYINT", "UTINYINT", 12, "uint64"),
                                                row(7, "ns", "TIMESTAMP_NS", "TIMESTAMP", 5, "datetime")}));
}

TEST_F(ProceduresTest, GiveTheRowsOfDuckDBsMetadata) {
    const std::string path =
        WriteParquet("SELECT range AS a, 'x' AS b FROM range(5000)", ", ROW_GROUP_SIZE 2048");
    ProcedureCursor cursor = Open("parquet_metadata", {Text(path)});
    EXPECT_EQ(NamesOf(cursor),
              Duck().Texts("SELECT column_name FROM (DESCRIBE FROM parquet_metadata('" + path + "'))"));
    EXPECT_EQ(cursor.get_RowCount(), 6); // three row groups of two columns
}

TEST_F(ProceduresTest, ReportTheFirstFaultInTheOrderOfTheArguments) {
    const ProcedureValue path = Text(SmallFile());
    const ProcedureValue database = Text(WriteDatabase("CREATE TABLE t AS SELECT 1 AS n"));
    const std::string missing = folder / "no'file.parquet";
    const ProcedureValue nowhere = Text("/no/such/folder/x.db");
    const std::string no_files = "IO Error: No files found that match the pattern \"";
    for (const std::string procedure :
         {"fetch_parquet", "parquet_schema", "parquet_metadata", "parquet_count"}) {
        EXPECT_TRUE(ErrorOf(procedure, {Text(missing)}).starts_with(no_files + missing));
        for (const ProcedureValue& value :
             {ProcedureValue(), Null(), Text(""), ProcedureValue::Array({path})}) {
            EXPECT_EQ(ErrorOf(procedure, {value}), procedure + " requires a text argument.");
        }
    }
    struct ErrorCase {
        const char* procedure;
        Arguments arguments;
        const char* message; // the whole, or the start of DuckDB's own words
    };
    for (const ErrorCase& each : {
             ErrorCase{"fetch_parquet", {Null(), Text("a"), Text("a"), Int(-1)}, "fetch_parquet requires"},
             {"fetch_parquet", {Text("x"), Null(), Text("no sql"), Int(-1)}, "limit must not be negative"},
             {"fetch_parquet", {Text(" ")}, "IO Error: No files found that match the pattern \" \""},
             {"fetch_parquet", {path, Text("*, n")}, "Binder Error: Referenced column \"*\" not found"},
             {"fetch_parquet", {path, Null(), Text("n <")}, "Parser Error: syntax error at"},
             // The probe reads no row, so only the query itself meets the text that isn't a number.
             {"fetch_parquet", {path, Null(), Text("t::INTEGER > 1")}, "Conversion Error: Could not"},
             {"parquet_count", {path, Text("nosuch = 1")}, "Binder Error: Referenced column \"nosuch\""},
             {"fetch_duckdb", {Null(), Text("a."), Int(-1)}, "fetch_duckdb requires a text argument."},
             {"fetch_duckdb", {database, Text(""), Int(-1)}, "fetch_duckdb requires a text argument."},
             {"fetch_duckdb", {nowhere, Text("a."), Int(-1)}, "Invalid DuckDB table or view name."},
             {"fetch_duckdb", {nowhere, Text("t"), Int(-1)}, "limit must not be negative"},
             {"fetch_duckdb", {nowhere, Text("t")}, "Unable to open DuckDB database."},
             {"fetch_duckdb", {database, Text("t) UNION (SELECT 1")}, "Catalog Error: Table with name t) U"},
         }) {
        const std::string error = ErrorOf(each.procedure, each.arguments);
        EXPECT_TRUE(error.starts_with(each.message)) << error;
    }
}

TEST_F(ProceduresTest, KeepEachCursorsDuckDBUntilItsDestroy) {
    const ProcedureValue path = Text(SmallFile());
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
