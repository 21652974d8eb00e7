// Runs of the built program from the command line: statuses, order, forms of output, answers.
#include <filesystem>
#include <regex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "shell_runner.h"
#include "tests_support/table.h"

namespace orlimbara::shell::test {
namespace {

class Orsql : public testing::Test {
protected:
    HomeFolder mFolder;
};

TEST_F(Orsql, ExitsWithTheStatusOfWhatHappened) {
    const std::string text = "this is no database, whatever it is called";
    WriteFile("text.txt", text);
    for (const auto& row : tests_support::Table(R"(
             --help|0; -c 'SELECT nope' -c .quit|1; -c '.quit now'|1; -f missing.sql|1; -m xml|2; --nope|2
             a.db b.db|2; --threads many|2; --max-rows -1|2; --storage-version "v1'" x.db|2
             --block-size 16384|2; --storage-version v1.2.0 :memory:|2; --block-size 16384 Memory.db|2
             --block-size 16384 --no-external-access x.db|2; --input jsonl -m csv|2
             --module missing.so -c 'SELECT 1'|3; --module text.txt -c 'SELECT 1'|3; text.txt -c 'SELECT 1'|3
             no/such/folder/x.db -c 'SELECT 1'|3; --readonly missing.db -c 'SELECT 1'|3)")) {
        const ShellRun run = RunScript("$ORSQL " + row[0]);
        EXPECT_EQ(std::to_string(run.status), row[1]) << row[0] << run.err;
        EXPECT_EQ(run.err.empty(), run.status == 0) << run.err;
        EXPECT_TRUE(run.status < 2 || run.out.empty()) << run.out;
    }
    EXPECT_EQ(ReadWhole("text.txt"), text);
    ExpectLines(RunJsonl({"text.txt", "-c", "SELECT 1"}),
                {{"", R"({"kind":"error","class":"xException","code":626688,"message":"…)"}});
    EXPECT_TRUE(Fits(RunShell({"--version"}).out, "orsql …\nDuckDB v…\n"));
}

TEST_F(Orsql, RunsCommandsAndFilesInOrder) {
    WriteFile("2.sql", "SELECT 2 AS c;\n.print two\n");
    const ShellRun run = RunScript("$ORSQL --no-header -c 'SELECT 1' -f 2.sql -c 'SELECT 3; SELECT 4' -f - "
                                   "-c 'SELECT 6' -c '-- nothing' -c '' --timer",
                                   "SELECT 5\n");
    EXPECT_EQ(run.out, "1\n2\ntwo\n3\n4\n5\n6\n");
    EXPECT_EQ(run.status, 0);
    EXPECT_TRUE(run.err.starts_with("time: ")) << run.err;
    EXPECT_EQ(RunShell({"--no-header"}, "SELECT 1;\n.print two\nSELECT 3").out, "1\ntwo\n3\n");
}

TEST_F(Orsql, WritesEveryForm) {
    std::string script;
    for (const std::string command : {".mode box", ".mode csv", ".null '-,-'", ".mode line", ".mode markdown",
                                      ".mode jsonl", ".mode json"}) {
        script +=
            command +
            "\nSELECT 1 AS n, E'日e\u0301a,\"|\nb' AS \"t|s\" UNION ALL SELECT -20, NULL ORDER BY n DESC;\n";
    }
    for (const std::string cursor : {"server", "client"}) {
        EXPECT_EQ(RunShell({"--cursor", cursor}, script + ".mode csv\nSELECT 4 AS d").out,
                  "┌─────────┬────────────┐\n"
                  "│       n │ t|s        │\n"
                  "│ INTEGER │ VARCHAR    │\n"
                  "├─────────┼────────────┤\n"
                  "│       1 │ 日e\u0301a,\"|\\nb │\n"
                  "│     -20 │ NULL       │\n"
                  "└─────────┴────────────┘\n"
                  "n,t|s\n1,\"日e\u0301a,\"\"|\nb\"\n-20,\n"
                  "n,t|s\n1,\"日e\u0301a,\"\"|\nb\"\n-20,\"-,-\"\n"
                  "  n = 1\nt|s = 日e\u0301a,\"|\nb\n\n  n = -20\nt|s = -,-\n"
                  "| n | t\\|s |\n|---:|---|\n| 1 | 日e\u0301a,\"\\|<br>b |\n| -20 | -,- |\n"
                  R"({"kind":"rows","columns":[{"name":"n","type":"INTEGER","id":4},)"
                  R"({"name":"t|s","type":"VARCHAR","id":17}],"rows":[[1,"日)"
                  "e\u0301"
                  R"(a,\"|\nb"],[-20,null]],"count":2})"
                  "\n{\"kind\":\"done\"}\n"
                  R"([
  {
    "kind": "rows",
    "columns": [
      {"name":"n","type":"INTEGER","id":4},
      {"name":"t|s","type":"VARCHAR","id":17}
    ],
    "rows": [
      [1,"日)"
                  "e\u0301"
                  R"(a,\"|\nb"],
      [-20,null]
    ],
    "count": 2
  },
  {
    "kind": "done"
  }
]
)"
                  "d\n4\n");
    }
    EXPECT_EQ(RunShell({"-m", "json"}).out, "[]\n");
    EXPECT_NE(RunShell({"-m", "box", "--color", "always", "-c", "SELECT 1"}).out.find('\x1b'),
              std::string::npos);
}

