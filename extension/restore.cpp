// RestoreDatabase: a new database from a backup.

#include "database/duckdb_database.h"
#include "extension/duckdb_extension.h"
#include "host/exceptions.h"

using namespace orkit;
using namespace orkit::orsql;

namespace {

String ImportText(const I_Location& inBackup) {
    const OwnedTextU path(EscapeStringU(inBackup.get_Path().c_str(), 0));
    String text = "IMPORT DATABASE '";
    text << path.get() << "'";
    return text;
}

} // namespace

smart_ptr<I_DuckDBDatabase> DuckDBExtension::RestoreDatabase(smart_ptr<I_Location> inLocation,
                                                             smart_ptr<I_Location> inBackupLocation) {
    if (!inLocation) {
        throw xDBError(error_code::kNullLocation);
    }
    if (!inBackupLocation || !inBackupLocation->get_Exists()) {
        throw xDBError(error_code::kMissingBackup);
    }
    const GuardedRun run(*mRestores);
    // Not the object that the caller gets: its runs belong to this object.
    const smart_ptr<I_DuckDBDatabase> database(new DuckDBDatabase(inLocation, mRestores));
    if (inLocation->get_Exists()) {
        // Create joins the database of others that hold the path; the import would go into theirs.
        database->Drop();
    }
    database->Create();
    database->SqlExecute(ImportText(*inBackupLocation), nullptr);
    database->Close();
    return smart_ptr<I_DuckDBDatabase>(new DuckDBDatabase(inLocation));
}
