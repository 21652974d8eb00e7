#pragma once

#include <duckdb.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>

#include "duckdb_support/handles.h"

namespace orlimbara::duckdb_support {

/// A VARIANT column of a chunk, taken apart once for all rows. What it gives for a row is what
/// `duckdb_value_variant_type` and `duckdb_value_variant_child` give for the value of the cell.
///
/// The chunk must outlive what is read from it; the object can be used again for the next chunk. Rows count
/// from 0 and aren't checked against the size of the chunk. Not synchronised.
class VariantColumn {
public:
    VariantColumn() noexcept;
    ~VariantColumn();
    VariantColumn(VariantColumn&&) noexcept;
    VariantColumn& operator=(VariantColumn&&) noexcept;

    /// Takes column `inColumn` (from 0) of the chunk apart. False when it is no VARIANT column (or there is
    /// no such column, or no memory): nothing may be asked for then, and the caller reads each cell through
    /// a `duckdb_value`.
    [[nodiscard]] bool Load(duckdb_data_chunk inChunk, idx_t inColumn) noexcept;

    /// The number of what the row holds: 0 for SQL NULL, -1 for what can't be read.
    [[nodiscard]] std::int32_t Number(idx_t inRow) const noexcept;

    /// The payload of a row whose number tells a payload of fixed size: 3 to 14 with integers of the width
    /// of the name, `float` and `double`; 19 with `std::int32_t`, days; 20, 22 to 25 and 27 with
    /// `std::int64_t` in the unit of the name. T must be of the payload's size.
    template <typename T>
    [[nodiscard]] T Fixed(idx_t inRow) const noexcept {
        T value;
        std::memcpy(&value, Address(inRow), sizeof(T)); // payloads lie unaligned
        return value;
    }

    /// The payload of a row whose number is 16 (VARCHAR, UTF-8) or 17 (BLOB); good while the chunk is there.
    [[nodiscard]] std::string_view Bytes(idx_t inRow) const noexcept;

    /// The payload of any row as a new value; null as `duckdb_value_variant_child` gives null.
    [[nodiscard]] OwnedValue Payload(idx_t inRow) const noexcept;

    /// The text of a row whose number is 29 (OBJECT) or 30 (ARRAY), as `duckdb_get_varchar` gives it for the
    /// payload. False when that fails: read Payload() then. The text is good until the next Load(), or the
    /// next ReadJson() of a row that wasn't turned to JSON with this one.
    /// @param inFirst, inCount the rows that are turned to JSON at once, unless this row was already.
    [[nodiscard]] bool ReadJson(idx_t inRow, std::string_view& outText, idx_t inFirst = 0,
                                idx_t inCount = ~idx_t{0}) noexcept;

private:
    struct State;
    [[nodiscard]] const std::uint8_t* Address(idx_t inRow) const noexcept;

    std::unique_ptr<State> mState;
};

} // namespace orlimbara::duckdb_support
