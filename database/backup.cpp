// Backup: the export of a database into a new folder.

#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <utility>

#include "database/duckdb_database.h"
#include "extension/engine_lock_guard.h"
#include "host/backup.h"
#include "host/file.h"
#include "object_support/text.h"

namespace orkit::orsql {

namespace support = orlimbara::duckdb_support;

namespace {

/// The folder that holds the backups of a database: the server's if its settings name one, even if that is
/// unusable; else the caller's; else one beside the database.
smart_ptr<I_Location> ChooseFolder(smart_ptr<I_Location> inFolder, const I_Location& inDatabase) {
    if (std::optional<smart_ptr<I_Location>> server = gServerBackupLocation()) {
        return *std::move(server);
    }
    return inFolder ? inFolder : PrepareFolder(inDatabase.get_ParentLocation(), "Backup/");
}

bool IsAvailable(const smart_ptr<I_Location>& inFolder) {
    const I_Folder* const folder = QueryAspect<I_Folder>(inFolder.get());
    return folder && folder->get_Exists();
}

/// Writes the marker file, by which the host recognises a backup and its database.
void WriteMarker(const I_Location& inBackup, const I_Location& inDatabase) {
    String name = inDatabase.get_Name();
    name << "." << gorDuckDB_backup_sfx;
    const smart_ptr<FileWin> file(new FileWin);
    file->put_Location(inBackup.get_ChildLocation(name));
    file->Create();
    file->Write(gorDuckDB_backup_sfx, 0, static_cast<std::uint32_t>(std::strlen(gorDuckDB_backup_sfx)));
}

/// The export statement in UTF-8.
std::string ExportText(const I_Location& inBackup) {
    const OwnedTextU path(EscapeStringU(inBackup.get_Path().c_str(), 0));
    String text = "EXPORT DATABASE '";
    text << path.get()
         << "' ( FORMAT PARQUET, COMPRESSION ZSTD, ROW_GROUP_SIZE 100_000, PARQUET_VERSION V2 )";
    return ToUTF8(text).c_str();
}

/// Prepares the statement first: a query that is run directly forgets a stop that comes while it begins.
/// @return nothing, or the text of the failure.
std::optional<std::string> Export(const Run& inRun, duckdb_connection inConnection, const char* inText) {
    constexpr const char* kFixedText = "Unknown DuckDB backup error";
    support::OwnedPreparedStatement prepared;
    support::OwnedResult result;
    const duckdb_state state =
        inRun.InDuckDB([&] { return duckdb_prepare(inConnection, inText, prepared.Put()); });
    if (state != DuckDBSuccess) {
        return TextOr(duckdb_prepare_error(prepared.Get()), kFixedText);
    }
    return inRun.Execute(prepared.Get(), result, kFixedText);
}

} // namespace

void DuckDBDatabase::Backup(smart_ptr<I_Location> inFolder) {
    Run run(*mRuns);
    std::shared_ptr<ConnectionCell> connection;
    std::string exportText;
    {
        const EngineLockGuard guard;
        run.Begin();
        RequireOpen();
        connection = mConnection;
        const smart_ptr<I_Location> folder = ChooseFolder(std::move(inFolder), *mLocation);
        if (!IsAvailable(folder)) {
            ThrowError("DuckDBDatabase backup folder is not available");
        }
        const smart_ptr<I_Location> backup = gCreateBackupLocation(folder);
        WriteMarker(*backup, *mLocation);
        exportText = ExportText(*backup);
    }
    // An export can take long, and the whole engine would wait for the lock, so it runs without it.
    if (const Failure failure = Export(run, connection->Get(), exportText.c_str())) {
        const EngineLockGuard guard;
        ThrowError(failure->c_str());
    }
}

} // namespace orkit::orsql
