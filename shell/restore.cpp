#include "shell/restore.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include "host_standin/locations.h"
#include "shell/failure.h"
#include "shell/files.h"
#include "shell/interrupts.h"
#include "shell/text.h"

namespace orlimbara::shell {

namespace {

namespace fs = std::filesystem;
using orkit::I_Location;
using orkit::smart_ptr;

std::string WalOf(const std::string& inPath) { return inPath + ".wal"; }

/// Deletes a database's files at the end, if they are still there.
class TemporaryDatabase {
public:
    explicit TemporaryDatabase(std::string inPath) : mPath(std::move(inPath)) {}
    TemporaryDatabase(const TemporaryDatabase&) = delete;
    TemporaryDatabase& operator=(const TemporaryDatabase&) = delete;
    ~TemporaryDatabase() {
        std::error_code ignored;
        fs::remove(mPath, ignored);
        fs::remove(WalOf(mPath), ignored);
    }
    const std::string& get_Path() const { return mPath; }

private:
    std::string mPath;
};

/// A free name in the folder of `inPath`.
std::string NameBeside(const std::string& inPath) {
    for (int i = 0;; ++i) {
        std::string name = fmt::format("{}.restoring-{}-{}", inPath, getpid(), i);
        std::error_code ignored;
        if (!fs::exists(fs::symlink_status(name, ignored))) {
            return name;
        }
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

/// @param inReplaces whether a file at the new name may be there.
void Rename(const std::string& inFrom, const std::string& inTo, bool inReplaces) {
    const unsigned flags = inReplaces ? 0 : RENAME_NOREPLACE;
    int result = renameat2(AT_FDCWD, inFrom.c_str(), AT_FDCWD, inTo.c_str(), flags);
    if (result != 0 && flags != 0 && (errno == EINVAL || errno == ENOSYS)) {
        // A file system that can't promise it: it was free a moment ago.
        result = rename(inFrom.c_str(), inTo.c_str());
    }
    if (result != 0) {
        throw ShellError(fmt::format("can't move {} to {}: {}", inFrom, inTo, std::strerror(errno)));
    }
}

/// Moves the complete database to its place. DuckDB would take the old database's log for the new one's, so
/// the log is moved away first, and back if the move fails.
void MoveIntoPlace(const std::string& inNew, const std::string& inPath, bool inReplaces) {
    std::error_code ignored;
    const TemporaryDatabase oldLog(NameBeside(WalOf(inPath)));
    const bool hasLog = fs::exists(WalOf(inPath), ignored);
    if (hasLog) {
        Rename(WalOf(inPath), oldLog.get_Path(), false);
    }
    try {
        Rename(inNew, inPath, inReplaces);
    } catch (...) {
        if (hasLog) {
            Rename(oldLog.get_Path(), WalOf(inPath), false);
        }
        throw;
    }
}

} // namespace

void RestoreBackup(Session& inSession, const std::string& inBackup, const std::string& inPath,
                   bool inReplaces) {
    const smart_ptr<I_Location> target = LocationOf(inPath);
    const smart_ptr<I_Location> backup = LocationOf(inBackup);
    const std::string path = ToUtf8(target->get_Path());
    // A file that is open can't be looked into, and was opened as a DuckDB file.
    const Session::Database& open = inSession.get_Database();
    const bool isOpenHere = open && open->get_IsOpen() && open->get_Path() == target->get_Path();
    if (!isOpenHere || !inReplaces) {
        RefuseTarget(inSession, target, inReplaces);
    }
    const TemporaryDatabase made(NameBeside(path));
    {
        const ActivityScope computing(Activity::Computing);
        inSession.get_Extension().RestoreDatabase(orkit::standin::MakeLocation(ToHost(made.get_Path())),
                                                  backup);
    }
    inSession.Close();
    if (isOpenHere) {
        RefuseTarget(inSession, target, inReplaces);
    }
    MoveIntoPlace(made.get_Path(), path, inReplaces);
    inSession.OpenExisting(target);
}

} // namespace orlimbara::shell
