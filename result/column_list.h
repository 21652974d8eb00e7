/// @file
/// The columns of a result, which a cursor lists once.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory_resource>
#include <vector>

#include <duckdb.h>

#include "host/string.h"

namespace orkit::orsql {

/// One column of a result.
struct Column {
    String mName;     ///< may be empty
    String mTypeName; ///< as SQL writes the type
    duckdb_type mType = DUCKDB_TYPE_INVALID;
};

/// A result's columns in order. Up to kInlineColumns are stored inside the object, so that the cursor of an
/// ordinary result allocates nothing for the list; more go to the heap. Elements never move. Room that no
/// column takes is never touched.
class ColumnList {
public:
    static constexpr std::size_t kInlineColumns = 10;

    /// Asks DuckDB for the columns. The guard must be held.
    /// @param inResult isn't changed; DuckDB's functions take it without const.
    explicit ColumnList(duckdb_result* inResult);
    ColumnList(const ColumnList&) = delete;
    ColumnList& operator=(const ColumnList&) = delete;

    std::size_t size() const noexcept { return mColumns.size(); }
    const Column* begin() const noexcept { return mColumns.data(); }
    const Column* end() const noexcept { return begin() + mColumns.size(); }
    /// @param inIndex less than the length.
    const Column& operator[](std::size_t inIndex) const noexcept { return mColumns[inIndex]; }

private:
    alignas(Column) std::array<std::byte, kInlineColumns * sizeof(Column)> mInline;
    std::pmr::monotonic_buffer_resource mMemory{mInline.data(), mInline.size()};
    std::pmr::vector<Column> mColumns{&mMemory};
};

} // namespace orkit::orsql
