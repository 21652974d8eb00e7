/// @file
/// What both cursors share: the result that they read, its columns, and the link to the database.
///
/// Calls DuckDBDatabase, which calls cursors through their interface.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "duckdb_support/handles.h"
#include "host/duckdb_objects.h"
#include "object_support/ref_count.h"
#include "result/column_list.h"

namespace orkit::orsql {

class DuckDBDatabase;

/// Throws "DuckDBCursor is invalid", context "unknown".
[[noreturn]] void ThrowInvalidCursor();

/// Base of the two cursors. Owns its result. The database's registry and the cursor point to each other
/// without a reference; whichever is destroyed first tells the other, under the guard.
class DuckDBCursor_imp : public RefCounted<I_DuckDBCursor, ForeignPlugin_imp>, noncopyable {
public:
    void* QueryInterface(std::uint32_t inInterfaceId) override;

    std::uint32_t get_ColumnCount() const override;
    const String& get_ColumnName(std::uint32_t inColumnIndex) const override;
    const String& get_ColumnTypeName(std::uint32_t inColumnIndex) const override;
    std::uint32_t get_ColumnType(std::uint32_t inColumnIndex) const override;
    /// Takes the guard: another thread may be destroying the database.
    smart_ptr<I_DuckDBDatabase> get_Database() const override;
    void Invalidate() override;
    void Dispose() override;

protected:
    /// Lists the columns and adds the cursor to the database's registry. The guard must be held. If it
    /// throws, the cursor is in no registry and the result is destroyed.
    /// @param inDatabase null throws "DuckDBCursor is invalid".
    DuckDBCursor_imp(DuckDBDatabase* inDatabase, orlimbara::duckdb_support::OwnedResult inResult);
    ~DuckDBCursor_imp() override;

    /// Throws "DuckDBCursor is invalid", context "unknown", if the cursor has lost its database.
    void RequireValid() const {
        if (!mDatabase.load(std::memory_order_acquire)) {
            ThrowInvalidCursor();
        }
    }
    /// Tells whether the cursor stands on a row. The guard must be held and the cursor must be valid.
    void put_HasRow(bool inHasRow) noexcept {
        mReadableColumns.store(inHasRow ? static_cast<std::uint32_t>(mColumns.size()) : 0,
                               std::memory_order_relaxed);
    }
    /// Whether the cursor is valid, stands on a row, and has such a column.
    bool isReadable(std::uint32_t inColumnIndex) const noexcept {
        return inColumnIndex < mReadableColumns.load(std::memory_order_acquire);
    }
    /// Throws "inColumnIndex is out of bounds".
    void RequireColumn(std::uint32_t inColumnIndex) const {
        if (inColumnIndex >= mColumns.size()) {
            ThrowError("inColumnIndex is out of bounds");
        }
    }
    /// Throws with the database's name as context. Takes no guard.
    [[noreturn]] void ThrowError(const char* inMessage) const;
    /// The next chunk of the result; empty at its end. Throws with DuckDB's text if the chunk can't be
    /// fetched. The guard must be held and the cursor must be valid.
    orlimbara::duckdb_support::OwnedDataChunk FetchChunk();

    /// Destroys the result once no more chunks are needed. The guard must be held.
    void ReleaseResult() noexcept { mResult.Reset(); }

    const ColumnList& Columns() const noexcept { return mColumns; }

private:
    /// Destroys the result and leaves the database's registry, once. Takes the guard.
    void Detach() noexcept;
    void OnLastRelease() noexcept override { Detach(); }

    std::atomic<DuckDBDatabase*> mDatabase; // null once detached; written under the guard, read without it
    std::atomic<std::uint32_t> mReadableColumns{0}; // 0 without a row; likewise
    const std::shared_ptr<const String> mContext;   // the database's name, for failures
    orlimbara::duckdb_support::OwnedResult mResult;
    idx_t mFetchedRows = 0;
    ColumnList mColumns;
};

} // namespace orkit::orsql
