/// @file
/// What the tests of backup and restore share.
#pragma once

#include <filesystem>
#include <set>
#include <string>
#include <string_view>

#include "host/backup.h"
#include "host_standin/locations.h"
#include "tests_support/object_fixture.h"

namespace orkit::orsql::test {

/// Gives each test a folder "backups", and the host's own functions back after it.
class BackupTest : public ObjectTest {
protected:
    void SetUp() override {
        ObjectTest::SetUp();
        std::filesystem::create_directory(Folder() / "backups");
    }
    void TearDown() override {
        gServerBackupLocation = mServerBackupLocation;
        gCreateBackupLocation = mCreateBackupLocation;
        ObjectTest::TearDown();
    }

    /// Backs up into "backups". @return the new backup.
    smart_ptr<I_Location> Backup(const smart_ptr<I_DuckDBDatabase>& inDatabase) const {
        inDatabase->Backup(At("backups"));
        return standin::get_LastBackupLocation();
    }
    smart_ptr<I_DuckDBDatabase> Restore(std::string_view inName,
                                        const smart_ptr<I_Location>& inBackup) const {
        return Extension()->RestoreDatabase(At(inName), inBackup);
    }

    static std::filesystem::path PathOf(const smart_ptr<I_Location>& inLocation) {
        return Text(inLocation->get_Path());
    }
    /// The path of the last backup, also of one that failed.
    static std::filesystem::path LastBackup() { return PathOf(standin::get_LastBackupLocation()); }
    /// The names in a folder.
    static std::set<std::string> NamesIn(const std::filesystem::path& inFolder) {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(inFolder)) {
            names.insert(entry.path().filename().string());
        }
        return names;
    }

private:
    decltype(gServerBackupLocation) mServerBackupLocation = gServerBackupLocation;
    decltype(gCreateBackupLocation) mCreateBackupLocation = gCreateBackupLocation;
};

} // namespace orkit::orsql::test
