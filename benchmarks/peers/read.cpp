/// @file
/// peer_module TABLES_SQL TABLE [bare]: reads a table row by row through a server cursor, or with "bare" only
/// fetches its chunks through DuckDB's C functions; prints seconds of processor time and cells.
#include <cstdint>
#include <cstdio>
#include <exception>
#include <fstream>
#include <sstream>
#include <string>

#include "benchmarks/bench_database.h"
#include "benchmarks/bench_support.h"

namespace orkit::orsql::bench {
namespace {

std::uint64_t FetchAll(Database& ioDatabase, const std::string& inSql) {
    auto result = ioDatabase.Run(inSql);
    std::uint64_t cells = 0;
    while (const orlimbara::duckdb_support::OwnedDataChunk chunk{duckdb_fetch_chunk(result.Struct())}) {
        cells += duckdb_data_chunk_get_size(chunk.Get()) * duckdb_data_chunk_get_column_count(chunk.Get());
    }
    return cells;
}

} // namespace
} // namespace orkit::orsql::bench

int main(int inCount, char** inArguments) {
    using namespace orkit::orsql::bench;
    if (inCount < 3) {
        std::fprintf(stderr, "usage: peer_module TABLES_SQL TABLE [bare]\n");
        return 2;
    }
    try {
        std::stringstream tables;
        tables << std::ifstream(inArguments[1]).rdbuf();
        Database database;
        database.Run(tables.str());
        const std::string sql = std::string("FROM ") + inArguments[2];
        const auto read = inCount > 3 ? FetchAll : ReadCells;
        read(database, sql);
        std::uint64_t cells = 0;
        const Seconds time = Time<ProcessClock>([&] { cells = read(database, sql); });
        std::printf("%f %llu\n", time.count(), static_cast<unsigned long long>(cells));
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "peer_module: %s\n", error.what());
        return 1;
    }
}
