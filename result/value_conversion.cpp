#include "result/value_conversion.h"

#include <string>

#include "duckdb_support/handles.h"
#include "duckdb_support/supplement.h"
#include "duckdb_support/times.h"
#include "object_support/errors.h"
#include "result/fixed_types.h"
#include "result/text_buffer.h"

namespace orkit::orsql {

namespace support = orlimbara::duckdb_support;

namespace {

bool IsNull(duckdb_value inValue) { return !inValue || duckdb_is_null_value(inValue); }

/// DuckDB's text of a value. Throws for a time outside its range, which crashes DuckDB's function.
support::OwnedText TextOf(duckdb_value inValue) {
    if (!support::AreTimesInRange(inValue)) {
        ThrowDuckDBError(kValueContext, support::kTimeOutOfRange);
    }
    return support::OwnedText(duckdb_get_varchar(inValue));
}

/// @param inValue a BLOB.
smart_ptr<I_Value> BlobToValue(duckdb_value inValue) {
    const duckdb_blob blob = duckdb_get_blob(inValue);
    const support::OwnedBytes data(blob.data);
    return BytesToValue(data.Get(), static_cast<std::uint32_t>(blob.size));
}

} // namespace

smart_ptr<I_Value> MakeNullValue() {
    smart_ptr<I_Value> value(CreateValueBoolean(true, nullptr, nullptr));
    value->put_IsNull(true);
    return value;
}

smart_ptr<I_Value> BytesToValue(const void* inData, std::uint32_t inLength) {
    smart_ptr<I_Value> value(CreateValueFixedBinary(true, &inLength, nullptr));
    if (inData && inLength != 0) {
        value->put_MaxLength(inLength);
        value->put_Length(inLength);
        QueryAspect<I_ValueBinary>(value.get())->WriteBytes(inData, inLength);
    }
    return value;
}

smart_ptr<I_Value> DateToValue(duckdb_date inDate) {
    const duckdb_date_struct date = duckdb_from_date(inDate);
    smart_ptr<I_Value> value(CreateValueDate(true, nullptr, nullptr));
    QueryAspect<I_ValueDate>(value.get())
        ->put_Date(date.year, static_cast<std::uint16_t>(date.month), static_cast<std::uint16_t>(date.day));
    return value;
}

smart_ptr<I_Value> TimestampToValue(duckdb_timestamp inTimestamp) {
    const duckdb_timestamp_struct parts = duckdb_from_timestamp(inTimestamp);
    const auto part = [](auto inPart) { return static_cast<std::uint16_t>(inPart); };
    smart_ptr<I_Value> value(CreateValueDateTime(false, nullptr, nullptr));
    QueryAspect<I_ValueDateTime>(value.get())
        ->put_DateTime(parts.date.year, part(parts.date.month), part(parts.date.day), part(parts.time.hour),
                       part(parts.time.min), part(parts.time.sec), part(parts.time.micros / 1000));
    return value;
}

smart_ptr<I_Value> ReadCell(duckdb_data_chunk inChunk, idx_t inColumn, idx_t inRow,
                            duckdb_type inColumnType) {
    const support::OwnedValue value(support::chunk_value(inChunk, inColumn, inRow));
    std::int32_t variantType = 0;
    const std::int32_t* known = nullptr;
    if (inColumnType == DUCKDB_TYPE_VARIANT) {
        variantType = support::variant_type(value.Get());
        // A negative number is fine: its payload gets the name "UNKNOWN".
        known = variantType < variant_type::kCount ? &variantType : nullptr;
    }
    return DuckDBToValue(value.Get(), known);
}

smart_ptr<I_Value> DuckDBToValue(duckdb_value inValue, const std::int32_t* inVariantType) {
    if (IsNull(inValue)) {
        return MakeNullValue();
    }
    const duckdb_type type = duckdb_get_type_id(duckdb_get_value_type(inValue));
    if (const FixedTypeRow* const row = FindFixedType(type)) {
        return row->mFromValue(inValue);
    }
    switch (type) {
    case DUCKDB_TYPE_DECIMAL: // rounded to the precision of a double
        return FindFixedType(DUCKDB_TYPE_DOUBLE)->mFromValue(inValue);
    case DUCKDB_TYPE_BLOB:
        return BlobToValue(inValue);
    default:
        break;
    }
    if (type == DUCKDB_TYPE_VARIANT && inVariantType) {
        const support::OwnedValue child(support::variant_child(inValue));
        return VariantChildToValue(child.Get(), *inVariantType);
    }
    return TextBuffer::MakeString(support::ViewOf(TextOf(inValue)));
}

smart_ptr<I_Value> VariantChildToValue(duckdb_value inChild, std::int32_t inVariantType) {
    if (IsNull(inChild)) {
        return MakeNullValue();
    }
    if (const FixedTypeRow* const row = FindFixedPayload(inVariantType)) {
        return row->mFromValue(inChild);
    }
    switch (inVariantType) {
    case variant_type::kNull:
        return MakeNullValue();
    case variant_type::kBoolTrue:
    case variant_type::kBoolFalse:
        return MakeValue(CreateValueBoolean, &I_Value::put_Boolean, inVariantType == variant_type::kBoolTrue);
    case variant_type::kInt8:
        // Unlike a plain TINYINT it keeps its type.
        return TextBuffer().MakeEnvelope(VariantTypeName(inVariantType),
                                         std::to_string(duckdb_get_int8(inChild)));
    case variant_type::kVarchar:
        return TextBuffer::MakeString(support::ViewOf(TextOf(inChild)));
    case variant_type::kBlob:
        return BlobToValue(inChild);
    case variant_type::kDate:
        return DateToValue(duckdb_get_date(inChild));
    case variant_type::kTimestampMs:
        return TimestampToValue(duckdb_get_timestamp(inChild));
    default:
        break;
    }
    return TextBuffer().MakeEnvelope(VariantTypeName(inVariantType), support::ViewOf(TextOf(inChild)));
}

} // namespace orkit::orsql
