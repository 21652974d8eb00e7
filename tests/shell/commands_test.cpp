// The dot commands of the built program.
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include "shell_runner.h"

namespace orlimbara::shell::test {
namespace {

class Commands : public testing::Test {
protected:
    /// Runs lines of a script and gives the first cells, or the kind, of each answer, with "|" behind each.
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
    EXPECT_EQ(
        RunShell({"-c", ".mode", "-c", ".cursor client", "-c", ".cursor", "-c", ".timer", "-c", ".maxrows"})
            .out,
        "csv\nclient\noff\n40\n");
    std::istringstream help(RunShell({"-c", ".help"}).out);
    for (std::string line; std::getline(help, line);) {
        EXPECT_LE(line.size(), 80U) << line;
    }
}

TEST_F(Commands, AnswerInLinesOfJson) {
    const std::string rows = R"({"kind":"rows","columns":[{"name":)";
    const std::string error = R"({"kind":"error","class":)";
    // What is given, and what its line begins with.
    const std::vector<std::pair<std::string, std::string>> examples = {
        {".info", rows + R"("name"},{"name":"value"}],"rows":[["path",")" + mFolder / "a.db" +
                      R"("],["name","a"],["open",true],["read_only",false],["connections",1],)"},
        {".print  it's \"so\" ;", R"({"kind":"text","text":" it's \"so\" ;"})"},
        {".nope",
         error +
             R"("orsql","message":"there is no command .nope; .help lists them","source":"-c","line":1})"},
        {".info x", error + R"("orsql","message":"too many arguments; use: .info")"},
        {".restore missing c.db", error + R"("xDBError","code":417792,"message":"")"},
        {".open b.db", R"({"kind":"done"})"},
        {".open a.db", R"({"kind":"done"})"},
        {".databases", rows + R"("path"},{"name":"connections"}],"rows":[[")" + mFolder / "a.db" +
                           R"(",1],[")" + mFolder / "b.db" + R"(",0]],"count":2})"},
        {"CREATE SCHEMA s", R"({"kind":"done"})"},
        {"CREATE TABLE s.books(a INTEGER)", R"({"kind":"done"})"},
        {"CREATE TEMP TABLE tt(b INTEGER)", R"({"kind":"done"})"},
        {"CREATE VIEW v AS SELECT 1 AS one", R"({"kind":"done"})"},
        {".tables", rows + R"("schema"},{"name":"name"},{"name":"type"}],"rows":[["main","tt","table"],)"
                           R"(["main","v","view"],["s","books","table"]],"count":3})"},
        {".tables b%",
         rows + R"("schema"},{"name":"name"},{"name":"type"}],"rows":[["s","books","table"]],)"},
        {".schema", rows + R"("sql"}],"rows":[["CREATE TEMP TABLE tt(b INTEGER);"],)"
                           R"(["CREATE TABLE s.books(a INTEGER);"],["CREATE VIEW v AS SELECT 1 AS one;"]],)"},
        {".schema BOOKS", rows + R"("sql"}],"rows":[["CREATE TABLE s.books(a INTEGER);"]],)"},
        {".schema nope", rows + R"("sql"}],"rows":[],)"},
        {"COPY (SELECT i AS a, 'x' || i AS b FROM range(5) t(i)) TO 'p.parquet'", R"({"kind":"changed")"},
        {".call fetch_parquet p.parquet [b] 'a > 1' 2",
         rows + R"("b","host_type":"text"}],"rows":[["x2"],["x3"]],"count":2})"},
        {".call parquet_schema p.parquet", rows + R"("ordinal")"},
        {".call parquet_count missing.parquet", error + R"("procedure","message":"IO Error: )"},
        {".call parquet_count",
         error + R"("orsql","message":"parquet_count takes 1 to 2 arguments (uri [, where]), not 0")"},
        {".call parquet_count a b c", error + R"("orsql","message":"parquet_count takes 1 to 2 )"},
        {".call nope 1", error + R"("orsql")"},
        {".call", error + R"("orsql")"},
        {".close", R"({"kind":"done"})"},
        {".info", rows + R"("name"},{"name":"value"}],"rows":[["path",")" + mFolder / "a.db" +
                      R"("],["name","a"],["open",false],["read_only",false],["connections",0])"},
        {".call parquet_count p.parquet", rows + R"("count","host_type":"int64"}],"rows":[[5]],"count":1})"},
    };
    Arguments arguments = {"a.db"};
    for (const auto& example : examples) {
        arguments.insert(arguments.end(), {"-c", example.first});
    }
    const std::vector<std::string> lines = RunJsonl(arguments);
    ASSERT_EQ(lines.size(), examples.size());
    for (std::size_t i = 0; i < lines.size(); ++i) {
        EXPECT_EQ(lines[i].substr(0, examples[i].second.size()), examples[i].second);
    }
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
    for (const auto& [literal, cell] : std::vector<std::pair<std::string, std::string>>{
             {"1", "INTEGER 1"},
             {"3000000000", "BIGINT 3000000000"},
             {"18446744073709551615", "UBIGINT 18446744073709551615"},
             {"1.5", "DOUBLE 1.5"},
             {"true", "BOOLEAN true"},
             {"word", "VARCHAR word"},
             {"x'CAFE'", "BLOB \\xCA\\xFE"},
             {"date '2024-01-31'", "DATE 2024-01-31"},
             {"time '12:30:00.250'", "TIME 12:30:00.25"},
             {"datetime '2024-01-31 12:30:00.250'", "TIMESTAMP_MS 2024-01-31 12:30:00.25"},
             {"[1, NULL, 3]", "INTEGER[] [1, NULL, 3]"},
             {"[]", "VARCHAR[] []"},
         }) {
        script += ".bind " + literal + "\nSELECT typeof(p) || ' ' || p::VARCHAR FROM (SELECT $1 AS p);\n";
        expected += "done|" + cell + "|";
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
    const std::vector<std::string> lines =
        RunJsonl({"a.db", "-c", "CREATE TABLE t AS SELECT 42 AS a", "-c", ".backup", "-c", ".backup ."});
    rapidjson::Document document;
    document.Parse(lines[1].c_str());
    const std::string backup = document["rows"][0][0].GetString();
    EXPECT_TRUE(std::filesystem::exists(backup + "/load.sql")) << backup;
    EXPECT_NE(backup.find("/Backup/"), std::string::npos) << backup;
    EXPECT_GT(document["rows"][0][1].GetDouble(), 0);
    ASSERT_EQ(RunScript("rm 2*/*.parquet && mv 2* broken").status, 0);
    WriteFile("text.txt", "not a database at all");
    const std::string restore = ".restore '" + backup + "' ";
    const std::string replace = ".restore --replace '" + backup + "' ";
    EXPECT_EQ(AnswersTo(restore + "b.db\nSELECT a FROM t;\nUPDATE t SET a = 1;\n" + restore +
                        "b.db\nSELECT a FROM t;\n" + replace + "b.db\nSELECT a FROM t;\n" + replace +
                        "text.txt\n.restore missing c.db\n.restore missing b.db\n" + restore +
                        ":memory:\nSELECT a FROM t;\n.restore --replace broken a.db\nSELECT 1;\n"),
              "done|42|changed|error|1|done|42|error|error|error|error|42|error|1|");
    EXPECT_EQ(AnswersTo("SELECT a FROM t;\n.restore --replace broken a.db\nSELECT a FROM t;\n", "a.db"),
              "42|error|42|");
    EXPECT_EQ(ReadWhole("text.txt"), "not a database at all");
    EXPECT_FALSE(std::filesystem::exists("c.db"));
    for (const auto& entry : std::filesystem::directory_iterator(".")) {
        EXPECT_EQ(entry.path().string().find("restoring"), std::string::npos) << entry.path();
    }
    EXPECT_EQ(Answers({"b.db", "-c", "SELECT a FROM t"}), "42|");
}

