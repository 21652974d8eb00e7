/// @file
/// A database object for benchmarks, and cursors on results that exist already.
#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

#include <duckdb.h>

#include "database/duckdb_database.h"
#include "duckdb_support/handles.h"
#include "extension/engine_lock_guard.h"
#include "host_standin/locations.h"
#include "result/server_cursor.h"

namespace orkit::orsql::bench {

/// A database in memory.
class Database {
public:
    Database() : mDatabase(new DuckDBDatabase(standin::MakeLocation(String(":memory:")))) {
        mDatabase->Create();
        const EngineLockGuard guard;
        mConnection = mDatabase->get_Connection();
    }
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;
    ~Database() { mDatabase->Close(); }

    DuckDBDatabase* operator->() { return mDatabase.get(); }

    /// Runs SQL directly on the database's connection, for what isn't measured. @return the whole result.
    orlimbara::duckdb_support::OwnedResult Run(const std::string& inSql) {
        orlimbara::duckdb_support::OwnedResult result;
        if (duckdb_query(mConnection->Get(), inSql.c_str(), result.Put()) != DuckDBSuccess) {
            throw std::runtime_error(inSql + ": " + duckdb_result_error(result.Get()));
        }
        return result;
    }

    /// A cursor of a kind on a result, as the database makes it.
    template <class Cursor>
    smart_ptr<I_DuckDBCursor> Open(orlimbara::duckdb_support::OwnedResult inResult) {
        const EngineLockGuard guard;
        return static_cast<I_DuckDBCursor*>(new Cursor(mDatabase.get(), std::move(inResult)));
    }

private:
    smart_ptr<DuckDBDatabase> mDatabase;
    std::shared_ptr<ConnectionCell> mConnection;
};

/// Runs SQL and reads every cell of its result, row by row through a server cursor. @return the cells read.
inline std::uint64_t ReadCells(Database& ioDatabase, const std::string& inSql) {
    const smart_ptr<I_DuckDBCursor> cursor = ioDatabase.Open<DuckDBCursor_server>(ioDatabase.Run(inSql));
    const std::uint32_t columns = cursor->get_ColumnCount();
    std::uint64_t cells = 0;
    while (cursor->NextRecord()) {
        for (std::uint32_t column = 0; column < columns; ++column) {
            cells += cursor->get_Value(column) ? 1 : 0;
        }
    }
    return cells;
}

} // namespace orkit::orsql::bench
