/// @file
/// The base of the readers of one column's cells.
#pragma once

#include <cstdint>

#include <duckdb.h>

#include "duckdb_support/handles.h"
#include "host/unknown.h"
#include "host/value.h"
#include "result/text_buffer.h"
#include "result/value_conversion.h"

namespace orkit::orsql {

/// What the caller is about to read of each chunk.
enum class ChunkAccess {
    EveryCell, ///< all of them
    AnyCell,   ///< perhaps only a few
};

/// What a reader is made for.
struct CellReaderSetup {
    std::uint32_t mColumn; ///< from 0
    duckdb_type mType;     ///< the column's type, from the result
    ChunkAccess mAccess;
    TextBuffer* mTextBuffer; ///< must outlive the reader; readers of one thread may share it
};

/// Reads one column, chunk by chunk, and gives the same value for each cell as ReadCell. Takes no lock and is
/// not thread-safe.
///
/// The base class holds the column's vector in the bound chunk: its data, and which rows are NULL.
class CellReader {
public:
    explicit CellReader(const CellReaderSetup& inSetup) : mSetup(inSetup) {}
    virtual ~CellReader() = default;
    CellReader(const CellReader&) = delete;
    CellReader& operator=(const CellReader&) = delete;

    /// Moves to a chunk, which must stay alive until the next call. Null releases the last one.
    virtual void Bind(duckdb_data_chunk inChunk) {
        mChunk = inChunk;
        const duckdb_vector vector =
            inChunk ? duckdb_data_chunk_get_vector(inChunk, mSetup.mColumn) : nullptr;
        mData = vector ? duckdb_vector_get_data(vector) : nullptr;
        mValidity = vector ? duckdb_vector_get_validity(vector) : nullptr;
    }

    /// A new value of a cell of the chunk; never null. Exceptions of the host's factories and of DuckDB pass
    /// through.
    /// @param inRow less than the chunk's size.
    virtual smart_ptr<I_Value> Read(idx_t inRow) = 0;

    const CellReaderSetup& Setup() const noexcept { return mSetup; }
    bool IsNull(idx_t inRow) const noexcept {
        return !orlimbara::duckdb_support::IsRowValid(mValidity, inRow);
    }
    template <class T>
    const T& DataAt(idx_t inRow) const noexcept {
        return static_cast<const T*>(mData)[inRow];
    }

protected:
    duckdb_data_chunk Chunk() const noexcept { return mChunk; }
    smart_ptr<I_Value> ReadReference(idx_t inRow) const {
        return ReadCell(mChunk, mSetup.mColumn, inRow, mSetup.mType);
    }

private:
    const CellReaderSetup mSetup;
    duckdb_data_chunk mChunk = nullptr;
    const void* mData = nullptr;
    const std::uint64_t* mValidity = nullptr; // one bit per row; null: no row is NULL
};

} // namespace orkit::orsql