TEST_F(Commands, OutputGoesToAFileAndBack) {
    WriteFile("script.sql", ".output out.txt\nSELECT 1 AS a;\n.print text\n.output\nSELECT 2 AS b;\n");
    EXPECT_EQ(RunShell({"-f", "script.sql"}).out, "b\n2\n");
    EXPECT_EQ(ReadWhole("out.txt"), "a\n1\ntext\n");
    // In lines of JSON the command itself is answered where the reader waits.
    EXPECT_EQ(Answers({"-f", "script.sql"}), "done|done|2|");
    EXPECT_EQ(JsonLines(ReadWhole("out.txt")).size(), 2U);
    EXPECT_EQ(AnswersTo(".output no/folder/x\nSELECT 1;\n.output /dev/full\nSELECT 2;\nSELECT 3;\n"),
              "error|1|done|error|3|");
}

TEST_F(Commands, ReadRunsAFile) {
    WriteFile("inner.sql", "SELECT 2;\nSELECT nope;\n");
    WriteFile("loop.sql", ".read loop.sql\n");
    EXPECT_EQ(AnswersTo("SELECT 1;\n.read inner.sql\nSELECT 3;\n.read missing.sql\n"),
              "1|2|error|done|3|error|");
    EXPECT_EQ(RunShell({"-c", ".read loop.sql"}).status, 1) << "ends";
}

