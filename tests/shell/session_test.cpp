// The built program beside a running partner: programs that drive it, readers that leave, Ctrl-C, terminals.
#include <csignal>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

#include "shell_runner.h"

namespace orlimbara::shell::test {
namespace {

using Way = RunningShell::Way;

class Pipes : public testing::Test {
protected:
    HomeFolder mFolder;
};

TEST_F(Pipes, AnswerEachStatementAtOnce) {
    RunningShell shell(Way::Pipes, {"-m", "jsonl"});
    shell.Send("SELECT 1 AS a;");
    EXPECT_EQ(FirstCells(shell.WaitFor("\n")), "1");
    shell.Send("CREATE TABLE t(a INTEGER);INSERT INTO t VALUES (1), (2); SELECT '");
    EXPECT_EQ(shell.WaitFor("\n"), "{\"kind\":\"done\"}\n");
    EXPECT_EQ(shell.WaitFor("\n"), "{\"kind\":\"changed\",\"count\":2}\n");
    shell.Send(";' AS b;\n.print hi\n.output out.txt\nSELECT 1;\n.output\n");
    EXPECT_EQ(FirstCells(shell.WaitFor("\n")), ";");
    EXPECT_EQ(shell.WaitFor("\n"), "{\"kind\":\"text\",\"text\":\"hi\"}\n");
    EXPECT_EQ(shell.WaitFor("\n"), "{\"kind\":\"done\"}\n");
    EXPECT_EQ(shell.WaitFor("\n"), "{\"kind\":\"done\"}\n");
    shell.Send("SELECT 3 AS unfinished");
    std::string rest;
    EXPECT_EQ(shell.Wait(&rest), 0);
    EXPECT_EQ(FirstCells(rest), "3");
}

TEST_F(Pipes, AReaderThatLeavesEndsTheRunQuietly) {
    const ShellRun run =
        RunScript("{ $ORSQL -c 'SELECT * FROM range(3000000)' -c 'CREATE TABLE t(a INTEGER)' a.db; "
                  "echo \"status $?\" >&2; } | head -n 2");
    EXPECT_EQ(run.out, "range\n0\n");
    EXPECT_EQ(run.err, "status 0\n");
}

TEST_F(Pipes, AFullDiskIsAFailure) {
    for (const std::string mode : {"csv", "jsonl", "json", "box"}) {
        const ShellRun run = RunScript("$ORSQL -m " + mode + " -c 'SELECT 1' > /dev/full");
        EXPECT_EQ(run.status, 1) << mode;
        EXPECT_EQ(run.err, "error: can't write: No space left on device\n") << mode;
    }
}

TEST_F(Pipes, CtrlCWhileRowsAreWrittenEndsTheLineAsValidJson) {
    RunningShell shell(Way::Pipes,
                       {"-m", "jsonl", "-c", "SELECT * FROM range(20000000) t(a)", "-c", "SELECT 2"});
    std::string line = shell.WaitFor("[1000]");
    shell.Signal(SIGINT);
    std::string rest;
    EXPECT_EQ(shell.Wait(&rest), 130);
    line += rest;
    const std::vector<std::string> lines = JsonLines(line);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_TRUE(lines[0].ends_with("]],\"interrupted\":true}")) << lines[0].substr(lines[0].size() - 60);
    EXPECT_LT(lines[0].size(), 10'000'000U);
}

/// Time enough for a statement to have begun, in microseconds.
constexpr useconds_t kStart = 300'000;
/// A query that keeps DuckDB busy for minutes without rows on the way.
constexpr const char* kLongQuery =
    "SELECT sum(sqrt(a.range + b.range)) FROM range(3000000) a, range(100000) b";

TEST_F(Pipes, CtrlCStopsTheStatementAndEndsTheRun) {
    WriteFile("long.sql", std::string("INSERT INTO t ") + kLongQuery + ";\nSELECT 3;\n");
    const Arguments scripts = {
        "a.db", "-c",      "CREATE OR REPLACE TABLE t(a DOUBLE)", "-c", "SELECT 1", "-c", ".read long.sql",
        "-c",   "SELECT 2"};
    for (const std::string mode : {"jsonl", "csv"}) {
        Arguments arguments = {"-m", mode};
        arguments.insert(arguments.end(), scripts.begin(), scripts.end());
        RunningShell shell(Way::Pipes, arguments);
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
}

TEST_F(Pipes, CtrlCWhileWaitingForInputEndsTheRun) {
    RunningShell shell(Way::Pipes, {"-m", "jsonl"});
    shell.Send("BEGIN;");
    shell.WaitFor("\n");
    shell.Signal(SIGINT);
    EXPECT_EQ(shell.Wait(), 130);
}

class Terminal : public testing::Test {
protected:
    static constexpr const char* kPrompt = "memory> ";
    static constexpr const char* kAnyPrompt = "> ";
    HomeFolder mFolder;
};

TEST_F(Terminal, ServesASessionFromStartToEnd) {
    RunningShell shell(Way::Terminal, {"--color", "never"});
    shell.WaitFor(".help lists the commands");
    shell.WaitFor(kAnyPrompt);
    const auto send = [&shell](const std::string& line) {
        shell.Send(line + "\n");
        return shell.WaitFor(kAnyPrompt);
    };
    EXPECT_NE(send(".help call").find(".call PROCEDURE [ARG...]"), std::string::npos);
    send(".open a.db");
    send("CREATE TABLE t AS SELECT 42 AS answer;");
    EXPECT_NE(send("SELECT * FROM t;").find("│  answer │\n│ INTEGER │\n├─────────┤\n│      42 │"),
              std::string::npos);
    shell.Send("SELECT nope\n");
    shell.WaitFor("...> ");
    const std::string error = send("  FROM t;");
    EXPECT_NE(error.find("error: Referenced column"), std::string::npos) << error;
    EXPECT_NE(error.find("  SELECT nope\n         ^"), std::string::npos) << error;
    send("COPY t TO 't.parquet';");
    EXPECT_NE(send(".call parquet_count t.parquet").find("│     1 │"), std::string::npos);
    EXPECT_NE(send(".backup").find("Backup"), std::string::npos);
    shell.Send(".quit\n");
    EXPECT_EQ(shell.Wait(), 0) << "also after a failure";
}

TEST_F(Terminal, CtrlCClearsWhatIsTyped) {
    RunningShell shell(Way::Terminal, {});
    shell.WaitFor(kPrompt);
    shell.Send("SELECT 1 AS lost,\n");
    shell.WaitFor("...> ");
    shell.Send("\x03");
    shell.WaitFor(kPrompt);
    shell.Send("garbage\x03");
    shell.WaitFor(kPrompt);
    shell.Send("\x03");
    shell.WaitFor(kPrompt);
    shell.Send("SELECT 7 AS kept;\n");
    const std::string shown = shell.WaitFor("└");
    shell.WaitFor(kPrompt); // Ctrl-D counts only while a line is read
    EXPECT_NE(shown.find("kept"), std::string::npos);
    EXPECT_EQ(shown.find("error"), std::string::npos) << shown;
    EXPECT_EQ(shell.WaitPressing("\x04"), 0);
}

TEST_F(Terminal, CtrlCStopsRowsAndBringsThePromptBack) {
    RunningShell shell(Way::Terminal, {"-m", "csv"});
    shell.WaitFor(kPrompt);
    shell.Send("SELECT * FROM range(20000000);\n");
    shell.WaitFor("\n1000\n");
    shell.Send("\x03");
    shell.WaitFor(kPrompt);
    shell.Send("SELECT 'still ' || 'here';\n");
    shell.WaitFor("still here");
    shell.Send(".exit\n");
    EXPECT_EQ(shell.Wait(), 0);
}

TEST_F(Terminal, CtrlCStopsTheStatementAndBringsThePromptBack) {
    RunningShell shell(Way::Terminal, {"-m", "csv", "--color", "never"});
    shell.WaitFor(kPrompt);
    for (int i = 0; i < 2; ++i) { // the second stop isn't a second Ctrl-C
        shell.Ask(std::string(kLongQuery) + "; SELECT 'not ' || 'run';\n", "'run';");
        usleep(kStart);
        shell.Send("\x03");
        EXPECT_EQ(shell.WaitFor(kPrompt).find("not run"), std::string::npos);
    }
    shell.Ask("SELECT 'still ' || 'here';\n", "still here");
    shell.Send(".exit\n");
    EXPECT_EQ(shell.Wait(), 0);
}

TEST_F(Terminal, CompletesWhatIsThere) {
    WriteFile("some_script.sql", "SELECT 'from the ' || 'file';\n");
    RunningShell shell(Way::Terminal, {"-m", "csv"});
    shell.WaitFor(kPrompt);
    shell.Send("CREATE TABLE flights(departure INTEGER);\n");
    shell.WaitFor(kPrompt);
    // A tab with input behind it is pasted, so each completion is waited for.
    const auto complete = [&shell](const std::string& typed, const std::string& completed) {
        shell.Send(typed + "\t");
        shell.WaitFor(completed);
    };
    complete("INSERT INTO fli", "flights");
    shell.Send(" VALUES (12345);\n");
    shell.WaitFor(kPrompt);
    complete("selec", "select");
    complete(" depart", "departure");
    complete(" fro", "from");
    shell.Send(" flights;\n");
    shell.WaitFor("departure\n12345\n");
    shell.Send("CREATE SCHEMA s;CREATE TABLE s.\"Order Items\"(\"Unit Price\" INTEGER);\n");
    shell.WaitFor(kPrompt);
    complete("SELECT regexp_extract_a", "regexp_extract_all");
    complete("('a', 'a'), unit", "\"Unit Price\"");
    complete(" FROM s.", "\"Order Items\"");
    shell.Send(";\n");
    shell.WaitFor("Unit Price\n");
    complete(".rea", ".read");
    complete(" some_", "some_script.sql");
    shell.Send("\n");
    shell.WaitFor("from the file");
    complete(".mode ", "markdown");
    shell.Send("jsonl\n");
    shell.WaitFor(kPrompt);
    complete(".qui", ".quit");
    shell.Send("\n");
    EXPECT_EQ(shell.Wait(), 0);
}

TEST_F(Terminal, KeepsTheHistoryAcrossRuns) {
    {
        RunningShell shell(Way::Terminal, {"-m", "csv"});
        shell.WaitFor(kPrompt);
        shell.Send("SELECT 40 + 2 AS sum;\n");
        shell.WaitFor("sum\n42\n");
        shell.WaitFor(kPrompt);
        EXPECT_EQ(shell.WaitPressing("\x04"), 0);
    }
    RunningShell shell(Way::Terminal, {"-m", "csv"});
    shell.WaitFor(kPrompt);
    shell.Send("\x10\n"); // the line before
    shell.WaitFor("sum\n42");
    shell.Send(".quit\n");
    EXPECT_EQ(shell.Wait(), 0);
}

TEST_F(Terminal, TakesPastedTextAsItIs) {
    WriteFile("north-2024.csv", "");
    std::string script = "CREATE TABLE t(a VARCHAR);\r.print it's\r";
    for (int i = 0; i < 500; ++i) {
        script += "INSERT INTO t VALUES ('left\tright'), ('north\tsouth');\r";
    }
    RunningShell shell(Way::Terminal, {"-m", "csv"});
    shell.WaitFor(kPrompt);
    shell.Send("\x1b[200~" + script + "\x1b[201~");
    shell.Send("\rSELECT count(*) || ' ' || min(a) || ' ' || max(a) FROM t;\r");
    shell.WaitFor("1000 left\tright north\tsouth");
    // A terminal that doesn't mark what is pasted.
    shell.Send("SELECT length('\tx'), 'unmarked';\r");
    shell.WaitFor("2,unmarked");
    shell.Send(".quit\r");
    EXPECT_EQ(shell.Wait(), 0);
}

TEST_F(Terminal, SessionsShareAHistoryOfWholeStatements) {
    const auto start = [](RunningShell& shell) { shell.WaitFor(kPrompt); };
    {
        RunningShell first(Way::Terminal, {"-m", "csv"});
        RunningShell second(Way::Terminal, {"-m", "csv"});
        start(first);
        start(second);
        first.Send("SELECT 'one' ||\r  '!' AS a\r;\r");
        first.WaitFor("a\none!\n");
        second.Send("SELECT 'two' || '!';\r");
        second.WaitFor("two!\n");
    } // both are killed
    RunningShell shell(Way::Terminal, {"-m", "csv"});
    start(shell);
    shell.Send("\x10\r");
    shell.WaitFor("two!\n");
    start(shell);
    shell.Send("\x10\x10\r");
    shell.WaitFor("a\none!\n");
    shell.Send(".quit\r");
    EXPECT_EQ(shell.Wait(), 0);
}

TEST_F(Terminal, ShowsTheDatabaseAndTheTransactionInThePrompt) {
    ASSERT_EQ(
        RunScript("mkdir -p config/orsql && printf '.mode csv\\nSELECT nope;\\n' > config/orsql/orsqlrc")
            .status,
        0);
    setenv("XDG_CONFIG_HOME", (mFolder / "config").c_str(), 1);
    setenv("EDITOR", "sed -i s/2/3/", 1);
    RunningShell shell(Way::Terminal, {"birds.db"});
    shell.WaitFor("orsqlrc:2");
    shell.WaitFor("birds> ");
    shell.Send("BEGIN;\r");
    shell.WaitFor("birds*> ");
    shell.Send("SELECT 1 / error('x');\r");
    shell.WaitFor("birds*> ");
    shell.Send("ROLLBACK;\r");
    shell.WaitFor("birds> ");
    shell.Send("SELECT 21 + 21 AS s;\r");
    shell.WaitFor("s\n42\n");
    shell.Send(".edit\r");
    shell.WaitFor("s\n52\n");
    shell.Send(".prompt 'two words'\r");
    shell.WaitFor("two words> ");
    shell.Send(".close\r");
    shell.WaitFor("orsql> ");
    shell.Send("exit;\r");
    shell.WaitFor(".exit\n");
    EXPECT_EQ(shell.Wait(), 0);
    unsetenv("XDG_CONFIG_HOME");
    unsetenv("EDITOR");
}

TEST_F(Terminal, ShowsTheProgressOfALongBackup) {
    RunningShell shell(Way::Terminal, {"-m", "csv", "--threads", "1"});
    shell.WaitFor(kPrompt);
    shell.Ask("CREATE TABLE t AS SELECT i, hash(i)::VARCHAR AS h FROM range(1000000) t(i);\n", "t(i);");
    shell.WaitFor(kPrompt);
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
    shell.WaitFor("backing up: ");
    shell.WaitFor(" MB written");
    shell.WaitFor("path,seconds\n");
    shell.Send(".quit\n");
    EXPECT_EQ(shell.Wait(), 0);
}

TEST_F(Terminal, UsesColourOnlyWhereItIsWelcome) {
    EXPECT_EQ(RunShell({"-m", "box", "-c", "SELECT 1"}).out.find('\x1b'), std::string::npos);
    EXPECT_NE(RunShell({"-m", "box", "--color", "always", "-c", "SELECT 1"}).out.find('\x1b'),
              std::string::npos);
}

} // namespace
} // namespace orlimbara::shell::test
