#include "result/cell_reader.h"

#include <array>

#include "result/cast_reader.h"
#include "result/variant_cell_reader.h"
#include "result/vector_reader.h"

namespace orkit::orsql {

namespace {

/// By way of a `duckdb_value` a cell.
class ReferenceReader final : public VectorReader {
public:
    using VectorReader::VectorReader;
    smart_ptr<I_Value> Read(idx_t inRow) override { return ReadReference(inRow); }
};

/// A type of fixed width whose items DuckDB keeps as `Item` and the host as `Content`.
template <class Item, class Content, auto Factory, void (I_Value::*Setter)(Content)>
class FixedReader final : public VectorReader {
public:
    using VectorReader::VectorReader;
    smart_ptr<I_Value> Read(idx_t inRow) override {
        return IsNull(inRow) ? MakeNullValue()
                             : MakeValue(Factory, Setter, static_cast<Content>(DataAt<Item>(inRow)));
    }
};

class VarcharReader final : public VectorReader {
public:
    using VectorReader::VectorReader;
    smart_ptr<I_Value> Read(idx_t inRow) override {
        return IsNull(inRow) ? MakeNullValue()
                             : Setup().mTextBuffer->MakeString(ViewOf(DataAt<duckdb_string_t>(inRow)));
    }
};

class BlobReader final : public VectorReader {
public:
    using VectorReader::VectorReader;
    smart_ptr<I_Value> Read(idx_t inRow) override {
        if (IsNull(inRow)) {
            return MakeNullValue();
        }
        const std::string_view bytes = ViewOf(DataAt<duckdb_string_t>(inRow));
        return BytesToValue(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    }
};

template <class Reader>
std::unique_ptr<CellReader> Make(const CellReaderSetup& inSetup) {
    return std::make_unique<Reader>(inSetup);
}

struct ReaderRow {
    duckdb_type mType;
    std::unique_ptr<CellReader> (*mMake)(const CellReaderSetup& inSetup);
};

template <class Item, class Content, auto Factory, void (I_Value::*Setter)(Content)>
constexpr auto kFixed = Make<FixedReader<Item, Content, Factory, Setter>>;

constexpr std::array kReaders = {
    ReaderRow{DUCKDB_TYPE_BOOLEAN, kFixed<std::uint8_t, bool, CreateValueBoolean, &I_Value::put_Boolean>},
    ReaderRow{DUCKDB_TYPE_TINYINT, kFixed<std::int8_t, std::int16_t, CreateValueShort, &I_Value::put_Short>},
    ReaderRow{DUCKDB_TYPE_SMALLINT,
              kFixed<std::int16_t, std::int16_t, CreateValueShort, &I_Value::put_Short>},
    ReaderRow{DUCKDB_TYPE_INTEGER, kFixed<std::int32_t, std::int32_t, CreateValueLong, &I_Value::put_Long>},
    ReaderRow{DUCKDB_TYPE_BIGINT, kFixed<std::int64_t, std::int64_t, CreateValueLLong, &I_Value::put_LLong>},
    ReaderRow{DUCKDB_TYPE_UTINYINT, kFixed<std::uint8_t, std::uint8_t, CreateValueByte, &I_Value::put_Byte>},
    ReaderRow{DUCKDB_TYPE_USMALLINT,
              kFixed<std::uint16_t, std::uint16_t, CreateValueUShort, &I_Value::put_UShort>},
    ReaderRow{DUCKDB_TYPE_UINTEGER,
              kFixed<std::uint32_t, std::uint32_t, CreateValueULong, &I_Value::put_ULong>},
    ReaderRow{DUCKDB_TYPE_UBIGINT,
              kFixed<std::uint64_t, std::uint64_t, CreateValueULLong, &I_Value::put_ULLong>},
    ReaderRow{DUCKDB_TYPE_FLOAT, kFixed<float, float, CreateValueFloat, &I_Value::put_Float>},
    ReaderRow{DUCKDB_TYPE_DOUBLE, kFixed<double, double, CreateValueDouble, &I_Value::put_Double>},
    ReaderRow{DUCKDB_TYPE_VARCHAR, Make<VarcharReader>},
    ReaderRow{DUCKDB_TYPE_BLOB, Make<BlobReader>},
    ReaderRow{DUCKDB_TYPE_DECIMAL, Make<DoubleCastReader>},
    ReaderRow{DUCKDB_TYPE_VARIANT, Make<VariantCellReader>},
    ReaderRow{DUCKDB_TYPE_TIMESTAMP, Make<TextCastReader>},
    ReaderRow{DUCKDB_TYPE_DATE, Make<TextCastReader>},
    ReaderRow{DUCKDB_TYPE_TIME, Make<TextCastReader>},
    ReaderRow{DUCKDB_TYPE_INTERVAL, Make<TextCastReader>},
    ReaderRow{DUCKDB_TYPE_HUGEINT, Make<TextCastReader>},
    ReaderRow{DUCKDB_TYPE_TIMESTAMP_S, Make<TextCastReader>},
    ReaderRow{DUCKDB_TYPE_TIMESTAMP_MS, Make<TextCastReader>},
    ReaderRow{DUCKDB_TYPE_TIMESTAMP_NS, Make<TextCastReader>},
    ReaderRow{DUCKDB_TYPE_ENUM, Make<TextCastReader>},
    ReaderRow{DUCKDB_TYPE_LIST, Make<TextCastReader>},
    ReaderRow{DUCKDB_TYPE_STRUCT, Make<TextCastReader>},
    ReaderRow{DUCKDB_TYPE_MAP, Make<TextCastReader>},
    ReaderRow{DUCKDB_TYPE_UUID, Make<TextCastReader>},
    ReaderRow{DUCKDB_TYPE_UNION, Make<TextCastReader>},
    ReaderRow{DUCKDB_TYPE_BIT, Make<TextCastReader>},
    ReaderRow{DUCKDB_TYPE_TIME_TZ, Make<TextCastReader>},
    ReaderRow{DUCKDB_TYPE_TIMESTAMP_TZ, Make<TextCastReader>},
    ReaderRow{DUCKDB_TYPE_UHUGEINT, Make<TextCastReader>},
    ReaderRow{DUCKDB_TYPE_ARRAY, Make<TextCastReader>},
    ReaderRow{DUCKDB_TYPE_BIGNUM, Make<TextCastReader>},
    ReaderRow{DUCKDB_TYPE_TIME_NS, Make<TextCastReader>},
    ReaderRow{DUCKDB_TYPE_GEOMETRY, Make<TextCastReader>},
};

} // namespace

std::unique_ptr<CellReader> MakeCellReader(const CellReaderSetup& inSetup) {
    for (const ReaderRow& row : kReaders) {
        if (row.mType == inSetup.mType) {
            return row.mMake(inSetup);
        }
    }
    return Make<ReferenceReader>(inSetup);
}

} // namespace orkit::orsql
