/// @file
/// The cursor over the rows of a query, as the host walks it.
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

/// What stands behind a cursor of callbacks: a DuckDB instance of its own, the whole result of a query, and a
/// position in it. Each column has one of the runtime types (procedures/type_names.h), whose memory is read
/// without a copy; a cell becomes a value of the host only when it is asked for.
///
/// A fresh cursor stands before row 0. There is no position past the end: at the end a cursor stays on the
/// last row. A callback that fails reports it to the host, and the cursor stays usable. The host ends the
/// object through `destroy`, which closes chunk, result, connection and database in this order. One thread at
/// a time; no lock, nothing shared.
class QueryCursor {
public:
    /// Opens DuckDB, runs `sql` and gives the host a cursor over the result, which is then the host's. `path`
    /// is the database file, empty for one in memory; `limit` is decimal digits, empty for no limit. Throws
    /// std::runtime_error with the message for the user; nothing stays open then.
    [[nodiscard]] static host_cursor Open(call_context context, const std::string& path,
                                          const std::string& sql, std::string_view limit = {});

    QueryCursor(const QueryCursor&) = delete;
    QueryCursor& operator=(const QueryCursor&) = delete;

private:
    struct Column {
        std::string name;
        duckdb_type runtime_type;
        /// Into the current chunk; mean nothing without one. A null validity mask means that no cell is NULL.
        void* data = nullptr;
        std::uint64_t* validity = nullptr;
    };

    QueryCursor(const std::string& path, const std::string& sql, std::string_view limit);

    /// Learns the columns of a source (" FROM …") without reading a row. Gives the SELECT that brings each to
    /// its runtime type.
    [[nodiscard]] std::string ProbeColumns(const std::string& source);
    void RequireRuntimeTypes();
    void IndexChunks();
    [[nodiscard]] duckdb_support::OwnedDataChunk FetchChunk(std::uint64_t index) const;
    void FillDescriptor();

    /// Both return 0 when positioned, -1 when there is no such row, which leaves the position as it was. When
    /// a chunk can't be fetched they throw, and there is no current row then.
    [[nodiscard]] std::int32_t SeekRow(std::uint64_t row);
    [[nodiscard]] std::int32_t NextRow();

    /// The value of a cell of the current row; null for SQL NULL, and when there is nothing to read. Throws
    /// std::bad_alloc when the host can't make the value.
    [[nodiscard]] host_value ReadValue(call_context context, std::int32_t column) const;

    static void OnDestroy(call_context, void* state) noexcept;
    static host_value OnReadValue(call_context context, void* state, std::int32_t column) noexcept;
    static std::int32_t OnSeekRow(call_context context, void* state, std::int64_t row) noexcept;
    static std::int32_t OnNextRow(call_context context, void* state) noexcept;
    static std::int64_t OnRowCount(call_context, void* state) noexcept;

    // The handles stand in the order in which they open.
    DuckDBInstance instance_;
    duckdb_support::OwnedResult result_;
    duckdb_support::OwnedDataChunk chunk_; // the current row's; none when there is no current row
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
