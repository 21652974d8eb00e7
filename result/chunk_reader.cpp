#include "result/chunk_reader.h"

namespace orkit::orsql {

ChunkReader::ChunkReader(const ColumnList& inColumns, Access inAccess) {
    mReaders.reserve(inColumns.size());
    for (const Column& column : inColumns) {
        const auto index = static_cast<std::uint32_t>(mReaders.size());
        mReaders.push_back(MakeCellReader({index, column.mType, inAccess, &mTextBuffer}));
    }
}

void ChunkReader::Bind(duckdb_data_chunk inChunk) {
    for (const std::unique_ptr<CellReader>& reader : mReaders) {
        reader->Bind(inChunk);
    }
}

} // namespace orkit::orsql
