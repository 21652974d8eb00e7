// A database's properties, and how it is opened, closed and dropped.

#include <algorithm>
#include <fstream>
#include <random>

#include <fcntl.h>
#include <unistd.h>

#include "database/registry.h"
#include "tests_support/object_fixture.h"

namespace orkit::orsql::test {
namespace {

class Databases : public ObjectTest {
protected:
    static std::string Setting(const Database& inDatabase, const std::string& inName) {
        return SelectOne(inDatabase, "SELECT current_setting('" + inName + "')");
    }
    /// Checks that an Open throws the host's exception with only DuckDB's text.
    static void ExpectOpenError(const Database& inDatabase, const char* inPart) {
        const std::string thrown = Catch([&] { inDatabase->Open(); });
        EXPECT_TRUE(thrown.starts_with("xException 626688|")) << thrown;
        EXPECT_NE(thrown.find(inPart), std::string::npos) << thrown;
        EXPECT_EQ(std::count(thrown.begin(), thrown.end(), '|'), 1) << thrown;
        EXPECT_FALSE(inDatabase->get_IsOpen() || inDatabase->get_IsReadOnly());
        EXPECT_EQ(inDatabase->get_ConnectionCount(), 0u);
    }
    bool FileIsThere(const char* inName) const { return fs::exists(Folder() / inName); }
};

TEST_F(Databases, AndTheirObjectsHaveTheirInterfaces) {
    mDatabase = CreateDatabase();
    const QueryResult result = mDatabase->SqlQuery("SELECT 1", kCursorLocationServer, nullptr);
    const smart_ptr<I_Unknown> objects[] = {mDatabase, mDatabase->CreateStatement("SELECT 1"),
                                            result->get_Cursor(), result};
    std::uint32_t id = 406;
    for (const auto& object : objects) {
        for (std::uint32_t asked = 0; asked < 1000; ++asked) {
            EXPECT_EQ(object->QueryInterface(asked) != nullptr,
                      asked == id || asked == interface_id::kForeignPlugin)
                << asked << " of " << id;
        }
        ++id;
        auto* const plugin = QueryAspect<I_ForeignPlugin>(object.get());
        int xtra = 0;
        plugin->put_Xtra(&xtra);
        EXPECT_EQ(plugin->get_Xtra(), &xtra);
    }
}

TEST_F(Databases, ExistOnlyAsFilesThatTheRootObjectRecognises) {
    mDatabase = MakeDatabase("a.duckdb");
    EXPECT_EQ(Text(mDatabase->get_Path()), (Folder() / "a.duckdb").generic_string());
    EXPECT_FALSE(mDatabase->get_Exists());
    mDatabase->Create();
    EXPECT_TRUE(mDatabase->get_Exists());
    const auto extension = Extension();
    SetDuckDBExtension(nullptr);
    EXPECT_FALSE(mDatabase->get_Exists());
    mDatabase->Open();
    mDatabase->Drop();
    SetDuckDBExtension(extension);
    EXPECT_TRUE(FileIsThere("a.duckdb")) << "nothing is deleted then";
    mDatabase->put_MotherDuckAccess("token", "");
    EXPECT_FALSE(mDatabase->get_Exists()) << "a remote database";
    ExpectOpenError(mDatabase, "motherduck_token");
    EXPECT_FALSE(CreateDatabase()->get_Exists());
}

TEST_F(Databases, TakeTheGuardAndPrepareTheThreadAsDocumented) {
    mDatabase = MakeDatabase("x.duckdb");
    std::vector<smart_ptr<I_Unknown>> kept;
    Cursor client;
    Cursor server;
    // How often a call takes the lock and prepares the thread, and what it throws. An operation that took the
    // lock more often would release it between two steps. Refusals don't wait.
    const std::pair<std::function<void()>, const char*> kCases[] = {
        {[&] { mDatabase->Close(); }, "0 0 "}, // of a closed one
        {[&] { mDatabase->SyncEngineLock(); }, "1 0 "},
        {[&] { mDatabase->Create(); }, "2 0 "}, // one for the Drop
        {[&] { mDatabase->get_IsOpen(), mDatabase->get_IsReadOnly(), mDatabase->get_RefsCount(); }, "0 0 "},
        {[&] { mDatabase->get_ConnectionCount(); }, "1 0 "},
        {[&] { kept.push_back(mDatabase->CreateStatement("SELECT 1")); }, "1 1 "},
        {[&] { kept.push_back(mDatabase->SqlQuery("SELECT 1", 2, nullptr)); }, "1 1 "},
        {[&] { client = OpenCursor(mDatabase, "SELECT 1", kCursorLocationClient); }, "1 1 "},
        {[&] { server = OpenCursor(mDatabase, "SELECT 1"); }, "1 1 "},
        {[&] { server->FirstRecord(); }, "0 0 FirstRecord() is not supported for server-side cursors"},
        {[&] { server->get_Value(0); }, "0 0 Data is not available. Use NextRecord() to fetch data."},
        {[&] { client->get_Value(0); }, "0 0 No current record."},
        {[&] { client->get_Value(1); }, "0 0 inColumnIndex is out of bounds"},
        {[&] { Execute(mDatabase, "CREATE TABLE t (i INTEGER)"); }, "4 2 "}, // with the result's end
        {[&] { server->NextRecord(), client->NextRecord(); }, "1 0 "},
        {[&] { server->get_Value(0), client->get_Value(0), client->get_RecordCount(); }, "0 0 "},
        {[&] { Backup(mDatabase); }, "1 0 "},
        {[&] { mDatabase->Close(); }, "1 0 "},
        {[&] { kept.push_back(Restore("y.duckdb", standin::get_LastBackupLocation())); }, "1 2 "},
    };
    for (const auto& each : kCases) {
        const std::uint64_t locks = standin::get_EngineLockCount();
        const std::uint64_t inits = standin::get_Init3Count();
        const std::string refusal = Refusal(each.first);
        EXPECT_EQ(std::to_string(standin::get_EngineLockCount() - locks) + " " +
                      std::to_string(standin::get_Init3Count() - inits) + " " + refusal,
                  each.second)
            << "row " << &each - kCases;
        EXPECT_EQ(standin::get_EngineLockCount(), standin::get_EngineUnlockCount());
    }
}

TEST_F(Databases, AreCreatedJoinedOrReplacedByCreate) {
    mDatabase = CreateDatabase("a.duckdb");
    EXPECT_TRUE(mDatabase->get_IsOpen() && !mDatabase->get_IsReadOnly());
    EXPECT_EQ(Setting(mDatabase, "errors_as_json"), "true");
    Execute(mDatabase, "CREATE TABLE t AS SELECT 7 AS i");
    mDatabase->Close();
    EXPECT_FALSE(mDatabase->get_IsOpen());
    mDatabase->Open();

    // Others have the file open: its content stays, whichever spelling of the path is used.
    fs::create_directory(Folder() / "sub");
    fs::create_directory_symlink(Folder(), Folder() / "link");
    for (const char* const spelling : {"sub/../a.duckdb", "link/a.duckdb", "./a.duckdb"}) {
        const Database second = CreateDatabase(spelling);
        EXPECT_EQ(mDatabase->get_ConnectionCount(), 2u) << spelling;
        EXPECT_EQ(SelectOne(second, "SELECT i FROM t"), "7");
    }
    const Database memory = CreateDatabase();
    EXPECT_EQ(OpenDatabase(":memory:")->get_ConnectionCount(), 2u);

    mDatabase->Create(); // nobody else
    EXPECT_EQ(mDatabase->get_ConnectionCount(), 1u);
    EXPECT_EQ(SelectOne(mDatabase, "SELECT count(*) FROM duckdb_tables()"), "0");
}

TEST_F(Databases, FollowTheStorageOptions) {
    // Version, block size, the new file's format, and part of the failure if they aren't possible.
    for (const auto& row : Table("|0|262144, v1.0.0+|; |16384|16384, v1.0.0+|; v1.4.0|0|262144, v1.4.0+|;"
                                 "v1.4.0|16384|16384, v1.4.0+|; v99|0|262144, v1.0.0+|v99;"
                                 "x' y|0|262144, v1.0.0+|syntax error; |17|262144, v1.0.0+|17")) {
        // A path with a quote must be quoted in the SQL that creates the file.
        const Database database = MakeDatabase("it's new");
        database->put_StorageVersion(Wide(row[0]));
        database->put_BlockSize(static_cast<std::uint32_t>(std::stoul(row[1])));
        if (!row[3].empty()) {
            ExpectErrorWith([&] { database->Create(); }, "it's new", row[3]);
            EXPECT_FALSE(database->get_IsOpen());
            EXPECT_EQ(database->get_ConnectionCount(), 0u);
            database->put_StorageVersion("");
            database->put_BlockSize(0);
        }
        database->Create(); // also after a failure
        EXPECT_EQ(SelectOne(database, "SELECT block_size || ', ' || tags['storage_version'] "
                                      "FROM pragma_database_size(), duckdb_databases() WHERE NOT internal"),
                  row[2]);
    }
    ExpectErrorWith([&] { CreateDatabase("no such folder/x.duckdb"); }, "x", "no such folder");
}

TEST_F(Databases, UseSettingsForOneOpen) {
    mDatabase = MakeDatabase("a.duckdb");
    DuckDBSettings settings;
    settings.mThreads = 3;
    settings.mMaxMemory = 512;
    settings.mEnableExternalAccess = false;
    const std::string folder = Folder().string();
    settings.mTempDirectory = Wide(folder + "/temp ö");
    settings.mHomeDirectory = Wide(folder + "/home ö");
    settings.mSecretDirectory = Wide(folder + "/secret ö");
    settings.mExtensionDirectory = Wide(folder + "/extension ö");
    mDatabase->put_Settings(settings);
    mDatabase->Create();
    EXPECT_EQ(Select(mDatabase, "SELECT replace(value, '" + folder +
                                    "', '') FROM duckdb_settings() WHERE name SIMILAR TO "
                                    "'(temp|home|secret|extension)_directory|threads|max_memory|enable_"
                                    "external_access' ORDER BY name"),
              Table("false; /extension ö; /home ö; 488.2 MiB; /secret ö; /temp ö; 3"));
    mDatabase->Close();
    mDatabase->Open();
    EXPECT_EQ(Setting(mDatabase, "enable_external_access"), "true") << "a Close makes the settings forgotten";
    mDatabase->put_Settings(settings);
    EXPECT_EQ(Setting(mDatabase, "enable_external_access"), "true") << "an open database isn't changed";
    mDatabase->Open();
    EXPECT_EQ(Setting(mDatabase, "enable_external_access"), "true") << "Open closes first";
}

TEST_F(Databases, ThatCantBeOpenedReportDuckDBsTextAndChangeNothing) {
    const Database missing = MakeDatabase("missing.duckdb");
    ExpectError([&] { missing->Open(); }, "missing", "File does not exist");
    missing->put_MotherDuckAccess("token", "agent/1.0");
    ExpectOpenError(missing, "motherduck_token"); // a remote database needs no file
    EXPECT_FALSE(FileIsThere("missing.duckdb"));
    missing->Create(); // ignores the token
    EXPECT_TRUE(missing->get_IsOpen());

    std::ofstream(Folder() / "text.duckdb") << std::string(5000, 'x');
    ExpectOpenError(MakeDatabase("text.duckdb"), "not a valid DuckDB database file");
    EXPECT_EQ(fs::file_size(Folder() / "text.duckdb"), 5000u);

    // No second try for writing, which would succeed.
    EXPECT_NE(Catch([&] { OpenDatabase(":memory:", true); }).find("read-only"), std::string::npos);
}

TEST_F(Databases, OpenedReadOnlyHaveTheirOwnHandles) {
    CreateDatabase("a.duckdb")->Close();
    const Database first = OpenDatabase("a.duckdb", true);
    const Database second = OpenDatabase("a.duckdb", true);
    EXPECT_TRUE(first->get_IsReadOnly() && second->get_IsReadOnly());
    EXPECT_EQ(first->get_ConnectionCount(), 2u);
    ExpectErrorWith([&] { Execute(first, "CREATE TABLE t (i INTEGER)"); }, "a", "read-only");
    Execute(first, "SET GLOBAL threads = 7");
    EXPECT_NE(Setting(second, "threads"), "7") << "an instance of its own";
    first->Close();
    EXPECT_EQ(second->get_ConnectionCount(), 1u);

    // A writer beside a reader confuses the count; docs/ARCHITECTURE.md describes what happens here.
    const Database writer = OpenDatabase("a.duckdb");
    EXPECT_FALSE(writer->get_IsReadOnly());
    EXPECT_EQ(writer->get_ConnectionCount(), 2u);
    EXPECT_FALSE(OpenDatabase("a.duckdb", true)->get_IsReadOnly()) << "joins the writer, settings or not";
    second->Close();
    EXPECT_EQ(writer->get_ConnectionCount(), 1u);
    EXPECT_EQ(SelectOne(writer, "SELECT 1"), "1");
}

#ifndef _WIN32 // whose locks are others
TEST_F(Databases, ThatAnotherProcessHoldsAreReadOrRefused) {
    mDatabase = CreateDatabase("a.duckdb");
    Execute(mDatabase, "CREATE TABLE t AS SELECT 7 AS i");
    mDatabase->Close();
    // A lock on an open file blocks DuckDB's like the lock of another process.
    const int holder = ::open((Folder() / "a.duckdb").c_str(), O_RDWR);
    struct flock lock = {};
    lock.l_type = F_RDLCK;
    ASSERT_EQ(::fcntl(holder, F_OFD_SETLK, &lock), 0);
    mDatabase->Open();
    EXPECT_TRUE(mDatabase->get_IsReadOnly());
    EXPECT_EQ(SelectOne(mDatabase, "SELECT i FROM t"), "7");
    const Database other = OpenDatabase("a.duckdb");
    EXPECT_TRUE(other->get_IsReadOnly()) << "no shared handle was left in the table";
    EXPECT_EQ(other->get_ConnectionCount(), 2u);
    other->Close();
    mDatabase->Close();
    EXPECT_FALSE(mDatabase->get_IsReadOnly());

    lock.l_type = F_WRLCK;
    ASSERT_EQ(::fcntl(holder, F_OFD_SETLK, &lock), 0);
    ExpectOpenError(mDatabase, "lock");
    // A file that another process holds can't be deleted, and so isn't replaced by Create.
    ExpectErrorWith([&] { mDatabase->Create(); }, "a", "lock");
    ::close(holder);
    mDatabase->Open();
    EXPECT_FALSE(mDatabase->get_IsReadOnly());
    EXPECT_EQ(Execute(mDatabase, "INSERT INTO t VALUES (8)"), 1);
}
#endif

TEST_F(Databases, InvalidateTheirObjectsWhenTheyClose) {
    mDatabase = CreateDatabase();
    std::vector<QueryResult> results;
    for (int i = 0; i < 25; ++i) {
        results.push_back(mDatabase->SqlQuery("SELECT 1 AS a; SELECT 2", kCursorLocationServer, nullptr));
    }
    const std::vector<QueryResult> kept = {results[0], results[12], results[24]};
    const Cursor cursor = kept[0]->get_Cursor();
    mDatabase->RemoveCursor(nullptr); // not registered: no error
    // When Close releases the last result's cursor, its owner releases other results.
    auto* const plugin = QueryAspect<I_ForeignPlugin>(kept.back()->get_Cursor().get());
    plugin->put_BackRef(&results);
    plugin->put_Finalize([](void* inResults) { static_cast<decltype(results)*>(inResults)->clear(); });
    mDatabase->Close();
    EXPECT_TRUE(results.empty());
    for (const QueryResult& result : kept) {
        EXPECT_FALSE(result->get_Cursor() || result->get_NextResult()) << "every live result was invalidated";
        EXPECT_EQ(result->get_ResultFlags(), I_DuckDBQueryResult::kResultHasCursor);
    }
    ExpectError([&] { cursor->get_Value(0); }, "unknown", "DuckDBCursor is invalid");
    EXPECT_EQ(Text(cursor->get_ColumnName(0)), "a") << "columns still answer";
}

TEST(RegistryOrder, IsThatOfAPlainArray) {
    for (const std::size_t count : {1, 2, 3, 5000}) {
        std::mt19937 random(count);
        const std::vector<char> objects(count);
        Registry<const char> registry;
        std::vector<const char*> expected;
        for (int step = 0; step < 40'000; ++step) {
            const char* const object = &objects[random() % count];
            // Grows for some time, then shrinks.
            if (random() % 8 < (step / 5000 % 2 ? 2 : 6)) {
                registry.Enter(object);
                expected.push_back(object);
            } else if (const auto first = std::ranges::find(expected, object); random() % 2) {
                ASSERT_EQ(registry.Leave(object), first != expected.end());
                expected.erase(first, first + (first != expected.end()));
            } else if (!expected.empty()) {
                ASSERT_EQ(registry.TakeLast(), expected.back());
                expected.pop_back();
            }
            ASSERT_EQ(registry.isEmpty(), expected.empty());
        }
    }
}

TEST_F(Databases, DeleteTheirFileWhenNoObjectHoldsIt) {
    mDatabase = CreateDatabase("a.duckdb");
    const Database second = CreateDatabase("a.duckdb");
    CreateDatabase("b.duckdb")->Close();
    ExpectError([&] { mDatabase->Drop(); }, "a", "Can not be dropped. 1 connections are alive.");
    EXPECT_FALSE(mDatabase->get_IsOpen()) << "it was closed before the test";
    mDatabase->Close(); // counts once
    EXPECT_EQ(second->get_ConnectionCount(), 1u);
    EXPECT_EQ(SelectOne(second, "SELECT 1"), "1") << "the shared handle stays open for the other";

    standin::FailCall(standin::Fault::FileOpen, 1);
    EXPECT_TRUE(Catch([&] { second->Drop(); }).starts_with("xException "));
    EXPECT_TRUE(FileIsThere("a.duckdb"));
    second->Open();
    second->Drop();
    EXPECT_FALSE(FileIsThere("a.duckdb"));
    EXPECT_TRUE(FileIsThere("b.duckdb"));
    EXPECT_TRUE(Catch([&] { second->Drop(); }).starts_with("xException ")) << "there is no such file";
    CreateDatabase(":memory:")->Drop();
}

} // namespace
} // namespace orkit::orsql::test
