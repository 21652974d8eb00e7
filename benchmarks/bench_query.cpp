/// @file
/// What a call costs besides its query, and how long a stop takes.
///
///   Query/short/module    SELECT 1 through SqlSelect, 10,000 times; "items" are queries
///   Query/short/plain     the same through DuckDB's C functions, in a script's steps: split, prepare, run
///   Interrupt/cross_join  from Interrupt on one thread to the exception of a running query on the other;
///                         100 stops, median_ms and worst_ms
#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <stdexcept>
#include <thread>

#include <benchmark/benchmark.h>

#include "benchmarks/bench_database.h"
#include "benchmarks/bench_support.h"
#include "host/exceptions.h"

namespace orkit::orsql::bench {
namespace {

namespace support = orlimbara::duckdb_support;
using Clock = std::chrono::steady_clock;

constexpr int kQueries = 10'000;
constexpr const char* kShort = "SELECT 1";

void ShortModule(benchmark::State& ioState) {
    Database database;
    const String sql(kShort);
    for (auto _ : ioState) {
        for (int query = 0; query < kQueries; ++query) {
            benchmark::DoNotOptimize(database->SqlSelect(sql, kCursorLocationServer, nullptr).get());
        }
    }
    ioState.SetItemsProcessed(ioState.iterations() * kQueries);
}

void Require(bool inIsGood) {
    if (!inIsGood) {
        throw std::runtime_error("a plain query failed");
    }
}

void ShortPlain(benchmark::State& ioState) {
    support::OwnedDatabase database;
    support::OwnedConnection connection;
    Require(duckdb_open(nullptr, database.Put()) == DuckDBSuccess);
    Require(duckdb_connect(database.Get(), connection.Put()) == DuckDBSuccess);
    for (auto _ : ioState) {
        for (int query = 0; query < kQueries; ++query) {
            support::OwnedExtractedStatements statements;
            Require(duckdb_extract_statements(connection.Get(), kShort, statements.Put()) == 1);
            support::OwnedPreparedStatement prepared;
            Require(duckdb_prepare_extracted_statement(connection.Get(), statements.Get(), 0,
                                                       prepared.Put()) == DuckDBSuccess);
            support::OwnedResult result;
            Require(duckdb_execute_prepared(prepared.Get(), result.Put()) == DuckDBSuccess);
            benchmark::DoNotOptimize(result.Get());
        }
    }
    ioState.SetItemsProcessed(ioState.iterations() * kQueries);
}

void StopCrossJoin(benchmark::State& ioState) {
    constexpr std::size_t kStops = 100;
    Database database;
    std::array<double, kStops> milliseconds = {};
    for (auto _ : ioState) {
        for (double& result : milliseconds) {
            Clock::time_point asked;
            std::thread stopper([&] {
                while (database->get_Progress().mElapsedMicroseconds < 20'000) {
                    std::this_thread::sleep_for(std::chrono::microseconds(200));
                }
                asked = Clock::now();
                database->Interrupt();
            });
            Clock::time_point thrown;
            try {
                database->SqlSelect("SELECT sum(a.range * b.range) FROM range(1000000) a, range(1000000) b",
                                    kCursorLocationServer, nullptr);
            } catch (const xDuckDBError&) {
                thrown = Clock::now();
            }
            stopper.join();
            result = std::chrono::duration<double, std::milli>(thrown - asked).count();
        }
    }
    std::sort(milliseconds.begin(), milliseconds.end());
    ioState.counters["median_ms"] = milliseconds[kStops / 2];
    ioState.counters["worst_ms"] = milliseconds.back();
}

BENCHMARK(ShortModule)->Name("Query/short/module")->Unit(benchmark::kMillisecond);
BENCHMARK(ShortPlain)->Name("Query/short/plain")->Unit(benchmark::kMillisecond);
BENCHMARK(StopCrossJoin)
    ->Name("Interrupt/cross_join")
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

} // namespace
} // namespace orkit::orsql::bench

int main(int inCount, char** inArguments) { return orkit::orsql::bench::RunBenchmarks(inCount, inArguments); }
