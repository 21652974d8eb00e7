#include "result/chunk_reader.h"

#include <array>
#include <optional>
#include <utility>
#include <vector>

#include "duckdb_support/handles.h"
#include "host/string.h"
#include "result/cast_reader.h"
#include "result/fixed_types.h"
#include "result/variant_cell_reader.h"

namespace orkit::orsql {

namespace support = orlimbara::duckdb_support;

namespace {

/// One `duckdb_value` per cell.
class ReferenceReader final : public CellReader {
public:
    using CellReader::CellReader;
    smart_ptr<I_Value> Read(idx_t inRow) override { return ReadReference(inRow); }
};

/// A type of the list FixedTypes.
template <class Fixed>
class FixedReader final : public CellReader {
public:
    using CellReader::CellReader;
    smart_ptr<I_Value> Read(idx_t inRow) override {
        return IsNull(inRow) ? MakeNullValue() : Fixed::Make(DataAt<typename Fixed::Item>(inRow));
    }
};

class VarcharReader final : public CellReader {
public:
    using CellReader::CellReader;
    smart_ptr<I_Value> Read(idx_t inRow) override {
        return IsNull(inRow) ? MakeNullValue()
                             : TextBuffer::MakeString(ViewOf(DataAt<duckdb_string_t>(inRow)));
    }
};

class BlobReader final : public CellReader {
public:
    using CellReader::CellReader;
    smart_ptr<I_Value> Read(idx_t inRow) override {
        if (IsNull(inRow)) {
            return MakeNullValue();
        }
        const std::string_view bytes = ViewOf(DataAt<duckdb_string_t>(inRow));
        return BytesToValue(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    }
};

/// Keeps the dictionary's texts that have occurred.
class EnumReader final : public CellReader {
public:
    using CellReader::CellReader;

    void Bind(duckdb_data_chunk inChunk) override {
        CellReader::Bind(inChunk);
        if (inChunk && !mType) {
            support::OwnedLogicalType type(
                duckdb_vector_get_column_type(duckdb_data_chunk_get_vector(inChunk, Setup().mColumn)));
            mTexts.resize(duckdb_enum_dictionary_size(type.Get()));
            mStorage = duckdb_enum_internal_type(type.Get());
            mType = std::move(type);
        }
    }

    smart_ptr<I_Value> Read(idx_t inRow) override {
        if (IsNull(inRow)) {
            return MakeNullValue();
        }
        const std::uint32_t index = Index(inRow);
        std::optional<String>& text = mTexts.at(index);
        if (!text) {
            const support::OwnedText narrow(duckdb_enum_dictionary_value(mType.Get(), index));
            text.emplace(narrow.Get());
        }
        return TextBuffer::MakeString(*text);
    }

private:
    std::uint32_t Index(idx_t inRow) const noexcept {
        switch (mStorage) {
        case DUCKDB_TYPE_UTINYINT:
            return DataAt<std::uint8_t>(inRow);
        case DUCKDB_TYPE_USMALLINT:
            return DataAt<std::uint16_t>(inRow);
        default:
            return DataAt<std::uint32_t>(inRow);
        }
    }

