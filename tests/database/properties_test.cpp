#include "backup_fixture.h"
#include "host_standin/live_objects.h"

namespace orkit::orsql::test {
namespace {

class DatabaseProperties : public BackupTest {};

TEST_F(DatabaseProperties, ObjectsAnswerForTheirInterfaces) {
    const smart_ptr<I_DuckDBDatabase> database = CreateDatabase();
    const smart_ptr<I_DuckDBStatement> statement = database->CreateStatement("SELECT 1");
    const smart_ptr<I_DuckDBCursor> cursor = OpenCursor(database, "SELECT 1", kCursorLocationServer);
    const smart_ptr<I_DuckDBQueryResult> result =
        database->SqlQuery("SELECT 1", kCursorLocationServer, nullptr);
    const std::pair<I_Unknown*, std::uint32_t> kObjects[] = {
        {database.get(), 406}, {statement.get(), 407}, {cursor.get(), 408}, {result.get(), 409}};
    for (const auto& [object, id] : kObjects) {
        for (std::uint32_t asked = 0; asked < 1000; ++asked) {
            EXPECT_EQ(object->QueryInterface(asked) != nullptr,
                      asked == id || asked == interface_id::kForeignPlugin)
                << asked << " of " << id;
        }
        auto* const plugin =
            static_cast<I_ForeignPlugin*>(object->QueryInterface(interface_id::kForeignPlugin));
        int xtra = 0;
        plugin->put_Xtra(&xtra);
        EXPECT_EQ(plugin->get_Xtra(), &xtra);
    }
}

TEST_F(DatabaseProperties, ExistsOnlyAsAFile) {
    const smart_ptr<I_DuckDBDatabase> file = MakeDatabase("file.duckdb");
    EXPECT_EQ(Text(file->get_Path()), (Folder() / "file.duckdb").string());
    EXPECT_FALSE(file->get_Exists());
    file->Create();
    EXPECT_TRUE(file->get_Exists());
    file->put_MotherDuckAccess("token", "");
    EXPECT_FALSE(file->get_Exists()) << "a remote database";
    EXPECT_FALSE(CreateDatabase(":memory:")->get_Exists());
}

TEST_F(DatabaseProperties, TakeTheGuardAndReadyTheThreadWhereTheySay) {
    const smart_ptr<I_DuckDBDatabase> database = MakeDatabase("x.duckdb");
    std::vector<smart_ptr<I_Unknown>> kept;
    smart_ptr<I_DuckDBCursor> client;
    smart_ptr<I_DuckDBCursor> server;
    // One that took the lock more often would give it back between two steps.
    const struct {
        const char* mName;
        std::function<void()> mCall;
        std::uint64_t mLocks;
        std::uint64_t mInits = 0;
    } kCases[] = {
        {"Close of a closed one", [&] { database->Close(); }, 0},
        {"SyncEngineLock", [&] { database->SyncEngineLock(); }, 1},
        {"Create", [&] { database->Create(); }, 2}, // one for the Drop
        {"state", [&] { database->get_IsOpen(), database->get_IsReadOnly(), database->get_RefsCount(); }, 0},
        {"get_ConnectionCount", [&] { database->get_ConnectionCount(); }, 1},
        {"CreateStatement", [&] { kept.push_back(database->CreateStatement("SELECT 1")); }, 1, 1},
        {"SqlQuery", [&] { kept.push_back(database->SqlQuery("SELECT 1", 2, nullptr)); }, 1, 1},
        {"SqlSelect", [&] { client = OpenCursor(database, "SELECT 1", kCursorLocationClient); }, 1, 1},
        {"SqlSelect", [&] { server = OpenCursor(database, "SELECT 1", kCursorLocationServer); }, 1, 1},
        {"SqlExecute", [&] { Execute(database, "CREATE TABLE t (i INTEGER)"); }, 4,
         2}, // with the result's end
        {"NextRecord", [&] { server->NextRecord(), client->NextRecord(); }, 1},
        {"cells", [&] { server->get_Value(0), client->get_Value(0), client->get_RecordCount(); }, 0},
        {"Backup", [&] { Backup(database); }, 1},
        {"Close", [&] { database->Close(); }, 1},
        {"Restore", [&] { kept.push_back(Restore("y.duckdb", standin::get_LastBackupLocation())); }, 1, 2},
    };
    for (const auto& test : kCases) {
        const std::uint64_t locks = standin::get_EngineLockCount();
        const std::uint64_t inits = standin::get_Init3Count();
        EXPECT_EQ(Catch(test.mCall).mMessage.value_or(""), "");
        EXPECT_EQ(standin::get_EngineLockCount() - locks, test.mLocks) << test.mName;
        EXPECT_EQ(standin::get_Init3Count() - inits, test.mInits) << test.mName;
        EXPECT_EQ(standin::get_EngineLockCount(), standin::get_EngineUnlockCount()) << test.mName;
    }
}

TEST_F(DatabaseProperties, RefusalsWaitForNobody) {
    const smart_ptr<I_DuckDBDatabase> database = CreateDatabase("x.duckdb");
    const auto server = OpenCursor(database, "SELECT 1", kCursorLocationServer);
    const auto client = OpenCursor(database, "SELECT 1", kCursorLocationClient);
    const std::uint64_t locks = standin::get_EngineLockCount();
    ExpectDuckDBErrorWith([&] { server->FirstRecord(); }, "x", "not supported");
    ExpectDuckDBErrorWith([&] { server->get_Value(0); }, "x", "Data is not available");
    ExpectDuckDBErrorWith([&] { client->get_Value(0); }, "x", "No current record.");
    ExpectDuckDBErrorWith([&] { client->get_Value(1); }, "x", "out of bounds");
    EXPECT_EQ(standin::get_EngineLockCount(), locks);
}

} // namespace
} // namespace orkit::orsql::test
