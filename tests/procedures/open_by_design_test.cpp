// What docs/procedures.md tells of the edges: files that names reach, far dates, and failures of no known
// kind.

#include <filesystem>
#include <fstream>

#include "procedure_test.h"

namespace orlimbara::procedures::test {

namespace {

using orkit::standin::ProcedureDate;

class OpenByDesignTest : public ProcedureTest {
protected:
    /// Whether this process has a descriptor on the file.
    static bool IsFileOpen(const std::string& path) {
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
            std::error_code gone;
            if (std::filesystem::read_symlink(entry, gone) == path) {
                return true;
            }
        }
        return false;
    }
};

TEST_F(OpenByDesignTest, FetchDuckDBKeepsItsFileOpenAsLongAsTheCursor) {
    const std::string path = WriteDatabase("t.db", "CREATE TABLE t AS SELECT 1 AS n");
    {
        const ProcedureCursor cursor = Open("fetch_duckdb", {Text(path), Text("t")});
        EXPECT_TRUE(IsFileOpen(path));
    }
    EXPECT_FALSE(IsFileOpen(path));
}

TEST_F(OpenByDesignTest, ANameThatIsNoTableIsReadAsAFile) {
    const std::string path = WriteDatabase("t.db", "CREATE TABLE t AS SELECT 1 AS n");
    const std::string csv = PathOf("other.csv");
    std::ofstream(csv) << "a,b\n1,x\n";
    EXPECT_EQ(Fetch("fetch_duckdb", {Text(path), Text(csv)}), (std::vector<Row>{{Int(1), Text("x")}}));
}

TEST_F(OpenByDesignTest, AMissingDatabaseIsMade) {
    const std::string path = PathOf("missing.db");
    EXPECT_EQ(ErrorOf("fetch_duckdb", {Text(path), Text("t")}).substr(0, 14), "Catalog Error:");
    EXPECT_TRUE(std::filesystem::exists(path));
}

TEST_F(OpenByDesignTest, DatesBeyondTheHostsYearsWrapAround) {
    const std::string path = WriteParquet(
        "dates.parquet", "SELECT unnest(['4194303-01-01', '4194304-01-01', 'infinity'])::DATE AS day");
    const std::vector<Row> rows = Fetch("fetch_parquet", {Text(path)});
    ASSERT_EQ(rows.size(), 3U);
    EXPECT_EQ(rows[0][0].get_Date(), (ProcedureDate{4194303, 1, 1}));
    EXPECT_EQ(rows[1][0].get_Date(), (ProcedureDate{-4194304, 1, 1}));
    EXPECT_EQ(rows[2][0].get_Date(), (ProcedureDate{-2507028, 7, 11}));
}

TEST_F(OpenByDesignTest, FailuresOfNoKnownKindHaveAMessageForEachProcedure) {
    procedure_api table = *orkit::standin::GetProcedureTable();
    table.value_is_null = [](host_value) -> uint8_t { throw 42; };
    BindProcedureApi(&table);
    const struct {
        const char* procedure;
        const char* message;
    } kCases[] = {
        {"fetch_parquet", "Unexpected error while reading parquet file."},
        {"fetch_duckdb", "Unexpected error while reading DuckDB table or view."},
        {"parquet_schema", "Unexpected error while reading parquet schema."},
        {"parquet_metadata", "Unexpected error while reading parquet metadata."},
        {"parquet_count", "Unexpected error while counting parquet rows."},
    };
    for (const auto& each : kCases) {
        Arguments arguments = {Text("x")};
        if (std::string_view(each.procedure) == "fetch_duckdb") {
            arguments.push_back(Text("t"));
        }
        EXPECT_EQ(ErrorOf(each.procedure, arguments), each.message);
    }
    BindProcedureApi(orkit::standin::GetProcedureTable());
}

} // namespace

} // namespace orlimbara::procedures::test