    support::OwnedLogicalType mType; // null before the first chunk
    duckdb_type mStorage = DUCKDB_TYPE_INVALID;
    std::vector<std::optional<String>> mTexts;
};

struct ReaderRow {
    duckdb_type mType;
    std::unique_ptr<CellReader> (*mMake)(const CellReaderSetup& inSetup);
};

template <class Reader>
std::unique_ptr<CellReader> Make(const CellReaderSetup& inSetup) {
    return std::make_unique<Reader>(inSetup);
}

template <class... Types>
constexpr auto MakeFixedReaders(TypeList<Types...>) {
    return std::array{ReaderRow{Types::kType, Make<FixedReader<Types>>}...};
}

constexpr auto kFixedReaders = MakeFixedReaders(FixedTypes());

/// The types that aren't of fixed width or whose meaning is a cast. A type without a row is read through
/// ReferenceReader.
constexpr std::array kReaders = {
    ReaderRow{DUCKDB_TYPE_VARCHAR, Make<VarcharReader>},
    ReaderRow{DUCKDB_TYPE_BLOB, Make<BlobReader>},
    ReaderRow{DUCKDB_TYPE_DECIMAL, Make<DecimalReader>},
    ReaderRow{DUCKDB_TYPE_VARIANT, Make<VariantCellReader>},
    ReaderRow{DUCKDB_TYPE_TIMESTAMP, Make<PlainTextReader<duckdb_timestamp, WriteTimestamp>>},
    ReaderRow{DUCKDB_TYPE_DATE, Make<PlainTextReader<duckdb_date, WriteDate>>},
    ReaderRow{DUCKDB_TYPE_TIME, Make<PlainTextReader<duckdb_time, WriteTime>>},
    ReaderRow{DUCKDB_TYPE_INTERVAL, Make<PlainTextReader<duckdb_interval, WriteInterval>>},
    ReaderRow{DUCKDB_TYPE_HUGEINT, Make<PlainTextReader<duckdb_hugeint, WriteHugeint>>},
    ReaderRow{DUCKDB_TYPE_TIMESTAMP_S, Make<PlainTextReader<duckdb_timestamp_s, WriteTimestampS>>},
    ReaderRow{DUCKDB_TYPE_TIMESTAMP_MS, Make<PlainTextReader<duckdb_timestamp_ms, WriteTimestampMs>>},
    ReaderRow{DUCKDB_TYPE_TIMESTAMP_NS, Make<PlainTextReader<duckdb_timestamp_ns, WriteTimestampNs>>},
    ReaderRow{DUCKDB_TYPE_ENUM, Make<EnumReader>},
    ReaderRow{DUCKDB_TYPE_LIST, Make<TextCastReader>},
    ReaderRow{DUCKDB_TYPE_STRUCT, Make<TextCastReader>},
    ReaderRow{DUCKDB_TYPE_MAP, Make<TextCastReader>},
    ReaderRow{DUCKDB_TYPE_UUID, Make<PlainTextReader<duckdb_hugeint, WriteUuid>>},
    ReaderRow{DUCKDB_TYPE_UNION, Make<TextCastReader>},
    ReaderRow{DUCKDB_TYPE_BIT, Make<PlainTextReader<duckdb_string_t, WriteBit>>},
    ReaderRow{DUCKDB_TYPE_TIME_TZ, Make<PlainTextReader<duckdb_time_tz, WriteTimeTz>>},
    ReaderRow{DUCKDB_TYPE_TIMESTAMP_TZ, Make<PlainTextReader<duckdb_timestamp, WriteTimestampTz>>},
    ReaderRow{DUCKDB_TYPE_UHUGEINT, Make<PlainTextReader<duckdb_uhugeint, WriteUhugeint>>},
    ReaderRow{DUCKDB_TYPE_ARRAY, Make<TextCastReader>},
    ReaderRow{DUCKDB_TYPE_BIGNUM, Make<TextCastReader>},
    ReaderRow{DUCKDB_TYPE_TIME_NS, Make<PlainTextReader<duckdb_time_ns, WriteTimeNs>>},
    ReaderRow{DUCKDB_TYPE_GEOMETRY, Make<TextCastReader>},
};

std::unique_ptr<CellReader> MakeCellReader(const CellReaderSetup& inSetup) {
    for (const ReaderRow& row : kFixedReaders) {
        if (row.mType == inSetup.mType) {
            return row.mMake(inSetup);
        }
    }
    for (const ReaderRow& row : kReaders) {
        if (row.mType == inSetup.mType) {
            return row.mMake(inSetup);
        }
    }
    return Make<ReferenceReader>(inSetup);
}

} // namespace

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
