#include "duckdb_support/vector_cast.h"

#include "duckdb_support/duckdb_internals.h"

#include <algorithm>

namespace orlimbara::duckdb_support {

static_assert(sizeof(duckdb_string_t) == sizeof(duckdb::string_t));

struct ColumnCast::Result {
    Result(const duckdb::LogicalType& inType, duckdb::idx_t inCapacity) : mVector(inType, inCapacity) {}

    duckdb::Vector mVector;
    bool mIsText = false;
};

ColumnCast::ColumnCast() noexcept = default;
ColumnCast::~ColumnCast() = default;
ColumnCast::ColumnCast(ColumnCast&&) noexcept = default;
ColumnCast& ColumnCast::operator=(ColumnCast&&) noexcept = default;

bool ColumnCast::ToText(duckdb_data_chunk inChunk, idx_t inColumn, idx_t inFirst, idx_t inCount) {
    return Cast(inChunk, inColumn, inFirst, inCount, true);
}

bool ColumnCast::ToDouble(duckdb_data_chunk inChunk, idx_t inColumn, idx_t inFirst, idx_t inCount) {
    return Cast(inChunk, inColumn, inFirst, inCount, false);
}

bool ColumnCast::Cast(duckdb_data_chunk inChunk, idx_t inColumn, idx_t inFirst, idx_t inCount,
                      bool inToText) {
    mResult.reset();
    return internals::Succeeds([&] {
        if (inChunk == nullptr || inColumn >= internals::Unwrap(inChunk).ColumnCount()) {
            return false;
        }
        duckdb::DataChunk& chunk = internals::Unwrap(inChunk);
        const duckdb::idx_t first = std::min<duckdb::idx_t>(inFirst, chunk.size());
        const duckdb::idx_t count = std::min<duckdb::idx_t>(inCount, chunk.size() - first);
        const duckdb::LogicalType target =
            inToText ? duckdb::LogicalType(duckdb::LogicalType::VARCHAR) : duckdb::LogicalType::DOUBLE;
        auto result = std::make_unique<Result>(target, std::max<duckdb::idx_t>(count, STANDARD_VECTOR_SIZE));
        result->mIsText = inToText;

        duckdb::Vector source(chunk.data[inColumn]); // a reference: a cast may change the form of its source
        if (count < chunk.size()) {
            // A copy, not a slice: the cast of a list casts its whole child vector.
            duckdb::Vector rows(source.GetType(), std::max<duckdb::idx_t>(count, 1));
            duckdb::VectorOperations::Copy(source, rows, first + count, first, 0);
            source.Reference(rows);
        }
        if (!internals::AreTimesInRange(source, count)) { // the cast would crash
            return false;
        }
        std::string error;
        if (!duckdb::VectorOperations::DefaultTryCast(source, result->mVector, count, &error)) {
            return false;
        }
        result->mVector.Flatten(count);
        mResult = std::move(result);
        return true;
    });
}

const duckdb_string_t* ColumnCast::Texts() const noexcept {
    return mResult && mResult->mIsText ? reinterpret_cast<const duckdb_string_t*>(
                                             duckdb::FlatVector::GetData<duckdb::string_t>(mResult->mVector))
                                       : nullptr;
}

const double* ColumnCast::Doubles() const noexcept {
    return mResult && !mResult->mIsText ? duckdb::FlatVector::GetData<double>(mResult->mVector) : nullptr;
}

const std::uint64_t* ColumnCast::Validity() const noexcept {
    return mResult ? duckdb::FlatVector::Validity(mResult->mVector).GetData() : nullptr;
}

void ColumnCast::Clear() noexcept { mResult.reset(); }

} // namespace orlimbara::duckdb_support
