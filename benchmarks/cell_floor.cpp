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

/// Texts by way of one wide buffer.
class Texts {
public:
    smart_ptr<I_Value> Make(std::string_view inText) {
        const String text = Widen(inText.substr(0, ::strnlen(inText.data(), inText.size())));
        smart_ptr<I_Value> value(CreateValueString(false, nullptr, nullptr));
        value->put_MaxLength(static_cast<std::uint32_t>(2 * text.get_Length() + 2));
        value->put_String(text);
        return value;
    }
    smart_ptr<I_Value> MakeJson(std::string_view inText) {
        smart_ptr<I_Value> value(CreateValueJSON(false, nullptr, nullptr));
        value->put_String(Widen(inText));
        return value;
    }

private:
    String Widen(std::string_view inText) {
        if (mWide.size() < inText.size()) {
            mWide.resize(2 * inText.size());
        }
        const std::size_t length = ConvertToUTF16(inText.data(), inText.size(), mConverter, mWide.data());
        return String(mWide.data(), static_cast<std::ptrdiff_t>(length));
    }

    const I_Converter* mConverter = GetConverter_UTF8();
    std::vector<char16_t> mWide;
};

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
        return mValidity[inColumn][inRow] ? mTexts.Make(BytesOf(mData[inColumn][inRow])) : MakeNull();
    }

private:
    Texts mTexts;
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

class DoubleCast {
public:
    void Bind(duckdb_data_chunk inChunk) {
        for (idx_t column = 0; column < kColumns; ++column) {
            Require(mCasts[column].ToDouble(inChunk, column));
            mData[column] = mCasts[column].Doubles();
            mValidity[column] = Validity(mCasts[column].Validity());
        }
    }
    smart_ptr<I_Value> Make(idx_t inColumn, idx_t inRow) {
        if (!mValidity[inColumn][inRow]) {
            return MakeNull();
        }
        smart_ptr<I_Value> value(CreateValueDouble(false, nullptr, nullptr));
        value->put_Double(mData[inColumn][inRow]);
        return value;
    }

private:
    std::array<support::ColumnCast, kColumns> mCasts;
    std::array<const double*, kColumns> mData;
    std::array<Validity, kColumns> mValidity;
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
        return mValidity[inColumn][inRow] ? mTexts.Make(BytesOf(mData[inColumn][inRow])) : MakeNull();
    }

private:
    std::array<support::ColumnCast, kColumns> mCasts;
    std::array<const duckdb_string_t*, kColumns> mData;
    std::array<Validity, kColumns> mValidity;
    Texts mTexts;
};

/// Integers, texts, doubles and dates become values of their like, INT8 and arrays envelopes.
class Variant {
public:
    void Bind(duckdb_data_chunk inChunk) {
        for (idx_t column = 0; column < kColumns; ++column) {
            Require(mVectors[column].Load(inChunk, column));
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
            return mTexts.Make(vector.Bytes(inRow));
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
            return mTexts.MakeJson(mJson);
        }
        default:
            Require(false);
            return nullptr;
        }
    }

private:
    std::array<support::VariantColumn, kColumns> mVectors;
    Texts mTexts;
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
const Floor kDoubleCastFloor = kFloorOf<DoubleCast>;
const Floor kTextCastFloor = kFloorOf<TextCast>;
const Floor kVariantFloor = kFloorOf<Variant>;

} // namespace orkit::orsql::bench
