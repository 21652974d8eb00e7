// The dot commands of the built program.
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "shell_runner.h"
#include "tests_support/table.h"

namespace orlimbara::shell::test {
namespace {

class Commands : public testing::Test {
protected:
    /// Runs lines of a script. @return the first cell, or the kind, of each answer, each followed by "|".
    static std::string AnswersTo(const std::string& inScript, const std::string& inDatabase = ":memory:") {
        WriteFile("script.sql", inScript);
        return Answers({inDatabase, "-f", "script.sql"});
    }

    HomeFolder mFolder;
};

TEST_F(Commands, EachGivesOneLine) {
    EXPECT_EQ(
        AnswersTo(".help\n.help open\n.help .open\n.print a b\n.timer on\n.timer off\n.null x\n.maxrows 3\n"
                  ".cursor client\n.mode jsonl\n.procedures\n.close\n.tables\n.nope\n.help nope\n.mode x\n"
                  ".maxrows x\n.open\n.quit\n.print not reached\n"),
        "text|text|text|text|done|done|done|done|done|done|fetch_parquet parquet_schema parquet_metadata "
        "parquet_count fetch_duckdb|done|error|error|error|error|error|error|done|");
    EXPECT_EQ(RunShell({}, ".mode\n.cursor client\n.cursor\n.timer\n.maxrows\n").out,
              "csv\nclient\noff\n40\n");
    std::istringstream help(RunShell({"-c", ".help"}).out);
    for (std::string line; std::getline(help, line);) {
        EXPECT_LE(line.size(), 80U) << line;
    }
}

TEST_F(Commands, AnswerInLinesOfJsonAsStatementsDo) {
    const std::string rows = R"({"kind":"rows","columns":[{"name":)";
    const std::string error = R"({"kind":"error","class":)";
    const std::string done = R"({"kind":"done"})";
    const std::string path = mFolder / "a.db";
    const Exchanges exchanges = {
        {".info", rows + R"("name"},{"name":"value"}],"rows":[["path",")" + path +
                      R"("],["name","a"],["open",true],["read_only",false],["connections",1],…)"},
        {".print  it's \"so\" ;", R"({"kind":"text","text":" it's \"so\" ;"})"},
        {".nope",
         error +
             R"("orsql","message":"there is no command .nope; .help lists them","source":"-c","line":1})"},
        {".info x", error + R"("orsql","message":"too many arguments; use: .info…)"},
        {".restore missing c.db", error + R"("xDBError","code":417792,"message":""…)"},
        {".open b.db", done},
        {".open a.db", done},
        {".databases", rows + R"("path"},{"name":"connections"}],"rows":[[")" + path + R"(",1],[")" +
                           mFolder / "b.db" + R"(",0]],"count":2})"},
        {"CREATE SCHEMA s", done},
        {"CREATE TABLE s.books(a INTEGER)", done},
        {"INSERT INTO s.books VALUES (1), (2);", R"({"kind":"changed","count":2})"},
        {"INSERT INTO s.books VALUES (3) RETURNING a -- only a comment;",
         rows + R"("a","type":"INTEGER","id":4}],"rows":[[3]],"count":1})"},
        {"UPDATE s.books SET a = a + 1; ;", R"({"kind":"changed","count":3})"},
        {"\nSELECT nope FROM s.books", error + R"("xDuckDBError","code":468225,"context":"a)" +
                                           R"(","message":"{\"exception_type\":\"Binder\",…)"
                                           R"("type":"Binder","position":7,"source":"-c","line":2})"},
        {"SELEC 1",
         error + R"("xDuckDBError","code":468225,"context":"a)" +
             R"(","message":"Parser Error: {…"type":"Parser","position":0,"source":"-c","line":1})"},
        {"CREATE TEMP TABLE tt(b INTEGER)", done},
        {"CREATE VIEW v AS SELECT 1 AS one", done},
        {".tables", rows + R"("schema"},{"name":"name"},{"name":"type"}],"rows":[["main","tt","table"],)"
                           R"(["main","v","view"],["s","books","table"]],"count":3})"},
        {".tables b%",
         rows + R"("schema"},{"name":"name"},{"name":"type"}],"rows":[["s","books","table"]],…)"},
        {".schema", rows +
                        R"("sql"}],"rows":[["CREATE TEMP TABLE tt(b INTEGER);"],)"
                        R"(["CREATE TABLE s.books(a INTEGER);"],["CREATE VIEW v AS SELECT 1 AS one;"]],…)"},
        {".schema BOOKS", rows + R"("sql"}],"rows":[["CREATE TABLE s.books(a INTEGER);"]],…)"},
        {".schema nope", rows + R"("sql"}],"rows":[],…)"},
        {"COPY (SELECT i AS a, 'x' || i AS b FROM range(5) t(i)) TO 'p.parquet'", R"({"kind":"changed"…)"},
        {".call fetch_parquet p.parquet [b] 'a > 1' 2",
         rows + R"("b","host_type":"text"}],"rows":[["x2"],["x3"]],"count":2})"},
        {".call parquet_count missing.parquet", error + R"("procedure","message":"IO Error: …)"},
        {".call parquet_count",
         error + R"("orsql","message":"parquet_count takes 1 to 2 arguments (uri [, where]), not 0"…)"},
        {".call parquet_count a b c", error + R"("orsql","message":"parquet_count takes 1 to 2 …)"},
        {".call nope 1", error + R"("orsql"…)"},
        {".call", error + R"("orsql"…)"},
        {".close", done},
        {".info", rows + R"("name"},{"name":"value"}],"rows":[["path",")" + path +
                      R"("],["name","a"],["open",false],["read_only",false],["connections",0]…)"},
        {".call parquet_count p.parquet", rows + R"("count","host_type":"int64"}],"rows":[[5]],"count":1})"}};
    Arguments arguments = {"a.db"};
    for (const auto& exchange : exchanges) {
        arguments.insert(arguments.end(), {"-c", exchange.first});
    }
    ExpectLines(RunJsonl(arguments), exchanges);
}

