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
#include <array>
#include <cstdint>
#include <stdexcept>
#include <string>

#include <benchmark/benchmark.h>
#include <duckdb.h>

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

void TypedModule(benchmark::State& ioState) {
    Module module;
    const smart_ptr<I_DuckDBStatement> statement = module.Prepare(kSelect);
    for (auto _ : ioState) {
        RunTyped(*statement);
    }
    ioState.SetItemsProcessed(ioState.iterations() * kRuns);
}

void ValuesModule(benchmark::State& ioState) {
    Module module;
    const smart_ptr<I_DuckDBStatement> statement = module.Prepare(kSelect);
    const smart_ptr<ValueArray> values = MakeRow(0);
    statement->BindValues(values);
    for (auto _ : ioState) {
        for (std::int32_t run = 0; run < kRuns; ++run) {
            (*values)[0]->put_Long(run);
            (*values)[2]->put_Double(NumberOf(run));
            statement->SqlExecute();
        }
    }
    ioState.SetItemsProcessed(ioState.iterations() * kRuns);
}

void RowsModule(benchmark::State& ioState) {
    Module module;
    const smart_ptr<I_DuckDBStatement> statement = module.Prepare(kSelect);
    const smart_ptr<RowArray> rows(new RowArray(kRuns));
    for (std::int32_t run = 0; run < kRuns; ++run) {
        rows->Append(MakeRow(run));
    }
    statement->BindRows(rows);
    for (auto _ : ioState) {
        statement->SqlExecute();
    }
    ioState.SetItemsProcessed(ioState.iterations() * kRuns);
}

void InsertModule(benchmark::State& ioState) {
    Module module;
    const smart_ptr<I_DuckDBStatement> statement = module.Prepare(kInsert);
    for (auto _ : ioState) {
        module.Execute("BEGIN");
        RunTyped(*statement);
        module.Execute("ROLLBACK");
    }
    ioState.SetItemsProcessed(ioState.iterations() * kRuns);
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
    duckdb_connection Connection() { return mConnection.Get(); }

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

void SelectPlain(benchmark::State& ioState) {
    Plain plain;
    support::OwnedPreparedStatement prepared;
    Check(duckdb_prepare(plain.Connection(), kSelect, prepared.Put()));
    for (auto _ : ioState) {
        RunPlain(prepared.Get());
    }
    ioState.SetItemsProcessed(ioState.iterations() * kRuns);
}

void InsertPlain(benchmark::State& ioState) {
    Plain plain;
    support::OwnedPreparedStatement prepared;
    Check(duckdb_prepare(plain.Connection(), kInsert, prepared.Put()));
    for (auto _ : ioState) {
        plain.Execute("BEGIN");
        RunPlain(prepared.Get());
        plain.Execute("ROLLBACK");
    }
    ioState.SetItemsProcessed(ioState.iterations() * kRuns);
}

BENCHMARK(TypedModule)->Name("Bind/typed/module")->Unit(benchmark::kMillisecond);
BENCHMARK(SelectPlain)->Name("Bind/typed/plain")->Unit(benchmark::kMillisecond);
BENCHMARK(ValuesModule)->Name("Bind/values/module")->Unit(benchmark::kMillisecond);
BENCHMARK(SelectPlain)->Name("Bind/values/plain")->Unit(benchmark::kMillisecond);
BENCHMARK(RowsModule)->Name("Bind/rows/module")->Unit(benchmark::kMillisecond);
BENCHMARK(SelectPlain)->Name("Bind/rows/plain")->Unit(benchmark::kMillisecond);
BENCHMARK(InsertModule)->Name("Bind/insert/module")->Unit(benchmark::kMillisecond);
BENCHMARK(InsertPlain)->Name("Bind/insert/plain")->Unit(benchmark::kMillisecond);

} // namespace
} // namespace orkit::orsql::bench

BENCHMARK_MAIN();
