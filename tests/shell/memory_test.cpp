// Rows are written as they are read: a run needs memory for DuckDB's own result, and little else.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests_support/duck.h"

namespace {

constexpr const char* kQuery = "SELECT i, i * 1.5::DOUBLE AS d, 'text number ' || i AS s, NULL::INTEGER AS n "
                               "FROM range(1000000) t(i)";

/// The largest memory of a child process in kilobytes.
template <class Body>
long PeakMemory(Body inBody) {
    const pid_t child = fork();
    if (child == 0) {
        dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
        inBody();
        _exit(127);
    }
    int status = 0;
    rusage usage = {};
    wait4(child, &status, 0, &usage);
    EXPECT_EQ(status, 0);
    return usage.ru_maxrss;
}

TEST(Memory, StaysNearThatOfAPlainProgram) {
    const long plain = PeakMemory([] {
        const tests_support::Duck duck;
        duck.Run("SET threads = 1");
        const auto result = duck.Run(kQuery);
        while (orlimbara::duckdb_support::OwnedDataChunk(duckdb_fetch_chunk(result.Struct()))) {
        }
        _exit(0);
    });
    for (const char* const mode : {"csv", "jsonl", "line"}) {
        const long shell = PeakMemory(
            [&] { execl(ORSQL_PROGRAM, "orsql", "--threads", "1", "-m", mode, "-c", kQuery, nullptr); });
        EXPECT_LE(shell, plain + plain / 10) << mode;
    }
}

} // namespace
