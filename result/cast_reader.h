/// @file
/// Readers of the types whose meaning is a cast: whole runs of a vector are cast at once.
#pragma once

#include <cstdint>

#include "duckdb_support/vector_cast.h"
#include "result/cell_reader.h"
#include "result/conversion_window.h"
#include "result/plain_text.h"

namespace orkit::orsql {

/// Base of the readers that cast. If a run can't be cast, its cells are read by ReadCell, which throws only
/// for the cell at fault.
class CastReader : public CellReader {
public:
    explicit CastReader(const CellReaderSetup& inSetup) : CellReader(inSetup), mWindow(inSetup.mAccess) {}

    void Bind(duckdb_data_chunk inChunk) override;

protected:
    /// Casts the row's run unless it is cast already. @return false if ReadReference must give the value.
    bool Reach(idx_t inRow) {
        if (!mWindow.Take(inRow)) {
            Convert(inRow);
        }
        return mIsCast && orlimbara::duckdb_support::IsRowValid(mCastValidity, inRow - mWindow.get_First());
    }
    /// Sets how many bytes the texts of the run take.
    void put_Bytes(std::size_t inBytes) noexcept { mWindow.put_Bytes(inBytes); }
    /// The row's index in the cast.
    idx_t Index(idx_t inRow) const noexcept { return inRow - mWindow.get_First(); }

    /// Casts a run of rows and remembers where the result is. @return false if that fails.
    virtual bool Cast(orlimbara::duckdb_support::ColumnCast& ioCast, idx_t inFirst, idx_t inCount) = 0;

private:
    /// Casts the run of rows that begins at `inRow`.
    void Convert(idx_t inRow);

    ConversionWindow mWindow;
    orlimbara::duckdb_support::ColumnCast mCast;
    const std::uint64_t* mCastValidity = nullptr;
    bool mIsCast = false;
};

/// DuckDB's text of a cell.
class TextCastReader : public CastReader {
public:
    using CastReader::CastReader;
    smart_ptr<I_Value> Read(idx_t inRow) override;

private:
    bool Cast(orlimbara::duckdb_support::ColumnCast& ioCast, idx_t inFirst, idx_t inCount) override;

    const duckdb_string_t* mTexts = nullptr;
};

/// A type whose text is written directly in UTF-16 where plain_text.h can, and cast otherwise.
/// @tparam Write a function of plain_text.h.
template <class Item, std::size_t (*Write)(Item, PlainText&) noexcept>
class PlainTextReader final : public TextCastReader {
public:
    using TextCastReader::TextCastReader;
    smart_ptr<I_Value> Read(idx_t inRow) override {
        if (IsNull(inRow)) {
            return MakeNullValue();
        }
        PlainText text;
        const std::size_t length = Write(DataAt<Item>(inRow), text);
        return length != 0 ? TextBuffer::MakeString(String(text.data(), static_cast<std::ptrdiff_t>(length)))
                           : TextCastReader::Read(inRow);
    }
};

/// A DECIMAL as a double: divided here if a double holds the unscaled number exactly, cast otherwise.
class DecimalReader final : public CastReader {
public:
    using CastReader::CastReader;
    void Bind(duckdb_data_chunk inChunk) override;
    smart_ptr<I_Value> Read(idx_t inRow) override;

    /// Divides. @return false if a double doesn't hold the unscaled number exactly.
    bool Divide(idx_t inRow, double& outNumber) const noexcept {
        const std::int64_t unscaled = Unscaled(inRow);
        outNumber = static_cast<double>(unscaled) / mDivisor;
        return unscaled >= -kMostExact && unscaled <= kMostExact;
    }

private:
    bool Cast(orlimbara::duckdb_support::ColumnCast& ioCast, idx_t inFirst, idx_t inCount) override;

    /// The unscaled number; a number beyond kMostExact if it doesn't fit.
    std::int64_t Unscaled(idx_t inRow) const noexcept {
        if (mStorage == DUCKDB_TYPE_BIGINT) [[likely]] {
            return DataAt<std::int64_t>(inRow);
        }
        switch (mStorage) {
        case DUCKDB_TYPE_SMALLINT:
            return DataAt<std::int16_t>(inRow);
        case DUCKDB_TYPE_INTEGER:
            return DataAt<std::int32_t>(inRow);
        default: {
            const auto& number = DataAt<duckdb_hugeint>(inRow);
            const auto lower = static_cast<std::int64_t>(number.lower);
            const bool fits = number.upper == (lower < 0 ? -1 : 0);
            return fits ? lower : kMostExact + 1;
        }
        }
    }

    static constexpr std::int64_t kMostExact = std::int64_t{1} << 53;

    duckdb_type mStorage =
        DUCKDB_TYPE_INVALID; // the integer type of the items; not known before the first chunk
    double mDivisor = 1;
    const double* mDoubles = nullptr;
};

} // namespace orkit::orsql
