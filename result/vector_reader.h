/// @file
/// What readers of a column share.
#pragma once

#include <cstdint>

#include <duckdb.h>

#include "result/cell_reader.h"
#include "result/value_conversion.h"

namespace orkit::orsql {

/// Knows the vector of its column in the bound chunk: its data and which rows are NULL.
class VectorReader : public CellReader {
public:
    explicit VectorReader(const CellReaderSetup& inSetup) : mSetup(inSetup) {}

    void Bind(duckdb_data_chunk inChunk) override {
        mChunk = inChunk;
        const duckdb_vector vector =
            inChunk ? duckdb_data_chunk_get_vector(inChunk, mSetup.mColumn) : nullptr;
        mData = vector ? duckdb_vector_get_data(vector) : nullptr;
        mValidity = vector ? duckdb_vector_get_validity(vector) : nullptr;
    }

protected:
    static bool IsValid(const std::uint64_t* inValidity, idx_t inRow) noexcept {
        return !inValidity || (inValidity[inRow / 64] >> (inRow % 64) & 1) != 0;
    }

    const CellReaderSetup& Setup() const noexcept { return mSetup; }
    duckdb_data_chunk Chunk() const noexcept { return mChunk; }
    bool IsNull(idx_t inRow) const noexcept { return !IsValid(mValidity, inRow); }
    template <class T>
    const T& DataAt(idx_t inRow) const noexcept {
        return static_cast<const T*>(mData)[inRow];
    }
    smart_ptr<I_Value> ReadReference(idx_t inRow) const {
        return ReadCell(mChunk, mSetup.mColumn, inRow, mSetup.mType);
    }

private:
    const CellReaderSetup mSetup;
    duckdb_data_chunk mChunk = nullptr;
    const void* mData = nullptr;
    const std::uint64_t* mValidity = nullptr; // a bit a row; null: no row is NULL
};

} // namespace orkit::orsql