TEST_F(Orsql, WritesEachKindOfCell) {
    std::string query = "SELECT ";
    std::string expected;
    for (const auto& row : tests_support::Table(R"~(
             NULL|null; true|true; 9223372036854775807|9223372036854775807; 2::DOUBLE|2.0; 0.1::FLOAT|0.1
             18446744073709551615::UBIGINT|18446744073709551615; 1e300::DOUBLE|1e+300
             170141183460469231731687303715884105727::HUGEINT|"170141183460469231731687303715884105727"
             12.50::DECIMAL(5,2)|12.5; 'nan'::DOUBLE|{"double":"NaN"}; '-inf'::DOUBLE|{"double":"-Infinity"}
             'inf'::FLOAT|{"double":"Infinity"}; '\xCA\xFE'::BLOB|{"binary":"CAFE"}; ''::BLOB|{"binary":""}
             E'a"b\\\n\x01é'|"a\"b\\\n\u0001é"; DATE '2024-01-31'|"2024-01-31"; [1, 2]|"[1, 2]"
             DATE '2024-01-31'::VARIANT|{"date":"2024-01-31"}
             TIMESTAMP_MS '2024-01-31 12:30:00.25'::VARIANT|{"datetime":"2024-01-31T12:30:00.250"}
             5::TINYINT::VARIANT|{"json":"{\"duckdb_variant\":true,\"variant_type\":\"INT8\",\"value\":\"5\"}"}
             )~")) {
        query += row[0] + ",";
        expected += (expected.empty() ? "" : ",") + row[1];
    }
    ExpectLines(RunJsonl({"-c", query}),
                {{query, R"({"kind":"rows",…"rows":[[)" + expected + R"(]],"count":1})"}});
    // Other forms show the inner value of the objects.
    EXPECT_EQ(RunShell({"--no-header", "-c",
                        "SELECT 'nan'::DOUBLE, '\\xCA'::BLOB, DATE '-0044-03-15'::VARIANT, "
                        "DATE '12345-03-15'::VARIANT, ''"})
                  .out,
              "NaN,CA,-0044-03-15,+12345-03-15,\"\"\n");
}

TEST_F(Orsql, ContinuesAfterAFailureUnlessToldToStop) {
    const std::string command = "$ORSQL --no-header -c 'SELECT 1; SELECT nope; SELECT 2' -c 'SELECT 3'";
    const ShellRun run = RunScript(command);
    EXPECT_EQ(run.out, "1\n2\n3\n");
    EXPECT_TRUE(run.err.starts_with(
        "error: Referenced column \"nope\" was not found because the FROM clause is missing\n"
        "  type: Binder, position: 7\n  at -c:1\n"))
        << run.err;
    EXPECT_EQ(RunScript(command + " --bail").out, "1\n");
    using namespace std::string_literals;
    // The text before the zero byte would delete every row.
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
    // DuckDB expands an import into several statements; the second fails, and everything is rolled back.
    std::filesystem::create_directory("made");
    WriteFile("made/schema.sql", "CREATE TABLE t(a INTEGER);");
    WriteFile("made/load.sql", "COPY t FROM 'made/missing.csv';");
    EXPECT_EQ(
        Answers({"-c", "IMPORT DATABASE 'made'; SELECT count(*) FROM duckdb_tables(); BEGIN; "
                       "CREATE TABLE u(a INTEGER); IMPORT DATABASE 'made'; SELECT 1; ROLLBACK; SELECT 2; "
                       "PIVOT (VALUES ('a', 1), ('b', 2)) v(k, n) ON k USING sum(n)"}),
        "error|0|done|done|error|error|done|2|1|");
}

