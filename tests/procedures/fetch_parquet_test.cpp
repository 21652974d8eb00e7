#include <filesystem>

#include "procedure_test.h"

namespace orlimbara::procedures::test {

namespace {

class FetchParquetTest : public ProcedureTest {
protected:
    /// A hundred rows of a number, a text that is NULL in every tenth, and a column with an awkward name.
    std::string SmallFile() const {
        return WriteParquet("small.parquet",
                            "SELECT range AS n, CASE WHEN range % 10 > 0 THEN 'row ' || range END AS t,"
                            " range / 2 AS \"half \"\"of\"\" it, n\" FROM range(100)");
    }
};

TEST_F(FetchParquetTest, GivesAllColumnsAndRowsOfAFile) {
    ProcedureCursor cursor = Open("fetch_parquet", {Text(SmallFile())});
    EXPECT_EQ(NamesOf(cursor), (std::vector<std::string>{"n", "t", "half \"of\" it, n"}));
    EXPECT_EQ(cursor.get_ColumnType(0), HOST_TYPE_INT64);
    EXPECT_EQ(cursor.get_ColumnType(1), HOST_TYPE_TEXT);
    EXPECT_EQ(cursor.get_ColumnType(2), HOST_TYPE_DOUBLE);
    EXPECT_EQ(cursor.get_RowCount(), 100);
    const std::vector<Row> rows = RowsOf(cursor);
    ASSERT_EQ(rows.size(), 100U);
    EXPECT_EQ(rows[0], (Row{Int(0), Null(), ProcedureValue::Double(0)}));
    EXPECT_EQ(rows[99], (Row{Int(99), Text("row 99"), ProcedureValue::Double(49.5)}));
}

TEST_F(FetchParquetTest, SelectsColumnsRowsAndANumberOfThem) {
    const std::string path = SmallFile();
    const ProcedureValue awkward = ProcedureValue::Array({Text("half \"of\" it, n")});
    struct FetchCase {
        Arguments arguments;
        std::vector<std::string> names;
        std::size_t rows;
    };
    const std::vector<std::string> all = {"n", "t", "half \"of\" it, n"};
    for (const FetchCase& each : {
             FetchCase{{Text(path), Text("t, n")}, {"t", "n"}, 100},
             {{Text(path), Text("n, n")}, {"n", "n_1"}, 100},
             {{Text(path), awkward, Text("n < 5")}, {"half \"of\" it, n"}, 5},
             {{Text(path), Null(), Null(), Int(7)}, all, 7},
             {{Text(path), Null(), Text(" "), Int(0)}, all, 0},
             {{Text(path), Text("n"), Text("t IS NULL"), Text(" 1000 ")}, {"n"}, 10},
             {{Text(path), Null(), Text("n < 50 OR t LIKE '%''%'"), ProcedureValue::Double(60)}, all, 50},
             {{Text(path), Null(), Null(), Null()}, all, 100},
             {{Text(path), Null(), Null(), ProcedureValue::UInt64(1)}, all, 1},
         }) {
        ProcedureCursor cursor = Open("fetch_parquet", each.arguments);
        EXPECT_EQ(NamesOf(cursor), each.names);
        EXPECT_EQ(cursor.get_RowCount(), static_cast<std::int64_t>(each.rows));
        EXPECT_EQ(RowsOf(cursor).size(), each.rows);
    }
}

TEST_F(FetchParquetTest, TellsTheColumnsOfAFileWithoutRows) {
    const std::string path =
        WriteParquet("empty.parquet", "SELECT 1::UBIGINT AS a, DATE '2024-01-01' AS b WHERE false");
    ProcedureCursor cursor = Open("fetch_parquet", {Text(path)});
    EXPECT_EQ(NamesOf(cursor), (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(cursor.get_ColumnType(0), HOST_TYPE_UINT64);
    EXPECT_EQ(cursor.get_ColumnType(1), HOST_TYPE_DATE);
    EXPECT_EQ(cursor.get_RowCount(), 0);
    EXPECT_FALSE(cursor.NextRow());
    EXPECT_FALSE(cursor.SeekRow(0));
    EXPECT_TRUE(cursor.ReadValue(0).IsNull());
}

TEST_F(FetchParquetTest, ReadsAPathWithAQuoteAndAPatternOfPaths) {
    const std::string path = PathOf("it's; 50%.parquet");
    std::filesystem::copy_file(SmallFile(), path);
    EXPECT_EQ(Fetch("fetch_parquet", {Text(path), Text("n")}).size(), 100U);
    EXPECT_EQ(Fetch("fetch_parquet", {Text(PathOf("*.parquet")), Text("n")}).size(), 200U);
}

TEST_F(FetchParquetTest, ReportsTheFirstFaultInTheOrderOfTheArguments) {
    const std::string path = SmallFile();
    const std::string missing = PathOf("missing.parquet");
    struct ErrorCase {
        Arguments arguments;
        std::string message;
    };
    for (const ErrorCase& each : {
             ErrorCase{{Null(), Null(), Null(), Int(-1)}, "fetch_parquet requires a text argument."},
             {{Text(""), Text("a")}, "fetch_parquet requires a text argument."},
             {{Text(missing), Null(), Null(), Int(-1)}, "limit must not be negative"},
             {{Text(missing), Null(), Text("no sql"), Text("1x")}, "limit must be an integer"},
         }) {
        EXPECT_EQ(ErrorOf("fetch_parquet", each.arguments), each.message);
    }
    // DuckDB's own words, of which the start is enough.
    for (const ErrorCase& each : {
             ErrorCase{{Text(missing)},
                       "IO Error: No files found that match the pattern \"" + missing + "\""},
             {{Text(" ")}, "IO Error: No files found that match the pattern \" \""},
             {{Text(path), Text("*, n")}, "Binder Error: Referenced column \"*\" not found in FROM clause!"},
             {{Text(path), Text("N, nosuch")}, "Binder Error: Referenced column \"nosuch\" not found"},
             {{Text(path), Null(), Text("n <")}, "Parser Error: syntax error at"},
             {{Text(path), Null(), Text("n = 'x'")},
              "Conversion Error: Could not convert string 'x' to INT64"},
         }) {
        EXPECT_EQ(ErrorOf("fetch_parquet", each.arguments).substr(0, each.message.size()), each.message);
    }
}

TEST_F(FetchParquetTest, ReportsAFailureThatOnlyTheRowsShow) {
    // The probe reads no row, so only the query itself meets the text that isn't a number.
    const std::string message = ErrorOf("fetch_parquet", {Text(SmallFile()), Null(), Text("t::INTEGER > 1")});
    EXPECT_EQ(message.substr(0, 49), "Conversion Error: Could not convert string 'row 1") << message;
}

TEST_F(FetchParquetTest, RefusesAWrongNumberOfArgumentsWhateverTheHostLetsThrough) {
    for (const auto& procedure : orkit::standin::ListProcedures()) {
        if (procedure.name == "fetch_parquet" || procedure.name == "fetch_duckdb") {
            const ProcedureAnswer answer = orkit::standin::CallUnchecked(procedure.callback, {});
            EXPECT_EQ(answer.errors,
                      std::vector<std::string>{
                          procedure.name == "fetch_parquet"
                              ? "fetch_parquet requires parquet file path."
                              : "fetch_duckdb requires database URI and DuckDB table or view name."});
        }
    }
}

TEST_F(FetchParquetTest, ClosesDuckDBWhenTheHostMakesNoCursor) {
    FailProcedureEntry(ProcedureEntry::MakeCallbackCursor, 1);
    EXPECT_EQ(ErrorOf("fetch_parquet", {Text(SmallFile())}), "Unable to create DuckDB cursor.");
    EXPECT_EQ(duckdb_support::LiveHandleCount(), 0);
}

TEST_F(FetchParquetTest, KeepsEachCursorsDuckDBUntilItsDestroy) {
    const std::string path = SmallFile();
    ProcedureCursor first = Open("fetch_parquet", {Text(path)});
    ProcedureCursor second = Open("fetch_parquet", {Text(path)});
    using duckdb_support::HandleKind;
    EXPECT_EQ(duckdb_support::LiveHandleCount(HandleKind::Database), 2);
    ASSERT_TRUE(first.NextRow());
    EXPECT_EQ(duckdb_support::LiveHandleCount(HandleKind::DataChunk), 1);
    first = ProcedureCursor();
    EXPECT_EQ(duckdb_support::LiveHandleCount(HandleKind::Database), 1);
    EXPECT_EQ(RowsOf(second).size(), 100U);
}

TEST_F(FetchParquetTest, IgnoresADestroyWithoutAState) {
    const ProcedureCursor cursor = Open("fetch_parquet", {Text(SmallFile())});
    const ProcedureContext context;
    cursor.get_Descriptor()->destroy(context.get_Handle(), nullptr);
    EXPECT_EQ(cursor.get_RowCount(), 100);
}

} // namespace

} // namespace orlimbara::procedures::test
