#pragma once

#include <duckdb.h>

#include <cstdint>
#include <memory>

namespace orlimbara::duckdb_support {

/// A column of a chunk, cast as a whole: what `duckdb_get_varchar` or `duckdb_get_double` give for the value
/// of each cell, many times faster. The cast takes no settings of a connection, as these functions don't.
///
/// The object can be used again for the next chunk. It may share memory with the chunk, but keeps what it
/// shares: the results stay good when the chunk goes.
class ColumnCast {
public:
    ColumnCast() noexcept;
    ~ColumnCast();
    ColumnCast(ColumnCast&&) noexcept;
    ColumnCast& operator=(ColumnCast&&) noexcept;

    /// Stands for all rows from the first one on.
    static constexpr idx_t kToEnd = ~idx_t{0};

    /// Casts column `inColumn` (from 0) of the chunk to its text, which Texts() then gives. The chunk stays
    /// the caller's. False when a cell can't be cast (or there is no such column, or no memory): nothing is
    /// held then, and the caller reads each cell through a `duckdb_value`, which tells of that cell alone.
    /// @param inFirst, inCount the rows to cast; they become rows 0 and up of the result. Fewer than all are
    /// copied first, so that a list costs no more than its own items. What lies behind the last row counts
    /// not.
    [[nodiscard]] bool ToText(duckdb_data_chunk inChunk, idx_t inColumn, idx_t inFirst = 0,
                              idx_t inCount = kToEnd) noexcept;

    /// The same to DOUBLE; Doubles() gives the result.
    [[nodiscard]] bool ToDouble(duckdb_data_chunk inChunk, idx_t inColumn, idx_t inFirst = 0,
                                idx_t inCount = kToEnd) noexcept;

    /// One text for each row that was cast, in UTF-8 with its full length, also past a zero byte (at which
    /// the text of `duckdb_get_varchar` ends for a reader of C text). A NULL row has nothing to read. Null
    /// unless the last cast was a ToText() that succeeded; good until the next cast or Clear().
    [[nodiscard]] const duckdb_string_t* Texts() const noexcept;

    /// One number for each row of the chunk, after ToDouble(); otherwise as Texts().
    [[nodiscard]] const double* Doubles() const noexcept;

    /// The rows that aren't NULL, as in `duckdb_vector_get_validity`; null when no row is NULL.
    [[nodiscard]] const std::uint64_t* Validity() const noexcept;

    /// Lets go of the result.
    void Clear() noexcept;

private:
    struct Result;
    bool Cast(duckdb_data_chunk inChunk, idx_t inColumn, idx_t inFirst, idx_t inCount,
              bool inToText) noexcept;

    std::unique_ptr<Result> mResult;
};

} // namespace orlimbara::duckdb_support
