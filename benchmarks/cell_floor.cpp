#include "benchmarks/cell_floor.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "duckdb_support/handles.h"
#include "duckdb_support/variant_column.h"
#include "duckdb_support/vector_cast.h"
#include "host/string.h"
#include "result/plain_text.h"

namespace orkit::orsql::bench {

namespace {

namespace support = orlimbara::duckdb_support;

/// The rows that aren't NULL.
class Validity {
public:
    Validity() = default;
    explicit Validity(const std::uint64_t* inBits) : mBits(inBits) {}
    bool operator[](idx_t inRow) const { return !mBits || (mBits[inRow / 64] >> (inRow % 64) & 1) != 0; }

private:
    const std::uint64_t* mBits = nullptr;
};

smart_ptr<I_Value> MakeNull() {
    smart_ptr<I_Value> value(CreateValueBoolean(true, nullptr, nullptr));
    value->put_IsNull(true);
    return value;
}

std::string_view BytesOf(const duckdb_string_t& inString) {
    const std::uint32_t length = inString.value.inlined.length;
    return {length <= 12 ? inString.value.inlined.inlined : inString.value.pointer.ptr, length};
}

smart_ptr<I_Value> MakeText(const String& inText) {
    smart_ptr<I_Value> value(CreateValueString(false, nullptr, nullptr));
    value->put_MaxLength(static_cast<std::uint32_t>(2 * inText.get_Length() + 2));
    value->put_String(inText);
    return value;
}

/// A text up to its first zero byte.
smart_ptr<I_Value> MakeText(std::string_view inText) {
    return MakeText(
        String(inText.data(), static_cast<std::ptrdiff_t>(::strnlen(inText.data(), inText.size()))));
}

/// The vectors of a chunk, whose items DuckDB keeps as `Item`.
template <class Item>
class Vectors {
public:
    void Bind(duckdb_data_chunk inChunk) {
        for (idx_t column = 0; column < kColumns; ++column) {
            const duckdb_vector vector = duckdb_data_chunk_get_vector(inChunk, column);
            mData[column] = static_cast<const Item*>(duckdb_vector_get_data(vector));
            mValidity[column] = Validity(duckdb_vector_get_validity(vector));
        }
    }

protected:
    std::array<const Item*, kColumns> mData;
    std::array<Validity, kColumns> mValidity;
};

template <class Item, class Content, auto Factory, void (I_Value::*Setter)(Content)>
class Fixed : public Vectors<Item> {
public:
    smart_ptr<I_Value> Make(idx_t inColumn, idx_t inRow) {
        if (!this->mValidity[inColumn][inRow]) {
            return MakeNull();
        }
        smart_ptr<I_Value> value(Factory(false, nullptr, nullptr));
        (value.get()->*Setter)(static_cast<Content>(this->mData[inColumn][inRow]));
        return value;
    }
};

class Varchar : public Vectors<duckdb_string_t> {
public:
    smart_ptr<I_Value> Make(idx_t inColumn, idx_t inRow) {
        return mValidity[inColumn][inRow] ? MakeText(BytesOf(mData[inColumn][inRow])) : MakeNull();
    }
};

class Blob : public Vectors<duckdb_string_t> {
public:
    smart_ptr<I_Value> Make(idx_t inColumn, idx_t inRow) {
        if (!mValidity[inColumn][inRow]) {
            return MakeNull();
        }
        const std::string_view bytes = BytesOf(mData[inColumn][inRow]);
        const auto length = static_cast<std::uint32_t>(bytes.size());
        smart_ptr<I_Value> value(CreateValueFixedBinary(true, &length, nullptr));
        if (length != 0) {
            value->put_MaxLength(length);
            value->put_Length(length);
            QueryAspect<I_ValueBinary>(value.get())->WriteBytes(bytes.data(), length);
        }
        return value;
    }
};

void Require(bool inIsGood) {
    if (!inIsGood) {
        throw std::runtime_error("a vector of the benchmark can't be read as a whole");
    }
}

/// Texts that `Write` makes in UTF-16; the measured columns have no others.
template <class Item, auto Write>
class Plain : public Vectors<Item> {
public:
    smart_ptr<I_Value> Make(idx_t inColumn, idx_t inRow) {
        if (!this->mValidity[inColumn][inRow]) {
            return MakeNull();
        }
        PlainText text;
        const std::size_t length = Write(this->mData[inColumn][inRow], text);
        Require(length != 0);
        return MakeText(String(text.data(), static_cast<std::ptrdiff_t>(length)));
    }
};

/// Of the scale and the width that the measured column has; its numbers are exact as doubles.
class Decimal : public Vectors<std::int64_t> {
public:
    smart_ptr<I_Value> Make(idx_t inColumn, idx_t inRow) {
        if (!mValidity[inColumn][inRow]) {
            return MakeNull();
        }
        smart_ptr<I_Value> value(CreateValueDouble(false, nullptr, nullptr));
        value->put_Double(static_cast<double>(mData[inColumn][inRow]) / 1000.0);
        return value;
    }
};

/// Of at most 256 texts, widened once.
class Enum : public Vectors<std::uint8_t> {
public:
    void Bind(duckdb_data_chunk inChunk) {
        Vectors::Bind(inChunk);
        if (!mTexts.empty()) {
            return;
        }
        const support::OwnedLogicalType type(
            duckdb_vector_get_column_type(duckdb_data_chunk_get_vector(inChunk, 0)));
        Require(duckdb_enum_internal_type(type.Get()) == DUCKDB_TYPE_UTINYINT);
        for (idx_t index = 0; index < duckdb_enum_dictionary_size(type.Get()); ++index) {
            mTexts.emplace_back(support::OwnedText(duckdb_enum_dictionary_value(type.Get(), index)).Get());
        }
    }
    smart_ptr<I_Value> Make(idx_t inColumn, idx_t inRow) {
        return mValidity[inColumn][inRow] ? MakeText(mTexts[mData[inColumn][inRow]]) : MakeNull();
    }

private:
    std::vector<String> mTexts; // the same for all columns
};

class TextCast {
public:
    void Bind(duckdb_data_chunk inChunk) {
        for (idx_t column = 0; column < kColumns; ++column) {
            Require(mCasts[column].ToText(inChunk, column));
            mData[column] = mCasts[column].Texts();
            mValidity[column] = Validity(mCasts[column].Validity());
        }
    }
    smart_ptr<I_Value> Make(idx_t inColumn, idx_t inRow) {
        return mValidity[inColumn][inRow] ? MakeText(BytesOf(mData[inColumn][inRow])) : MakeNull();
    }

private:
    std::array<support::ColumnCast, kColumns> mCasts;
    std::array<const duckdb_string_t*, kColumns> mData;
    std::array<Validity, kColumns> mValidity;
};

/// Integers, texts, doubles and dates become values of the same kind, INT8 and arrays envelopes.
class Variant {
public:
    void Bind(duckdb_data_chunk inChunk) {
        for (idx_t column = 0; column < kColumns; ++column) {
            mVectors[column].Load(inChunk, column);
        }
    }
    smart_ptr<I_Value> Make(idx_t inColumn, idx_t inRow) {
        support::VariantColumn& vector = mVectors[inColumn];
        smart_ptr<I_Value> value;
        switch (vector.Number(inRow)) {
        case 0:
            return MakeNull();
        case 5:
            value = CreateValueLong(false, nullptr, nullptr);
            value->put_Long(vector.Fixed<std::int32_t>(inRow));
            return value;
        case 14:
            value = CreateValueDouble(false, nullptr, nullptr);
            value->put_Double(vector.Fixed<double>(inRow));
            return value;
        case 16:
            return MakeText(vector.Bytes(inRow));
        case 19: {
            const duckdb_date_struct date = duckdb_from_date({vector.Fixed<std::int32_t>(inRow)});
            value = CreateValueDate(true, nullptr, nullptr);
            QueryAspect<I_ValueDate>(value.get())
                ->put_Date(date.year, static_cast<std::uint16_t>(date.month),
                           static_cast<std::uint16_t>(date.day));
            return value;
        }
        case 30: {
            std::string_view text;
            Require(vector.ReadJson(inRow, text));
            mJson = R"({"duckdb_variant":true,"variant_type":"ARRAY","value":")";
            mJson += text; // numbers and commas, with nothing to escape
            mJson += R"("})";
            value = CreateValueJSON(false, nullptr, nullptr);
            value->put_String(String(mJson.data(), static_cast<std::ptrdiff_t>(mJson.size())));
            return value;
        }
        default:
            Require(false);
            return nullptr;
        }
    }

