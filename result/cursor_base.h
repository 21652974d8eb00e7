/// @file
/// What both cursors share: the result they read, its columns, and the tie to the database.
///
/// Knows DuckDBDatabase, which knows the cursors by their interface.
#pragma once

#include <atomic>
#include <cstdint>

#include "duckdb_support/handles.h"
#include "host/duckdb_objects.h"
#include "object_support/ref_count.h"
#include "result/column_list.h"

namespace orkit::orsql {

class DuckDBDatabase;

/// Raises "DuckDBCursor is invalid", context "unknown".
[[noreturn]] void RaiseInvalidCursor();

/// Base of the two cursors. Owns its result from construction on. The database's registry holds the cursor by
/// a plain pointer, and the cursor the database; whoever goes first tells the other, under the guard.
class DuckDBCursor_imp : public I_DuckDBCursor, public ForeignPlugin_imp, noncopyable {
public:
    std::uint32_t AddRef() override;
    std::uint32_t Release() override;
    void* QueryInterface(std::uint32_t inInterfaceId) override;
    std::uint32_t get_RefsCount() const override;

    std::uint32_t get_ColumnCount() const override;
    const String& get_ColumnName(std::uint32_t inColumnIndex) const override;
    const String& get_ColumnTypeName(std::uint32_t inColumnIndex) const override;
    std::uint32_t get_ColumnType(std::uint32_t inColumnIndex) const override;
    /// Takes the guard: the database may be on its way out on another thread.
    smart_ptr<I_DuckDBDatabase> get_Database() const override;
    void Invalidate() override;
    void Dispose() override;

protected:
    /// Lists the columns and enters the cursor into the database's registry. The guard must be held. If it
    /// raises, the cursor stands in no registry and the result is destroyed.
    /// @param inDatabase null raises "DuckDBCursor is invalid".
    DuckDBCursor_imp(DuckDBDatabase* inDatabase, orlimbara::duckdb_support::OwnedResult inResult);
    ~DuckDBCursor_imp() override;

    /// Raises "DuckDBCursor is invalid", context "unknown", on a cursor that was cut off.
    void RequireValid() const {
        if (!mDatabase.load(std::memory_order_acquire)) {
            RaiseInvalidCursor();
        }
    }
    /// Raises "inColumnIndex is out of bounds".
    void RequireColumn(std::uint32_t inColumnIndex) const {
        if (inColumnIndex >= mColumns.size()) {
            RaiseError("inColumnIndex is out of bounds");
        }
    }
    /// Raises with the database's name as context; takes the guard for reading that.
    [[noreturn]] void RaiseError(const char* inMessage) const;
    /// The next chunk of the result; empty at its end. Raises DuckDB's text when the chunk can't be fetched.
    /// The guard must be held and the cursor be valid.
    orlimbara::duckdb_support::OwnedDataChunk FetchChunk();

    const ColumnList& Columns() const noexcept { return mColumns; }

private:
    /// Destroys the result and leaves the database's registry, once. Takes the guard. Raises nothing.
    void Detach() noexcept;

    RefCount mRefCount;
    std::atomic<DuckDBDatabase*> mDatabase; // null once cut off; written under the guard, read without it
    orlimbara::duckdb_support::OwnedResult mResult;
    ColumnList mColumns;
};

} // namespace orkit::orsql
