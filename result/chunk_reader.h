/// @file
/// Reading the cells of a result's chunks as host values.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include <duckdb.h>

#include "result/cell_reader.h"
#include "result/column_list.h"

namespace orkit::orsql {

/// Reads the chunks of one result in order, each column through a reader that is chosen once. Takes no lock,
/// and keeps only pointers into a chunk and what it converted.
class ChunkReader {
public:
    using Access = ChunkAccess;

    ChunkReader(const ColumnList& inColumns, Access inAccess);

    /// Moves to a chunk, which must stay alive until the next call; null releases the last one.
    void Bind(duckdb_data_chunk inChunk);

    /// A new value of a cell of the bound chunk; never null. DuckDB's exceptions pass through.
    /// @param inColumn less than the column count. @param inRow less than the chunk's size.
    smart_ptr<I_Value> Read(std::uint32_t inColumn, idx_t inRow) { return mReaders[inColumn]->Read(inRow); }

    /// The reader of a column. @param inColumn less than the column count.
    CellReader& get_Reader(std::uint32_t inColumn) noexcept { return *mReaders[inColumn]; }

private:
    TextBuffer mTextBuffer;
    std::vector<std::unique_ptr<CellReader>> mReaders; // one per column
};

} // namespace orkit::orsql
