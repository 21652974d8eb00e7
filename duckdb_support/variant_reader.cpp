#include "duckdb_support/variant_reader.h"

#include <duckdb/common/serializer/varint.hpp>
#include <duckdb/function/scalar/variant_utils.hpp>

namespace orlimbara::duckdb_support::internals {

VariantReader::VariantReader(duckdb::Vector& ioVector, duckdb::idx_t inCount) {
    duckdb::Vector::RecursiveToUnifiedFormat(ioVector, inCount, mFormat);
    mData = duckdb::make_uniq<duckdb::UnifiedVariantVectorData>(mFormat);
}

std::int32_t VariantReader::Number(duckdb::idx_t inRow) const {
    if (!mData->RowIsValid(inRow)) {
        return 0;
    }
    if (mData->GetValuesListEntry(inRow).length == 0) {
        return kUnreadable;
    }
    return static_cast<std::int32_t>(mData->GetTypeId(inRow, 0));
}

const std::uint8_t* VariantReader::Address(duckdb::idx_t inRow) const {
    return duckdb::const_data_ptr_cast(mData->GetData(inRow).GetData()) + mData->GetByteOffset(inRow, 0);
}

std::string_view VariantReader::Bytes(duckdb::idx_t inRow) const {
    // Not DuckDB's own DecodeStringData: its string_t holds a copy of a short text.
    duckdb::const_data_ptr_t bytes = Address(inRow);
    const auto length = duckdb::VarintDecode<std::uint32_t>(bytes);
    return {duckdb::const_char_ptr_cast(bytes), length};
}

duckdb::Value VariantReader::Payload(duckdb::idx_t inRow) const {
    return duckdb::VariantUtils::ConvertVariantToValue(*mData, inRow, 0);
}

bool VariantReader::IsNested(std::int32_t inNumber) noexcept {
    return inNumber == static_cast<std::int32_t>(duckdb::VariantLogicalType::OBJECT) ||
           inNumber == static_cast<std::int32_t>(duckdb::VariantLogicalType::ARRAY);
}

duckdb::Value VariantChild(const duckdb::Value& inVariant) {
    duckdb::Vector vector(inVariant);
    const VariantReader reader(vector, 1);
    duckdb::Vector checked(inVariant); // not the reader's vector, whose form must stay
    // A time outside its range crashes the cast to JSON.
    if (VariantReader::IsNested(reader.Number(0)) && AreTimesInRange(checked, 1)) {
        // JSON can be converted back to a VARIANT; the text of a STRUCT or a LIST can't.
        duckdb::Value json;
        std::string error;
        if (inVariant.DefaultTryCastAs(duckdb::LogicalType::JSON(), json, &error) && !json.IsNull()) {
            return json;
        }
    }
    return reader.Payload(0);
}

} // namespace orlimbara::duckdb_support::internals
