#include "result/cast_reader.h"

namespace orkit::orsql {

namespace support = orlimbara::duckdb_support;

void CastReader::Bind(duckdb_data_chunk inChunk) {
    CellReader::Bind(inChunk);
    mWindow.Close();
    mCast.Clear(); // it may share memory with the last chunk
    mIsCast = false;
}

void CastReader::Convert(idx_t inRow) {
    mWindow.MoveTo(inRow, duckdb_data_chunk_get_size(Chunk()));
    mIsCast = false; // also if the cast throws
    // A single cell is cheaper through a duckdb_value.
    mIsCast = mWindow.get_Count() > 1 && Cast(mCast, mWindow.get_First(), mWindow.get_Count());
    mCastValidity = mIsCast ? mCast.Validity() : nullptr;
}

smart_ptr<I_Value> TextCastReader::Read(idx_t inRow) {
    const bool isCast = Reach(inRow);
    if (IsNull(inRow)) {
        return MakeNullValue();
    }
    return isCast ? Setup().mTextBuffer->MakeString(ViewOf(mTexts[Index(inRow)])) : ReadReference(inRow);
}

bool TextCastReader::Cast(support::ColumnCast& ioCast, idx_t inFirst, idx_t inCount) {
    const bool isCast = ioCast.ToText(Chunk(), Setup().mColumn, inFirst, inCount);
    mTexts = ioCast.Texts();
    std::size_t bytes = 0;
    for (idx_t row = 0; isCast && row < inCount; ++row) {
        bytes += IsValid(ioCast.Validity(), row) ? ViewOf(mTexts[row]).size() : 0;
    }
    put_Bytes(bytes);
    return isCast;
}

smart_ptr<I_Value> DoubleCastReader::Read(idx_t inRow) {
    const bool isCast = Reach(inRow);
    if (IsNull(inRow)) {
        return MakeNullValue();
    }
    return isCast ? MakeValue(CreateValueDouble, &I_Value::put_Double, mDoubles[Index(inRow)])
                  : ReadReference(inRow);
}

bool DoubleCastReader::Cast(support::ColumnCast& ioCast, idx_t inFirst, idx_t inCount) {
    const bool isCast = ioCast.ToDouble(Chunk(), Setup().mColumn, inFirst, inCount);
    mDoubles = ioCast.Doubles();
    return isCast;
}

} // namespace orkit::orsql
