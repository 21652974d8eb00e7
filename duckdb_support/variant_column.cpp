#include "duckdb_support/variant_column.h"

#include "duckdb_support/variant_reader.h"

#include <algorithm>
#include <optional>

namespace orlimbara::duckdb_support {

using internals::OrElse;
using internals::VariantReader;

struct VariantColumn::State {
    State(duckdb::Vector& ioColumn, duckdb::idx_t inCount)
        : mCount(inCount), mVector(ioColumn), mReader(mVector, inCount) {}

    /// JSON of all rows; may raise.
    void CastToJson() {
        mJsonTried = true;
        duckdb::Vector json(duckdb::LogicalType::JSON(),
                            std::max<duckdb::idx_t>(mCount, STANDARD_VECTOR_SIZE));
        duckdb::Vector source(mVector);
        std::string error;
        if (duckdb::VectorOperations::DefaultTryCast(source, json, mCount, &error)) {
            json.Flatten(mCount);
            mJson.emplace(std::move(json));
        }
    }

    duckdb::idx_t mCount;
    duckdb::Vector mVector; // refers to the column, so that the column keeps its form
    VariantReader mReader;
    bool mJsonTried = false;
    std::optional<duckdb::Vector> mJson;
};

VariantColumn::VariantColumn() noexcept = default;
VariantColumn::~VariantColumn() = default;
VariantColumn::VariantColumn(VariantColumn&&) noexcept = default;
VariantColumn& VariantColumn::operator=(VariantColumn&&) noexcept = default;

bool VariantColumn::Load(duckdb_data_chunk inChunk, idx_t inColumn) noexcept {
    mState.reset();
    return OrElse(false, [&] {
        if (inChunk == nullptr || inColumn >= internals::Unwrap(inChunk).ColumnCount()) {
            return false;
        }
        duckdb::DataChunk& chunk = internals::Unwrap(inChunk);
        duckdb::Vector& column = chunk.data[inColumn];
        if (column.GetType().id() != duckdb::LogicalTypeId::VARIANT) {
            return false;
        }
        mState = std::make_unique<State>(column, chunk.size());
        return true;
    });
}

std::int32_t VariantColumn::Number(idx_t inRow) const noexcept {
    return OrElse(VariantReader::kUnreadable, [&] { return mState->mReader.Number(inRow); });
}

const std::uint8_t* VariantColumn::Address(idx_t inRow) const noexcept {
    return mState->mReader.Address(inRow);
}

std::string_view VariantColumn::Bytes(idx_t inRow) const noexcept {
    return OrElse(std::string_view(), [&] { return mState->mReader.Bytes(inRow); });
}

OwnedValue VariantColumn::Payload(idx_t inRow) const noexcept {
    return OwnedValue(OrElse<duckdb_value>(nullptr, [&] {
        if (VariantReader::IsNested(mState->mReader.Number(inRow))) {
            return internals::WrapNew(internals::VariantChild(mState->mVector.GetValue(inRow)));
        }
        return internals::WrapNew(mState->mReader.Payload(inRow));
    }));
}

bool VariantColumn::ReadJson(idx_t inRow, std::string_view& outText) noexcept {
    return OrElse(false, [&] {
        if (!mState->mJsonTried) {
            mState->CastToJson();
        }
        if (!mState->mJson) {
            return false;
        }
        const auto& text = duckdb::FlatVector::GetData<duckdb::string_t>(*mState->mJson)[inRow];
        outText = {text.GetData(), text.GetSize()};
        return true;
    });
}

} // namespace orlimbara::duckdb_support
