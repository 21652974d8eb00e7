#include <fstream>

#include "procedure_test.h"

namespace orlimbara::procedures::test {

namespace {

class FetchDuckDBTest : public ProcedureTest {
protected:
    std::string Database() const {
        return WriteDatabase("shop.db",
                             "CREATE TABLE t AS SELECT range AS n FROM range(10);"
                             "CREATE SCHEMA \"my.schema\";"
                             "CREATE TABLE \"my.schema\".\"a \"\"b\"\"\" AS SELECT 'x' AS c;"
                             "CREATE VIEW v AS SELECT n * 2 AS twice, NULL AS nothing FROM t WHERE n > 6");
    }
};

TEST_F(FetchDuckDBTest, ReadsTablesAndViewsByTheirNames) {
    const std::string path = Database();
    for (const char* name : {"t", " T ", "main.t", "shop.main.t", "\"shop\" . main . \"t\""}) {
        EXPECT_EQ(Fetch("fetch_duckdb", {Text(path), Text(name)}).size(), 10U) << name;
    }
    EXPECT_EQ(Fetch("fetch_duckdb", {Text(path), Text(R"("my.schema"."a ""b""")")}),
              std::vector<Row>{{Text("x")}});

    ProcedureCursor view = Open("fetch_duckdb", {Text(path), Text("v")});
    EXPECT_EQ(NamesOf(view), (std::vector<std::string>{"twice", "nothing"}));
    EXPECT_EQ(RowsOf(view), (std::vector<Row>{{Int(14), Null()}, {Int(16), Null()}, {Int(18), Null()}}));
}

TEST_F(FetchDuckDBTest, BoundsTheRowsByALimit) {
    const std::string path = Database();
    struct LimitCase {
        ProcedureValue limit;
        std::size_t rows;
    };
    for (const LimitCase& each : {LimitCase{Int(3), 3}, {Text("0"), 0}, {Int(99), 10}, {Null(), 10}}) {
        EXPECT_EQ(Fetch("fetch_duckdb", {Text(path), Text("t"), each.limit}).size(), each.rows);
    }
}

TEST_F(FetchDuckDBTest, ReportsTheFirstFaultInTheOrderOfTheArguments) {
    const std::string path = Database();
    struct ErrorCase {
        Arguments arguments;
        std::string message;
    };
    for (const ErrorCase& each : {
             ErrorCase{{Null(), Text("a."), Int(-1)}, "fetch_duckdb requires a text argument."},
             {{Text(path), Text(""), Int(-1)}, "fetch_duckdb requires a text argument."},
             {{Text(path), Text("  "), Int(-1)}, "fetch_duckdb requires DuckDB table or view name."},
             {{Text("/no/such/folder/x.db"), Text("a."), Int(-1)}, "Invalid DuckDB table or view name."},
             {{Text("/no/such/folder/x.db"), Text("t"), Int(-1)}, "limit must not be negative"},
             {{Text("/no/such/folder/x.db"), Text("t")}, "Unable to open DuckDB database."},
         }) {
        EXPECT_EQ(ErrorOf("fetch_duckdb", each.arguments), each.message);
    }
    for (const ErrorCase& each : {
             ErrorCase{{Text(path), Text("nosuch")}, "Catalog Error: Table with name nosuch does not exist!"},
             {{Text(":memory:"), Text("t")}, "Catalog Error: Table with name t does not exist!"},
             {{Text(path), Text("t) UNION (SELECT 1")},
              "Catalog Error: Table with name t) UNION (SELECT 1 does"},
             {{Text(path), Text(R"("")")}, "Parser Error: zero-length delimited identifier"},
         }) {
        EXPECT_EQ(ErrorOf("fetch_duckdb", each.arguments).substr(0, each.message.size()), each.message);
    }
}

TEST_F(FetchDuckDBTest, RefusesAFileThatIsNoDatabase) {
    const std::string path = PathOf("t.db");
    std::ofstream(path) << std::string(8192, 'x');
    EXPECT_EQ(ErrorOf("fetch_duckdb", {Text(path), Text("t")}), "Unable to open DuckDB database.");
}

} // namespace

} // namespace orlimbara::procedures::test
