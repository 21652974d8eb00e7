/// @file
/// The table procedures on three million flights, against a plain loop: the same answer from DuckDB's C
/// functions directly, with the same host values. Each is measured from the call to the last cell, including
/// the closing of DuckDB. FetchParquet/open is the cost of both before any SQL runs.
#include <benchmark/benchmark.h>
#include <duckdb.h>

#include <cstdlib>
#include <stdexcept>
#include <string>

#include "duckdb_support/handles.h"
#include "host_standin/procedure_table.h"
#include "procedures/host_boundary.h"
#include "procedures/procedures.h"

namespace {

using namespace orkit::standin;
using namespace orlimbara::duckdb_support;

std::string FlightsPath() {
    const char* path = std::getenv("DUCKDB_FLIGHTS");
    return path != nullptr ? path : FLIGHTS_PARQUET;
}

void Register() {
    orlimbara::procedures::BindProcedureApi(GetProcedureTable());
    const ProcedureContext context;
    orlimbara::procedures::RegisterProcedures(context.get_Handle());
}

/// Reads every cell of every row through the cursor's callbacks, as the host does, and frees each value.
std::int64_t ReadAll(const cursor_descriptor& descriptor, call_context context) {
    const auto columns = static_cast<std::int32_t>(descriptor.column_count);
    std::int64_t cells = 0;
    while (descriptor.next_row(context, descriptor.state) == 0) {
        for (std::int32_t column = 0; column < columns; ++column) {
            ReleaseProcedureValue(descriptor.read_value(context, descriptor.state, column));
            ++cells;
        }
    }
    return cells;
}

std::int64_t CallModule(const char* procedure) {
    const ProcedureContext context;
    ProcedureAnswer answer = CallProcedure(procedure, {ProcedureValue::Text(FlightsPath())});
    if (!answer.cursor) {
        throw std::runtime_error(answer.errors.front());
    }
    return ReadAll(*answer.cursor.get_Descriptor(), context.get_Handle());
}

/// The value of a cell, for the types that the flights have.
host_value MakeValue(call_context context, duckdb_type type, void* data, std::uint64_t row) {
    const procedure_api& api = *GetProcedureTable();
    switch (type) {
    case DUCKDB_TYPE_BIGINT:
        return api.new_int64(context, static_cast<std::int64_t*>(data)[row]);
    case DUCKDB_TYPE_TIMESTAMP: {
        const duckdb_timestamp_struct at = duckdb_from_timestamp(static_cast<duckdb_timestamp*>(data)[row]);
        const ProcedureDate date{at.date.year, static_cast<std::uint32_t>(at.date.month),
                                 static_cast<std::uint32_t>(at.date.day)};
        const ProcedureTime time{
            static_cast<std::uint32_t>(at.time.hour), static_cast<std::uint32_t>(at.time.min),
            static_cast<std::uint32_t>(at.time.sec), static_cast<std::uint32_t>(at.time.micros / 1000)};
        return api.new_datetime(context, PackDateTime({date, time}));
    }
    case DUCKDB_TYPE_VARCHAR: {
        duckdb_string_t& text = static_cast<duckdb_string_t*>(data)[row];
        return api.new_text(context, duckdb_string_t_data(&text), duckdb_string_t_length(text), 0);
    }
    default:
        throw std::runtime_error("The plain loop has no such type.");
    }
}

struct PlainColumn {
    duckdb_type type;
    void* data;
    std::uint64_t* validity;
};

std::int64_t ReadChunk(call_context context, duckdb_data_chunk chunk, std::vector<PlainColumn>& columns) {
    for (idx_t column = 0; column < columns.size(); ++column) {
        duckdb_vector vector = duckdb_data_chunk_get_vector(chunk, column);
        columns[column].data = duckdb_vector_get_data(vector);
        columns[column].validity = duckdb_vector_get_validity(vector);
    }
    const idx_t rows = duckdb_data_chunk_get_size(chunk);
    for (idx_t row = 0; row < rows; ++row) {
        for (const PlainColumn& column : columns) {
            if (column.validity == nullptr || duckdb_validity_row_is_valid(column.validity, row)) {
                ReleaseProcedureValue(MakeValue(context, column.type, column.data, row));
            }
        }
    }
    return static_cast<std::int64_t>(rows * columns.size());
}

std::int64_t RunPlain(const std::string& sql) {
    const ProcedureContext context;
    OwnedDatabase database;
    OwnedConnection connection;
    OwnedResult result;
    if (duckdb_open(nullptr, database.Put()) != DuckDBSuccess ||
        duckdb_connect(database.Get(), connection.Put()) != DuckDBSuccess ||
        duckdb_query(connection.Get(), sql.c_str(), result.Put()) != DuckDBSuccess) {
        throw std::runtime_error("The plain loop failed.");
    }
    std::vector<PlainColumn> columns(duckdb_column_count(result.Get()));
    for (idx_t column = 0; column < columns.size(); ++column) {
        columns[column].type = duckdb_column_type(result.Get(), column);
    }
    std::int64_t cells = 0;
    for (;;) {
        const OwnedDataChunk chunk(duckdb_fetch_chunk(result.Struct()));
        if (!chunk) {
            return cells;
        }
        cells += ReadChunk(context.get_Handle(), chunk.Get(), columns);
    }
}

void SetCells(benchmark::State& state, std::int64_t cells) {
    state.counters["cells"] = static_cast<double>(cells);
    state.SetItemsProcessed(cells * state.iterations());
}

void FetchParquetModule(benchmark::State& state) {
    Register();
    std::int64_t cells = 0;
    for (auto _ : state) {
        cells = CallModule("fetch_parquet");
    }
    SetCells(state, cells);
}
BENCHMARK(FetchParquetModule)->Name("FetchParquet/module")->Unit(benchmark::kMillisecond);

void FetchParquetPlain(benchmark::State& state) {
    std::int64_t cells = 0;
    for (auto _ : state) {
        cells = RunPlain("SELECT * FROM read_parquet('" + FlightsPath() + "')");
    }
    SetCells(state, cells);
}
BENCHMARK(FetchParquetPlain)->Name("FetchParquet/plain")->Unit(benchmark::kMillisecond);

void FetchParquetOpen(benchmark::State& state) {
    for (auto _ : state) {
        OwnedDatabase database;
        OwnedConnection connection;
        if (duckdb_open(nullptr, database.Put()) != DuckDBSuccess ||
            duckdb_connect(database.Get(), connection.Put()) != DuckDBSuccess) {
            throw std::runtime_error("DuckDB doesn't open.");
        }
    }
}
BENCHMARK(FetchParquetOpen)->Name("FetchParquet/open")->Unit(benchmark::kMillisecond);

void ParquetCountModule(benchmark::State& state) {
    Register();
    std::int64_t cells = 0;
    for (auto _ : state) {
        cells = CallModule("parquet_count");
    }
    SetCells(state, cells);
}
BENCHMARK(ParquetCountModule)->Name("ParquetCount/module")->Unit(benchmark::kMillisecond);

void ParquetCountPlain(benchmark::State& state) {
    std::int64_t cells = 0;
    for (auto _ : state) {
        cells = RunPlain("SELECT count(*) AS count FROM read_parquet('" + FlightsPath() + "')");
    }
    SetCells(state, cells);
}
BENCHMARK(ParquetCountPlain)->Name("ParquetCount/plain")->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
