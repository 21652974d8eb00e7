/// @file
/// Memory of cursors, beside plain loops over DuckDB's vectors that make the same host values. Both hold
/// DuckDB's whole result. Each runs in its own process, because a process has only one peak. Prints one JSON
/// object, in bytes:
///
///   server, floor               peak of a walk over ten million rows of three columns
///   lists_server, lists_floor   peak of a walk over 4,096 rows of lists with 20,000 items each
///   client_bytes_per_cell       resident memory that ten million BIGINT cells of a client cursor add
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <duckdb.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "benchmarks/bench_database.h"
#include "duckdb_support/vector_cast.h"
#include "host/string.h"
#include "result/client_cursor.h"

namespace orkit::orsql::bench {
namespace {

namespace support = orlimbara::duckdb_support;

// One column that is read directly, one text, one that is cast.
constexpr const char* kSql =
    "SELECT i, i::VARCHAR AS t, DATE '2000-01-01' + (i % 100000)::INTEGER AS d FROM range(10000000) r(i)";
constexpr std::uint64_t kCells = 30'000'000;
constexpr const char* kListsSql = "SELECT range(i, i + 20000) AS l FROM range(4096) r(i)";
constexpr std::uint64_t kListCells = 4'096;
// Ten columns, so that an array per row costs little beside its cells.
constexpr const char* kNumbersSql =
    "SELECT i, i+1, i+2, i+3, i+4, i+5, i+6, i+7, i+8, i+9 FROM range(1000000) r(i)";
constexpr std::uint64_t kNumberRows = 1'000'000;
constexpr double kNumberCells = 1e7;

std::uint64_t WalkServer(Database& ioDatabase) { return ReadCells(ioDatabase, kSql); }
std::uint64_t WalkServerLists(Database& ioDatabase) { return ReadCells(ioDatabase, kListsSql); }

smart_ptr<I_Value> MakeString(const duckdb_string_t& inText) {
    const std::uint32_t bytes = inText.value.inlined.length;
    const char* const data = bytes <= 12 ? inText.value.inlined.inlined : inText.value.pointer.ptr;
    static std::vector<char16_t> wide;
    wide.resize(bytes);
    const std::size_t length = ConvertToUTF16(data, bytes, GetConverter_UTF8(), wide.data());
    smart_ptr<I_Value> value(CreateValueString(false, nullptr, nullptr));
    value->put_MaxLength(static_cast<std::uint32_t>(2 * length + 2));
    value->put_String(String(wide.data(), static_cast<std::ptrdiff_t>(length)));
    return value;
}

void Require(bool inIsCast) {
    if (!inIsCast) {
        throw std::runtime_error("a column of the benchmark can't be cast");
    }
}

std::uint64_t WalkFloor(Database& ioDatabase) {
    const support::OwnedResult result = ioDatabase.Run(kSql);
    support::ColumnCast dates;
    std::uint64_t cells = 0;
    while (const support::OwnedDataChunk chunk{duckdb_fetch_chunk(result.Struct())}) {
        const auto data = [&](idx_t inColumn) {
            return duckdb_vector_get_data(duckdb_data_chunk_get_vector(chunk.Get(), inColumn));
        };
        const auto* const numbers = static_cast<const std::int64_t*>(data(0));
        const auto* const texts = static_cast<const duckdb_string_t*>(data(1));
        Require(dates.ToText(chunk.Get(), 2));
        for (idx_t row = 0; row < duckdb_data_chunk_get_size(chunk.Get()); ++row) {
            smart_ptr<I_Value> number(CreateValueLLong(false, nullptr, nullptr));
            number->put_LLong(numbers[row]);
            cells += number ? 1 : 0;
            cells += MakeString(texts[row]) ? 1 : 0;
            cells += MakeString(dates.Texts()[row]) ? 1 : 0;
        }
    }
    return cells;
}

/// One list at a time, so that only one text exists.
std::uint64_t WalkFloorLists(Database& ioDatabase) {
    const support::OwnedResult result = ioDatabase.Run(kListsSql);
    support::ColumnCast list;
    std::uint64_t cells = 0;
    while (const support::OwnedDataChunk chunk{duckdb_fetch_chunk(result.Struct())}) {
        for (idx_t row = 0; row < duckdb_data_chunk_get_size(chunk.Get()); ++row) {
            Require(list.ToText(chunk.Get(), 0, row, 1));
            cells += MakeString(list.Texts()[0]) ? 1 : 0;
        }
    }
    return cells;
}

smart_ptr<I_DuckDBCursor> gKept; // until the process ends

std::uint64_t KeepNumbers(Database& ioDatabase) {
    gKept = ioDatabase.Open<DuckDBCursor_client>(ioDatabase.Run(kNumbersSql));
    return gKept->get_RecordCount();
}

std::int64_t Resident() {
    std::int64_t pages = 0;
    std::ifstream statm("/proc/self/statm");
    statm >> pages >> pages;
    return pages * sysconf(_SC_PAGESIZE);
}

struct Walk {
    const char* mName;
    std::uint64_t (*mRun)(Database& ioDatabase);
    std::uint64_t mCells;
};

constexpr std::array kWalks = {Walk{"server", WalkServer, kCells}, Walk{"floor", WalkFloor, kCells},
                               Walk{"lists_server", WalkServerLists, kListCells},
                               Walk{"lists_floor", WalkFloorLists, kListCells},
                               Walk{"client", KeepNumbers, kNumberRows}};

struct Memory {
    std::int64_t mPeak = 0;  ///< of resident memory
    std::int64_t mAdded = 0; ///< resident memory at the end minus that at the start
};

/// The work of a child process, with the file descriptor of a pipe for the added memory.
/// @return its exit code.
int RunWalk(const char* inName, int inPipe) {
    for (const Walk& walk : kWalks) {
        if (std::strcmp(walk.mName, inName) == 0) {
            Database database;
            const std::int64_t before = Resident();
            const bool isWhole = walk.mRun(database) == walk.mCells;
            const std::int64_t added = Resident() - before;
            const bool isTold = write(inPipe, &added, sizeof added) == sizeof added;
            _exit(isWhole && isTold ? 0 : 1); // without freeing what was kept
        }
    }
    return 2;
}

/// Runs this program again for one measurement.
Memory MemoryOf(const char* inWalk) {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) {
        throw std::runtime_error("no pipe");
    }
    const std::string end = std::to_string(ends[1]);
    const pid_t child = fork();
    if (child == 0) {
        execl("/proc/self/exe", "bench_memory", inWalk, end.c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    int status = 0;
    rusage usage{};
    Memory memory;
    if (child < 0 || wait4(child, &status, 0, &usage) != child || !WIFEXITED(status) ||
        WEXITSTATUS(status) != 0 || read(ends[0], &memory.mAdded, sizeof memory.mAdded) < 0) {
        throw std::runtime_error(std::string("the walk failed: ") + inWalk);
    }
    close(ends[0]);
    close(ends[1]);
    memory.mPeak = std::int64_t{usage.ru_maxrss} * 1024;
    return memory;
}

} // namespace
} // namespace orkit::orsql::bench

int main(int inCount, char** inArguments) {
    using namespace orkit::orsql::bench;
    try {
        if (inCount == 3) {
            return RunWalk(inArguments[1], std::atoi(inArguments[2]));
        }
        std::printf("{");
        for (const char* walk : {"server", "floor", "lists_server", "lists_floor"}) {
            std::printf("\"%s\": %lld, ", walk, static_cast<long long>(MemoryOf(walk).mPeak));
        }
        std::printf("\"client_bytes_per_cell\": %.1f}\n",
                    static_cast<double>(MemoryOf("client").mAdded) / kNumberCells);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench_memory: %s\n", error.what());
        return 1;
    }
}
