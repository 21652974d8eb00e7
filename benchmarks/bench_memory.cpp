/// @file
/// Peak memory of a walk over ten million rows, by a server cursor and by a plain loop over DuckDB's vectors
/// that makes the same host values. Both hold DuckDB's whole result. Each runs in a process of its own,
/// because a process has but one peak. Prints {"server": bytes, "floor": bytes}.
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string>

#include <duckdb.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "benchmarks/bench_database.h"
#include "duckdb_support/vector_cast.h"
#include "host/string.h"
#include "result/server_cursor.h"

namespace orkit::orsql::bench {
namespace {

namespace support = orlimbara::duckdb_support;

// One column read where it lies, one text, one cast.
constexpr const char* kSql =
    "SELECT i, i::VARCHAR AS t, DATE '2000-01-01' + (i % 100000)::INTEGER AS d FROM range(10000000) r(i)";
constexpr std::uint64_t kCells = 30'000'000;

std::uint64_t WalkServer(Database& ioDatabase) {
    const smart_ptr<I_DuckDBCursor> cursor = ioDatabase.Open<DuckDBCursor_server>(ioDatabase.Run(kSql));
    const std::uint32_t columns = cursor->get_ColumnCount();
    std::uint64_t cells = 0;
    while (cursor->NextRecord()) {
        for (std::uint32_t column = 0; column < columns; ++column) {
            cells += cursor->get_Value(column) ? 1 : 0;
        }
    }
    return cells;
}

smart_ptr<I_Value> MakeString(const duckdb_string_t& inText) {
    std::array<char16_t, 32> wide; // no text here is longer
    const std::uint32_t bytes = inText.value.inlined.length;
    const char* const data = bytes <= 12 ? inText.value.inlined.inlined : inText.value.pointer.ptr;
    const std::size_t length = ConvertToUTF16(data, bytes, GetConverter_UTF8(), wide.data());
    smart_ptr<I_Value> value(CreateValueString(false, nullptr, nullptr));
    value->put_MaxLength(static_cast<std::uint32_t>(2 * length + 2));
    value->put_String(String(wide.data(), static_cast<std::ptrdiff_t>(length)));
    return value;
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
        if (!dates.ToText(chunk.Get(), 2)) {
            throw std::runtime_error("the dates can't be cast");
        }
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

struct Walk {
    const char* mName;
    std::uint64_t (*mRun)(Database& ioDatabase);
};

constexpr std::array kWalks = {Walk{"server", WalkServer}, Walk{"floor", WalkFloor}};

/// What a child process does. @return its exit code.
int RunWalk(const char* inName) {
    for (const Walk& walk : kWalks) {
        if (std::strcmp(walk.mName, inName) == 0) {
            Database database;
            return walk.mRun(database) == kCells ? 0 : 1;
        }
    }
    return 2;
}

/// Runs this program again for one walk. @return its peak of resident memory in bytes.
std::int64_t PeakOf(const char* inWalk) {
    const pid_t child = fork();
    if (child == 0) {
        execl("/proc/self/exe", "bench_memory", inWalk, static_cast<char*>(nullptr));
        _exit(127);
    }
    int status = 0;
    rusage usage{};
    if (child < 0 || wait4(child, &status, 0, &usage) != child || !WIFEXITED(status) ||
        WEXITSTATUS(status) != 0) {
        throw std::runtime_error(std::string("the walk failed: ") + inWalk);
    }
    return std::int64_t{usage.ru_maxrss} * 1024;
}

} // namespace
} // namespace orkit::orsql::bench

int main(int inCount, char** inArguments) {
    using namespace orkit::orsql::bench;
    try {
        if (inCount == 2) {
            return RunWalk(inArguments[1]);
        }
        const std::int64_t server = PeakOf("server");
        const std::int64_t floor = PeakOf("floor");
        std::printf("{\"server\": %lld, \"floor\": %lld}\n", static_cast<long long>(server),
                    static_cast<long long>(floor));
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench_memory: %s\n", error.what());
        return 1;
    }
}