TEST_F(Orsql, PassesSettingsToDuckDB) {
    EXPECT_EQ(RunScript(R"~($ORSQL --no-header --threads 3 --max-memory 1000 --temp-directory tmp \
                  --home-directory home --secret-directory secret --extension-directory ext \
                  --no-external-access -c "SELECT current_setting('threads'), current_setting('max_memory'),
                  current_setting('temp_directory'), current_setting('home_directory'),
                  current_setting('secret_directory'), current_setting('extension_directory'),
                  current_setting('enable_external_access')")~")
                  .out,
              "3,953.6 MiB,tmp,home,secret,ext,false\n");
    for (const std::string options : {"--block-size 16384 --storage-version v1.2.0", ""}) {
        EXPECT_EQ(RunScript("$ORSQL --no-header x.db " + options +
                            " -c \"SELECT block_size, tags['storage_version'] FROM "
                            "pragma_database_size() JOIN duckdb_databases() USING (database_name)\"")
                      .out,
                  "16384,v1.2.0+\n");
    }
    EXPECT_TRUE(Fits(RunShell({"--readonly", "x.db", "-c", "CREATE TABLE t(a INTEGER)"}).err, "…read-only…"));
}

// The examples run unchanged, show this output in this order, and leave no files.
TEST_F(Orsql, RunsTheExamples) {
    for (const auto& [command, shown] : Exchanges{
             {"$ORSQL books.db -f $EXAMPLES/1_first_database.sql",
              "…│ A Field Guide to Clouds    │      96 │ NULL       │…read_on = (not yet)…main,books,table…"
              "CREATE TABLE books(…books\n3\n"},
             {"sh $EXAMPLES/2_parquet_procedures.sh",
              "…│ fetch_duckdb     │…│       3 │ value │ DECIMAL     │ DOUBLE       │…│  1000 │…│   100 │…"
              "│ 903 │ reading 903 │…│ 1000 │ reading 1000 │ 500.0 │…"},
             {"$ORSQL -f $EXAMPLES/3_parameters_and_variant.sql",
              "…│ harbour │ 2024-01-31 12:30:00.25 │    -3.5 │…"
              "│ UUID    │ 1b671a64-40d5-491e-99b0-da01ff1f3341 │…"
              R"~([[{"date":"2024-01-31"},{"json":"{\"duckdb_variant\":true,…["DECIMAL(3,2)",1.25]…)~"},
             {"sh $EXAMPLES/4_backup_and_restore.sh",
              "…ships.parquet…ships_in_copy\n3\n…ship 1\nship 2\nship 3\n…"}}) {
        const ShellRun run = RunScript("EXAMPLES='" SOURCE_FOLDER "/examples'; " + command);
        EXPECT_EQ(run.status, 0) << command;
        EXPECT_EQ(run.err, "") << command;
        EXPECT_TRUE(Fits(run.out, shown)) << run.out;
    }
    EXPECT_EQ(RunScript("ls -A").out, "");
}

TEST_F(Orsql, DocumentsAndCompletionKnowEveryOptionAndCommand) {
    const std::string completion = ReadWhole(SOURCE_FOLDER "/shell/completion/orsql.bash");
    const std::string guide = ReadWhole(SOURCE_FOLDER "/docs/orsql.md");
    const std::string manual =
        std::regex_replace(ReadWhole(SOURCE_FOLDER "/docs/orsql.1"), std::regex("\\\\-"), "-");
    const std::string help = "\n" + RunScript("$ORSQL --help; $ORSQL -c .help | sed 's/ .*//'").out;
    const std::regex name("--[a-z-]+|\n\\.[a-z]+");
    int count = 0;
    for (std::sregex_iterator match(help.begin(), help.end(), name), end; match != end; ++match, ++count) {
        const bool isOption = match->str().front() == '-';
        const std::string found = match->str().substr(isOption ? 0 : 1);
        EXPECT_NE(manual.find(found), std::string::npos) << found;
        EXPECT_NE((isOption ? completion : guide).find(isOption ? found : '`' + found), std::string::npos)
            << found;
    }
    EXPECT_GT(count, 50);
    EXPECT_EQ(RunScript("bash -c '. \"" SOURCE_FOLDER
                        "/shell/completion/orsql.bash\"; COMP_WORDS=(orsql --mode js); "
                        "COMP_CWORD=2; _orsql; echo ${COMPREPLY[@]}'")
                  .out,
              "json jsonl\n");
}

} // namespace
} // namespace orlimbara::shell::test
