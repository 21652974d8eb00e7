#include "duckdb_support/variant_column.h"

#include "duckdb_support/variant_reader.h"

#include <algorithm>
#include <optional>

namespace orlimbara::duckdb_support {

using internals::VariantReader;

struct VariantColumn::State {
    State(duckdb::Vector& ioColumn, duckdb::idx_t inCount)
        : mCount(inCount), mVector(ioColumn), mReader(mVector, inCount) {}

    /// Casts rows to JSON; may throw.
    void CastToJson(duckdb::idx_t inFirst, duckdb::idx_t inCount) {
        mJson.reset();
        mJsonFirst = std::min(inFirst, mCount);
        mJsonCount = std::min(inCount, mCount - mJsonFirst);
        duckdb::Vector source(mVector);
        if (mJsonCount < mCount) {
            // A copy, not a slice: a cast reads the whole child vectors.
            duckdb::Vector rows(source.GetType(), std::max<duckdb::idx_t>(mJsonCount, 1));
            duckdb::VectorOperations::Copy(source, rows, mJsonFirst + mJsonCount, mJsonFirst, 0);
            source.Reference(rows);
        }
        if (!internals::AreTimesInRange(source, mJsonCount)) { // the cast would crash
            return;
        }
        duckdb::Vector json(duckdb::LogicalType::JSON(),
                            std::max<duckdb::idx_t>(mJsonCount, STANDARD_VECTOR_SIZE));
        std::string error;
        if (duckdb::VectorOperations::DefaultTryCast(source, json, mJsonCount, &error)) {
            json.Flatten(mJsonCount);
            mJson.emplace(std::move(json));
        }
    }

    /// Whether the row was in the last CastToJson.
    bool WasJsonTried(duckdb::idx_t inRow) const { return inRow - mJsonFirst < mJsonCount; }

    duckdb::idx_t mCount;
    duckdb::Vector mVector; // a reference, so that the column itself stays as it is
    VariantReader mReader;
    duckdb::idx_t mJsonFirst = 0;
    duckdb::idx_t mJsonCount = 0;
    std::optional<duckdb::Vector> mJson; // of these rows; empty if they can't be cast
};

VariantColumn::VariantColumn() noexcept = default;
VariantColumn::~VariantColumn() = default;
VariantColumn::VariantColumn(VariantColumn&&) noexcept = default;
VariantColumn& VariantColumn::operator=(VariantColumn&&) noexcept = default;

void VariantColumn::Load(duckdb_data_chunk inChunk, idx_t inColumn) {
    duckdb::DataChunk& chunk = internals::Unwrap(inChunk);
    mState = std::make_unique<State>(chunk.data[inColumn], chunk.size());
}

std::int32_t VariantColumn::Number(idx_t inRow) const { return mState->mReader.Number(inRow); }

const std::uint8_t* VariantColumn::Address(idx_t inRow) const { return mState->mReader.Address(inRow); }

std::string_view VariantColumn::Bytes(idx_t inRow) const { return mState->mReader.Bytes(inRow); }

OwnedValue VariantColumn::Payload(idx_t inRow) const {
    const bool is_nested = VariantReader::IsNested(mState->mReader.Number(inRow));
    return OwnedValue(internals::WrapNew(is_nested ? internals::VariantChild(mState->mVector.GetValue(inRow))
                                                   : mState->mReader.Payload(inRow)));
}

bool VariantColumn::ReadJson(idx_t inRow, std::string_view& outText, idx_t inFirst, idx_t inCount) {
    return internals::Succeeds([&] {
        State& state = *mState;
        if (!state.WasJsonTried(inRow)) {
            state.CastToJson(inFirst, inCount);
        }
        if (!state.mJson || !state.WasJsonTried(inRow)) {
            return false;
        }
        const idx_t index = inRow - state.mJsonFirst;
        if (!duckdb::FlatVector::Validity(*state.mJson).RowIsValid(index)) {
            return false;
        }
        const auto& text = duckdb::FlatVector::GetData<duckdb::string_t>(*state.mJson)[index];
        outText = {text.GetData(), text.GetSize()};
        return true;
    });
}

} // namespace orlimbara::duckdb_support