private:
    std::array<support::VariantColumn, kColumns> mVectors;
    std::string mJson;
};

template <class Maker, class BeginRow, class Take>
void Walk(const duckdb_result& inResult, BeginRow inBeginRow, Take inTake) {
    Maker maker;
    while (const support::OwnedDataChunk chunk{duckdb_fetch_chunk(inResult)}) {
        const idx_t size = duckdb_data_chunk_get_size(chunk.Get());
        maker.Bind(chunk.Get());
        for (idx_t row = 0; row < size; ++row) {
            inBeginRow();
            for (idx_t column = 0; column < kColumns; ++column) {
                inTake(maker.Make(column, row));
            }
        }
    }
}

template <class Maker>
void WalkAndDrop(const duckdb_result& inResult) {
    Walk<Maker>(
        inResult, [] {}, [](smart_ptr<I_Value>) {});
}

template <class Maker>
smart_ptr<RowArray> WalkAndKeep(const duckdb_result& inResult) {
    smart_ptr<RowArray> rows(new RowArray(10));
    ValueArray* row = nullptr;
    Walk<Maker>(
        inResult,
        [&] {
            row = new ValueArray(kColumns);
            rows->Append(row);
        },
        [&](smart_ptr<I_Value> inValue) { row->Append(std::move(inValue)); });
    return rows;
}

