#include "result/variant_cell_reader.h"

#include <array>
#include <charconv>
#include <limits>

#include "result/fixed_types.h"

namespace orkit::orsql {

namespace support = orlimbara::duckdb_support;

namespace {

constexpr std::int64_t kMicrosPerMilli = 1000;

/// Whether milliseconds can be converted to microseconds without colliding with the numbers for infinity.
constexpr bool FitMicros(std::int64_t inMillis) noexcept {
    constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max() / kMicrosPerMilli - 1;
    return inMillis >= -kMost && inMillis <= kMost;
}

using MakeFromPayload = smart_ptr<I_Value> (*)(const void* inPayload);

/// By the number of a VARIANT's content; null for everything but fixed-width types.
constexpr auto kFromPayload = [] {
    std::array<MakeFromPayload, variant_type::kCount> table = {};
    for (const FixedTypeRow& row : kFixedTypes) {
        if (row.mNumber != variant_type::kNone) {
            table[static_cast<std::size_t>(row.mNumber)] = row.mFromPayload;
        }
    }
    return table;
}();

} // namespace

void VariantCellReader::Bind(duckdb_data_chunk inChunk) {
    CellReader::Bind(inChunk);
    mIsLoaded = false;
    mColumn = support::VariantColumn(); // it shares the old chunk's memory
    mJsonWindow.Close();
}

smart_ptr<I_Value> VariantCellReader::Read(idx_t inRow) {
    if (!mIsLoaded) {
        mColumn.Load(Chunk(), Setup().mColumn);
        mIsLoaded = true;
    }
    if (!mJsonWindow.Take(inRow)) {
        mJsonWindow.MoveTo(inRow, duckdb_data_chunk_get_size(Chunk()));
    }
    const std::int32_t number = mColumn.Number(inRow);
    if (number < 0 || number >= variant_type::kCount) {
        return ReadReference(inRow);
    }
    if (const MakeFromPayload make = kFromPayload[static_cast<std::size_t>(number)]) {
        return make(mColumn.Address(inRow));
    }
    switch (number) {
    case variant_type::kNull:
        return MakeNullValue();
    case variant_type::kBoolTrue:
    case variant_type::kBoolFalse:
        return MakeValue(CreateValueBoolean, &I_Value::put_Boolean, number == variant_type::kBoolTrue);
    case variant_type::kInt8: {
        std::array<char, 4> digits;
        const int content = mColumn.Fixed<std::int8_t>(inRow);
        const char* const end = std::to_chars(digits.data(), digits.data() + digits.size(), content).ptr;
        return Setup().mTextBuffer->MakeEnvelope(VariantTypeName(number), {digits.data(), end});
    }
    case variant_type::kVarchar:
        return TextBuffer::MakeString(mColumn.Bytes(inRow));
    case variant_type::kBlob: {
        const std::string_view bytes = mColumn.Bytes(inRow);
        return BytesToValue(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    }
    case variant_type::kDate:
        return DateToValue({mColumn.Fixed<std::int32_t>(inRow)});
    case variant_type::kTimestampMs: {
        const auto millis = mColumn.Fixed<std::int64_t>(inRow);
        return FitMicros(millis) ? TimestampToValue({millis * kMicrosPerMilli}) : ReadPayload(inRow, number);
    }
    case variant_type::kObject:
    case variant_type::kArray:
        return ReadNested(inRow, number);
    default:
        return ReadPayload(inRow, number);
    }
}

smart_ptr<I_Value> VariantCellReader::ReadNested(idx_t inRow, std::int32_t inNumber) {
    std::string_view text;
    const idx_t count = mJsonWindow.get_Count();
    if (count <= 1 || !mColumn.ReadJson(inRow, text, mJsonWindow.get_First(), count)) {
        return ReadPayload(inRow, inNumber);
    }
    mJsonWindow.put_Bytes(text.size() * count); // taken as typical of the run
    return Setup().mTextBuffer->MakeEnvelope(VariantTypeName(inNumber), text);
}

smart_ptr<I_Value> VariantCellReader::ReadPayload(idx_t inRow, std::int32_t inNumber) {
    const support::OwnedValue payload = mColumn.Payload(inRow);
    return VariantChildToValue(payload.Get(), inNumber);
}

} // namespace orkit::orsql
