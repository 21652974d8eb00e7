// Rows are written as they are read: a run needs memory for DuckDB's own result, and little else.
#include <cstdlib>

#include <duckdb.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

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

/// Runs the query through DuckDB's C functions and fetches its chunks.
void RunPlainProgram() {
    duckdb_database database = nullptr;
    duckdb_connection connection = nullptr;
    duckdb_result result;
    duckdb_open(nullptr, &database);
    duckdb_connect(database, &connection);
    duckdb_query(connection, "SET threads = 1", nullptr);
    if (duckdb_query(connection, kQuery, &result) == DuckDBSuccess) {
        while (duckdb_data_chunk chunk = duckdb_fetch_chunk(result)) {
            duckdb_destroy_data_chunk(&chunk);
        }
        _exit(0);
    }
}

TEST(Memory, StaysNearThatOfAPlainProgram) {
    const long plain = PeakMemory(RunPlainProgram);
    for (const char* const mode : {"csv", "jsonl", "line"}) {
        const long shell = PeakMemory(
            [&] { execl(ORSQL_PROGRAM, "orsql", "--threads", "1", "-m", mode, "-c", kQuery, nullptr); });
        EXPECT_LE(shell, plain + plain / 10) << mode;
    }
}

} // namespace
