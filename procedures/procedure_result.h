/// @file
/// What stands behind a cursor of callbacks: a private DuckDB instance, the whole result of a query, and a
/// position in it.
#pragma once

#include <duckdb.h>

#include <cstdint>
#include <string>
#include <vector>

#include "duckdb_support/handles.h"
#include "host/procedure_api.h"

namespace orlimbara::procedures {

/// A column of the result, with its three types (procedures/type_names.h): the DuckDB type that the probe
/// told, the one that the cells have now, and the host's.
struct ProcedureColumn {
    std::string name;
    duckdb_type source_type;
    duckdb_type runtime_type;
    std::int32_t host_type;
};

/// One object on the heap per cursor. It belongs to RunProcedureQuery until the host has the cursor, then to
/// the host, which ends it through `destroy`. Used by one thread at a time; it takes no lock and shares
/// nothing.
///
/// The handles stand in the order in which they open. They go in the opposite one: chunk, result, connection,
/// database.
struct ProcedureResult {
    ProcedureResult() = default;
    ProcedureResult(const ProcedureResult&) = delete;
    ProcedureResult& operator=(const ProcedureResult&) = delete;

    duckdb_support::OwnedDatabase database;
    duckdb_support::OwnedConnection connection;
    duckdb_support::OwnedResult result;
    /// The chunk of the current row; none when there is no current row.
    duckdb_support::OwnedDataChunk chunk;
    std::uint64_t row_in_chunk = 0;
    std::uint64_t chunk_size = 0;
    std::uint64_t chunk_index = 0;
    /// Counted from 0 over all chunks; means something only when positioned.
    std::uint64_t current_row = 0;
    std::uint64_t row_count = 0;
    bool positioned = false;
    std::vector<ProcedureColumn> columns;
    /// The two arrays of the descriptor; the names point into `columns`.
    std::vector<const char*> column_names;
    std::vector<std::int32_t> column_host_types;
    /// The absolute row at which each chunk begins.
    std::vector<std::uint64_t> chunk_starts;
    /// One entry per column into the current chunk, none without a chunk. A null validity mask means that no
    /// cell is NULL.
    std::vector<void*> column_data;
    std::vector<std::uint64_t*> column_validity;
    cursor_descriptor descriptor = {};
};

} // namespace orlimbara::procedures
