/// @file
/// Reading the cells of a result's chunks as host values.
#pragma once

#include <cstdint>

#include <duckdb.h>

#include "host/unknown.h"
#include "host/value.h"
#include "result/column_list.h"

namespace orkit::orsql {

/// Reads one chunk after the other of one result. Takes no lock and keeps nothing of a chunk but pointers and
/// what it converted. The columns must outlive it.
class ChunkReader {
public:
    /// What the caller is about to read of each chunk.
    enum class Access {
        EveryCell,  ///< all of them
        AnyCell,    ///< perhaps only a few
    };

    ChunkReader(const ColumnList& inColumns, Access inAccess);

    /// Goes to a chunk, which must stay until the next call; null lets go of the last one.
    void Bind(duckdb_data_chunk inChunk);

    /// A new value of a cell of the bound chunk; never null. What DuckDB raises passes through.
    /// @param inColumn below the column count. @param inRow below the chunk's size.
    smart_ptr<I_Value> Read(std::uint32_t inColumn, idx_t inRow);

private:
    const ColumnList& mColumns;
    duckdb_data_chunk mChunk = nullptr;
};

}  // namespace orkit::orsql
