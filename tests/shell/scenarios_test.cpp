// Input at a terminal and the output after it, step by step.
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "shell_runner.h"

namespace orlimbara::shell::test {
namespace {

struct Step {
    std::string typed;
    std::string shown;
};

constexpr const char* kPrompt = "memory> ";
/// A query that keeps DuckDB busy for minutes.
const std::string kLongQuery = "SELECT sum(sqrt(a.range + b.range)) FROM range(3000000) a, range(100000) b;";
const std::string kStillHere = "SELECT 'still ' || 'here';\r";

void Play(RunningShell& ioShell, const std::vector<Step>& inSteps) {
    for (const Step& step : inSteps) {
        ioShell.Ask(step.typed, step.shown);
    }
}

TEST(Scenarios, ShowTheExpectedOutput) {
    const HomeFolder home;
    WriteFile("evil.sql", "CREATE TABLE \"evil\x1b[31m\u202e\"(i INTEGER);");
    const std::string many = "SELECT range AS n FROM range(60);\r";
    for (const auto& [editrc, steps] : std::vector<std::pair<std::string, std::vector<Step>>>{
             {"", {{"SELECT 'x' AS right\x1b[1;5Dleft_\x01\x1b[1;5C 40 + 2,\r;\r", "left_right\n42,x\n"}}},
             {"", {{".read evil.sql\rFROM \"evil\t", "evil\\x1b[31m\\u202e\""}}},
             {"", {{"SELECT\r1\r+ 2\r\t+ 3\r+ 4\r+ 5\r+ 6\r+ 7\r+ 8\r+ 9;\r", "\n45\n"}}},
             // The same ten lines, edited after a new start. The terminal takes DEL while libedit does not
             // read.
             {"",
              {{"\x10\b + 5;\r", "\n50\nmemory> "},
               {"\x1b[A\x1b[A\x1b[A\b"
                "70\r",
                "\n113\nmemory> "},
               {"\x1b[A\x1b[A\x1b[A\x1b[B\b"
                "80\r",
                "\n185\n"}}},
             // SQL is never cut.
             {"",
              {{".mode box\r.maxwidth 30\rCREATE TABLE t(one INTEGER, two INTEGER);\r.schema\r",
                "\nsql = CREATE TABLE t(one INTEGER, two INTEGER);\n"}}},
             {"bind -v\n", {{"selec\t", "select"}, {" 7 AS seven;\r", "seven\n7\n"}}},
             {"",
              {{".pager\r", "\noff\n"},
               {many, "\n59\n"},
               {".pager 'sed s/^/paged:/'\r.pager\r", "\non: sed s/^/paged:/\n"},
               {many, "paged:n\npaged:0\n"},
               {"", "paged:59\n"},
               {"SELECT range + 7 FROM range(2);\r", "\n7\n8\n"},
               {".once all.csv\r", kPrompt},
               {many, kPrompt},
               // Pagers that end early: by themselves, by Ctrl-C, before the first row.
               {".pager head -n 2\rSELECT * FROM range(9000000);" + kStillHere, "range\n0\n('still"},
               {".pager 'cat >/dev/null; echo \"is\" here; cat </dev/tty'\r" + many, "is here\n"},
               {"typed\r", "typed\ntyped\n"},
               {"\x03", kPrompt},
               {kStillHere, "\nstill here\n"},
               {".pager true\rSELECT * FROM range(9000000);" + kStillHere, "\nstill here\n"},
               {".pager missing-pager\r", kPrompt},
               {many, "error: the pager"},
               {"", "missing-pager: not found\nn\n0\n"},
               {"", "\n59\n"},
               {".pager off\r", kPrompt},
               {many, "\n59\n"}}}}) {
        WriteFile(".editrc", editrc);
        RunningShell shell(RunningShell::Way::Terminal, {"-m", "csv", "--color", "never"});
        shell.WaitFor(kPrompt);
        Play(shell, steps);
    }
    EXPECT_TRUE(ReadWhole("all.csv").ends_with("\n59\n"));
}

TEST(Scenarios, AResizeKeepsTheInput) {
    const HomeFolder home;
    RunningShell shell(RunningShell::Way::Terminal, {"-m", "csv"});
    shell.WaitFor(kPrompt);
    shell.Ask("SELECT 'before' ||", "||");
    shell.Resize(24, 60);
    shell.WaitFor("memory> SELECT 'before' ||"); // drawn again
    shell.Ask(" 'after' AS a;\r", "a\nbeforeafter\n");
}

TEST(Scenarios, CtrlCDropsPendingInput) {
    const HomeFolder home;
    ASSERT_EQ(RunScript("mkdir -p .config/orsql").status, 0);
    WriteFile(".config/orsql/orsqlrc", ".print begun\n" + kLongQuery + "\n.print not run\n");
    RunningShell shell(RunningShell::Way::Terminal, {"-m", "csv", "--color", "never"});
    const auto interrupt = [&shell] {
        usleep(300'000);
        return shell.Ask("\x03", kPrompt);
    };
    shell.WaitFor("begun\n");
    EXPECT_EQ(interrupt().find("not run"), std::string::npos);
    shell.Ask("\x1b[200~SELECT 'be' || 'gun';\r" + kLongQuery + "\rSELECT 'not ' || 'run';\r\x1b[201~",
              "\nbegun\n");
    EXPECT_EQ(interrupt().find("not run"), std::string::npos);
    shell.Ask(kStillHere, "\nstill here\n");
    // DuckDB doesn't stop inside a function, so the second Ctrl-C leaves.
    shell.Ask("SELECT levenshtein(repeat('a', 200000), repeat('b', 200000)) AS d;\r", "AS d;\n");
    usleep(300'000);
    shell.Send("\x03");
    usleep(300'000);
    shell.Send("\x03");
    EXPECT_EQ(shell.Wait(), 130);
}

} // namespace
} // namespace orlimbara::shell::test