TEST_F(Commands, OpenCloseAndDropTheDatabase) {
    EXPECT_EQ(
        AnswersTo("SELECT 1;\n.open a.db\nCREATE TABLE t AS SELECT 42 AS a;\n.close\nSELECT 1;\n.open a.db\n"
                  "SELECT * FROM t;\n.open --readonly 'a.db'\nSELECT * FROM t;\nDROP TABLE t;\n"
                  ".open no/folder/a.db\nSELECT 1;\n.drop\n.open a.db\n.drop\nSELECT 1;\n.drop\n"),
        "1|done|done|done|error|done|42|done|42|error|error|error|error|done|done|error|error|");
    EXPECT_FALSE(std::filesystem::exists("a.db"));
}

TEST_F(Commands, BindHoldsValuesOfItsTypesUntilTheyAreCleared) {
    EXPECT_EQ(
        AnswersTo(".bind 7 'it''s' NULL\nSELECT $1;\nSELECT $1, $2, $3;\nSELECT $2 || '!', $1, $3;\n.bind\n"
                  "SELECT 1;\nSELECT $1;\n.bind 'open\n.bind 18446744073709551616\n"),
        "done|error|7|it's!|done|1|error|error|error|");
    std::string script;
    std::string expected;
    for (const auto& row : tests_support::Table(R"(
             1|INTEGER 1; 3000000000|BIGINT 3000000000; 18446744073709551615|UBIGINT 18446744073709551615
             1.5|DOUBLE 1.5; true|BOOLEAN true; word|VARCHAR word; x'CAFE'|BLOB \xCA\xFE
             date '2024-01-31'|DATE 2024-01-31; time '12:30:00.250'|TIME 12:30:00.25
             datetime '2024-01-31 12:30:00.250'|TIMESTAMP_MS 2024-01-31 12:30:00.25
             [1, NULL, 3]|INTEGER[] [1, NULL, 3]; []|VARCHAR[] [])")) {
        script += ".bind " + row[0] + "\nSELECT typeof(p) || ' ' || p::VARCHAR FROM (SELECT $1 AS p);\n";
        expected += "done|" + row[1] + "|";
    }
    EXPECT_EQ(AnswersTo(script), expected);
}

TEST_F(Commands, RowsRunAStatementOncePerRow) {
    WriteFile("rows.csv", "1,one\n2,\n3,\"\"\n");
    WriteFile("twice.csv", "8,x\n1,again\n9,y\n");
    WriteFile("broken.csv", "1,\"x\n");
    EXPECT_EQ(
        AnswersTo(
            "CREATE TABLE t(a INTEGER PRIMARY KEY, b VARCHAR);\n.rows rows.csv\nINSERT INTO t "
            "VALUES (?, ?);\nSELECT ?::INTEGER, ?;\n.bind\nSELECT coalesce(b, 'none') FROM t ORDER BY a;\n"
            ".rows twice.csv\nINSERT INTO t VALUES (?, ?);\n.bind\nSELECT a FROM t ORDER BY a;\n"
            ".rows missing.csv\n.rows broken.csv\n"),
        "done|done|changed|3|done|one none |done|error|done|1 2 3 8|error|error|");
}

