/// @file
/// Reading the cells of a result's chunks as host values.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include <duckdb.h>

#include "host/unknown.h"
#include "host/value.h"
#include "result/cell_reader.h"
#include "result/column_list.h"
#include "result/text_buffer.h"

namespace orkit::orsql {

/// Reads one chunk after the other of one result, each column by a reader that is chosen once. Takes no lock
/// and keeps nothing of a chunk but pointers and what it converted.
class ChunkReader {
public:
    using Access = ChunkAccess;

    ChunkReader(const ColumnList& inColumns, Access inAccess);

    /// Goes to a chunk, which must stay until the next call; null lets go of the last one.
    void Bind(duckdb_data_chunk inChunk);

    /// A new value of a cell of the bound chunk; never null. What DuckDB raises passes through.
    /// @param inColumn below the column count. @param inRow below the chunk's size.
    smart_ptr<I_Value> Read(std::uint32_t inColumn, idx_t inRow) { return mReaders[inColumn]->Read(inRow); }

private:
    TextBuffer mTextBuffer;
    std::vector<std::unique_ptr<CellReader>> mReaders; // one a column
};

} // namespace orkit::orsql
