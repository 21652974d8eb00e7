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

namespace fs = std::filesystem;

/// Gives each test a folder "backups", and the host's own functions back after it.
class BackupTest : public ObjectTest {
protected:
    void SetUp() override {
        ObjectTest::SetUp();
        fs::create_directory(Folder() / "backups");
    }
    void TearDown() override {
        gServerBackupLocation = mServerBackupLocation;
        gCreateBackupLocation = mCreateBackupLocation;
        ObjectTest::TearDown();
    }

    smart_ptr<I_DuckDBDatabase> MakeSales() const {
        const smart_ptr<I_DuckDBDatabase> database = CreateDatabase("sales.duckdb");
        Execute(database, "CREATE TABLE t AS SELECT i FROM range(1000) r(i)");
        return database;
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

    /// The path of the last backup, also of one that failed.
    static fs::path LastBackup() { return Text(standin::get_LastBackupLocation()->get_Path()); }
    /// The names in a folder.
    static std::set<std::string> NamesIn(const fs::path& inFolder) {
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator(inFolder)) {
            names.insert(entry.path().filename().string());
        }
        return names;
    }

private:
    decltype(gServerBackupLocation) mServerBackupLocation = gServerBackupLocation;
    decltype(gCreateBackupLocation) mCreateBackupLocation = gCreateBackupLocation;
};

} // namespace orkit::orsql::test
