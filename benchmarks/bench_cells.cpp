/// @file
/// What it costs to make host values from DuckDB's cells, by type. Each time is for a complete result of 16
/// columns that exists already; "items" are cells.
///
///   Client/T              creating a client cursor, which reads every cell
///   Server/T              reading every cell of a server cursor and dropping it
///   Reference/T           the same through a `duckdb_value` per cell
///   Floor/T               a plain loop over the vectors that drops each value at once, beside Server
///   FloorKept/T           one that keeps them in the same arrays of rows, beside Client
///   FirstRow/T            the cells of the first row of a server cursor
///   FirstRowReference/T   the same through a `duckdb_value` per cell
///   FirstPage/T           the cells of its first 50 rows
///   FirstPageReference/T  the same through a `duckdb_value` per cell
///
/// All subjects of a type are measured together when the first of them runs: several times in turns, on
/// memory that was used before. The shortest time is reported.
#include <algorithm>
#include <array>
#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>
#include <duckdb.h>
#include <malloc.h>

#include "benchmarks/bench_database.h"
#include "benchmarks/bench_support.h"
#include "benchmarks/cell_floor.h"
#include "duckdb_support/handles.h"
#include "result/client_cursor.h"
#include "result/server_cursor.h"
#include "result/value_conversion.h"

