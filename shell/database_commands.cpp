// The dot commands about databases: opening, closing, backups.
#include <array>
#include <chrono>
#include <exception>
#include <filesystem>

#include "host/exceptions.h"
#include "host_standin/locations.h"
#include "host_standin/paths.h"
#include "shell/commands.h"
#include "shell/failure.h"
#include "shell/files.h"
#include "shell/interrupts.h"
#include "shell/progress.h"
#include "shell/restore.h"
#include "shell/row_source.h"
#include "shell/shell.h"
#include "shell/text.h"

namespace orlimbara::shell {

namespace {

/// Removes a leading option from the words, whose number `TakeWords` has checked.
bool TakeOption(std::vector<std::string>& ioWords, std::string_view inOption, std::size_t inWanted) {
    const bool isThere = !ioWords.empty() && ioWords.front() == inOption;
    if (isThere) {
        ioWords.erase(ioWords.begin());
    }
    if (ioWords.size() != inWanted) {
        throw UsageError(ioWords.size() < inWanted ? "an argument is missing" : "too many arguments");
    }
    return isThere;
}

CommandAnswer Open(Shell& inShell, std::string_view inArguments) {
    std::vector<std::string> words = TakeWords(inArguments, 1, 2);
    const bool isReadOnly = TakeOption(words, "--readonly", 1);
    inShell.get_Session().Open(words.front(), isReadOnly);
    return CommandAnswer::Pending;
}

CommandAnswer Close(Shell& inShell, std::string_view inArguments) {
    TakeWords(inArguments, 0, 0);
    inShell.get_Session().Close();
    return CommandAnswer::Pending;
}

CommandAnswer Drop(Shell& inShell, std::string_view inArguments) {
    TakeWords(inArguments, 0, 0);
    inShell.get_Session().Drop();
    return CommandAnswer::Pending;
}

CommandAnswer Info(Shell& inShell, std::string_view inArguments) {
    TakeWords(inArguments, 0, 0);
    const Session& session = inShell.get_Session();
    const Session::Database& database = session.get_Database();
    TableRows rows({"name", "value"});
    rows.Add({TextCell("path"), database ? TextCell(ToUtf8(database->get_Path())) : Cell()});
    rows.Add({TextCell("name"), database ? TextCell(ToUtf8(database->get_Name())) : Cell()});
    rows.Add({TextCell("open"), BooleanCell(database && database->get_IsOpen())});
    rows.Add({TextCell("read_only"), BooleanCell(database && database->get_IsReadOnly())});
    rows.Add({TextCell("connections"), NumberCell(database ? database->get_ConnectionCount() : 0)});
    rows.Add({TextCell("duckdb_version"), TextCell(session.get_Extension().get_LibraryVersion())});
    rows.Add({TextCell("orsql_version"), TextCell(ShellVersion())});
    inShell.get_Answers().Rows(rows);
    return CommandAnswer::Given;
}

/// Runs the export and removes an incomplete backup. @return the new backup's folder.
std::string ExportBackup(const Options& inOptions, orkit::orsql::I_DuckDBDatabase& inDatabase,
                         const orkit::smart_ptr<orkit::I_Location>& inFolder) {
    const auto newest = [] {
        const auto location = orkit::standin::get_LastBackupLocation();
        return location ? ToUtf8(location->get_Path()) : std::string();
    };
    const std::string before = newest();
    const std::filesystem::path usual =
        orkit::standin::PathOf(ToUtf8(inDatabase.get_Path())).parent_path() / "Backup";
    std::error_code ignored;
    const bool makesUsual = !inFolder && !std::filesystem::exists(usual, ignored);
    try {
        const RunScope run(&inDatabase);
        const ProgressLine progress(inOptions, DescribeBackup);
        inDatabase.Backup(inFolder);
    } catch (...) {
        if (newest() != before) {
            std::filesystem::remove_all(newest(), ignored);
        }
        if (makesUsual) {
            std::filesystem::remove(usual, ignored); // only if it is empty
        }
        throw;
    }
    return newest();
}

/// What a failed backup's message doesn't say about the folder; empty if there is nothing to add.
std::string ExplainFolder(const orkit::orsql::I_DuckDBDatabase& inDatabase,
                          const std::vector<std::string>& inWords) {
    std::error_code ignored;
    if (!inWords.empty() &&
        !std::filesystem::is_directory(orkit::standin::PathOf(inWords.front()), ignored)) {
        return "there is no folder " + inWords.front();
    }
    if (inWords.empty() &&
        (IsMemoryPath(ToUtf8(inDatabase.get_Path())) || IsRemotePath(ToUtf8(inDatabase.get_Path())))) {
        return "a database without a file needs the name of a folder: .backup DIR";
    }
    return {};
}

CommandAnswer Backup(Shell& inShell, std::string_view inArguments) {
    using Clock = std::chrono::steady_clock;
    const std::vector<std::string> words = TakeWords(inArguments, 0, 1);
    orkit::orsql::I_DuckDBDatabase& database = inShell.get_Session().get_OpenDatabase();
    const orkit::smart_ptr<orkit::I_Location> folder = words.empty() ? nullptr : LocationOf(words.front());
    const Clock::time_point start = Clock::now();
    std::string path;
    try {
        path = ExportBackup(inShell.get_Options(), database, folder);
    } catch (const orkit::xException&) {
        if (const std::string reason = ExplainFolder(database, words); !reason.empty()) {
            std::throw_with_nested(Explanation(reason));
        }
        throw;
    }
    const std::chrono::duration<double> elapsed = Clock::now() - start;
    TableRows rows({"path", "seconds"});
    rows.Add({TextCell(path), DoubleCell(elapsed.count())});
    rows.KeepWhole(0);
    inShell.get_Answers().Rows(rows);
    return CommandAnswer::Given;
}

CommandAnswer Restore(Shell& inShell, std::string_view inArguments) {
    std::vector<std::string> words = TakeWords(inArguments, 2, 3);
    const bool replaces = TakeOption(words, "--replace", 2);
    RestoreBackup(inShell.get_Session(), inShell.get_Answers(), words[0], words[1], replaces);
    return CommandAnswer::Pending;
}

CommandAnswer Databases(Shell& inShell, std::string_view inArguments) {
    TakeWords(inArguments, 0, 0);
    const Session& session = inShell.get_Session();
    TableRows rows({"path", "connections"});
    for (const orkit::String& path : session.get_UsedPaths()) {
        if (session.get_Extension().get_IsKnownDatabase(path)) {
            const auto database = session.get_Extension().CreateDatabase(orkit::standin::MakeLocation(path));
            rows.Add({TextCell(ToUtf8(path)), NumberCell(database->get_ConnectionCount())});
        }
    }
    inShell.get_Answers().Rows(rows);
    return CommandAnswer::Given;
}

constexpr auto kRows = std::to_array<DotCommand>({
    {"open", "[--readonly] PATH",
     "close what is open, then open a database; a file that doesn't exist is created", CompleteFiles, Open,
     command_trait::kOutside},
    {"close", "", "close the database", nullptr, Close},
    {"drop", "", "close the database and delete its file", nullptr, Drop, command_trait::kWholeName},
    {"info", "", "show the database, DuckDB's version and orsql's own", nullptr, Info},
    {"databases", "", "list the databases used in this run and their connections", nullptr, Databases},
    {"backup", "[DIR]", "back the database up into a new folder in DIR, or in Backup beside the database",
     CompleteFiles, Backup},
    {"restore", "[--replace] BACKUP_DIR PATH", "make the database PATH from a backup and open it",
     CompleteFiles, Restore, command_trait::kOutside},
});

} // namespace

std::span<const DotCommand> DatabaseCommands() { return kRows; }

} // namespace orlimbara::shell
