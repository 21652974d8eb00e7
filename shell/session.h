/// @file
/// The shell's open database, the values held for it, and the running of statements.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/duckdb_objects.h"
#include "shell/module.h"
#include "shell/options.h"

namespace orlimbara::shell {

/// The outcome of a statement: a cursor, a count, or neither.
struct Outcome {
    orkit::smart_ptr<orkit::orsql::I_DuckDBCursor> cursor;
    bool hasCount = false;
    std::int64_t count = 0;
};

/// At most one database at a time, with the values held for its statements. Exceptions of the module pass
/// through.
class Session {
public:
    using Database = orkit::smart_ptr<orkit::orsql::I_DuckDBDatabase>;

    /// Both must outlive the session. Nothing is open initially.
    Session(Module& inModule, const Options& inOptions);

    /// Closes the open database, then opens or creates one, as the options say. After a failure there is no
    /// database.
    void Open(const std::string& inPath, bool inIsReadOnly);
    /// Opens a file that was just created.
    void OpenExisting(const orkit::smart_ptr<orkit::I_Location>& inLocation);
    /// Does nothing if nothing is open.
    void Close();
    /// Closes and deletes the database, which may be closed already. Throws ShellError if there is none.
    void Drop();

    /// The database, open or closed; may be null.
    const Database& get_Database() const { return mDatabase; }
    /// The open database. Throws ShellError if nothing is open.
    orkit::orsql::I_DuckDBDatabase& get_OpenDatabase() const;
    orkit::orsql::I_DuckDBExtension& get_Extension() const { return mModule.get_Extension(); }
    /// The paths that Open was called with in this run, each once, in order.
    const std::vector<orkit::String>& get_UsedPaths() const { return mUsedPaths; }

    /// Sets the values for later statements, replacing what is held; null for none.
    void HoldValues(orkit::smart_ptr<orkit::orsql::ValueArray> inValues);
    /// Sets rows; every later statement runs once per row.
    void HoldRows(orkit::smart_ptr<orkit::orsql::RowArray> inRows);

    /// Values or rows that are held.
    struct Held {
        orkit::smart_ptr<orkit::orsql::ValueArray> values;
        orkit::smart_ptr<orkit::orsql::RowArray> rows;
    };
    /// Replaces what is held. @return what was held before.
    Held Exchange(Held inHeld);

    /// Runs one statement with the held values. If DuckDB expands it into several, the outcome is the last
    /// one with rows or a count, and a failure rolls all of them back unless a transaction was open before.
    Outcome Run(const std::string& inSql, CursorLocation inLocation);
    /// Whether a transaction is open, including an aborted one.
    bool IsInTransaction() const;
    /// Runs one of the shell's own queries. @param inValues may be null.
    orkit::smart_ptr<orkit::orsql::I_DuckDBCursor>
    Select(const char* inSql, orkit::smart_ptr<orkit::orsql::ValueArray> inValues) const;

private:
    orkit::orsql::DuckDBSettings MakeSettings(bool inIsReadOnly) const;
    Database MakeDatabase(const orkit::smart_ptr<orkit::I_Location>& inLocation, bool inIsReadOnly);
    std::string ReadToken() const;
    void Adopt(const Database& inDatabase);

    Module& mModule;
    const Options& mOptions;
    Database mDatabase;
    std::vector<orkit::String> mUsedPaths;
    orkit::smart_ptr<orkit::orsql::ValueArray> mValues;
    orkit::smart_ptr<orkit::orsql::RowArray> mRows;
};

} // namespace orlimbara::shell