namespace orkit::orsql::bench {
namespace {

namespace support = orlimbara::duckdb_support;

struct MeasuredType {
    const char* mName;
    const char* mExpression; ///< of the number `i`
    const Floor* mFloor;
};

constexpr MeasuredType kTypes[] = {
    {"BOOLEAN", "i % 3 = 0", &kBooleanFloor},
    {"TINYINT", "(i % 256 - 128)::TINYINT", &kTinyintFloor},
    {"SMALLINT", "(i % 60000 - 30000)::SMALLINT", &kSmallintFloor},
    {"INTEGER", "i::INTEGER", &kIntegerFloor},
    {"BIGINT", "i", &kBigintFloor},
    {"UTINYINT", "(i % 256)::UTINYINT", &kUTinyintFloor},
    {"USMALLINT", "(i % 60000)::USMALLINT", &kUSmallintFloor},
    {"UINTEGER", "i::UINTEGER", &kUIntegerFloor},
    {"UBIGINT", "i::UBIGINT", &kUBigintFloor},
    {"FLOAT", "i::FLOAT / 8", &kFloatFloor},
    {"DOUBLE", "i::DOUBLE / 7", &kDoubleFloor},
    {"VARCHAR", "'the text of cell ' || i", &kVarcharFloor},
    {"BLOB", "('the bytes of cell ' || i)::BLOB", &kBlobFloor},
    {"DECIMAL", "(i / 8)::DECIMAL(18, 3)", &kDecimalFloor},
    {"HUGEINT", "i::HUGEINT * 1000000000000000000", &kHugeintFloor},
    {"UHUGEINT", "(i % 1000)::UHUGEINT * 1000000", &kUhugeintFloor},
    {"BIGNUM", "(i::VARCHAR || '00000000000000000000000000000000000000000')::BIGNUM", &kTextCastFloor},
    {"DATE", "DATE '1970-01-01' + (i % 50000)::INTEGER", &kDateFloor},
    {"TIME", "TIME '00:00:00' + to_microseconds(i * 100003)", &kTimeFloor},
    {"TIME_NS", "(TIME '00:00:00' + to_microseconds(i * 100003))::TIME_NS", &kTimeNsFloor},
    {"TIMETZ", "(TIME '00:00:00' + to_microseconds(i * 100003))::TIMETZ", &kTimeTzFloor},
    {"TIMESTAMP", "TIMESTAMP '2000-01-01' + to_microseconds(i * 1000003)", &kTimestampFloor},
    {"TIMESTAMP_S", "(TIMESTAMP '2000-01-01' + to_seconds(i))::TIMESTAMP_S", &kTimestampSFloor},
    {"TIMESTAMP_MS", "(TIMESTAMP '2000-01-01' + to_milliseconds(i * 10))::TIMESTAMP_MS", &kTimestampMsFloor},
    {"TIMESTAMP_NS", "(TIMESTAMP '2000-01-01' + to_microseconds(i * 1000003))::TIMESTAMP_NS",
     &kTimestampNsFloor},
    {"TIMESTAMPTZ", "(TIMESTAMP '2000-01-01' + to_microseconds(i * 1000003))::TIMESTAMPTZ",
     &kTimestampTzFloor},
    {"INTERVAL", "to_microseconds(i * 1000003)", &kIntervalFloor},
    {"UUID", "md5(i::VARCHAR)::UUID", &kUuidFloor},
    {"BIT", "(i % 256)::INTEGER::BIT", &kBitFloor},
    {"ENUM",
     "(['red', 'green', 'blue', 'a long name for a colour'])[i % 4 + 1]"
     "::ENUM('red', 'green', 'blue', 'a long name for a colour')",
     &kEnumFloor},
    {"LIST", "[i, i + 1, i + 2]", &kTextCastFloor},
    {"ARRAY", "array_value(i, i + 1, i + 2)", &kTextCastFloor},
    {"STRUCT", "{'number': i, 'text': 'cell ' || i}", &kTextCastFloor},
    {"MAP", "MAP {'number': i, 'next': i + 1}", &kTextCastFloor},
    {"UNION", "union_value(number := i)", &kTextCastFloor},
    {"GEOMETRY", "('POINT (' || i || ' 1)')::GEOMETRY", &kTextCastFloor},
    {"VARIANT",
     "CASE i % 5 WHEN 0 THEN i::INTEGER::VARIANT WHEN 1 THEN ('the text of cell ' || i)::VARIANT "
     "WHEN 2 THEN (i / 7)::DOUBLE::VARIANT WHEN 3 THEN (DATE '1970-01-01' + (i % 50000)::INTEGER)::VARIANT "
     "ELSE [i, i + 1]::VARIANT END",
     &kVariantFloor},
};

constexpr int kRows = 10'240; // five chunks
constexpr int kReferenceRows = 1'024;
constexpr int kPageRows = 50;
// How long, and at least and at most how often, a type is measured.
constexpr Seconds kMeasureTime{2.5};
constexpr int kMinRounds = 7;
constexpr int kMaxRounds = 40;

/// The database with the measured table.
class CellDatabase : public Database {
public:
    /// Rows of a type's table, which is created if the last one had another type.
    support::OwnedResult Rows(const MeasuredType& inType, int inCount) {
        if (mTable != inType.mName) {
            std::string sql = "CREATE OR REPLACE TABLE cells AS SELECT ";
            for (idx_t column = 0; column < kColumns; ++column) {
                sql += (column ? ", (" : "(") + std::string(inType.mExpression) + ") AS c" +
                       std::to_string(column);
            }
            Run(sql + " FROM range(" + std::to_string(kRows) + ") t(i)");
            mTable = inType.mName;
        }
        return Run("FROM cells LIMIT " + std::to_string(inCount));
    }

private:
    std::string mTable;
};

CellDatabase* gDatabase = nullptr; // lives as long as main

Seconds TimeFloor(const MeasuredType& inType, support::OwnedResult inResult) {
    return Time<ThreadClock>([&] { inType.mFloor->mDropAll(inResult.Struct()); });
}

Seconds TimeFloorKept(const MeasuredType& inType, support::OwnedResult inResult) {
    smart_ptr<RowArray> rows;
    return Time<ThreadClock>([&] { rows = inType.mFloor->mKeepAll(inResult.Struct()); });
}

Seconds TimeClient(const MeasuredType&, support::OwnedResult inResult) {
    smart_ptr<I_DuckDBCursor> cursor;
    return Time<ThreadClock>([&] { cursor = gDatabase->Open<DuckDBCursor_client>(std::move(inResult)); });
}

Seconds TimeServer(const MeasuredType&, support::OwnedResult inResult) {
    smart_ptr<I_DuckDBCursor> cursor;
    return Time<ThreadClock>([&] {
        cursor = gDatabase->Open<DuckDBCursor_server>(std::move(inResult));
        while (cursor->NextRecord()) {
            for (std::uint32_t column = 0; column < kColumns; ++column) {
                cursor->get_Value(column);
            }
        }
    });
}

void ReadByReference(duckdb_data_chunk inChunk, idx_t inRows, duckdb_type inType) {
    for (idx_t row = 0; row < inRows; ++row) {
        for (idx_t column = 0; column < kColumns; ++column) {
            ReadCell(inChunk, column, row, inType);
        }
    }
}

Seconds TimeReference(const MeasuredType&, support::OwnedResult inResult) {
    const duckdb_type type = duckdb_column_type(inResult.Get(), 0);
    return Time<ThreadClock>([&] {
        while (const support::OwnedDataChunk chunk{duckdb_fetch_chunk(inResult.Struct())}) {
            ReadByReference(chunk.Get(), duckdb_data_chunk_get_size(chunk.Get()), type);
        }
    });
}

/// The first rows of a server cursor, without the time to fetch their chunk.
template <int kCount>
Seconds TimeFirst(const MeasuredType&, support::OwnedResult inResult) {
    const smart_ptr<I_DuckDBCursor> cursor = gDatabase->Open<DuckDBCursor_server>(std::move(inResult));
    cursor->NextRecord();
    return Time<WallClock>([&] {
        for (int row = 0; row < kCount; ++row) {
            for (std::uint32_t column = 0; column < kColumns; ++column) {
                cursor->get_Value(column);
            }
            cursor->NextRecord();
        }
    });
}

template <int kCount>
Seconds TimeFirstByReference(const MeasuredType&, support::OwnedResult inResult) {
    const duckdb_type type = duckdb_column_type(inResult.Get(), 0);
    const support::OwnedDataChunk chunk{duckdb_fetch_chunk(inResult.Struct())};
    return Time<WallClock>([&] { ReadByReference(chunk.Get(), kCount, type); });
}

struct Subject {
    const char* mName;
    int mRows;     ///< rows of the result
    int mReadRows; ///< rows that are read of it
    Seconds (*mTime)(const MeasuredType& inType, support::OwnedResult inResult);
};

constexpr Subject kSubjects[] = {
    {"Floor", kRows, kRows, TimeFloor},
    {"Server", kRows, kRows, TimeServer},
    {"FloorKept", kRows, kRows, TimeFloorKept},
    {"Client", kRows, kRows, TimeClient},
    {"Reference", kReferenceRows, kReferenceRows, TimeReference},
    {"FirstRow", kRows, 1, TimeFirst<1>},
    {"FirstRowReference", kRows, 1, TimeFirstByReference<1>},
    {"FirstPage", kRows, kPageRows, TimeFirst<kPageRows>},
    {"FirstPageReference", kRows, kPageRows, TimeFirstByReference<kPageRows>},
};

/// The shortest time of each subject on a type, without what other programs add. They run in turns, so that a
/// slow period affects all of them.
std::array<Seconds, std::size(kSubjects)> MeasureType(const MeasuredType& inType) {
    std::array<Seconds, std::size(kSubjects)> shortest;
    shortest.fill(Seconds::max());
    const Seconds start = WallClock::Now();
    for (int round = 0; round <= kMaxRounds; ++round) {
        if (round > kMinRounds && WallClock::Now() - start > kMeasureTime) {
            break;
        }
        for (std::size_t i = 0; i < shortest.size(); ++i) {
            const Subject& subject = kSubjects[i];
            const Seconds time = subject.mTime(inType, gDatabase->Rows(inType, subject.mRows));
            if (round > 0) { // the first round touches the memory
                shortest[i] = std::min(shortest[i], time);
            }
        }
    }
    return shortest;
}

void Report(benchmark::State& ioState, const MeasuredType& inType, std::size_t inSubject) {
    static std::map<const MeasuredType*, std::array<Seconds, std::size(kSubjects)>> measured;
    for ([[maybe_unused]] auto _ : ioState) {
        if (!measured.contains(&inType)) {
            measured[&inType] = MeasureType(inType);
        }
        ioState.SetIterationTime(measured[&inType][inSubject].count());
    }
    ioState.SetItemsProcessed(static_cast<std::int64_t>(kColumns) * kSubjects[inSubject].mReadRows *
                              ioState.iterations());
}

void RegisterAll() {
    for (const MeasuredType& type : kTypes) {
        for (std::size_t subject = 0; subject < std::size(kSubjects); ++subject) {
            const std::string name = std::string(kSubjects[subject].mName) + "/" + type.mName;
            benchmark::RegisterBenchmark(name.c_str(), Report, std::cref(type), subject)
                ->UseManualTime()
                ->Iterations(1)
                ->Unit(benchmark::kMillisecond);
        }
    }
}

/// The processor's name, for readers of the results.
std::string CpuName() {
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("model name") && line.find(": ") != std::string::npos) {
            return line.substr(line.find(": ") + 2);
        }
    }
    return "an unnamed processor";
}

} // namespace
} // namespace orkit::orsql::bench

int main(int inCount, char** inArguments) {
    using namespace orkit::orsql::bench;
    // Freed memory stays mapped: the cost of new pages is the system's, not the cursors'.
    mallopt(M_MMAP_THRESHOLD, 32 << 20); // the most it takes
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    benchmark::AddCustomContext("cpu", CpuName());
    benchmark::AddCustomContext("duckdb", std::string("DuckDB ") + duckdb_library_version());
    benchmark::AddCustomContext("compiler", "g++ " __VERSION__);
    CellDatabase database;
    gDatabase = &database;
    RegisterAll();
    return RunBenchmarks(inCount, inArguments);
}
