#include <optional>

#include "tests_support/object_fixture.h"

namespace orkit::orsql::test {
namespace {

constexpr const char* kMarker = "sales.orduckdb_backup";
constexpr const char* kUnavailable = "DuckDBDatabase backup folder is not available";

class Backups : public ObjectTest {
protected:
    Backups() {
        fs::create_directory(Folder() / "backups");
        mDatabase = CreateDatabase("sales.duckdb");
        Execute(mDatabase, "CREATE TABLE t AS SELECT i FROM range(110000) r(i)");
    }
    /// The last backup is whole and in this folder.
    void ExpectBackupIn(const char* inFolder) const {
        EXPECT_EQ(LastBackup().parent_path(), Folder() / inFolder);
        EXPECT_EQ(Select(mDatabase, "SELECT parse_filename(file) FROM glob('" + LastBackup().string() +
                                        "/*') ORDER BY file"),
                  Table("load.sql; sales.orduckdb_backup; schema.sql; t.parquet"));
    }
    /// The object works as before, and the lock is free.
    static void ExpectUntouched(const Database& inDatabase) {
        EXPECT_EQ(standin::get_EngineLockCount(), standin::get_EngineUnlockCount());
        EXPECT_EQ(inDatabase->get_ConnectionCount(), 1u);
        EXPECT_EQ(Execute(inDatabase, "INSERT INTO t VALUES (-1); DELETE FROM t WHERE i = -1"), 2);
    }
};

TEST_F(Backups, HoldAMarkerAndAnExport) {
    Backup(mDatabase);
    ExpectBackupIn("backups");
    const std::string backup = LastBackup().string() + "/";
    EXPECT_EQ(SelectOne(mDatabase, "SELECT content FROM read_text('" + backup + kMarker + "')"),
              gorDuckDB_backup_sfx);
    // DuckDB fills row groups with whole vectors of 2,048 rows; DELTA_BINARY_PACKED is version 2.
    EXPECT_EQ(Select(mDatabase, "SELECT row_group_num_rows, compression, encodings FROM parquet_metadata('" +
                                    backup + "t.parquet') ORDER BY row_group_id"),
              Table("100352|ZSTD|DELTA_BINARY_PACKED; 9648|ZSTD|DELTA_BINARY_PACKED"));
    ExpectUntouched(mDatabase);
    mDatabase->Backup(nullptr);
    ExpectBackupIn("Backup"); // beside the database
}

TEST_F(Backups, PreferTheServersFolderToTheCallers) {
    static std::optional<smart_ptr<I_Location>> sServerFolder;
    fs::create_directory(Folder() / "server");
    const auto original = gServerBackupLocation;
    gServerBackupLocation = [] { return sServerFolder; };
    sServerFolder = At("server");
    for (const auto& named : {At("backups"), At("missing"), smart_ptr<I_Location>()}) {
        mDatabase->Backup(named);
        ExpectBackupIn("server");
    }
    sServerFolder = smart_ptr<I_Location>();
    ExpectError([&] { mDatabase->Backup(At("backups")); }, "sales", kUnavailable);
    gServerBackupLocation = original;
    EXPECT_TRUE(fs::is_empty(Folder() / "backups"));
    EXPECT_FALSE(fs::exists(Folder() / "Backup"));
}

TEST_F(Backups, RefuseAClosedDatabaseAndAnUnusableFolder) {
    for (const char* name : {"missing", "sales.duckdb", ":memory:"}) {
        SCOPED_TRACE(name);
        ExpectError([&] { mDatabase->Backup(At(name)); }, "sales", kUnavailable);
    }
    // A database without a file has no folder beside it.
    ExpectError([&] { CreateDatabase()->Backup(nullptr); }, ":memory:", kUnavailable);
    EXPECT_FALSE(fs::exists(Folder() / "missing") || fs::exists(Folder() / "Backup"));
    ExpectUntouched(mDatabase);
    mDatabase->Close();
    ExpectError([&] { Backup(mDatabase); }, "sales", "DuckDBDatabase is not open");
    EXPECT_TRUE(fs::is_empty(Folder() / "backups"));
}

TEST_F(Backups, PassFailuresOnAndKeepTheMarker) {
    for (const standin::Fault fault :
         {standin::Fault::PrepareFolder, standin::Fault::CreateBackupLocation, standin::Fault::FileOpen}) {
        SCOPED_TRACE(static_cast<int>(fault));
        standin::FailCall(fault, 1);
        const auto folder = fault != standin::Fault::PrepareFolder ? At("backups") : smart_ptr<I_Location>();
        EXPECT_TRUE(Catch([&] { mDatabase->Backup(folder); }).starts_with("xException "));
        EXPECT_EQ(fs::is_empty(Folder() / "backups"), fault != standin::Fault::FileOpen);
        ExpectUntouched(mDatabase);
    }
    EXPECT_TRUE(fs::is_empty(LastBackup()));

    Execute(mDatabase, "CREATE TABLE bad AS SELECT INTERVAL '-1 day' AS d");
    ExpectError(
        [&] { Backup(mDatabase); }, "sales",
        R"({"exception_type":"IO","exception_message":"Parquet files do not support negative intervals"})");
    EXPECT_TRUE(fs::exists(LastBackup() / kMarker));
    ExpectUntouched(mDatabase);
    Execute(mDatabase, "DROP TABLE bad");
    Backup(mDatabase);
    ExpectBackupIn("backups");
}

TEST_F(Backups, RestoreEverythingIntoAClosedDatabase) {
    const Database source = CreateDatabase("it's.duckdb");
    // Without the types that Parquet changes.
    Execute(source, R"(
        CREATE SCHEMA "s "" 1"; CREATE SEQUENCE q START 5; CREATE MACRO inc(x, y := 1) AS x + y;
        CREATE TABLE everything AS
            SELECT * EXCLUDE (time_tz, interval, struct_of_fixed_array) FROM test_all_types();
        CREATE TABLE "s "" 1"."t ' 2/3" (i INTEGER PRIMARY KEY DEFAULT nextval('q'), "c "" 4" VARCHAR NOT NULL);
        INSERT INTO "s "" 1"."t ' 2/3" VALUES (1, 'it''s');
        CREATE TABLE t (i INTEGER, j AS (inc(i))); CREATE INDEX plain ON t (i); CREATE VIEW v AS FROM t)");
    fs::create_directory(Folder() / "bob's");
    source->Backup(At("bob's"));
    // Neither the marker nor the original folder is needed, and an older database is replaced.
    fs::remove(LastBackup() / "it's.orduckdb_backup");
    fs::rename(LastBackup(), Folder() / "moved it's");
    Execute(CreateDatabase("that's new.duckdb"), "CREATE TABLE gone (i INTEGER)");
    const Database restored = Restore("that's new.duckdb", At("moved it's"));
    EXPECT_EQ(restored->get_RefsCount(), 1u);
    EXPECT_FALSE(restored->get_IsOpen() || restored->get_ConnectionCount() != 0);
    restored->Open();
    for (const char* const query :
         {"SELECT schema_name, table_name, column_name, data_type, column_default FROM duckdb_columns()",
          "SELECT table_name, constraint_text FROM duckdb_constraints()",
          "SELECT sql FROM duckdb_views() WHERE NOT internal UNION SELECT sql FROM duckdb_indexes() UNION "
          "SELECT macro_definition FROM duckdb_functions() WHERE NOT internal",
          "SELECT hash(e), hash(e::VARCHAR) FROM everything AS e", "FROM \"s \"\" 1\".\"t ' 2/3\""}) {
        const std::string sql = std::string(query) + " ORDER BY ALL";
        EXPECT_FALSE(Select(source, sql).empty()) << sql;
        EXPECT_EQ(Select(restored, sql), Select(source, sql)) << sql;
    }
    ExpectUntouched(restored);
}

TEST_F(Backups, AreNotRestoredFromOrToUnusableLocations) {
    const auto target = At("new.duckdb");
    const auto restore = [&](smart_ptr<I_Location> inTarget, smart_ptr<I_Location> inBackup) {
        return Catch([&] { Extension()->RestoreDatabase(inTarget, inBackup); });
    };
    EXPECT_EQ(restore(nullptr, At("backups")), "xDBError 333057");
    EXPECT_EQ(restore(nullptr, nullptr), "xDBError 333057");
    EXPECT_EQ(restore(target, nullptr), "xDBError 417792");
    EXPECT_EQ(restore(target, At("missing")), "xDBError 417792");
    EXPECT_FALSE(fs::exists(Folder() / "new.duckdb"));
    // Any folder is accepted; if it isn't a backup, the new file stays, and a second try gets as far.
    for (int round = 0; round < 2; ++round) {
        ExpectErrorWith([&] { Restore("new.duckdb", At("backups")); }, "new", "schema.sql");
        EXPECT_TRUE(fs::exists(Folder() / "new.duckdb"));
        EXPECT_EQ(MakeDatabase("new.duckdb")->get_ConnectionCount(), 0u);
        EXPECT_EQ(LiveHandleCount(), 2) << "those of the test's own database";
    }
    const auto backup = Backup(mDatabase);
    ExpectErrorWith([&] { Restore("sales.duckdb", backup); }, "sales", "1 connections are alive.");
    ExpectUntouched(mDatabase);
}

} // namespace
} // namespace orkit::orsql::test
