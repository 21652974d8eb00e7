/// @file
/// Whether the time of an operation grows faster than its size: each subject runs at several sizes, and the
/// processor time per item should stay the same.
///
///   Growth/outcomes/N               a script of N statements, run by SqlQuery and walked to its end
///   Growth/statements_forward/N     dropping N live statements, the oldest first
///   Growth/statements_backward/N    the same, the newest first
///   Growth/cursors_forward/N, Growth/cursors_backward/N   the same with server cursors
///   Growth/results_forward/N, Growth/results_backward/N   the same with DuckDB's results alone, which is the
///                                   part of the cursors' time that isn't the module's
///   Growth/close/N                  Close of a database with N live statements
///   Growth/columns/N                reading 1,000,000 cells, which are the items, of N columns
///   Growth/bind_rows/N              a run of N held rows
#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

#include "benchmarks/bench_database.h"
#include "benchmarks/bench_support.h"
#include "result/server_cursor.h"

namespace orkit::orsql::bench {
namespace {

/// Prepares and does one measured run. @return the processor time of the measured part.
using Run = Seconds (*)(Database& ioDatabase, std::int64_t inCount);

Seconds TimeOutcomes(Database& ioDatabase, std::int64_t inCount) {
    std::string script;
    for (std::int64_t i = 0; i < inCount; ++i) {
        script += "SELECT 1;";
    }
    const String sql(script.c_str());
    return Time<ProcessClock>([&] {
        smart_ptr<I_DuckDBQueryResult> outcome = ioDatabase->SqlQuery(sql, kCursorLocationServer, nullptr);
        while (outcome) {
            outcome = outcome->get_NextResult();
        }
    });
}

std::vector<smart_ptr<I_DuckDBStatement>> MakeStatements(Database& ioDatabase, std::int64_t inCount) {
    std::vector<smart_ptr<I_DuckDBStatement>> statements;
    for (std::int64_t i = 0; i < inCount; ++i) {
        statements.push_back(ioDatabase->CreateStatement(String("SELECT 1")));
    }
    return statements;
}

std::vector<smart_ptr<I_DuckDBCursor>> MakeCursors(Database& ioDatabase, std::int64_t inCount) {
    std::vector<smart_ptr<I_DuckDBCursor>> cursors;
    for (std::int64_t i = 0; i < inCount; ++i) {
        cursors.push_back(ioDatabase.Open<DuckDBCursor_server>(ioDatabase.Run("SELECT 1")));
    }
    return cursors;
}

std::vector<std::unique_ptr<orlimbara::duckdb_support::OwnedResult>> MakeResults(Database& ioDatabase,
                                                                                 std::int64_t inCount) {
    std::vector<std::unique_ptr<orlimbara::duckdb_support::OwnedResult>> results;
    for (std::int64_t i = 0; i < inCount; ++i) {
        results.push_back(
            std::make_unique<orlimbara::duckdb_support::OwnedResult>(ioDatabase.Run("SELECT 1")));
    }
    return results;
}

/// Drops objects from the first to the last, or the other way round. DuckDB's threads have no part in that,
/// but may still tidy up after the runs that made the objects.
template <auto Make, bool kBackward>
Seconds TimeDrop(Database& ioDatabase, std::int64_t inCount) {
    auto objects = Make(ioDatabase, inCount);
    if (kBackward) {
        std::reverse(objects.begin(), objects.end());
    }
    return Time<ThreadClock>([&] {
        for (auto& object : objects) {
            object = nullptr;
        }
    });
}

Seconds TimeClose(Database& ioDatabase, std::int64_t inCount) {
    const auto statements = MakeStatements(ioDatabase, inCount);
    const Seconds time = Time<ProcessClock>([&] { ioDatabase->Close(); });
    ioDatabase->Create();
    return time;
}

constexpr std::int64_t kCells = 1'000'000;

Seconds TimeColumns(Database& ioDatabase, std::int64_t inCount) {
    std::string sql = "SELECT i AS c0";
    for (std::int64_t column = 1; column < inCount; ++column) {
        sql += ", i + " + std::to_string(column);
    }
    auto result = ioDatabase.Run(sql + " FROM range(" + std::to_string(kCells / inCount) + ") t(i)");
    return Time<ProcessClock>([&] {
        const smart_ptr<I_DuckDBCursor> cursor = ioDatabase.Open<DuckDBCursor_server>(std::move(result));
        const std::uint32_t columns = cursor->get_ColumnCount();
        while (cursor->NextRecord()) {
            for (std::uint32_t column = 0; column < columns; ++column) {
                cursor->get_Value(column);
            }
        }
    });
}

Seconds TimeBindRows(Database& ioDatabase, std::int64_t inCount) {
    const smart_ptr<RowArray> rows(new RowArray(static_cast<std::size_t>(inCount)));
    for (std::int64_t i = 0; i < inCount; ++i) {
        const smart_ptr<ValueArray> row(new ValueArray(1));
        const smart_ptr<I_Value> number(CreateValueLLong(false, nullptr, nullptr));
        number->put_LLong(i);
        row->Append(number);
        rows->Append(row);
    }
    const smart_ptr<I_DuckDBStatement> statement = ioDatabase->CreateStatement(String("SELECT $1::BIGINT"));
    statement->PrepareNext();
    statement->BindRows(rows);
    return Time<ProcessClock>([&] { statement->SqlExecute(); });
}

struct Subject {
    const char* mName;
    Run mRun;
    std::vector<std::int64_t> mCounts;
    std::int64_t mItems; ///< of one run; 0 is the count
};

const Subject kSubjects[] = {
    {"outcomes", TimeOutcomes, {1'000, 10'000, 100'000}, 0},
    {"statements_forward", TimeDrop<MakeStatements, false>, {100, 10'000, 100'000}, 0},
    {"statements_backward", TimeDrop<MakeStatements, true>, {100, 10'000, 100'000}, 0},
    {"cursors_forward", TimeDrop<MakeCursors, false>, {100, 10'000, 100'000}, 0},
    {"cursors_backward", TimeDrop<MakeCursors, true>, {100, 10'000, 100'000}, 0},
    {"results_forward", TimeDrop<MakeResults, false>, {100, 10'000, 100'000}, 0},
    {"results_backward", TimeDrop<MakeResults, true>, {100, 10'000, 100'000}, 0},
    {"close", TimeClose, {100, 10'000, 100'000}, 0},
    {"columns", TimeColumns, {1, 10, 100, 1'000}, kCells},
    {"bind_rows", TimeBindRows, {1'000, 10'000, 100'000, 1'000'000}, 0},
};

/// Runs until about the largest size's items were measured, at most a hundred times: the small sizes are too
/// short to be measured once.
void Report(benchmark::State& ioState, const Subject& inSubject, std::int64_t inCount) {
    Database database;
    inSubject.mRun(database, std::min<std::int64_t>(inCount, 1'000)); // touches code and memory
    for ([[maybe_unused]] auto _ : ioState) {
        ioState.SetIterationTime(inSubject.mRun(database, inCount).count());
    }
    ioState.SetItemsProcessed(ioState.iterations() * (inSubject.mItems ? inSubject.mItems : inCount));
}

void RegisterAll() {
    for (const Subject& subject : kSubjects) {
        for (const std::int64_t count : subject.mCounts) {
            const std::string name = std::string("Growth/") + subject.mName + "/" + std::to_string(count);
            benchmark::RegisterBenchmark(name.c_str(), Report, std::cref(subject), count)
                ->UseManualTime()
                ->Iterations(std::clamp<std::int64_t>(20'000 / count, 1, 100))
                ->Unit(benchmark::kMillisecond);
        }
    }
}

} // namespace
} // namespace orkit::orsql::bench

int main(int inCount, char** inArguments) {
    orkit::orsql::bench::RegisterAll();
    return orkit::orsql::bench::RunBenchmarks(inCount, inArguments);
}
