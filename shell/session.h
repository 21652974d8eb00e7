/// @file
/// The database that the shell works on, and what goes through it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/duckdb_objects.h"
#include "shell/module.h"
#include "shell/options.h"

namespace orsql {

/// What a statement came to. At most one of cursor and count is there.
struct Outcome {
    orkit::smart_ptr<orkit::orsql::I_DuckDBCursor> cursor;
    bool hasCount = false;
    std::int64_t count = 0;
};

/// At most one database at a time, with the values held for its statements. Failures of the module go to the
/// caller as it raises them.
class Session {
public:
    using Database = orkit::smart_ptr<orkit::orsql::I_DuckDBDatabase>;

    /// Both must outlive the session. Nothing is open at the start.
    Session(Module& inModule, const Options& inOptions);

    /// Closes what is open, then opens a database or makes a new one, as the options ask. If it fails, there
    /// is no database.
    void Open(const std::string& inPath, bool inIsReadOnly);
    /// Opens the file at a place that was made just now.
    void OpenExisting(const orkit::smart_ptr<orkit::I_Location>& inLocation);
    /// Nothing happens when nothing is open.
    void Close();
    /// Closes and deletes. Without a database, also a closed one, raises ShellError.
    void Drop();

    /// The database, open or closed; may be null.
    const Database& get_Database() const { return mDatabase; }
    /// The open database. Raises ShellError if nothing is open.
    orkit::orsql::I_DuckDBDatabase& get_OpenDatabase() const;
    orkit::orsql::I_DuckDBExtension& get_Extension() const { return mModule.get_Extension(); }
    /// The paths that Open was called with in this run, each once, in their order.
    const std::vector<orkit::String>& get_UsedPaths() const { return mUsedPaths; }

    /// Values for each statement from now on, in place of what was held; null for none.
    void HoldValues(orkit::smart_ptr<orkit::orsql::ValueArray> inValues);
    /// Rows, for each of which every statement from now on runs once.
    void HoldRows(orkit::smart_ptr<orkit::orsql::RowArray> inRows);

    /// Runs one statement with what is held. Where DuckDB makes several of it, the outcome is the last with
    /// rows or a count; a failure takes back what they did, unless a transaction was open before.
    Outcome Run(const std::string& inSql, CursorLocation inLocation);
    /// Runs a query of the shell's own. @param inValues may be null.
    orkit::smart_ptr<orkit::orsql::I_DuckDBCursor>
    Select(const char* inSql, orkit::smart_ptr<orkit::orsql::ValueArray> inValues);

private:
    orkit::orsql::DuckDBSettings MakeSettings(bool inIsReadOnly) const;
    Database MakeDatabase(const orkit::smart_ptr<orkit::I_Location>& inLocation, bool inIsReadOnly);
    std::string ReadToken() const;

    Module& mModule;
    const Options& mOptions;
    Database mDatabase;
    std::vector<orkit::String> mUsedPaths;
    orkit::smart_ptr<orkit::orsql::ValueArray> mValues;
    orkit::smart_ptr<orkit::orsql::RowArray> mRows;
};

/// The location of a path, whose faults raise ShellError.
orkit::smart_ptr<orkit::I_Location> LocationOf(const std::string& inPath);

/// A whole file. Raises ShellError.
std::string ReadFile(const std::string& inPath);

} // namespace orsql
