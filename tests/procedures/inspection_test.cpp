#include "procedure_test.h"

namespace orlimbara::procedures::test {

namespace {

class InspectionTest : public ProcedureTest {};

TEST_F(InspectionTest, ShowsTheThreeTypesOfEachColumn) {
    const std::string path =
        WriteParquet("types.parquet", "SELECT 1.5::DECIMAL(9, 2) AS \"the price\", 'a' AS name,"
                                      " uuid() AS id, [1] AS list, {'a': 1} AS struct, MAP {1: 2} AS map,"
                                      " 1::UTINYINT AS tiny, TIMESTAMP_NS '2024-01-01' AS ns WHERE false");
    ProcedureCursor cursor = Open("parquet_schema", {Text(path)});
    EXPECT_EQ(NamesOf(cursor), (std::vector<std::string>{"ordinal", "name", "duckdb_type", "runtime_type",
                                                         "orlimbara_type", "orlimbara_type_name"}));
    const auto row = [](int ordinal, const char* name, const char* type, const char* runtime, int host,
                        const char* host_name) {
        return Row{Int(ordinal), Text(name), Text(type), Text(runtime), Int(host), Text(host_name)};
    };
    EXPECT_EQ(RowsOf(cursor), (std::vector<Row>{
                                  row(1, "the price", "DECIMAL", "DOUBLE", 6, "double"),
                                  row(2, "name", "VARCHAR", "VARCHAR", 10, "text"),
                                  row(3, "id", "UUID", "VARCHAR", 10, "text"),
                                  row(4, "list", "LIST", "VARCHAR", 10, "text"),
                                  row(5, "struct", "STRUCT", "VARCHAR", 10, "text"),
                                  row(6, "map", "MAP", "VARCHAR", 10, "text"),
                                  row(7, "tiny", "UTINYINT", "UTINYINT", 12, "uint64"),
                                  row(8, "ns", "TIMESTAMP_NS", "TIMESTAMP", 5, "datetime"),
                              }));
}

TEST_F(InspectionTest, LeavesNothingOfDuckDBBehindASchema) {
    const std::string path = WriteParquet("t.parquet", "SELECT 1 AS a");
    const ProcedureCursor cursor = Open("parquet_schema", {Text(path)});
    EXPECT_EQ(duckdb_support::LiveHandleCount(), 0);
}

TEST_F(InspectionTest, GivesTheRowsOfDuckDBsMetadata) {
    const std::string path =
        WriteParquet("t.parquet", "SELECT range AS a, 'x' AS b FROM range(5000)", ", ROW_GROUP_SIZE 2048");
    ProcedureCursor cursor = Open("parquet_metadata", {Text(path)});
    Duck duck;
    const std::string source = "parquet_metadata('" + path + "')";
    EXPECT_EQ(NamesOf(cursor), duck.Texts("SELECT column_name FROM (DESCRIBE FROM " + source + ")"));
    EXPECT_EQ(cursor.get_RowCount(), 6); // three row groups of two columns

    const std::vector<Row> rows = RowsOf(cursor);
    for (std::size_t column = 0; column < cursor.get_ColumnCount(); ++column) {
        std::vector<std::string> got;
        for (const Row& row : rows) {
            got.push_back(row[column].IsNull() ? "NULL" : row[column].AsText());
        }
        const std::string name = cursor.get_ColumnName(column);
        EXPECT_EQ(got, duck.Texts("SELECT \"" + name + "\"::VARCHAR FROM " + source)) << name;
    }
}

TEST_F(InspectionTest, CountsAllRowsOrThoseThatAPredicateKeeps) {
    const std::string path = WriteParquet("t.parquet", "SELECT range AS n FROM range(100)");
    struct CountCase {
        Arguments arguments;
        std::int64_t expected;
    };
    for (const CountCase& each : {
             CountCase{{Text(path)}, 100},
             {{Text(path), Null()}, 100},
             {{Text(path), Text("")}, 100},
             {{Text(path), Text(" \n")}, 100},
             {{Text(path), Text(" n < 10 OR n = 99 ")}, 11},
             {{Text(path), ProcedureValue::Bool(false)}, 0}, // by its text
         }) {
        ProcedureCursor cursor = Open("parquet_count", each.arguments);
        EXPECT_EQ(NamesOf(cursor), std::vector<std::string>{"count"});
        EXPECT_EQ(cursor.get_ColumnType(0), HOST_TYPE_INT64);
        EXPECT_EQ(RowsOf(cursor), std::vector<Row>{{Int(each.expected)}});
    }
}

TEST_F(InspectionTest, ReportsAFaultyArgumentAndDuckDBsOwnText) {
    const std::string missing = PathOf("no'file.parquet");
    const std::string path = WriteParquet("t.parquet", "SELECT 1 AS a");
    for (const char* name : {"parquet_schema", "parquet_metadata", "parquet_count"}) {
        for (const ProcedureValue& nothing : {ProcedureValue(), Null(), Text("")}) {
            EXPECT_EQ(ErrorOf(name, {nothing}), std::string(name) + " requires a text argument.");
        }
        EXPECT_NE(
            ErrorOf(name, {Text(missing)}).find("No files found that match the pattern \"" + missing + "\""),
            std::string::npos);
    }
    EXPECT_NE(ErrorOf("parquet_count", {Text(path), Text("nosuch = 1")}).find("\"nosuch\" not found"),
              std::string::npos);
}

TEST_F(InspectionTest, ReportsAHostThatMakesNoCursor) {
    const std::string path = WriteParquet("t.parquet", "SELECT 1 AS a");
    FailProcedureEntry(ProcedureEntry::MakeRowCursor, 1);
    EXPECT_EQ(ErrorOf("parquet_schema", {Text(path)}), "Unable to create cursor.");
    for (const char* name : {"parquet_metadata", "parquet_count"}) {
        FailProcedureEntry(ProcedureEntry::MakeCallbackCursor, 1);
        EXPECT_EQ(ErrorOf(name, {Text(path)}), "Unable to create DuckDB cursor.");
    }
}

TEST_F(InspectionTest, LivesWithAHostThatMakesNoValue) {
    const std::string path = WriteParquet("t.parquet", "SELECT 1 AS a");
    FailProcedureEntry(ProcedureEntry::NewValue, 2);
    const std::vector<Row> rows = Fetch("parquet_schema", {Text(path)});
    EXPECT_EQ(rows.at(0).at(0), Int(1));
    EXPECT_TRUE(rows.at(0).at(1).IsNull());
}

} // namespace

} // namespace orlimbara::procedures::test