TEST_F(Commands, AnUnambiguousBeginningOfANameIsEnough) {
    WriteFile("script.sql", ".pri one\n.c\n.dro\n.t\n.mode\n.\n.q\n");
    const ShellRun run = RunShell({"-f", "script.sql"});
    EXPECT_EQ(run.out, "one\ncsv\n");
    EXPECT_NE(run.err.find(".c is ambiguous: .close, .call, .cursor\n"), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("there is no command .dro;"), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("there is no command .;"), std::string::npos) << run.err;
}

TEST_F(Commands, WithoutExternalAccessNothingOutsideIsTouched) {
    WriteFile("x.sql", "SELECT 1;\n");
    for (const std::string command : {".call parquet_count x", ".open x.db", ".restore a b", ".output x",
                                      ".once x", ".read x.sql", ".import x t", ".edit", ".rows x.sql"}) {
        const ShellRun run = RunShell({"--no-external-access", "-c", command});
        EXPECT_NE(run.err.find(" is refused: orsql runs with --no-external-access"), std::string::npos)
            << command << run.err;
        EXPECT_EQ(run.status, 1);
    }
    EXPECT_EQ(RunShell({"--no-external-access", "--no-header", "-f", "x.sql", "-c", ".output"}).out, "1\n");
    EXPECT_FALSE(std::filesystem::exists("x"));
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

TEST_F(Commands, AReplacingRestoreLosesNothing) {
    // A log that the next opening needs, a killed restore's leftovers, and a live process's files.
    ASSERT_EQ(RunScript("$ORSQL a.db -c 'CREATE TABLE t AS SELECT 42 AS a' -c '.backup .' && mv 2* backup; "
                        "echo x > a.db.restoring-99999999-0; echo x > a.db.restoring-99999999-0.wal; "
                        "echo x > a.db.restoring-1-0")
                  .status,
              0);
    const std::string leaveLog =
        "$ORSQL a.db -c 'PRAGMA disable_checkpoint_on_shutdown; INSERT INTO t VALUES (7)'";
    ASSERT_EQ(RunScript(leaveLog).status, 0);
    EXPECT_EQ(AnswersTo(".restore --replace backup a.db\nSELECT a FROM t;\n"), "done|42|");
    EXPECT_EQ(RunScript("ls -d a.db*").out, "a.db\na.db.restoring-1-0\n");
    // One that can't be opened any more.
    ASSERT_EQ(RunScript(leaveLog + "; dd if=/dev/zero of=a.db bs=4096 seek=1 count=2 conv=notrunc").status,
              0);
    const ShellRun run = RunShell({"-c", ".restore --replace backup a.db", "-c", "SELECT a FROM t"});
    EXPECT_EQ(run.out, "a\n42\n");
    EXPECT_NE(run.err.find("/a.db.wal.kept-0."), std::string::npos) << run.err;
    EXPECT_TRUE(std::filesystem::exists("a.db.wal.kept-0"));
}

TEST_F(Commands, AFailedBackupLeavesNoFolderAndSaysWhy) {
    const ShellRun run = RunShell({"a.db", "-c", "CREATE TABLE t AS SELECT INTERVAL '-1 day' AS i", "-c",
                                   ".backup", "-c", ".backup .", "-c", ".backup missing"});
    EXPECT_EQ(RunScript("ls").out, "a.db\n");
    EXPECT_NE(run.err.find("  there is no folder missing\n"), std::string::npos) << run.err;
    EXPECT_NE(RunShell({"-c", ".backup"}).err.find(".backup DIR"), std::string::npos);
    EXPECT_NE(RunShell({"-c", ".restore missing b.db"}).err.find("error: there is no backup in missing\n"),
              std::string::npos);
    EXPECT_NE(RunShell({"-c", ".bind 1", "-c", "SELECT 5"}).err.find(".bind alone clears them"),
              std::string::npos);
}

TEST_F(Commands, OnceTakesTheNextOutputAlone) {
    WriteFile("inner.sql", "SELECT 2 AS b;\nSELECT 3 AS c;\n");
    WriteFile("script.sql",
              ".once 1.txt\nSELECT 1 AS a;\n.once 2.txt\n.read inner.sql\n.once 3.txt\nSELECT nope;\n"
              ".once /dev/full\nSELECT 4 AS d;\n.once no/folder/x\nSELECT 5 AS e;\n");
    const ShellRun run = RunShell({"-f", "script.sql"});
    EXPECT_EQ(run.out, "e\n5\n");
    EXPECT_EQ(ReadWhole("1.txt") + ReadWhole("2.txt") + ReadWhole("3.txt"), "a\n1\nb\n2\nc\n3\n");
    const std::vector<std::string> lines = RunJsonl({"-f", "script.sql"});
    EXPECT_EQ(lines.size(), 8U) << "a done each, three failures, the last rows";
    EXPECT_EQ(JsonLines(ReadWhole("3.txt")).size(), 0U);
}

TEST_F(Commands, RequestsGiveOneLineEach) {
    // A part of the line, and a part of its answer.
    const std::vector<std::pair<std::string, std::string>> requests = {
        {R"({"sql":"SELECT $1 + $2","values":[1,2],"id":7})", R"({"kind":"rows","id":7,"columns")"},
        {R"({ "id" : {"a":[1e30, 1.50]} , "sql":"/* nothing */" })",
         R"({"kind":"done","id":{"a":[1e30, 1.50]}})"},
        {R"({"sql":"CREATE TABLE t(a INTEGER, b VARCHAR);"})", R"({"kind":"done"})"},
        {R"~({"sql":"INSERT INTO t VALUES (?, ?)","rows":[[1,"a'\n"],[2,null]]})~", R"({"kind":"changed")"},
        {R"({"sql":"SELECT $1, $2, $3, $4, $5","values":[{"date":"2024-01-31"},{"binary":"CAFE"},true,1.5,{"double":"-Infinity"}]})",
         R"("rows":[["2024-01-31",{"binary":"CAFE"},true,1.5,{"double":"-Infinity"}]])"},
        {R"({"sql":"SELECT 5 AS not_held"})", R"("rows":[[5]])"},
        {R"({"sql":"SELECT 1; SELECT 2","id":null})", R"("id":null,"class":"orsql")"},
        {R"({"sql":"SELECT\n nope","id":"x"})", R"("position":8,"source":"-","line":8})"},
        {R"({"id":3,"sql":"SELECT ')", R"({"kind":"error","id":3,"class":"orsql")"},
        {R"(["sql"])", R"("class":"orsql")"},
        {R"({"sql":"SELECT 1","command":".info"})", R"("class":"orsql")"},
        {R"({"id":1})", R"("class":"orsql")"},
        {R"({"command":".info","values":[]})", R"("class":"orsql")"},
        {R"({"sql":"SELECT 1","sql":"SELECT 2"})", R"("class":"orsql")"},
        {R"({"sql":"SELECT 1","valves":[]})", R"("class":"orsql")"},
        {R"({"sql":"SELECT $1","values":[{"date":"x"}]})", R"("class":"orsql")"},
        {R"({"sql":1})", R"("class":"orsql")"},
        {R"({"command":".mode csv","id":2})", R"("message":".mode is refused with --input jsonl")"},
        {R"({"command":".print it's","id":[ ]})", R"({"kind":"text","id":[ ],"text":"it's"})"},
        {R"({"command":".quit","id":-0})", R"({"kind":"done","id":-0})"},
        {R"({"sql":"SELECT 'not reached'"})", ""},
    };
    std::string input;
    for (const auto& request : requests) {
        input += request.first + "\r\n";
    }
    input.pop_back();
    const ShellRun run = RunShell({"--input", "jsonl"}, input);
    const std::vector<std::string> lines = JsonLines(run.out);
    ASSERT_EQ(lines.size(), requests.size() - 1) << run.out;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        EXPECT_NE(lines[i].find(requests[i].second), std::string::npos) << requests[i].first << "\n"
                                                                        << lines[i];
    }
    EXPECT_NE(lines[8].find(R"("column":24,"source":"-","line":9})"), std::string::npos) << lines[8];
    EXPECT_EQ(run.status, 1);
}

TEST_F(Commands, AFailureInAScriptTellsItsPlace) {
    WriteFile("inner.sql", "\uFEFF.print first\n\n-- a comment\nSELECT\n  1,\n  nope;\n");
    WriteFile("outer.sql", "/* two\nlines */ SELECT 1; SELECT\n2;\n.read inner.sql\n.nope\n");
    const ShellRun run = RunShell({"-f", "outer.sql"});
    EXPECT_NE(
        run.err.find("  at inner.sql:6\n  at outer.sql:4\nerror: there is no command .nope; .help lists "
                     "them\n  at outer.sql:5\n"),
        std::string::npos)
        << run.err;
    const std::vector<std::string> lines = RunJsonl({"-f", "outer.sql"});
    EXPECT_TRUE(lines[3].ends_with(
        R"("position":14,"source":"inner.sql","line":6,"from":[{"source":"outer.sql","line":4}]})"))
        << lines[3];
}

} // namespace
} // namespace orlimbara::shell::test
