#include "result/cast_reader.h"

#include <algorithm>
#include <array>

#include "duckdb_support/handles.h"

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
    // A single cell is cheaper to read through a duckdb_value.
    mIsCast = mWindow.get_Count() > 1 && Cast(mCast, mWindow.get_First(), mWindow.get_Count());
    mCastValidity = mIsCast ? mCast.Validity() : nullptr;
}

smart_ptr<I_Value> TextCastReader::Read(idx_t inRow) {
    const bool isCast = Reach(inRow);
    if (IsNull(inRow)) {
        return MakeNullValue();
    }
    return isCast ? TextBuffer::MakeString(ViewOf(mTexts[Index(inRow)])) : ReadReference(inRow);
}

bool TextCastReader::Cast(support::ColumnCast& ioCast, idx_t inFirst, idx_t inCount) {
    const bool isCast = ioCast.ToText(Chunk(), Setup().mColumn, inFirst, inCount);
    mTexts = ioCast.Texts();
    std::size_t bytes = 0;
    for (idx_t row = 0; isCast && row < inCount; ++row) {
        bytes += support::IsRowValid(ioCast.Validity(), row) ? ViewOf(mTexts[row]).size() : 0;
    }
    put_Bytes(bytes);
    return isCast;
}

void DecimalReader::Bind(duckdb_data_chunk inChunk) {
    CastReader::Bind(inChunk);
    if (inChunk && mStorage == DUCKDB_TYPE_INVALID) {
        static constexpr std::array kPowers = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,
                                               1e10, 1e11, 1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19,
                                               1e20, 1e21, 1e22, 1e23, 1e24, 1e25, 1e26, 1e27, 1e28, 1e29,
                                               1e30, 1e31, 1e32, 1e33, 1e34, 1e35, 1e36, 1e37, 1e38};
        const support::OwnedLogicalType type(
            duckdb_vector_get_column_type(duckdb_data_chunk_get_vector(inChunk, Setup().mColumn)));
        mDivisor = kPowers[std::min<std::size_t>(duckdb_decimal_scale(type.Get()), kPowers.size() - 1)];
        mStorage = duckdb_decimal_internal_type(type.Get());
    }
}

smart_ptr<I_Value> DecimalReader::Read(idx_t inRow) {
    if (IsNull(inRow)) {
        return MakeNullValue();
    }
    double number;
    if (Divide(inRow, number)) {
        return MakeValue(CreateValueDouble, &I_Value::put_Double, number);
    }
    return Reach(inRow) ? MakeValue(CreateValueDouble, &I_Value::put_Double, mDoubles[Index(inRow)])
                        : ReadReference(inRow);
}

bool DecimalReader::Cast(support::ColumnCast& ioCast, idx_t inFirst, idx_t inCount) {
    const bool isCast = ioCast.ToDouble(Chunk(), Setup().mColumn, inFirst, inCount);
    mDoubles = ioCast.Doubles();
    return isCast;
}

} // namespace orkit::orsql
