/// @file
/// Casting runs of a column to text or DOUBLE at once.
#pragma once

#include <duckdb.h>

#include <cstdint>
#include <memory>

namespace orlimbara::duckdb_support {

/// Casts rows of a chunk's column at once: gives the same as `duckdb_get_varchar` or `duckdb_get_double` for
/// each cell's value, many times faster. Like these functions, the cast ignores the settings of connections.
///
/// The object can be reused for the next chunk. It may share memory with the chunk, but keeps that memory
/// alive: the results stay valid after the chunk is destroyed.
class ColumnCast {
public:
    ColumnCast() noexcept;
    ~ColumnCast();
    ColumnCast(ColumnCast&&) noexcept;
    ColumnCast& operator=(ColumnCast&&) noexcept;

    /// All rows from the first one on.
    static constexpr idx_t kToEnd = ~idx_t{0};

    /// Casts column `inColumn` (from 0) of the chunk to text, for Texts(). Returns false if a cell can't be
    /// cast or there is no such column. The object is empty then, and the caller reads each cell through a
    /// `duckdb_value`, which fails only for the cell at fault. Throws only std::bad_alloc.
    /// @param inFirst, inCount the rows to cast, limited to the chunk's size; they become rows 0 and up of
    /// the result. If they aren't all rows, they are copied first, so that only their own list items are
    /// cast.
    [[nodiscard]] bool ToText(duckdb_data_chunk inChunk, idx_t inColumn, idx_t inFirst = 0,
                              idx_t inCount = kToEnd);

    /// The same to DOUBLE; Doubles() gives the result.
    [[nodiscard]] bool ToDouble(duckdb_data_chunk inChunk, idx_t inColumn, idx_t inFirst = 0,
                                idx_t inCount = kToEnd);

    /// One text per row that was cast, in UTF-8 with its full length, even past a zero byte (where the C
    /// string of `duckdb_get_varchar` ends). The text of a NULL row is undefined. Null unless the last cast
    /// was a ToText() that succeeded; valid until the next cast or Clear().
    [[nodiscard]] const duckdb_string_t* Texts() const noexcept;

    /// One number per row that was cast by ToDouble(); otherwise as Texts().
    [[nodiscard]] const double* Doubles() const noexcept;

    /// The rows that aren't NULL, as in `duckdb_vector_get_validity`; null if no row is NULL.
    [[nodiscard]] const std::uint64_t* Validity() const noexcept;

    /// Releases the result.
    void Clear() noexcept;

private:
    struct Result;
    bool Cast(duckdb_data_chunk inChunk, idx_t inColumn, idx_t inFirst, idx_t inCount, bool inToText);

    std::unique_ptr<Result> mResult;
};

} // namespace orlimbara::duckdb_support
