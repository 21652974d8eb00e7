/// @file
/// Reading the cells of one column, in the way that is best for its type.
#pragma once

#include <cstdint>
#include <memory>

#include <duckdb.h>

#include "host/unknown.h"
#include "host/value.h"
#include "result/text_buffer.h"

namespace orkit::orsql {

/// What the caller is about to read of each chunk.
enum class ChunkAccess {
    EveryCell, ///< all of them
    AnyCell,   ///< perhaps only a few
};

/// What a reader is made for.
struct CellReaderSetup {
    std::uint32_t mColumn; ///< from 0
    duckdb_type mType;     ///< the column's type, as the result tells it
    ChunkAccess mAccess;
    TextBuffer* mTextBuffer; ///< must outlive the reader; readers of one thread may share it
};

/// Reads one column of one chunk after the other. What it gives for a cell is what ReadCell gives; it takes
/// no lock and is not synchronised.
class CellReader {
public:
    virtual ~CellReader() = default;
    CellReader(const CellReader&) = delete;
    CellReader& operator=(const CellReader&) = delete;

    /// Goes to a chunk, which must stay until the next call. Null lets go of the last one.
    virtual void Bind(duckdb_data_chunk inChunk) = 0;

    /// A new value of a cell of the chunk; never null. What the host's factories or DuckDB raise passes
    /// through.
    /// @param inRow below the chunk's size.
    virtual smart_ptr<I_Value> Read(idx_t inRow) = 0;

protected:
    CellReader() = default;
};

/// A reader for the column; one that reads by ReadCell where there is no better one for its type.
std::unique_ptr<CellReader> MakeCellReader(const CellReaderSetup& inSetup);

} // namespace orkit::orsql
