// Runs of the built program from the command line: statuses, order, forms of output, answers.
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "shell_runner.h"

namespace orlimbara::shell::test {
namespace {

class Orsql : public testing::Test {
protected:
    HomeFolder mFolder;
};

TEST_F(Orsql, LeavesWithTheStatusThatTellsWhatHappened) {
    const std::string text = "this is no database, whatever it is called";
    WriteFile("text.txt", text);
    const std::vector<std::pair<Arguments, int>> examples = {
        {{"--help"}, 0},
        {{"-c", "SELECT nope", "-c", ".quit"}, 1},
        {{"-c", ".quit now"}, 1},
        {{"-f", "missing.sql"}, 1},
        {{"-m", "xml"}, 2},
        {{"--nope"}, 2},
        {{"a.db", "b.db"}, 2},
        {{"--threads", "many"}, 2},
        {{"--max-rows", "-1"}, 2},
        {{"--block-size", "16384"}, 2},
        {{"--storage-version", "v1.2.0", ":memory:"}, 2},
        {{"--block-size", "16384", "--no-external-access", "x.db"}, 2},
        {{"--block-size", "16384", "Memory.db"}, 2},
        {{"--input", "jsonl", "-m", "csv"}, 2},
        {{"--storage-version", "v1'", "x.db"}, 2},
        {{"--module", "missing.so", "-c", "SELECT 1"}, 3},
        {{"--module", "text.txt", "-c", "SELECT 1"}, 3},
        {{"text.txt", "-c", "SELECT 1"}, 3},
        {{"no/such/folder/x.db", "-c", "SELECT 1"}, 3},
        {{"--readonly", "missing.db", "-c", "SELECT 1"}, 3},
    };
    for (const auto& [arguments, status] : examples) {
        const ShellRun run = RunShell(arguments);
        EXPECT_EQ(run.status, status) << testing::PrintToString(arguments) << run.err;
        EXPECT_EQ(run.err.empty(), status == 0) << run.err;
        EXPECT_TRUE(status < 2 || run.out.empty()) << run.out;
    }
    EXPECT_EQ(ReadWhole("text.txt"), text);
    const std::vector<std::string> lines = RunJsonl({"text.txt", "-c", "SELECT 1"});
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_TRUE(lines[0].starts_with(R"({"kind":"error","class":"xException","code":626688,"message":")"));
    EXPECT_TRUE(std::regex_match(RunShell({"--version"}).out, std::regex("orsql .+\nDuckDB v.+\n")));
}

TEST_F(Orsql, RunsCommandsAndFilesInTheirOrder) {
    WriteFile("2.sql", "SELECT 2 AS c;\n.print two\n");
    const ShellRun run = RunShell({"--no-header", "-c", "SELECT 1", "-f", "2.sql", "-c", "SELECT 3; SELECT 4",
                                   "-f", "-", "-c", "SELECT 6", "-c", "-- nothing", "-c", "", "--timer"},
                                  "SELECT 5\n");
    EXPECT_EQ(run.out, "1\n2\ntwo\n3\n4\n5\n6\n");
    EXPECT_EQ(run.status, 0);
    EXPECT_TRUE(run.err.starts_with("time: ")) << run.err;
    EXPECT_EQ(RunShell({"--no-header"}, "SELECT 1;\n.print two\nSELECT 3").out, "1\ntwo\n3\n");
}

TEST_F(Orsql, WritesEveryForm) {
    const std::string query = "SELECT 1 AS n, 'a,b' AS s UNION ALL SELECT 20, NULL ORDER BY n;\n";
    std::string script;
    std::string expected;
    for (const auto& [command, text] : std::vector<std::pair<std::string, std::string>>{
             {".mode box",
              "┌─────────┬─────────┐\n│       n │ s       │\n│ INTEGER │ VARCHAR │\n├─────────┼─────────┤\n"
              "│       1 │ a,b     │\n│      20 │ NULL    │\n└─────────┴─────────┘\n"},
             {".mode csv", "n,s\n1,\"a,b\"\n20,\n"},
             {".null -", "n,s\n1,\"a,b\"\n20,-\n"},
             {".mode line", "n = 1\ns = a,b\n\nn = 20\ns = -\n"},
             {".mode markdown", "| n | s |\n|---:|---|\n| 1 | a,b |\n| 20 | - |\n"},
             {".mode jsonl",
              R"({"kind":"rows","columns":[{"name":"n","type":"INTEGER","id":4},)"
              R"({"name":"s","type":"VARCHAR","id":17}],"rows":[[1,"a,b"],[20,null]],"count":2})"
              "\n"},
             {".mode json",
              "{\"kind\":\"done\"}\n[\n  {\n    \"kind\": \"rows\",\n    \"columns\": [\n"
              "      {\"name\":\"n\",\"type\":\"INTEGER\",\"id\":4},\n"
              "      {\"name\":\"s\",\"type\":\"VARCHAR\",\"id\":17}\n    ],\n"
              "    \"rows\": [\n      [1,\"a,b\"],\n      [20,null]\n    ],\n    \"count\": 2\n  }"},
         }) {
        script += command + "\n" + query;
        expected += text;
    }
    for (const std::string cursor : {"server", "client"}) {
        EXPECT_EQ(RunShell({"--cursor", cursor}, script + ".mode csv\nSELECT 4 AS d").out,
                  expected + ",\n  {\n    \"kind\": \"done\"\n  }\n]\nd\n4\n");
    }
}

TEST_F(Orsql, AnswersEachStatementWithALineOfJson) {
    const std::vector<std::string> lines = RunJsonl({"-c", R"(
SELECT 1 AS i; CREATE TABLE t(a INTEGER); INSERT INTO t VALUES (1), (2);
INSERT INTO t VALUES (3) RETURNING a;
-- only a comment;
UPDATE t SET a = a + 1; ;
SELECT nope FROM t;
SELEC 1;
BEGIN; COMMIT
)"});
    const std::vector<std::string> starts = {
        R"({"kind":"rows","columns":[{"name":"i","type":"INTEGER","id":4}],"rows":[[1]],"count":1})",
        R"({"kind":"done"})",
        R"({"kind":"changed","count":2})",
        R"({"kind":"rows","columns":[{"name":"a","type":"INTEGER","id":4}],"rows":[[3]],"count":1})",
        R"({"kind":"changed","count":3})",
        R"({"kind":"error","class":"xDuckDBError","code":468225,"context":":memory:",)"
        R"("message":"{\"exception_type\":\"Binder\",)",
        R"({"kind":"error","class":"xDuckDBError","code":468225,"context":":memory:",)"
        R"("message":"Parser Error: {)",
        R"({"kind":"done"})",
        R"({"kind":"done"})"};
    ASSERT_EQ(lines.size(), starts.size());
    for (std::size_t i = 0; i < lines.size(); ++i) {
        EXPECT_TRUE(lines[i].starts_with(starts[i])) << lines[i];
    }
    EXPECT_NE(lines[5].find(R"("type":"Binder","position":7,"source":"-c","line":6})"), std::string::npos)
        << lines[5];
    EXPECT_NE(lines[6].find(R"("type":"Parser","position":0,"source":"-c","line":7})"), std::string::npos)
        << lines[6];
}

TEST_F(Orsql, WritesEachKindOfCell) {
    const std::vector<std::pair<std::string, std::string>> cells = {
        {"NULL", "null"},
        {"true", "true"},
        {"9223372036854775807", "9223372036854775807"},
        {"18446744073709551615::UBIGINT", "18446744073709551615"},
        {"170141183460469231731687303715884105727::HUGEINT", "\"170141183460469231731687303715884105727\""},
        {"0.1::FLOAT", "0.1"},
        {"1e300::DOUBLE", "1e+300"},
        {"12.50::DECIMAL(5,2)", "12.5"},
        {"'nan'::DOUBLE", R"({"double":"NaN"})"},
        {"'-inf'::DOUBLE", R"({"double":"-Infinity"})"},
        {"'inf'::FLOAT", R"({"double":"Infinity"})"},
        {"'\\xCA\\xFE'::BLOB", R"({"binary":"CAFE"})"},
        {"''::BLOB", R"({"binary":""})"},
        {"E'a\"b\\\\\\n\\x01é'", R"("a\"b\\\n\u0001é")"},
        {"DATE '2024-01-31'", R"("2024-01-31")"},
        {"DATE '2024-01-31'::VARIANT", R"({"date":"2024-01-31"})"},
        {"TIMESTAMP_MS '2024-01-31 12:30:00.25'::VARIANT", R"({"datetime":"2024-01-31T12:30:00.250"})"},
        {"5::TINYINT::VARIANT",
         R"({"json":"{\"duckdb_variant\":true,\"variant_type\":\"INT8\",\"value\":\"5\"}"})"},
        {"[1, 2]", R"("[1, 2]")"},
    };
    std::string script;
    for (const auto& cell : cells) {
        script += "SELECT " + cell.first + ";";
    }
    const std::vector<std::string> lines = RunJsonl({"-c", script});
    ASSERT_EQ(lines.size(), cells.size());
    for (std::size_t i = 0; i < cells.size(); ++i) {
        EXPECT_TRUE(lines[i].ends_with(R"("rows":[[)" + cells[i].second + R"(]],"count":1})")) << lines[i];
    }
    // Other forms show what stands inside the objects.
    EXPECT_EQ(RunShell({"--no-header", "-c",
                        "SELECT 'nan'::DOUBLE, '\\xCA'::BLOB, DATE '-0044-03-15'::VARIANT, "
                        "DATE '12345-03-15'::VARIANT, ''"})
                  .out,
              "NaN,CA,-0044-03-15,+12345-03-15,\"\"\n");
}

TEST_F(Orsql, GoesOnAfterAFailureUnlessItIsToStop) {
    Arguments arguments = {"--no-header", "-c", "SELECT 1; SELECT nope; SELECT 2", "-c", "SELECT 3"};
    const ShellRun run = RunShell(arguments);
    EXPECT_EQ(run.out, "1\n2\n3\n");
    EXPECT_TRUE(run.err.starts_with(
        "error: Referenced column \"nope\" was not found because the FROM clause is missing\n"
        "  type: Binder, position: 7\n  at -c:1\n"))
        << run.err;
    arguments.push_back("--bail");
    EXPECT_EQ(RunShell(arguments).out, "1\n");
    using namespace std::string_literals;
    // Up to the zero byte it would delete every row.
    const ShellRun zero =
        RunShell({"--no-header"}, "CREATE TABLE t AS FROM range(3); DELETE FROM t\0 WHERE range = 1;\n"
                                  ".print \0x\nSELECT count(*) FROM t"s);
    EXPECT_EQ(zero.out, "3\n");
    EXPECT_EQ(zero.err,
              "error: the text holds a zero byte\n  at -:1\nerror: the text holds a zero byte\n  at -:2\n");
}

TEST_F(Orsql, LeavesAFailedTransactionAborted) {
    EXPECT_EQ(
        Answers(
            {"x.db", "-c", "CREATE TABLE t(a INTEGER PRIMARY KEY); BEGIN; INSERT INTO t VALUES (1);", "-c",
             "INSERT INTO t VALUES (1); SELECT 1; ROLLBACK; SELECT count(*) FROM t; BEGIN; DROP TABLE t"}),
        "done|done|changed|error|error|done|0|done|done|");
    EXPECT_EQ(Answers({"x.db", "-c", "SELECT count(*) FROM t"}), "0|") << "left without a commit";
    // DuckDB makes several statements of an import; the second of these fails, and all is taken back.
    ASSERT_EQ(RunScript("mkdir made && echo 'CREATE TABLE t(a INTEGER);' > made/schema.sql && "
                        "echo \"COPY t FROM 'made/missing.csv';\" > made/load.sql")
                  .status,
              0);
    EXPECT_EQ(
        Answers({"-c", "IMPORT DATABASE 'made'; SELECT count(*) FROM duckdb_tables(); BEGIN; "
                       "CREATE TABLE u(a INTEGER); IMPORT DATABASE 'made'; SELECT 1; ROLLBACK; SELECT 2; "
                       "PIVOT (VALUES ('a', 1), ('b', 2)) v(k, n) ON k USING sum(n)"}),
        "error|0|done|done|error|error|done|2|1|");
}

TEST_F(Orsql, GivesSettingsToDuckDB) {
    EXPECT_EQ(RunShell({"--no-header", "--threads", "3", "--max-memory", "1000", "--temp-directory", "tmp",
                        "--home-directory", "home", "--secret-directory", "secret", "--extension-directory",
                        "ext", "--no-external-access", "-c",
                        "SELECT current_setting('threads'), current_setting('max_memory'), "
                        "current_setting('temp_directory'), current_setting('home_directory'), "
                        "current_setting('secret_directory'), current_setting('extension_directory'), "
                        "current_setting('enable_external_access')"})
                  .out,
              "3,953.6 MiB,tmp,home,secret,ext,false\n");
    const std::string query = "SELECT block_size, tags['storage_version'] FROM pragma_database_size() JOIN "
                              "duckdb_databases() USING (database_name)";
    for (const Arguments& arguments :
         {Arguments{"--block-size", "16384", "--storage-version", "v1.2.0"}, {}}) {
        Arguments all = arguments;
        all.insert(all.end(), {"--no-header", "x.db", "-c", query});
        EXPECT_EQ(RunShell(all).out, "16384,v1.2.0+\n");
    }
    const ShellRun run = RunShell({"--readonly", "x.db", "-c", "CREATE TABLE t(a INTEGER)"});
    EXPECT_NE(run.err.find("read-only"), std::string::npos) << run.err;
}

// The examples run as they stand and show what they say, in this order.
TEST_F(Orsql, RunsTheExamples) {
    for (const auto& [command, shown] : std::vector<std::pair<std::string, std::vector<std::string>>>{
             {"$ORSQL books.db -f $EXAMPLES/1_first_database.sql",
              {"│ A Field Guide to Clouds    │      96 │ NULL       │", "read_on = (not yet)",
               "main,books,table", "CREATE TABLE books(", "books\n3\n"}},
             {"$ORSQL -f $EXAMPLES/2_parquet_procedures.sql",
              {"│ fetch_duckdb     │", "│       3 │ value │ DECIMAL     │ DOUBLE       │", "│  1000 │",
               "│   100 │", "│ 903 │ reading 903 │", "│ 1000 │ reading 1000 │ 500.0 │"}},
             {"$ORSQL -f $EXAMPLES/3_parameters_and_variant.sql",
              {"│ harbour │ 2024-01-31 12:30:00.25 │    -3.5 │",
               "│ UUID    │ 1b671a64-40d5-491e-99b0-da01ff1f3341 │",
               R"([[{"date":"2024-01-31"},{"json":"{\"duckdb_variant\":true,)", "[\"DECIMAL(3,2)\",1.25]"}},
             {"sh $EXAMPLES/4_backup_and_restore.sh",
              {"ships.parquet", "ships_in_copy\n3\n", "ship 1\nship 2\nship 3\n"}},
         }) {
        const ShellRun run = RunScript("EXAMPLES='" SOURCE_FOLDER "/examples'; " + command);
        EXPECT_EQ(run.status, 0) << command;
        EXPECT_EQ(run.err, "") << command;
        std::size_t position = 0;
        for (const std::string& text : shown) {
            position = run.out.find(text, position);
            ASSERT_NE(position, std::string::npos) << text << "\nis missing in\n" << run.out;
        }
    }
}

TEST_F(Orsql, DocumentsAndCompletionKnowEveryOptionAndCommand) {
    const std::string completion = ReadWhole(SOURCE_FOLDER "/shell/completion/orsql.bash");
    const std::string guide = ReadWhole(SOURCE_FOLDER "/docs/orsql.md");
    const std::string manual =
        std::regex_replace(ReadWhole(SOURCE_FOLDER "/docs/orsql.1"), std::regex("\\\\-"), "-");
    const auto names = [](const std::string& text, const std::string& pattern) {
        const std::regex name(pattern);
        std::vector<std::string> found;
        for (std::sregex_iterator match(text.begin(), text.end(), name), end; match != end; ++match) {
            found.push_back(match->str(1));
        }
        return found;
    };
    const std::vector<std::string> options = names(RunShell({"--help"}).out, "(--[a-z-]+)");
    const std::vector<std::string> commands = names("\n" + RunShell({"-c", ".help"}).out, "\n(\\.[a-z]+)");
    EXPECT_GT(options.size(), 20U);
    EXPECT_GT(commands.size(), 20U);
    for (const std::string& option : options) {
        EXPECT_NE(completion.find(option), std::string::npos) << option;
        EXPECT_NE(manual.find(option), std::string::npos) << option;
    }
    for (const std::string& command : commands) {
        EXPECT_NE(manual.find(command), std::string::npos) << command;
        EXPECT_NE(guide.find('`' + command), std::string::npos) << command;
    }
    EXPECT_EQ(RunScript("bash -c '. \"" SOURCE_FOLDER
                        "/shell/completion/orsql.bash\"; COMP_WORDS=(orsql --mode js); "
                        "COMP_CWORD=2; _orsql; echo ${COMPREPLY[@]}'")
                  .out,
              "json jsonl\n");
}

} // namespace
} // namespace orlimbara::shell::test
