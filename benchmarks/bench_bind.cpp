/// @file
/// What it costs to run a prepared statement repeatedly with different parameters. Each time is for 10,000
/// runs with an INTEGER, a VARCHAR and a DOUBLE; "items" are runs.
///
///   Bind/typed/...    a SELECT of the parameters, with typed bindings
///   Bind/values/...   the same with held host values, which change between the runs
///   Bind/rows/...     the same with all parameters as held rows, and one call
///   Bind/insert/...   an INSERT with typed bindings, all runs in one transaction
///
/// Each as .../module, through the statement object, and .../plain, the same loop on DuckDB's C functions.
/// The two take turns, and the shortest processor time of each counts: one after the other they differ by
/// half from run to run, by where their memory lies and what else the machine does.
#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>

#include <duckdb.h>

#include "benchmarks/bench_support.h"
#include "database/duckdb_database.h"
#include "duckdb_support/handles.h"
#include "host_standin/locations.h"

namespace orkit::orsql::bench {
namespace {

namespace support = orlimbara::duckdb_support;

constexpr std::int32_t kRuns = 10'000;
constexpr const char* kSelect = "SELECT $1::INTEGER, $2::VARCHAR, $3::DOUBLE";
constexpr const char* kInsert = "INSERT INTO t VALUES ($1, $2, $3)";
constexpr const char* kTable = "CREATE TABLE t (i INTEGER, s VARCHAR, d DOUBLE)";
constexpr const char* kText = "the text of a parameter";

double NumberOf(std::int32_t inRun) { return inRun / 7.0; }

class Module {
public:
    Module() : mDatabase(new DuckDBDatabase(standin::MakeLocation(":memory:"))) {
        mDatabase->Create();
        Execute(kTable);
    }
    void Execute(const char* inSql) { mDatabase->SqlExecute(inSql, nullptr); }
    smart_ptr<I_DuckDBStatement> Prepare(const char* inSql) {
        smart_ptr<I_DuckDBStatement> statement = mDatabase->CreateStatement(inSql);
        statement->PrepareNext();
        return statement;
    }

private:
    smart_ptr<DuckDBDatabase> mDatabase;
};

void RunTyped(I_DuckDBStatement& ioStatement) {
    const String text(kText);
    for (std::int32_t run = 0; run < kRuns; ++run) {
        ioStatement.BindInteger(1, run);
        ioStatement.BindVarchar(2, text);
        ioStatement.BindDouble(3, NumberOf(run));
        ioStatement.SqlExecute();
    }
}

smart_ptr<ValueArray> MakeRow(std::int32_t inRun) {
    const smart_ptr<ValueArray> row(new ValueArray(3));
    const smart_ptr<I_Value> number(CreateValueLong(false, nullptr, nullptr));
    number->put_Long(inRun);
    row->Append(number);
    const String content(kText);
    const smart_ptr<I_Value> text(CreateValueString(false, nullptr, nullptr));
    text->put_MaxLength(static_cast<std::uint32_t>(2 * content.get_Length() + 2));
    text->put_String(content);
    row->Append(text);
    const smart_ptr<I_Value> real(CreateValueDouble(false, nullptr, nullptr));
    real->put_Double(NumberOf(inRun));
    row->Append(real);
    return row;
}

// Each of these prepares a loop of kRuns and gives it to the benchmark, which calls it repeatedly.

std::function<void()> TypedModule(Module& ioModule) {
    return [statement = ioModule.Prepare(kSelect)] { RunTyped(*statement); };
}

std::function<void()> ValuesModule(Module& ioModule) {
    const smart_ptr<I_DuckDBStatement> statement = ioModule.Prepare(kSelect);
    const smart_ptr<ValueArray> values = MakeRow(0);
    statement->BindValues(values);
    return [statement, values] {
        for (std::int32_t run = 0; run < kRuns; ++run) {
            (*values)[0]->put_Long(run);
            (*values)[2]->put_Double(NumberOf(run));
            statement->SqlExecute();
        }
    };
}

std::function<void()> RowsModule(Module& ioModule) {
    const smart_ptr<I_DuckDBStatement> statement = ioModule.Prepare(kSelect);
    const smart_ptr<RowArray> rows(new RowArray(kRuns));
    for (std::int32_t run = 0; run < kRuns; ++run) {
        rows->Append(MakeRow(run));
    }
    statement->BindRows(rows);
    return [statement] { statement->SqlExecute(); };
}

std::function<void()> InsertModule(Module& ioModule) {
    return [&ioModule, statement = ioModule.Prepare(kInsert)] {
        ioModule.Execute("BEGIN");
        RunTyped(*statement);
        ioModule.Execute("ROLLBACK");
    };
}

void Check(duckdb_state inState) {
    if (inState != DuckDBSuccess) {
        throw std::runtime_error("DuckDB refused a call");
    }
}

class Plain {
public:
    Plain() {
        Check(duckdb_open(nullptr, mDatabase.Put()));
        Check(duckdb_connect(mDatabase.Get(), mConnection.Put()));
        Execute(kTable);
    }
    void Execute(const char* inSql) {
        support::OwnedResult result;
        Check(duckdb_query(mConnection.Get(), inSql, result.Put()));
    }
    std::shared_ptr<support::OwnedPreparedStatement> Prepare(const char* inSql) {
        auto prepared = std::make_shared<support::OwnedPreparedStatement>();
        Check(duckdb_prepare(mConnection.Get(), inSql, prepared->Put()));
        return prepared;
    }

private:
    support::OwnedDatabase mDatabase;
    support::OwnedConnection mConnection;
};

void RunPlain(duckdb_prepared_statement inPrepared) {
    const std::string text(kText);
    for (std::int32_t run = 0; run < kRuns; ++run) {
        Check(duckdb_bind_int32(inPrepared, 1, run));
        Check(duckdb_bind_varchar_length(inPrepared, 2, text.data(), text.size()));
        Check(duckdb_bind_double(inPrepared, 3, NumberOf(run)));
        duckdb_result result;
        Check(duckdb_execute_prepared(inPrepared, &result));
        duckdb_destroy_result(&result);
    }
}

std::function<void()> SelectPlain(Plain& ioPlain) {
    return [prepared = ioPlain.Prepare(kSelect)] { RunPlain(prepared->Get()); };
}

std::function<void()> InsertPlain(Plain& ioPlain) {
    return [&ioPlain, prepared = ioPlain.Prepare(kInsert)] {
        ioPlain.Execute("BEGIN");
        RunPlain(prepared->Get());
        ioPlain.Execute("ROLLBACK");
    };
}

struct Pair {
    const char* mName;
    std::function<void()> (*mModule)(Module& ioModule);
    std::function<void()> (*mPlain)(Plain& ioPlain);
};

constexpr Pair kPairs[] = {{"typed", TypedModule, SelectPlain},
                           {"values", ValuesModule, SelectPlain},
                           {"rows", RowsModule, SelectPlain},
                           {"insert", InsertModule, InsertPlain}};

/// The shortest times of the module and of the plain loop.
std::array<Seconds, 2> Measure(const Pair& inPair) {
    constexpr int kRounds = 9;
    Module module;
    Plain plain;
    const std::function<void()> loops[] = {inPair.mModule(module), inPair.mPlain(plain)};
    std::array shortest = {Seconds::max(), Seconds::max()};
    for (int round = 0; round <= kRounds; ++round) { // the first touches the memory
        for (std::size_t side = 0; side < shortest.size(); ++side) {
            const Seconds time = Time<ThreadClock>(loops[side]);
            shortest[side] = round > 0 ? std::min(shortest[side], time) : shortest[side];
        }
    }
    return shortest;
}

void Report(benchmark::State& ioState, const Pair& inPair, std::size_t inSide) {
    static std::map<const Pair*, std::array<Seconds, 2>> measured;
    for ([[maybe_unused]] auto _ : ioState) {
        if (!measured.contains(&inPair)) {
            measured[&inPair] = Measure(inPair);
        }
        ioState.SetIterationTime(measured[&inPair][inSide].count());
    }
    ioState.SetItemsProcessed(ioState.iterations() * kRuns);
}

void RegisterAll() {
    constexpr const char* kSides[] = {"module", "plain"};
    for (const Pair& pair : kPairs) {
        for (std::size_t side = 0; side < std::size(kSides); ++side) {
            const std::string name = std::string("Bind/") + pair.mName + "/" + kSides[side];
            benchmark::RegisterBenchmark(name.c_str(), Report, std::cref(pair), side)
                ->UseManualTime()
                ->Iterations(1)
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
