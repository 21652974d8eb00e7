/// @file
/// The host's cursor over the rows of a query.
#pragma once

#include <duckdb.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "duckdb_support/handles.h"
#include "host/procedure_api.h"
#include "procedures/duckdb_instance.h"

namespace orlimbara::procedures {

/// The state of a cursor of callbacks: its own DuckDB instance, the whole result of a query, and a position
/// in it. Each column has one of the runtime types (procedures/type_names.h), whose memory is read without a
/// copy; a cell becomes a value of the host only when the host reads it.
///
/// A new cursor is before row 0. There is no position past the end: at the end a cursor stays on the last
/// row. A callback that fails reports it to the host, and the cursor stays usable. The host destroys the
/// object through `destroy`, which closes chunk, result, connection and database in this order. One thread at
/// a time; no lock, no shared state.
class QueryCursor {
public:
    /// Opens DuckDB, runs `sql` and gives the host a cursor over the result, which the host then owns. `path`
    /// is the database file, empty for one in memory; `limit` is decimal digits, empty for no limit. Throws
    /// std::runtime_error with the message for the user, and leaves nothing open then.
    [[nodiscard]] static host_cursor Open(call_context context, const std::string& path,
                                          const std::string& sql, std::string_view limit = {});

    QueryCursor(const QueryCursor&) = delete;
    QueryCursor& operator=(const QueryCursor&) = delete;

private:
    struct Column {
        std::string name;
        duckdb_type runtime_type;
        /// Pointers into the current chunk; undefined without one. A null validity mask means that no cell is
        /// NULL.
        void* data = nullptr;
        std::uint64_t* validity = nullptr;
    };

    QueryCursor(const std::string& path, const std::string& sql, std::string_view limit);

    /// Finds the columns of a source (" FROM …") without reading a row. Returns the SELECT that casts each to
    /// its runtime type.
    [[nodiscard]] std::string ProbeColumns(const std::string& source);
    void RequireRuntimeTypes();
    void IndexChunks();
    [[nodiscard]] duckdb_support::OwnedDataChunk FetchChunk(std::uint64_t index) const;
    void FillDescriptor();

    /// Both return 0 when positioned, or -1 if there is no such row; the position is unchanged then. If a
    /// chunk can't be fetched they throw, and there is no current row.
    [[nodiscard]] std::int32_t SeekRow(std::uint64_t row);
    [[nodiscard]] std::int32_t NextRow();

    /// The value of a cell of the current row; null for SQL NULL, and if there is nothing to read. Throws
    /// std::bad_alloc if the host can't make the value.
    [[nodiscard]] host_value ReadValue(call_context context, std::int32_t column) const;

    static void OnDestroy(call_context, void* state) noexcept;
    static host_value OnReadValue(call_context context, void* state, std::int32_t column) noexcept;
    static std::int32_t OnSeekRow(call_context context, void* state, std::int64_t row) noexcept;
    static std::int32_t OnNextRow(call_context context, void* state) noexcept;
    static std::int64_t OnRowCount(call_context, void* state) noexcept;

    // The handles, in the order in which they are opened.
    DuckDBInstance instance_;
    duckdb_support::OwnedResult result_;
    duckdb_support::OwnedDataChunk chunk_; // of the current row; none without a current row
    std::uint64_t chunk_index_ = 0;
    std::uint64_t chunk_size_ = 0;
    std::uint64_t row_in_chunk_ = 0;
    std::uint64_t row_count_ = 0;
    std::vector<std::uint64_t> chunk_starts_; // the row at which each chunk begins
    std::vector<Column> columns_;
    // What the descriptor points to; the names point into the columns.
    std::vector<const char*> column_names_;
    std::vector<std::int32_t> column_host_types_;
    cursor_descriptor descriptor_ = {};
};

} // namespace orlimbara::procedures
