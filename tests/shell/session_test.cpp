// The built program with a partner: programs that drive it, readers that close the pipe, Ctrl-C, terminals.
#include <csignal>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

#include "shell_runner.h"

namespace orlimbara::shell::test {
namespace {

using Way = RunningShell::Way;

/// Enough time for a statement to begin, in microseconds.
constexpr useconds_t kStart = 300'000;
/// A query that keeps DuckDB busy for minutes before its first row.
constexpr const char* kLongQuery =
    "SELECT sum(sqrt(a.range + b.range)) FROM range(3000000) a, range(100000) b";

class Pipes : public testing::Test {
protected:
    HomeFolder mFolder;
};

TEST_F(Pipes, AnswerEachStatementAtOnce) {
    RunningShell shell(Way::Pipes, {"-m", "jsonl"});
    const std::string done = "{\"kind\":\"done\"}\n";
    EXPECT_EQ(FirstCells(shell.Ask("SELECT 1 AS a;", "\n")), "1");
    EXPECT_EQ(shell.Ask("CREATE TABLE t(a INTEGER);INSERT INTO t VALUES (1), (2); SELECT '", "}\n"), done);
    EXPECT_EQ(shell.WaitFor("\n"), "{\"kind\":\"changed\",\"count\":2}\n");
    EXPECT_EQ(FirstCells(shell.Ask(";' AS b;\n.print hi\n.output out.txt\nSELECT 1;\n.output\n", "\n")), ";");
    EXPECT_EQ(shell.WaitFor("\n"), "{\"kind\":\"text\",\"text\":\"hi\"}\n");
    EXPECT_EQ(shell.WaitFor("\n") + shell.WaitFor("\n"), done + done);
    shell.Send("SELECT 3 AS unfinished");
    std::string rest;
    EXPECT_EQ(shell.Wait(&rest), 0);
    EXPECT_EQ(FirstCells(rest), "3");
}

TEST_F(Pipes, AReaderThatLeavesEndsTheRunQuietlyAndAFullDiskIsAFailure) {
    const ShellRun run =
        RunScript("{ $ORSQL -c 'SELECT * FROM range(3000000)' -c 'CREATE TABLE t(a INTEGER)' a.db; "
                  "echo \"status $?\" >&2; } | head -n 2");
    EXPECT_EQ(run.out + run.err, "range\n0\nstatus 0\n");
    for (const std::string mode : {"csv", "jsonl", "json", "box"}) {
        const ShellRun full = RunScript("$ORSQL -m " + mode + " -c 'SELECT 1' > /dev/full");
        EXPECT_EQ(full.status, 1) << mode;
        EXPECT_EQ(full.err, "error: can't write: No space left on device\n") << mode;
    }
    // Past the limit for file sizes, whose signal would end the program.
    EXPECT_TRUE(Fits(RunScript("ulimit -f 8; $ORSQL -m jsonl -c '.once out' -c 'FROM range(100000)'").out,
                     R"(…"class":"orsql","message":"can't write out: File too large"…)"));
}

TEST_F(Pipes, CtrlCWhileRowsAreWrittenEndsTheLineAsValidJson) {
    RunningShell shell(Way::Pipes,
                       {"-m", "jsonl", "-c", "SELECT * FROM range(20000000) t(a)", "-c", "SELECT 2"});
    const std::string start = shell.WaitFor("[1000]");
    shell.Signal(SIGINT);
    std::string rest;
    EXPECT_EQ(shell.Wait(&rest), 130);
    EXPECT_EQ(JsonLines(start + rest).size(), 1U);
    EXPECT_TRUE(rest.ends_with("]],\"interrupted\":true}\n")) << rest.substr(rest.size() - 60);
    EXPECT_LT(rest.size(), 10'000'000U);
}

TEST_F(Pipes, CtrlCStopsTheStatementAndEndsTheRun) {
    WriteFile("long.sql", std::string("INSERT INTO t ") + kLongQuery + ";\nSELECT 3;\n");
    for (const std::string mode : {"jsonl", "csv"}) {
        RunningShell shell(Way::Pipes, {"-m", mode, "a.db", "-c", "CREATE OR REPLACE TABLE t(a DOUBLE)", "-c",
                                        "SELECT 1", "-c", ".read long.sql", "-c", "SELECT 2"});
        shell.WaitFor(mode == "csv" ? "1\n1\n" : "\"count\":1}\n");
        usleep(kStart);
        shell.Signal(SIGINT);
        std::string rest;
        EXPECT_EQ(shell.Wait(&rest), 130);
        if (mode == "csv") {
            EXPECT_EQ(rest, "error: interrupted\n  at long.sql:1\n  at -c:1\n");
        } else {
            EXPECT_NE(rest.find("\"type\":\"INTERRUPT\""), std::string::npos) << rest;
            EXPECT_TRUE(rest.ends_with(",\"interrupted\":true}\n{\"kind\":\"done\"}\n")) << rest; // of .read
            EXPECT_EQ(JsonLines(rest).size(), 2U) << rest;
        }
    }
    EXPECT_EQ(Answers({"a.db", "-c", "SELECT count(*) FROM t"}), "0|");
    RunningShell waiting(Way::Pipes, {"-m", "jsonl"});
    waiting.Ask("BEGIN;", "\n");
    waiting.Signal(SIGINT);
    EXPECT_EQ(waiting.Wait(), 130);
}

/// A session in a terminal.
class Terminal : public testing::Test {
protected:
    static constexpr const char* kPrompt = "memory> ";

    class Session : public RunningShell {
    public:
        explicit Session(const Arguments& inArguments = {"-m", "csv"}, std::string_view inFirst = kPrompt)
            : RunningShell(Way::Terminal, inArguments) {
            WaitFor(inFirst);
        }
        /// Inputs, and the answer that each must get before the next.
        void Talk(std::initializer_list<std::pair<std::string_view, std::string_view>> inTurns) {
            for (const auto& [typed, answer] : inTurns) {
                Ask(typed, answer);
            }
        }
        void Leave(std::string_view inCommand = ".quit\r") {
            Send(inCommand);
            EXPECT_EQ(Wait(), 0) << "also after a failure";
        }
    };

    HomeFolder mFolder;
};

TEST_F(Terminal, ServesASessionFromStartToEnd) {
    Session shell({"--color", "never"}, ".help lists the commands");
    shell.Talk({{"", kPrompt},
                {".help call\n", ".call PROCEDURE [ARG...]"},
                {".open a.db\n", "a> "},
                {"CREATE TABLE t AS SELECT 42 AS answer;\n", "a> "},
                {"SELECT * FROM t;\n", "│  answer │\n│ INTEGER │\n├─────────┤\n│      42 │"},
                {"SELECT nope\n", "...> "},
                {"  FROM t;\n", "error: Referenced column"},
                {"", "  SELECT nope\n         ^"},
                {"COPY t TO 't.parquet';\n.call parquet_count t.parquet\n", "│     1 │"},
                {".backup\n", "Backup"}});
    shell.Leave(".exit\n");
}

TEST_F(Terminal, CtrlCClearsTheInput) {
    Session shell(Arguments{});
    shell.Talk(
        {{"SELECT 1 AS lost,\n", "...> "}, {"\x03", kPrompt}, {"garbage\x03", kPrompt}, {"\x03", kPrompt}});
    const std::string shown = shell.Ask("SELECT 7 AS kept;\n", "└");
    shell.WaitFor(kPrompt); // Ctrl-D has an effect only while a line is read
    EXPECT_NE(shown.find("kept"), std::string::npos);
    EXPECT_EQ(shown.find("error"), std::string::npos) << shown;
    EXPECT_EQ(shell.Wait(nullptr, "\x04"), 0);
}

TEST_F(Terminal, CtrlCStopsRowsAndStatementsAndBringsThePromptBack) {
    Session shell({"-m", "csv", "--color", "never"});
    shell.Talk({{"SELECT * FROM range(20000000);\n", "\n1000\n"}, {"\x03", kPrompt}});
    for (int i = 0; i < 2; ++i) { // the second stop isn't a second Ctrl-C
        shell.Ask(std::string(kLongQuery) + "; SELECT 'not ' || 'run';\n", "'run';");
        usleep(kStart);
        EXPECT_EQ(shell.Ask("\x03", kPrompt).find("not run"), std::string::npos);
    }
    shell.Ask("SELECT 'still ' || 'here';\n", "still here");
    shell.Leave();
}

TEST_F(Terminal, CompletesExistingNames) {
    WriteFile("some_script.sql", "SELECT 'from the ' || 'file';\n");
    Session shell;
    // A tab followed by input counts as pasted, so wait for each completion.
    shell.Talk({{"CREATE TABLE flights(departure INTEGER);\n", kPrompt},
                {"INSERT INTO fli\t", "flights"},
                {" VALUES (12345);\n", kPrompt},
                {"selec\t", "select"},
                {" depart\t", "departure"},
                {" fro\t", "from"},
                {" flights;\n", "departure\n12345\n"},
                {"CREATE SCHEMA s;CREATE TABLE s.\"Order Items\"(\"Unit Price\" INTEGER);\n", kPrompt},
                {"SELECT regexp_extract_a\t", "regexp_extract_all"},
                {"('a', 'a'), unit\t", "\"Unit Price\""},
                {" FROM s.\t", "\"Order Items\""},
                {";\n", "Unit Price\n"},
                {".rea\t", ".read"},
                {" some_\t", "some_script.sql"},
                {"\n", "from the file"},
                {".mode \t", "markdown"},
                {"jsonl\n", kPrompt},
                {".qui\t", ".quit"}});
    shell.Leave("\n");
}

TEST_F(Terminal, TakesPastedTextUnchanged) {
    WriteFile("north-2024.csv", "");
    std::string script = "CREATE TABLE t(a VARCHAR);\r.print it's\r";
    for (int i = 0; i < 500; ++i) {
        script += "INSERT INTO t VALUES ('left\tright'), ('north\tsouth');\r";
    }
    Session shell;
    shell.Talk(
        {{"\x1b[200~" + script + "\x1b[201~", ""},
         {"\rSELECT count(*) || ' ' || min(a) || ' ' || max(a) FROM t;\r", "1000 left\tright north\tsouth"},
         // A terminal that doesn't mark pasted text.
         {"SELECT length('\tx'), 'unmarked';\r", "2,unmarked"}});
    shell.Leave();
}

TEST_F(Terminal, SessionsShareAHistoryOfWholeStatements) {
    {
        Session first;
        Session second;
        first.Ask("SELECT 'one' ||\r  '!' AS a\r;\r", "a\none!\n");
        second.Ask("SELECT 'two' || '!';\r", "two!\n");
    } // both are killed
    Session shell;
    shell.Talk({{"\x10\r", "two!\n"}, {"", kPrompt}, {"\x10\x10\r", "a\none!\n"}});
    shell.Leave();
}

TEST_F(Terminal, ShowsTheDatabaseAndTheTransactionInThePrompt) {
    std::filesystem::create_directories("config/orsql");
    WriteFile("config/orsql/orsqlrc", ".mode csv\nSELECT nope;\n");
    setenv("XDG_CONFIG_HOME", (mFolder / "config").c_str(), 1);
    setenv("EDITOR", "sed -i s/2/3/", 1);
    Session shell({"birds.db"}, "orsqlrc:2");
    shell.Talk({{"", "birds> "},
                {"BEGIN;\r", "birds*> "},
                {"SELECT 1 / error('x');\r", "birds*> "},
                {"ROLLBACK;\r", "birds> "},
                {"SELECT 21 + 21 AS s;\r", "s\n42\n"},
                {".edit\r", "s\n52\n"},
                {".prompt 'two words'\r", "two words> "},
                {".close\r", "orsql> "},
                {"exit;\r", ".exit\n"}});
    shell.Leave("");
}

TEST_F(Terminal, ShowsTheProgressOfALongBackup) {
    Session shell({"-m", "csv", "--threads", "1"});
    shell.Talk({{"CREATE TABLE t AS SELECT i, hash(i)::VARCHAR AS h FROM range(1000000) t(i);\n", "t(i);"},
                {"", kPrompt}});
    std::filesystem::create_directory("folder");
    shell.Send(".backup folder\n");
    const auto hasBegun = [] {
        std::error_code missing;
        return std::filesystem::exists("folder", missing) && !std::filesystem::is_empty("folder", missing);
    };
    for (int i = 0; i < 10'000 && !hasBegun(); ++i) {
        usleep(1000);
    }
    for (int i = 0; i < 6; ++i) {
        shell.Signal(SIGSTOP);
        usleep(250'000);
        shell.Signal(SIGCONT);
        usleep(20'000);
    }
    shell.Talk({{"", "backing up: "}, {"", " MB written"}, {"", "path,seconds\n"}});
    shell.Leave();
}

} // namespace
} // namespace orlimbara::shell::test
