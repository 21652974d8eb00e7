#include "result/chunk_reader.h"

#include "result/value_conversion.h"

namespace orkit::orsql {

ChunkReader::ChunkReader(const ColumnList& inColumns, Access) : mColumns(inColumns) {}

void ChunkReader::Bind(duckdb_data_chunk inChunk) {
    mChunk = inChunk;
}

smart_ptr<I_Value> ChunkReader::Read(std::uint32_t inColumn, idx_t inRow) {
    return ReadCell(mChunk, inColumn, inRow, mColumns[inColumn].mType);
}

}  // namespace orkit::orsql