template <class Maker>
constexpr Floor kFloorOf = {WalkAndDrop<Maker>, WalkAndKeep<Maker>};

} // namespace

const Floor kBooleanFloor = kFloorOf<Fixed<bool, bool, CreateValueBoolean, &I_Value::put_Boolean>>;
const Floor kTinyintFloor = kFloorOf<Fixed<std::int8_t, std::int16_t, CreateValueShort, &I_Value::put_Short>>;
const Floor kSmallintFloor =
    kFloorOf<Fixed<std::int16_t, std::int16_t, CreateValueShort, &I_Value::put_Short>>;
const Floor kIntegerFloor = kFloorOf<Fixed<std::int32_t, std::int32_t, CreateValueLong, &I_Value::put_Long>>;
const Floor kBigintFloor = kFloorOf<Fixed<std::int64_t, std::int64_t, CreateValueLLong, &I_Value::put_LLong>>;
const Floor kUTinyintFloor = kFloorOf<Fixed<std::uint8_t, std::uint8_t, CreateValueByte, &I_Value::put_Byte>>;
const Floor kUSmallintFloor =
    kFloorOf<Fixed<std::uint16_t, std::uint16_t, CreateValueUShort, &I_Value::put_UShort>>;
const Floor kUIntegerFloor =
    kFloorOf<Fixed<std::uint32_t, std::uint32_t, CreateValueULong, &I_Value::put_ULong>>;
const Floor kUBigintFloor =
    kFloorOf<Fixed<std::uint64_t, std::uint64_t, CreateValueULLong, &I_Value::put_ULLong>>;
const Floor kFloatFloor = kFloorOf<Fixed<float, float, CreateValueFloat, &I_Value::put_Float>>;
const Floor kDoubleFloor = kFloorOf<Fixed<double, double, CreateValueDouble, &I_Value::put_Double>>;
const Floor kVarcharFloor = kFloorOf<Varchar>;
const Floor kBlobFloor = kFloorOf<Blob>;
const Floor kDecimalFloor = kFloorOf<Decimal>;
const Floor kHugeintFloor = kFloorOf<Plain<duckdb_hugeint, WriteHugeint>>;
const Floor kUhugeintFloor = kFloorOf<Plain<duckdb_uhugeint, WriteUhugeint>>;
const Floor kDateFloor = kFloorOf<Plain<duckdb_date, WriteDate>>;
const Floor kTimeFloor = kFloorOf<Plain<duckdb_time, WriteTime>>;
const Floor kTimeNsFloor = kFloorOf<Plain<duckdb_time_ns, WriteTimeNs>>;
const Floor kTimestampFloor = kFloorOf<Plain<duckdb_timestamp, WriteTimestamp>>;
const Floor kTimestampSFloor = kFloorOf<Plain<duckdb_timestamp_s, WriteTimestampS>>;
const Floor kTimestampMsFloor = kFloorOf<Plain<duckdb_timestamp_ms, WriteTimestampMs>>;
const Floor kTimestampNsFloor = kFloorOf<Plain<duckdb_timestamp_ns, WriteTimestampNs>>;
const Floor kTimestampTzFloor = kFloorOf<Plain<duckdb_timestamp, WriteTimestampTz>>;
const Floor kIntervalFloor = kFloorOf<Plain<duckdb_interval, WriteInterval>>;
const Floor kUuidFloor = kFloorOf<Plain<duckdb_hugeint, WriteUuid>>;
const Floor kTimeTzFloor = kFloorOf<Plain<duckdb_time_tz, WriteTimeTz>>;
const Floor kBitFloor = kFloorOf<Plain<duckdb_string_t, WriteBit>>;
const Floor kEnumFloor = kFloorOf<Enum>;
const Floor kTextCastFloor = kFloorOf<TextCast>;
const Floor kVariantFloor = kFloorOf<Variant>;

} // namespace orkit::orsql::bench
