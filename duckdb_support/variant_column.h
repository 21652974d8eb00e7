/// @file
/// Reading a whole VARIANT column without a `duckdb_value` per cell.
#pragma once

#include <duckdb.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>

#include "duckdb_support/handles.h"

namespace orlimbara::duckdb_support {

/// A VARIANT column of a chunk, unpacked once for all rows. What it gives for a row is what
/// `duckdb_value_variant_type` and `duckdb_value_variant_child` give for the value of the cell.
///
/// What DuckDB throws passes through unless told otherwise. The chunk must outlive what is read from it; the
/// object can be reused for the next chunk. Rows count from 0 and aren't checked against the size of the
/// chunk. Not thread-safe.
class VariantColumn {
public:
    VariantColumn() noexcept;
    ~VariantColumn();
    VariantColumn(VariantColumn&&) noexcept;
    VariantColumn& operator=(VariantColumn&&) noexcept;

    /// Unpacks column `inColumn` (from 0) of the chunk, which must be a VARIANT column.
    void Load(duckdb_data_chunk inChunk, idx_t inColumn);

    /// The number of the row's content: 0 for SQL NULL, -1 for what can't be read.
    [[nodiscard]] std::int32_t Number(idx_t inRow) const;

    /// The first byte, unaligned, of a payload of fixed size. By the row's number, 3 to 14 are the integers,
    /// `float` and `double` that the name says; 19 is a `std::int32_t`, in days; 20, 22 to 25 and 27 are a
    /// `std::int64_t` in the unit that the name says.
    [[nodiscard]] const std::uint8_t* Address(idx_t inRow) const;

    /// The same payload as a T, which must have its size.
    template <typename T>
    [[nodiscard]] T Fixed(idx_t inRow) const {
        T value;
        std::memcpy(&value, Address(inRow), sizeof(T));
        return value;
    }

    /// The payload of a row whose number is 16 (VARCHAR, UTF-8) or 17 (BLOB); valid as long as the chunk.
    [[nodiscard]] std::string_view Bytes(idx_t inRow) const;

    /// The payload of any row as a new value; never empty.
    [[nodiscard]] OwnedValue Payload(idx_t inRow) const;

    /// The text of a row whose number is 29 (OBJECT) or 30 (ARRAY), the same as `duckdb_get_varchar` of the
    /// payload. Returns false if that fails: read Payload() then. Throws only std::bad_alloc. The text is
    /// valid until the next Load(), or the next ReadJson() of a row that wasn't converted together with this
    /// one.
    /// @param inFirst, inCount the rows to convert at once, with this one, unless it was converted already.
    [[nodiscard]] bool ReadJson(idx_t inRow, std::string_view& outText, idx_t inFirst = 0,
                                idx_t inCount = ~idx_t{0});

private:
    struct State;

    std::unique_ptr<State> mState;
};

} // namespace orlimbara::duckdb_support