TEST_F(Commands, BackupAndRestoreBringADatabaseBack) {
    const std::string line =
        RunJsonl({"a.db", "-c", "CREATE TABLE t AS SELECT 42 AS a", "-c", ".backup", "-c", ".backup ."})
            .at(1);
    const std::string backup = FirstCells(line);
    EXPECT_TRUE(
        Fits(line, R"(…[{"name":"path"},{"name":"seconds"}],"rows":[["…/Backup/…",0.…]],"count":1})"));
    EXPECT_TRUE(std::filesystem::exists(backup + "/load.sql")) << backup;
    ASSERT_EQ(RunScript("rm 2*/*.parquet && mv 2* broken && echo not a database at all > text.txt").status,
              0);
    const std::string restore = ".restore '" + backup + "' ";
    const std::string replace = ".restore --replace '" + backup + "' ";
    EXPECT_EQ(AnswersTo(restore + "b.db\nSELECT a FROM t;\nUPDATE t SET a = 1;\n" + restore +
                        "b.db\nSELECT a FROM t;\n" + replace + "b.db\nSELECT a FROM t;\n" + replace +
                        "text.txt\n.restore missing c.db\n.restore missing b.db\n" + restore +
                        ":memory:\nSELECT a FROM t;\n.restore --replace broken a.db\nSELECT 1;\n"),
              "done|42|changed|error|1|done|42|error|error|error|error|42|error|1|");
    EXPECT_EQ(AnswersTo("SELECT a FROM t;\n.restore --replace broken a.db\nSELECT a FROM t;\n", "a.db"),
              "42|error|42|");
    EXPECT_EQ(RunScript("cat text.txt; ls").out,
              "not a database at all\nBackup\na.db\nb.db\nbroken\nscript.sql\ntext.txt\n");
    EXPECT_EQ(Answers({"b.db", "-c", "SELECT a FROM t"}), "42|");
}

TEST_F(Commands, AReplacingRestoreLosesNothing) {
    // A log that the next Open needs, a killed restore's leftovers, and a live process's files.
    const std::string leaveLog =
        "$ORSQL a.db -c 'PRAGMA disable_checkpoint_on_shutdown; INSERT INTO t VALUES (7)' > /dev/null\n";
    const std::string restore = "$ORSQL -c '.restore --replace backup a.db' -c 'SELECT a FROM t'\n";
    EXPECT_EQ(RunScript("$ORSQL a.db -c 'CREATE TABLE t AS SELECT 42 AS a' -c '.backup .' > /dev/null\n"
                        "mv 2* backup\nfor pid in 99999999-0 99999999-0.wal 1-0; do\n"
                        "echo x > a.db.restoring-$pid; done\n" +
                        leaveLog + restore + "ls")
                  .out,
              "a\n42\na.db\na.db.restoring-1-0\nbackup\n");
    // One that can't be opened any more.
    const ShellRun run =
        RunScript(leaveLog + "dd if=/dev/zero of=a.db bs=4096 seek=1 count=2 conv=notrunc status=none\n" +
                  restore + "ls a.db.wal*");
    EXPECT_EQ(run.out, "a\n42\na.db.wal.kept-0\n");
    EXPECT_TRUE(Fits(run.err, "…/a.db.wal.kept-0.…")) << run.err;
}

TEST_F(Commands, ImportMatchesColumnsAllOrNothing) {
    WriteFile("named.csv", "B,a\n007,1\n,2\n");
    WriteFile("plain.csv", "3,x\n4,y\n");
    WriteFile("extra.csv", "a,other\n5,z\n");
    WriteFile("broken.csv", "a,b\n6,z\nsix,z\n");
    WriteFile("data", "{\"a\":8}\n");
    EXPECT_EQ(
        AnswersTo(
            ".bind 1\n.import named.csv new\n.bind\nSELECT count(*) FROM new;\n"
            "CREATE SCHEMA s;\nCREATE TABLE s.\"My t\"(a INTEGER, b VARCHAR DEFAULT 'd');\n"
            ".import named.csv s.\"My t\"\n.import plain.csv s.\"my T\"\n.import extra.csv s.\"My t\"\n"
            ".import broken.csv s.\"My t\"\n.import data memory.s.\"My t\"\n.import missing.csv s.\"My t\"\n"
            "SELECT a || coalesce(b, 'null') FROM s.\"My t\" ORDER BY a;\n"
            ".describe s.\"My t\"\n.describe nope\n.schema s.\"My t\"\nATTACH ':memory:' AS o;\n"
            "CREATE TABLE o.u(i INTEGER);\n.tables u\n"),
        "done|changed|done|2|done|done|changed|changed|error|error|changed|error|1007 2null 3x 4y 8d|a "
        "b|error|"
        "CREATE TABLE s.\"My t\"(a INTEGER, b VARCHAR DEFAULT('d'));|done|done|o.main|");
}

