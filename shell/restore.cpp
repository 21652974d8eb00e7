#include "shell/restore.h"

#include <cerrno>
#include <charconv>
#include <cstring>
#include <exception>
#include <filesystem>

#include <fmt/format.h>

#include "host/exceptions.h"
#include "host_standin/locations.h"
#include "host_standin/paths.h"
#include "shell/answers.h"
#include "shell/failure.h"
#include "shell/files.h"
#include "shell/interrupts.h"
#include "shell/session.h"
#include "shell/splitter.h"
#include "shell/system.h"
#include "shell/text.h"

namespace orlimbara::shell {

namespace {

namespace fs = std::filesystem;
using orkit::I_Location;
using orkit::smart_ptr;
using orkit::standin::PathOf;
using orkit::standin::TextOf;

std::string WalOf(const std::string& inPath) { return inPath + ".wal"; }

/// Deletes a database's files in the destructor, if they still exist.
class TemporaryDatabase {
public:
    explicit TemporaryDatabase(std::string inPath) : mPath(std::move(inPath)) {}
    TemporaryDatabase(const TemporaryDatabase&) = delete;
    TemporaryDatabase& operator=(const TemporaryDatabase&) = delete;
    ~TemporaryDatabase() {
        std::error_code ignored;
        fs::remove(PathOf(mPath), ignored);
        fs::remove(PathOf(WalOf(mPath)), ignored);
    }
    const std::string& get_Path() const { return mPath; }

private:
    std::string mPath;
};

/// A free name that begins with `inStart`.
std::string FreeName(const std::string& inStart) {
    for (int i = 0;; ++i) {
        std::string name = fmt::format("{}-{}", inStart, i);
        std::error_code ignored;
        if (!fs::exists(fs::symlink_status(PathOf(name), ignored))) {
            return name;
        }
    }
}

constexpr std::string_view kRestoring = ".restoring-";

/// The process that makes or made a file beside `inTarget`; 0 if the name isn't one of a restore.
int MakerOf(const std::string& inName, const std::string& inTarget) {
    const std::string start = inTarget + std::string(kRestoring);
    int maker = 0;
    if (inName.starts_with(start)) {
        const char* const end = inName.data() + inName.size();
        const auto [last, error] = std::from_chars(inName.data() + start.size(), end, maker);
        maker = error == std::errc() && last != end && *last == '-' ? maker : 0;
    }
    return maker;
}

/// Removes the leftovers of killed restores to this path.
void RemoveLeftovers(const std::string& inPath) {
    const fs::path target = PathOf(inPath);
    std::error_code error;
    for (fs::directory_iterator entry(target.parent_path(), error), end; !error && entry != end;
         entry.increment(error)) {
        const int maker = MakerOf(TextOf(entry->path().filename()), TextOf(target.filename()));
        if (maker > 0 && IsProcessGone(maker)) {
            std::error_code ignored;
            fs::remove(entry->path(), ignored);
        }
    }
}

/// How many statements of a script begin with a word.
std::size_t CountStatements(const std::string& inScript, std::string_view inWord) {
    Splitter splitter;
    splitter.Feed(inScript);
    splitter.Finish();
    std::size_t count = 0;
    while (const auto piece = splitter.Next()) {
        count += StartsIgnoringCase(piece->text, inWord) ? 1 : 0;
    }
    return count;
}

/// Throws ShellError for a folder with an incomplete export. The module refuses a missing folder itself.
void RequireCompleteBackup(const smart_ptr<I_Location>& inBackup) {
    if (!inBackup->get_Exists()) {
        return;
    }
    const fs::path folder = PathOf(ToUtf8(inBackup->get_Path()));
    std::error_code ignored;
    bool isComplete = fs::exists(folder / "schema.sql", ignored) && fs::exists(folder / "load.sql", ignored);
    if (isComplete) {
        // DuckDB writes load.sql last, with a COPY per table: a truncated one would lose tables silently.
        isComplete = CountStatements(ReadFile(TextOf(folder / "load.sql")), "COPY ") >=
                     CountStatements(ReadFile(TextOf(folder / "schema.sql")), "CREATE TABLE ");
    }
    if (!isComplete) {
        throw ShellError(fmt::format("the backup in {} is not complete", TextOf(folder)));
    }
}

void RefuseTarget(const Session& inSession, const smart_ptr<I_Location>& inTarget, bool inReplaces) {
    const std::string path = ToUtf8(inTarget->get_Path());
    if (IsMemoryPath(path) || IsRemotePath(path)) {
        throw ShellError(fmt::format("a backup is restored to a file, not to {}", path));
    }
    if (!inTarget->get_Exists()) {
        return;
    }
    if (!inReplaces) {
        throw ShellError(fmt::format("{} exists; --replace puts the restored database in its place", path));
    }
    if (!inSession.get_Extension().get_IsDuckDBFile(inTarget)) {
        throw ShellError(fmt::format("{} is not a DuckDB file, or another program uses it", path));
    }
}

/// @param inReplaces whether the new name may exist.
void Rename(const std::string& inFrom, const std::string& inTo, bool inReplaces) {
    if (!RenameFile(inFrom, inTo, inReplaces)) {
        throw ShellError(fmt::format("can't move {} to {}: {}", inFrom, inTo, std::strerror(errno)));
    }
}

/// Opens the old database and empties its log into it. @return nothing if it can't be opened for writing.
Session::Database OpenWithoutLog(const Session& inSession, const smart_ptr<I_Location>& inTarget) {
    const ActivityScope busy(Activity::Busy);
    try {
        Session::Database database = inSession.get_Extension().CreateDatabase(inTarget);
        database->Open();
        if (!database->get_IsReadOnly()) {
            database->SqlExecute("CHECKPOINT", nullptr);
            return database;
        }
        database->Close();
    } catch (const orkit::xException&) {
        // It is damaged, which is a reason to restore.
    }
    return nullptr;
}

/// Checkpoints a restored database that has a log, because the disk was full when it closed. Its rows exist
/// nowhere else.
void EmptyLog(const Session& inSession, const std::string& inPath) {
    std::error_code ignored;
    if (fs::exists(PathOf(WalOf(inPath)), ignored)) {
        const Session::Database database = inSession.get_Extension().CreateDatabase(LocationOf(inPath));
        database->Open();
        database->SqlExecute("CHECKPOINT", nullptr);
        database->Close();
    }
    if (fs::exists(PathOf(WalOf(inPath)), ignored)) {
        throw ShellError(fmt::format("can't checkpoint the log {}", WalOf(inPath)));
    }
}

/// Renames a log that DuckDB would take for the new database's. It may hold rows that exist nowhere else.
void KeepLog(const std::string& inPath, Answers& inAnswers) {
    std::error_code ignored;
    if (fs::exists(PathOf(WalOf(inPath)), ignored)) {
        const std::string kept = FreeName(WalOf(inPath) + ".kept");
        inAnswers.Notice(fmt::format("The log of the old database is kept as {}.\n", kept));
        Rename(WalOf(inPath), kept, false);
    }
}

/// Closes a database whose file will be deleted, so a failure doesn't matter.
void CloseQuietly(const Session::Database& inDatabase) {
    try {
        if (inDatabase && inDatabase->get_IsOpen()) {
            inDatabase->Close();
        }
    } catch (const orkit::xException&) {
    }
}

/// Moves the complete database to its place. At any moment a kill leaves either the old database with all its
/// rows or the new one: the old one's log is emptied first, and nothing can be written to it before the old
/// file is gone.
void MoveIntoPlace(const Session& inSession, const std::string& inNew, const smart_ptr<I_Location>& inTarget,
                   bool inReplaces, Answers& inAnswers) {
    const std::string path = ToUtf8(inTarget->get_Path());
    const Session::Database old =
        inReplaces && inTarget->get_Exists() ? OpenWithoutLog(inSession, inTarget) : nullptr;
    if (!old) {
        KeepLog(path, inAnswers);
    }
    if (!kReplacesOpenFiles) {
        CloseQuietly(old);
    }
    Rename(inNew, path, inReplaces);
    CloseQuietly(old);
}

} // namespace

void RestoreBackup(Session& inSession, Answers& inAnswers, const std::string& inBackup,
                   const std::string& inPath, bool inReplaces) {
    const smart_ptr<I_Location> target = LocationOf(inPath);
    const smart_ptr<I_Location> backup = LocationOf(inBackup);
    const std::string path = ToUtf8(target->get_Path());
    // A file that is open can't be inspected, but was opened as a DuckDB file.
    const Session::Database& open = inSession.get_Database();
    const bool isOpenHere = open && open->get_IsOpen() && open->get_Path() == target->get_Path();
    if (!isOpenHere || !inReplaces) {
        RefuseTarget(inSession, target, inReplaces);
    }
    RequireCompleteBackup(backup);
    RemoveLeftovers(path);
    const TemporaryDatabase made(FreeName(fmt::format("{}{}{}", path, kRestoring, ProcessId())));
    try {
        const RunScope run(&inSession.get_Extension());
        inSession.get_Extension().RestoreDatabase(orkit::standin::MakeLocation(ToHost(made.get_Path())),
                                                  backup);
    } catch (const orkit::xDBError&) {
        std::throw_with_nested(Explanation(fmt::format("there is no backup in {}", inBackup)));
    }
    EmptyLog(inSession, made.get_Path());
    inSession.Close();
    if (isOpenHere) {
        RefuseTarget(inSession, target, inReplaces);
    }
    MoveIntoPlace(inSession, made.get_Path(), target, inReplaces, inAnswers);
    inSession.OpenExisting(target);
}

} // namespace orlimbara::shell
