// Runs of the built program from the command line: statuses, order, forms of output, answers.
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "shell_runner.h"

namespace orsql_test {
namespace {

class Orsql : public testing::Test {
protected:
    TempFolder mFolder;
};

TEST_F(Orsql, LeavesWithTheStatusThatTellsWhatHappened) {
    WriteFile("text.txt", "this is no database, whatever it is called");
    WriteFile("good.sql", "SELECT 1;");
    const std::vector<std::pair<Arguments, int>> examples = {
        {{"-c", "SELECT 1"}, 0},
        {{"--help"}, 0},
        {{"--version"}, 0},
        {{"-c", "SELECT nope"}, 1},
        {{"-c", ".nope"}, 1},
        {{"-c", ".quit now"}, 1},
        {{"-f", "missing.sql"}, 1},
        {{"-c", "SELECT nope", "-c", ".quit"}, 1},
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
        {{"md:nothing", "-c", "SELECT 1"}, 3},
    };
    for (const auto& [arguments, status] : examples) {
        const ShellRun run = RunShell(arguments);
        EXPECT_EQ(run.status, status) << testing::PrintToString(arguments) << run.err;
        EXPECT_EQ(run.err.empty(), status == 0) << run.err;
        if (status >= 2) {
            EXPECT_EQ(run.out, "");
        }
    }
    EXPECT_EQ(ReadWhole("text.txt"), "this is no database, whatever it is called");
}

TEST_F(Orsql, RunsCommandsAndFilesInTheirOrder) {
    WriteFile("2.sql", "SELECT 2 AS c;\n.print two\n");
    const ShellRun run = RunShell({"--no-header", "-c", "SELECT 1", "-f", "2.sql", "-c", "SELECT 3; SELECT 4",
                                   "-f", "-", "-c", "SELECT 6", "-c", "-- nothing", "-c", ""},
                                  "SELECT 5\n");
    EXPECT_EQ(run.out, "1\n2\ntwo\n3\n4\n5\n6\n");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(RunShell({"--no-header"}, "SELECT 1;\n.print two\nSELECT 3").out, "1\ntwo\n3\n");
}

TEST_F(Orsql, WritesEveryForm) {
    const Arguments query = {"-c", "SELECT 1 AS n, 'a,b' AS s UNION ALL SELECT 20, NULL ORDER BY n"};
    const std::vector<std::pair<std::string, std::string>> forms = {
        {"box", "┌────┬──────┐\n│  n │ s    │\n├────┼──────┤\n│  1 │ a,b  │\n│ 20 │ NULL │\n└────┴──────┘\n"},
        {"csv", "n,s\n1,\"a,b\"\n20,\n"},
        {"line", "n = 1\ns = a,b\n\nn = 20\ns = NULL\n"},
        {"markdown", "| n | s |\n|---:|---|\n| 1 | a,b |\n| 20 | NULL |\n"},
        {"jsonl", R"({"kind":"rows","columns":[{"name":"n","type":"INTEGER","id":4},)"
                  R"({"name":"s","type":"VARCHAR","id":17}],"rows":[[1,"a,b"],[20,null]],"count":2})"
                  "\n"},
        {"json", "[\n  {\n    \"kind\": \"rows\",\n    \"columns\": [\n"
                 "      {\"name\":\"n\",\"type\":\"INTEGER\",\"id\":4},\n"
                 "      {\"name\":\"s\",\"type\":\"VARCHAR\",\"id\":17}\n    ],\n"
                 "    \"rows\": [\n      [1,\"a,b\"],\n      [20,null]\n    ],\n    \"count\": 2\n  }\n]\n"},
    };
    for (const auto& [mode, text] : forms) {
        for (const std::string cursor : {"server", "client"}) {
            Arguments arguments = {"-m", mode, "--cursor", cursor};
            arguments.insert(arguments.end(), query.begin(), query.end());
            EXPECT_EQ(RunShell(arguments).out, text) << mode << " " << cursor;
        }
    }
    EXPECT_EQ(RunShell({"--null", "-", query[0], query[1]}).out, "n,s\n1,\"a,b\"\n20,-\n");
}

TEST_F(Orsql, AnswersEachStatementWithALineOfJson) {
    const std::string script = R"(
SELECT 1 AS i; CREATE TABLE t(a INTEGER); INSERT INTO t VALUES (1), (2);
INSERT INTO t VALUES (3) RETURNING a;
-- only a comment;
UPDATE t SET a = a + 1; ;
SELECT nope FROM t;
SELEC 1;
BEGIN; COMMIT
)";
    const ShellRun run = RunShell({"-m", "jsonl"}, script);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "");
    const std::vector<std::string> lines = JsonLines(run.out);
    ASSERT_EQ(lines.size(), 9U);
    EXPECT_EQ(lines[0],
              R"({"kind":"rows","columns":[{"name":"i","type":"INTEGER","id":4}],"rows":[[1]],"count":1})");
    EXPECT_EQ(lines[1], R"({"kind":"done"})");
    EXPECT_EQ(lines[2], R"({"kind":"changed","count":2})");
    EXPECT_EQ(lines[3],
              R"({"kind":"rows","columns":[{"name":"a","type":"INTEGER","id":4}],"rows":[[3]],"count":1})");
    EXPECT_EQ(lines[4], R"({"kind":"changed","count":3})");
    EXPECT_TRUE(lines[5].starts_with(R"({"kind":"error","class":"xDuckDBError","code":468225,)"
                                     R"("context":":memory:","message":"{\"exception_type\":\"Binder\",)"))
        << lines[5];
    EXPECT_TRUE(lines[5].ends_with(R"("type":"Binder","position":7,"source":"-","line":6})")) << lines[5];
    EXPECT_TRUE(lines[6].ends_with(R"("type":"Parser","position":0,"source":"-","line":7})")) << lines[6];
    EXPECT_NE(lines[6].find(R"("message":"Parser Error: {)"), std::string::npos) << lines[6];
    EXPECT_EQ(lines[8], R"({"kind":"done"})");
}

TEST_F(Orsql, WritesEachKindOfCell) {
    const std::vector<std::pair<std::string, std::string>> cells = {
        {"NULL", "null"},
        {"true", "true"},
        {"9223372036854775807", "9223372036854775807"},
        {"18446744073709551615::UBIGINT", "18446744073709551615"},
        {"(-128)::TINYINT", "-128"},
        {"170141183460469231731687303715884105727::HUGEINT", "\"170141183460469231731687303715884105727\""},
        {"0.1::DOUBLE", "0.1"},
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
    Arguments arguments;
    for (const auto& cell : cells) {
        arguments.insert(arguments.end(), {"-c", "SELECT " + cell.first});
    }
    const std::vector<std::string> lines = RunJsonl(arguments);
    ASSERT_EQ(lines.size(), cells.size());
    for (std::size_t i = 0; i < cells.size(); ++i) {
        EXPECT_TRUE(lines[i].ends_with(R"("rows":[[)" + cells[i].second + R"(]],"count":1})"))
            << cells[i].first << lines[i];
    }
}

TEST_F(Orsql, ShowsWhatStandsInsideJsonsObjectsInOtherForms) {
    EXPECT_EQ(RunShell({"--no-header", "-c",
                        "SELECT 'nan'::DOUBLE, '\\xCA'::BLOB, DATE '-0044-03-15'::VARIANT, "
                        "DATE '12345-03-15'::VARIANT, ''"})
                  .out,
              "NaN,CA,-0044-03-15,+12345-03-15,\"\"\n");
}

TEST_F(Orsql, GoesOnAfterAFailureUnlessItIsToStop) {
    const Arguments arguments = {"--no-header", "-c", "SELECT 1; SELECT nope; SELECT 2", "-c", "SELECT 3"};
    const ShellRun run = RunShell(arguments);
    EXPECT_EQ(run.out, "1\n2\n3\n");
    EXPECT_EQ(run.err, "error: Referenced column \"nope\" was not found because the FROM clause is missing\n"
                       "  type: Binder, position: 7\n  at -c:1\n");
    Arguments stopping = arguments;
    stopping.push_back("--bail");
    EXPECT_EQ(RunShell(stopping).out, "1\n");
    EXPECT_EQ(RunShell(stopping).status, 1);
}

TEST_F(Orsql, RefusesAPieceWithAZeroByte) {
    using namespace std::string_literals;
    // Up to the zero byte it would delete every row.
    const ShellRun run = RunShell({"-m", "csv", "--no-header"},
                                  "CREATE TABLE t AS FROM range(3); DELETE FROM t\0 WHERE range = 1;\n"
                                  ".print \0x\nSELECT count(*) FROM t"s);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "3\n");
    EXPECT_EQ(run.err,
              "error: the text holds a zero byte\n  at -:1\nerror: the text holds a zero byte\n  at -:2\n");
}

TEST_F(Orsql, LeavesAFailedTransactionAborted) {
    const std::vector<std::string> lines = RunJsonl(
        {"x.db", "-c", "CREATE TABLE t(a INTEGER PRIMARY KEY); BEGIN; INSERT INTO t VALUES (1);", "-c",
         "INSERT INTO t VALUES (1); SELECT 1; ROLLBACK; SELECT count(*) FROM t; BEGIN; DROP TABLE t"});
    std::string kinds;
    for (const std::string& line : lines) {
        kinds += FirstCells(line) + "|";
    }
    EXPECT_EQ(kinds, "done|done|changed|error|error|done|0|done|done|");
    EXPECT_EQ(FirstCells(RunJsonl({"x.db", "-c", "SELECT count(*) FROM t"})[0]), "0")
        << "left without a commit";
}

TEST_F(Orsql, TakesBackWhatAnExpandedStatementDid) {
    // DuckDB makes several statements of an import; the second of these fails.
    const std::string script = "mkdir made && echo 'CREATE TABLE t(a INTEGER);' > made/schema.sql && "
                               "echo \"COPY t FROM 'made/missing.csv';\" > made/load.sql";
    ASSERT_EQ(RunScript(script).status, 0);
    const auto kinds = [](const Arguments& arguments) {
        std::string text;
        for (const std::string& line : RunJsonl(arguments)) {
            text += FirstCells(line) + "|";
        }
        return text;
    };
    EXPECT_EQ(kinds({"-c", "IMPORT DATABASE 'made'; SELECT count(*) FROM duckdb_tables();"}), "error|0|");
    EXPECT_EQ(
        kinds(
            {"-c", "BEGIN; CREATE TABLE u(a INTEGER); IMPORT DATABASE 'made'; SELECT 1; ROLLBACK; SELECT 2"}),
        "done|done|error|error|done|2|");
    EXPECT_EQ(kinds({"-c", "PIVOT (VALUES ('a', 1), ('b', 2)) v(k, n) ON k USING sum(n)"}), "1|");
}

TEST_F(Orsql, GivesSettingsToDuckDB) {
    const auto cells = [](Arguments arguments, const std::string& query) {
        arguments.insert(arguments.end(), {"--no-header", "-c", query});
        return RunShell(arguments).out;
    };
    EXPECT_EQ(cells({"--threads", "3"}, "SELECT current_setting('threads')"), "3\n");
    EXPECT_EQ(cells({"--max-memory", "1000"}, "SELECT current_setting('max_memory')"), "953.6 MiB\n");
    EXPECT_EQ(cells({"--temp-directory", "tmp", "--home-directory", "home", "--secret-directory", "secret",
                     "--extension-directory", "ext"},
                    "SELECT current_setting('temp_directory'), current_setting('home_directory'), "
                    "current_setting('secret_directory'), current_setting('extension_directory')"),
              "tmp,home,secret,ext\n");
    EXPECT_EQ(cells({"--no-external-access"}, "SELECT current_setting('enable_external_access')"), "false\n");
    EXPECT_EQ(cells({"--block-size", "16384", "x.db"}, "SELECT block_size FROM pragma_database_size()"),
              "16384\n");
    EXPECT_EQ(cells({"x.db"}, "SELECT block_size FROM pragma_database_size()"), "16384\n");
    EXPECT_EQ(cells({"--storage-version", "v1.2.0", "y.db"},
                    "SELECT tags['storage_version'] FROM duckdb_databases() "
                    "WHERE database_name = 'y'"),
              "v1.2.0+\n");
    const ShellRun run = RunShell({"--readonly", "x.db", "-c", "CREATE TABLE t(a INTEGER)"});
    EXPECT_NE(run.err.find("read-only"), std::string::npos) << run.err;
}

TEST_F(Orsql, TellsItsVersions) {
    const ShellRun run = RunShell({"--version"});
    EXPECT_TRUE(run.out.starts_with("orsql ")) << run.out;
    EXPECT_NE(run.out.find("\nDuckDB v"), std::string::npos) << run.out;
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

TEST_F(Orsql, TellsAFailureToOpenAsALine) {
    WriteFile("text.txt", "no database, and longer than twelve bytes");
    const std::vector<std::string> lines = RunJsonl({"text.txt", "-c", "SELECT 1"});
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_TRUE(lines[0].starts_with(R"({"kind":"error","class":"xException","code":626688,"message":")"))
        << lines[0];
}

} // namespace
} // namespace orsql_test
