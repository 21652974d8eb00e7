#include <fstream>
#include <functional>
#include <iterator>
#include <optional>

#include <sys/mount.h>
#include <unistd.h>

#include "backup_fixture.h"
#include "duckdb_support/handle_count.h"
#include "host_standin/faults.h"
#include "host_standin/live_objects.h"

namespace orkit::orsql::test {
namespace {

namespace fs = std::filesystem;

constexpr const char* kMarker = "sales.orduckdb_backup";
constexpr const char* kUnavailable = "DuckDBDatabase backup folder is not available";

std::string Content(const fs::path& inFile) {
    std::ifstream stream(inFile, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

class Backups : public BackupTest {
protected:
    smart_ptr<I_DuckDBDatabase> MakeSales() const {
        const smart_ptr<I_DuckDBDatabase> database = CreateDatabase("sales.duckdb");
        Execute(database, "CREATE TABLE t AS SELECT i, 'row ' || i AS s FROM range(250000) r(i)");
        return database;
    }

    /// The object works as before, and nobody kept the lock.
    static void ExpectUntouched(const smart_ptr<I_DuckDBDatabase>& inDatabase) {
        EXPECT_EQ(standin::get_EngineLockCount(), standin::get_EngineUnlockCount());
        EXPECT_TRUE(inDatabase->get_IsOpen());
        EXPECT_EQ(inDatabase->get_ConnectionCount(), 1u);
        EXPECT_EQ(SelectOne(inDatabase, "SELECT count(*) FROM t"), "250000");
        EXPECT_EQ(Execute(inDatabase, "INSERT INTO t VALUES (-1, 'new'); DELETE FROM t WHERE i = -1"), 2);
    }
};

TEST_F(Backups, HoldAMarkerAndAnExport) {
    const smart_ptr<I_DuckDBDatabase> database = MakeSales();
    const fs::path backup = PathOf(Backup(database));
    EXPECT_EQ(backup.parent_path(), Folder() / "backups");
    EXPECT_EQ(NamesIn(backup), (std::set<std::string>{kMarker, "load.sql", "schema.sql", "t.parquet"}));
    EXPECT_EQ(Content(backup / kMarker), gorDuckDB_backup_sfx);
    ExpectUntouched(database);

    const std::string file = "('" + (backup / "t.parquet").string() + "')";
    // DuckDB fills row groups with whole vectors of 2,048 rows; DELTA_BINARY_PACKED is version 2.
    EXPECT_EQ(Select(database, "SELECT row_group_num_rows, compression, encodings FROM parquet_metadata" +
                                   file + " WHERE path_in_schema = 'i' ORDER BY row_group_id"),
              (Rows{{"100352", "ZSTD", "DELTA_BINARY_PACKED"},
                    {"100352", "ZSTD", "DELTA_BINARY_PACKED"},
                    {"49296", "ZSTD", "DELTA_BINARY_PACKED"}}));
    EXPECT_EQ(SelectOne(database, "SELECT format_version FROM parquet_file_metadata" + file), "2");

    const fs::path second = PathOf(Backup(database));
    EXPECT_GT(second, backup);
    EXPECT_EQ(NamesIn(second), NamesIn(backup));
}

TEST_F(Backups, GoBesideTheDatabaseWhenNoFolderIsNamed) {
    const smart_ptr<I_DuckDBDatabase> database = MakeSales();
    database->Backup(nullptr);
    EXPECT_EQ(LastBackup().parent_path(), Folder() / "Backup");
    EXPECT_TRUE(fs::exists(LastBackup() / kMarker));
    ExpectUntouched(database);
}

TEST_F(Backups, GoWhereTheServerSaysWhateverTheCallerNamed) {
    static std::optional<smart_ptr<I_Location>> sServerFolder;
    const smart_ptr<I_DuckDBDatabase> database = MakeSales();
    fs::create_directory(Folder() / "server");
    gServerBackupLocation = [] { return sServerFolder; };

    sServerFolder = At("server");
    for (const smart_ptr<I_Location>& named : {At("backups"), At("missing"), smart_ptr<I_Location>()}) {
        database->Backup(named);
        EXPECT_EQ(LastBackup().parent_path(), Folder() / "server");
    }
    EXPECT_EQ(NamesIn(Folder() / "server").size(), 3u);

    sServerFolder = smart_ptr<I_Location>();
    ExpectDuckDBError([&] { database->Backup(At("backups")); }, "sales", kUnavailable);
    sServerFolder.reset();
    EXPECT_TRUE(fs::is_empty(Folder() / "backups"));
    EXPECT_FALSE(fs::exists(Folder() / "Backup"));
    ExpectUntouched(database);
}

TEST_F(Backups, WorkOnAReadOnlyDatabase) {
    MakeSales()->Close();
    const smart_ptr<I_DuckDBDatabase> database = MakeDatabase("sales.duckdb");
    DuckDBSettings settings;
    settings.mAccessMode = 0;
    database->put_Settings(settings);
    database->Open();
    EXPECT_TRUE(database->get_IsReadOnly());
    const smart_ptr<I_DuckDBDatabase> restored = Restore("restored.duckdb", Backup(database));
    restored->Open();
    EXPECT_EQ(SelectOne(restored, "SELECT count(*) FROM t"), "250000");
}

TEST_F(Backups, NeedExternalAccess) {
    const smart_ptr<I_DuckDBDatabase> database = MakeDatabase("sales.duckdb");
    DuckDBSettings settings;
    settings.mEnableExternalAccess = false;
    database->put_Settings(settings);
    database->Create();
    Execute(database, "CREATE TABLE t AS SELECT i, '' AS s FROM range(250000) r(i)");
    ExpectDuckDBErrorWith([&] { database->Backup(At("backups")); }, "sales", "disabled");
    EXPECT_EQ(NamesIn(LastBackup()), (std::set<std::string>{kMarker}));
    ExpectUntouched(database);
}

TEST_F(Backups, NeedAnOpenDatabase) {
    const smart_ptr<I_DuckDBDatabase> database = MakeDatabase("sales.duckdb");
    ExpectDuckDBError([&] { database->Backup(At("backups")); }, "sales", "DuckDBDatabase is not open");
    EXPECT_TRUE(fs::is_empty(Folder() / "backups"));
    EXPECT_EQ(standin::get_EngineLockCount(), standin::get_EngineUnlockCount());
}

TEST_F(Backups, RefuseAFolderThatIsMissingOrUnfit) {
    const smart_ptr<I_DuckDBDatabase> database = MakeSales();
    std::ofstream(Folder() / "file") << "no folder";
    for (const char* name : {"missing", "file", "sales.duckdb", ":memory:"}) {
        SCOPED_TRACE(name);
        ExpectDuckDBError([&] { database->Backup(At(name)); }, "sales", kUnavailable);
    }
    EXPECT_FALSE(fs::exists(Folder() / "missing") || fs::exists(Folder() / "Backup"));
    ExpectUntouched(database);

    // A database that lies nowhere has no folder beside it.
    const smart_ptr<I_DuckDBDatabase> inMemory = CreateDatabase();
    ExpectDuckDBError([&] { inMemory->Backup(nullptr); }, ":memory:", kUnavailable);
}

TEST_F(Backups, RefuseAFolderThatCannotBeWrittenTo) {
    const smart_ptr<I_DuckDBDatabase> database = MakeSales();
    const fs::path folder = Folder() / "backups";
    if (::geteuid() != 0) {
        fs::permissions(folder, fs::perms::owner_read | fs::perms::owner_exec);
    } else if (::mount("tmpfs", folder.c_str(), "tmpfs", MS_RDONLY, nullptr) != 0) {
        GTEST_SKIP() << "nothing is read-only to root here, and mounting isn't allowed";
    }
    ExpectDuckDBError([&] { database->Backup(At("backups")); }, "sales", kUnavailable);
    EXPECT_TRUE(fs::is_empty(folder));
    if (::geteuid() != 0) {
        fs::permissions(folder, fs::perms::owner_all);
    } else {
        ::umount(folder.c_str());
    }
    ExpectUntouched(database);
}

TEST_F(Backups, PassTheHostsFailuresOn) {
    const smart_ptr<I_DuckDBDatabase> database = MakeSales();
    struct Case {
        standin::Fault mFault;
        bool mNamesFolder;
        bool mLeavesBackup;
    };
    for (const Case& failing : {Case{standin::Fault::PrepareFolder, false, false},
                                Case{standin::Fault::CreateBackupLocation, true, false},
                                Case{standin::Fault::FileOpen, true, true}}) {
        SCOPED_TRACE(static_cast<int>(failing.mFault));
        standin::FailCall(failing.mFault, 1);
        const Raised raised =
            Catch([&] { database->Backup(failing.mNamesFolder ? At("backups") : smart_ptr<I_Location>()); });
        EXPECT_EQ(raised.mClass, "xException");
        EXPECT_EQ(fs::is_empty(Folder() / "backups"), !failing.mLeavesBackup);
        ExpectUntouched(database);
    }
    EXPECT_TRUE(fs::is_empty(LastBackup()));
}

TEST_F(Backups, KeepMarkerAndFolderWhenTheExportFails) {
    const smart_ptr<I_DuckDBDatabase> database = MakeSales();
    Execute(database, "CREATE TABLE bad AS SELECT INTERVAL '-1 day' AS d");
    ExpectDuckDBError(
        [&] { database->Backup(At("backups")); }, "sales",
        R"({"exception_type":"IO","exception_message":"Parquet files do not support negative intervals"})");
    const std::set<std::string> names = NamesIn(LastBackup());
    EXPECT_TRUE(names.contains(kMarker));
    EXPECT_FALSE(names.contains("schema.sql"));
    ExpectUntouched(database);

    // The next one, into a folder of its own, knows nothing of it.
    Execute(database, "DROP TABLE bad");
    EXPECT_EQ(NamesIn(PathOf(Backup(database))).size(), 4u);
}

/// Makes something in the folder of the next backup, before it is used.
void PlantInBackups(void (*inPlant)(const fs::path& inBackup)) {
    static const auto sCreate = gCreateBackupLocation; // the host's own: each test begins with it
    static void (*sPlant)(const fs::path&);
    sPlant = inPlant;
    gCreateBackupLocation = [](smart_ptr<I_Location> inFolder) {
        smart_ptr<I_Location> backup = sCreate(inFolder);
        sPlant(Text(backup->get_Path()));
        return backup;
    };
}

TEST_F(Backups, FailOnAFullDisk) {
    const smart_ptr<I_DuckDBDatabase> database = MakeSales();
    // /dev/full takes no byte: as on a disk that is full, whoever runs the test.
    PlantInBackups([](const fs::path& inBackup) { fs::create_symlink("/dev/full", inBackup / "t.parquet"); });
    ExpectDuckDBErrorWith([&] { database->Backup(At("backups")); }, "sales", "No space left on device");
    EXPECT_EQ(NamesIn(LastBackup()), (std::set<std::string>{kMarker, "t.parquet"}));
    ExpectUntouched(database);

    PlantInBackups(
        [](const fs::path& inBackup) { fs::create_symlink("/dev/full", inBackup / "schema.sql"); });
    ExpectDuckDBErrorWith([&] { database->Backup(At("backups")); }, "sales", "No space left on device");
    EXPECT_TRUE(fs::exists(LastBackup() / kMarker));
    ExpectUntouched(database);
}

TEST_F(Backups, FailWhereDuckDBCannotMakeItsFiles) {
    const smart_ptr<I_DuckDBDatabase> database = MakeSales();
    PlantInBackups([](const fs::path& inBackup) { fs::create_directory(inBackup / "t.parquet"); });
    ExpectDuckDBErrorWith([&] { database->Backup(At("backups")); }, "sales", "Is a directory");
    EXPECT_EQ(NamesIn(LastBackup()), (std::set<std::string>{kMarker, "t.parquet"}));
    ExpectUntouched(database);
}

class Restores : public Backups {
protected:
    /// A backup of a database that is closed again.
    smart_ptr<I_Location> BackupOfSales() const { return Backup(MakeSales()); }

    void ExpectRaised(const smart_ptr<I_Location>& inLocation, const smart_ptr<I_Location>& inBackup,
                      std::uint32_t inCode) const {
        const Raised raised = Catch([&] { Extension()->RestoreDatabase(inLocation, inBackup); });
        EXPECT_EQ(raised.mClass, "xDBError");
        EXPECT_EQ(raised.mCode, inCode);
        EXPECT_FALSE(raised.mContext || raised.mMessage || raised.mHasMoreTexts);
    }
};

TEST_F(Restores, GiveAClosedDatabaseWithTheRows) {
    const smart_ptr<I_Location> backup = BackupOfSales();
    const smart_ptr<I_DuckDBDatabase> database = Restore("restored.duckdb", backup);
    EXPECT_EQ(database->get_RefsCount(), 1u);
    EXPECT_FALSE(database->get_IsOpen());
    EXPECT_EQ(database->get_ConnectionCount(), 0u);
    EXPECT_EQ(Text(database->get_Name()), "restored");
    EXPECT_EQ(orlimbara::duckdb_support::LiveHandleCount(), 0);
    database->Open();
    ExpectUntouched(database);
}

TEST_F(Restores, NeedATargetThenABackup) {
    fs::create_directory(Folder() / "empty");
    ExpectRaised(nullptr, At("empty"), 333057);
    ExpectRaised(nullptr, nullptr, 333057);
    ExpectRaised(At("new.duckdb"), nullptr, 417792);
    ExpectRaised(At("new.duckdb"), At("missing"), 417792);
    EXPECT_FALSE(fs::exists(Folder() / "new.duckdb"));
}

TEST_F(Restores, ReplaceADatabaseThatNobodyHolds) {
    const smart_ptr<I_Location> backup = BackupOfSales();
    const smart_ptr<I_DuckDBDatabase> old = CreateDatabase("target.duckdb");
    Execute(old, "CREATE TABLE t (other INTEGER); CREATE TABLE gone (i INTEGER)");
    old->Close();
    const smart_ptr<I_DuckDBDatabase> database = Restore("target.duckdb", backup);
    database->Open();
    ExpectUntouched(database);
    EXPECT_EQ(SelectOne(database, "SELECT count(*) FROM duckdb_tables()"), "1");
}

TEST_F(Restores, RefuseADatabaseThatAnotherObjectHolds) {
    const smart_ptr<I_Location> backup = BackupOfSales();
    const smart_ptr<I_DuckDBDatabase> holder = CreateDatabase("target.duckdb");
    Execute(holder, "CREATE TABLE mine (i INTEGER)");
    ExpectDuckDBError([&] { Restore("target.duckdb", backup); }, "target",
                      "Can not be dropped. 1 connections are alive.");
    EXPECT_EQ(Select(holder, "SELECT table_name FROM duckdb_tables()"), (Rows{{"mine"}}));
    EXPECT_EQ(holder->get_ConnectionCount(), 1u);

    // Also the very database that was backed up.
    const smart_ptr<I_DuckDBDatabase> source = MakeDatabase("sales.duckdb");
    source->Open();
    ExpectDuckDBError([&] { Restore("sales.duckdb", backup); }, "sales",
                      "Can not be dropped. 1 connections are alive.");
    ExpectUntouched(source);
}

TEST_F(Restores, TakeAnyFolderAndLeaveTheNewFileWhenItIsNoBackup) {
    fs::create_directory(Folder() / "empty");
    std::ofstream(Folder() / "file") << "no backup";
    for (const char* name : {"empty", "file"}) {
        SCOPED_TRACE(name);
        const std::string target = std::string("from_") + name + ".duckdb";
        ExpectDuckDBErrorWith([&] { Restore(target, At(name)); }, std::string("from_") + name, "schema.sql");
        EXPECT_TRUE(fs::exists(Folder() / target));
        EXPECT_EQ(MakeDatabase(target)->get_ConnectionCount(), 0u);
        EXPECT_EQ(orlimbara::duckdb_support::LiveHandleCount(), 0);
        EXPECT_EQ(standin::get_EngineLockCount(), standin::get_EngineUnlockCount());
        // Nothing holds the file, so a second try gets as far as the first.
        ExpectDuckDBErrorWith([&] { Restore(target, At(name)); }, std::string("from_") + name, "schema.sql");
    }
}

TEST_F(Restores, LeaveAnEmptyDatabaseWhenAParquetFileIsCut) {
    const smart_ptr<I_Location> backup = BackupOfSales();
    fs::resize_file(PathOf(backup) / "t.parquet", 1000);
    ExpectDuckDBErrorWith([&] { Restore("restored.duckdb", backup); }, "restored", "No magic bytes found");

    const smart_ptr<I_DuckDBDatabase> left = MakeDatabase("restored.duckdb");
    EXPECT_EQ(left->get_ConnectionCount(), 0u);
    left->Open();
    EXPECT_EQ(SelectOne(left, "SELECT count(*) FROM duckdb_tables()"), "0");
    left->Close();

    const smart_ptr<I_DuckDBDatabase> source = MakeDatabase("sales.duckdb");
    source->Open();
    ExpectUntouched(source);
    Restore("restored.duckdb", Backup(source))->Open();
}

TEST_F(Restores, NeedNeitherTheMarkerNorTheFolderWhereItWasMade) {
    const fs::path backup = PathOf(BackupOfSales());
    fs::remove(backup / kMarker);
    fs::rename(backup, Folder() / "moved");
    const smart_ptr<I_DuckDBDatabase> database = Restore("restored.duckdb", At("moved"));
    database->Open();
    ExpectUntouched(database);
}

TEST_F(Restores, TakeQuotesInAllPaths) {
    const smart_ptr<I_DuckDBDatabase> database = CreateDatabase("it's.duckdb");
    Execute(database, "CREATE TABLE \"it's \"\" mine\" AS SELECT 42 AS i");
    fs::create_directory(Folder() / "bob's");
    database->Backup(At("bob's"));
    const smart_ptr<I_DuckDBDatabase> restored =
        Restore("that's new.duckdb", standin::get_LastBackupLocation());
    restored->Open();
    EXPECT_EQ(SelectOne(restored, "SELECT i FROM \"it's \"\" mine\""), "42");
}

} // namespace
} // namespace orkit::orsql::test
