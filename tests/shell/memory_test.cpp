// Rows are written as they are read: what a run needs is DuckDB's own result, and little else.
#include <algorithm>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// The largest memory of a run in kilobytes. Its output goes nowhere.
long PeakMemory(const std::vector<std::string>& inCommand) {
    const pid_t child = fork();
    if (child == 0) {
        dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
        std::vector<char*> arguments;
        for (const std::string& argument : inCommand) {
            arguments.push_back(const_cast<char*>(argument.c_str()));
        }
        arguments.push_back(nullptr);
        execv(arguments[0], arguments.data());
        _exit(127);
    }
    int status = 0;
    rusage usage = {};
    wait4(child, &status, 0, &usage);
    EXPECT_EQ(status, 0);
    return usage.ru_maxrss;
}

TEST(Memory, StaysNearThatOfAPlainProgram) {
    const std::string query = "SELECT i, i * 1.5::DOUBLE AS d, 'text number ' || i AS s, NULL::INTEGER AS n "
                              "FROM range(2000000) t(i)";
    const long plain = PeakMemory({PLAIN_QUERY, query});
    for (const std::string mode : {"csv", "jsonl", "line"}) {
        const long shell = PeakMemory({ORSQL_PROGRAM, "--threads", "1", "-m", mode, "-c", query});
        EXPECT_LE(shell, plain + plain / 10) << mode;
    }
}

} // namespace