TEST_F(Commands, OutputAndOnceGoToFiles) {
    WriteFile("inner.sql", "SELECT 2 AS b;\nSELECT 3 AS c;\n");
    WriteFile("once.sql",
              ".once 1.txt\nSELECT 1 AS a;\n.once 2.txt\n.read inner.sql\n.once 3.txt\nSELECT nope;\n"
              ".once /dev/full\nSELECT 4 AS d;\n.once no/folder/x\nSELECT 5 AS e;\n");
    WriteFile("output.sql", ".output out.txt\nSELECT 1 AS a;\n.print text\n.output\nSELECT 2 AS b;\n");
    EXPECT_EQ(RunShell({"-f", "once.sql", "-f", "output.sql"}).out, "e\n5\nb\n2\n");
    EXPECT_EQ(RunScript("cat 1.txt 2.txt 3.txt out.txt").out, "a\n1\nb\n2\nc\n3\na\n1\ntext\n");
    // In lines of JSON the commands themselves are answered where the reader waits.
    EXPECT_EQ(Answers({"-f", "once.sql", "-f", "output.sql"}),
              "done|done|done|error|done|error|error|5|done|done|2|");
    EXPECT_EQ(JsonLines(RunScript("cat 1.txt 2.txt 3.txt out.txt").out).size(), 6U);
    EXPECT_EQ(AnswersTo(".output no/folder/x\nSELECT 1;\n.output /dev/full\nSELECT 2;\nSELECT 3;\n"),
              "error|1|done|error|3|");
}

TEST_F(Commands, ReportWhyAndWhereTheyFail) {
    WriteFile("inner.sql", "\uFEFF.print first\n\n-- a comment\nSELECT\n  1,\n  nope;\n");
    WriteFile("outer.sql", "/* two\nlines */ SELECT 1; SELECT\n2;\n.read inner.sql\n.nope\n");
    WriteFile("loop.sql", ".read loop.sql\n");
    for (const auto& [arguments, error] : Exchanges{
             {"a.db -c \"CREATE TABLE t AS SELECT INTERVAL '-1 day' AS i\" -c .backup -c '.backup .' "
              "-c '.backup missing'",
              "…  there is no folder missing\n…"},
             {"-c .backup", "….backup DIR…"},
             {"-c '.restore missing b.db'", "error: there is no backup in missing\n…"},
             {"-c '.bind 1' -c 'SELECT 5'", "….bind alone clears them…"},
             {"-c .pri -c .c", "…error: .c is ambiguous: .close, .call, .cursor\n…"},
             {"-c .dro", "error: there is no command .dro;…"},
             {"-c .", "error: there is no command .;…"},
             {"-f loop.sql", "…loop.sql:1\n"}, // ends
             {"-f outer.sql", "error: …\n  at inner.sql:6\n  at outer.sql:4\n"
                              "error: there is no command .nope; .help lists them\n  at outer.sql:5\n"}}) {
        const ShellRun run = RunScript("$ORSQL " + arguments);
        EXPECT_TRUE(Fits(run.err, error)) << run.err;
        EXPECT_EQ(run.status, 1) << arguments;
    }
    EXPECT_EQ(RunScript("ls").out, "a.db\ninner.sql\nloop.sql\nouter.sql\n") << "no failed backup's folder";
    EXPECT_EQ(RunShell({}, ".pri one\n.t\n.mode\n.q\n.print 2\n").out, "one\ncsv\n");
    EXPECT_EQ(Answers({"-f", "outer.sql", "-c", ".read missing.sql"}), "1|2|text|error|done|error|error|");
    EXPECT_TRUE(
        Fits(RunJsonl({"-f", "outer.sql"}).at(3),
             R"(…"position":14,"source":"inner.sql","line":6,"from":[{"source":"outer.sql","line":4}]})"));
}

TEST_F(Commands, WithoutExternalAccessNothingOutsideIsTouched) {
    WriteFile("x.sql", "SELECT 1;\n");
    std::string script;
    std::string expected;
    for (const std::string command :
         {".call parquet_count x", ".open x.db", ".restore a b", ".output x", ".once x", ".read x.sql",
          ".import x t", ".edit", ".rows x.sql", ".pager less"}) {
        script += command + "\n";
        expected += "error: " + command.substr(0, command.find(' ')) +
                    " is refused: orsql runs with --no-external-access\n…";
    }
    const ShellRun run =
        RunShell({"--no-external-access", "--no-header", "-f", "x.sql", "-c", ".output", "-f", "-"}, script);
    EXPECT_EQ(run.out, "1\n");
    EXPECT_TRUE(Fits(run.err, expected)) << run.err;
    EXPECT_EQ(RunScript("ls").out, "x.sql\n");
}

TEST_F(Commands, RequestsGiveOneLineEach) {
    const std::string refused = R"({"kind":"error","class":"orsql"…)";
    const Exchanges requests = {
        {R"({"sql":"SELECT $1 + $2","values":[1,2],"id":7})", R"({"kind":"rows","id":7,"columns"…[[3]]…)"},
        {R"({ "id" : {"a":[1e30, 1.50]} , "sql":"/* nothing */" })",
         R"({"kind":"done","id":{"a":[1e30, 1.50]}})"},
        {R"({"sql":"CREATE TABLE t(a INTEGER, b VARCHAR);"})", R"({"kind":"done"})"},
        {R"~({"sql":"INSERT INTO t VALUES (?, ?)","rows":[[1,"a'\n"],[2,null]]})~", R"({"kind":"changed"…)"},
        {R"({"sql":"SELECT $1, $2, $3, $4, $5","values":[{"date":"2024-01-31"},{"binary":"CAFE"},true,1.5,)"
         R"({"double":"-Infinity"}]})",
         R"(…"rows":[["2024-01-31",{"binary":"CAFE"},true,1.5,{"double":"-Infinity"}]]…)"},
        {R"({"sql":"SELECT 5 AS not_held"})", R"(…"rows":[[5]]…)"},
        {R"({"sql":"SELECT 1; SELECT 2","id":null})", R"(…"id":null,"class":"orsql"…)"},
        {R"({"sql":"SELECT\n nope","id":"x"})", R"(…"position":8,"source":"-","line":8})"},
        {R"({"id":3,"sql":"SELECT ')",
         R"({"kind":"error","id":3,"class":"orsql",…"column":24,"source":"-","line":9})"},
        {R"({"sql":"SELECT '1e999\"', $1, $2","values":[0.1E+2,123456789.5],"id":[-1e200,0]})",
         R"(…"id":[-1e200,0],…"rows":[["1e999\"",10.0,123456789.5]]…)"},
        {R"({"sql":"SELECT $1","values":[1e400],"id":5})",
         R"(…"id":5,…"message":"1e400 is beyond the numbers of a double","source":"-","line":11})"},
        {R"({"sql":"SELECT $1","values":[1.e5]})", R"(…"column":32,…)"},
        {R"(["sql"])", refused},
        {R"({"sql":"SELECT 1","command":".info"})", refused},
        {R"({"id":1})", R"({"kind":"error","id":1,"class":"orsql"…)"},
        {R"({"command":".info","values":[]})", refused},
        {R"({"sql":"SELECT 1","sql":"SELECT 2"})", refused},
        {R"({"sql":"SELECT 1","valves":[]})", refused},
        {R"({"sql":"SELECT $1","values":[{"date":"x"}]})", refused},
        {R"({"sql":1})", refused},
        {R"({"command":".pager off"})", R"(…"message":".pager is refused with --input jsonl"…)"},
        {R"({"command":".mode csv","id":2})", R"(…"message":".mode is refused with --input jsonl"…)"},
        {R"({"command":".print it's","id":[ ]})", R"({"kind":"text","id":[ ],"text":"it's"})"},
        {R"({"command":".quit","id":-0})", R"({"kind":"done","id":-0})"}};
    std::string input;
    for (const auto& request : requests) {
        input += request.first + "\r\n";
    }
    const ShellRun run = RunShell({"--input", "jsonl"}, input + R"({"sql":"SELECT 'not reached'"})");
    ExpectLines(JsonLines(run.out), requests);
    EXPECT_EQ(run.status, 1);
}

} // namespace
} // namespace orlimbara::shell::test
