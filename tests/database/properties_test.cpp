#include "host_standin/live_objects.h"
#include "tests_support/object_fixture.h"

namespace orkit::orsql::test {
namespace {

class DatabaseProperties : public ObjectTest {};

TEST_F(DatabaseProperties, ObjectsAnswerForTheirInterfaces) {
    const smart_ptr<I_DuckDBDatabase> database = CreateDatabase();
    const smart_ptr<I_DuckDBCursor> cursor = OpenCursor(database, "SELECT 1", kCursorLocationServer);
    const smart_ptr<I_DuckDBQueryResult> result =
        database->SqlQuery("SELECT 1", kCursorLocationServer, nullptr);
    const std::pair<I_Unknown*, std::uint32_t> kObjects[] = {
        {database.get(), 406}, {cursor.get(), 408}, {result.get(), 409}};
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
    EXPECT_EQ(QueryAspect<I_DuckDBDatabase>(database.get()), database.get());
}

TEST_F(DatabaseProperties, FinalizerRunsWhenTheObjectGoes) {
    int calls = 0;
    smart_ptr<I_DuckDBDatabase> database = MakeDatabase("x.duckdb");
    auto* const plugin = QueryAspect<I_ForeignPlugin>(database.get());
    plugin->put_BackRef(&calls);
    plugin->put_Finalize([](void* inCalls) { ++*static_cast<int*>(inCalls); });
    EXPECT_EQ(calls, 0);
    database.reset();
    EXPECT_EQ(calls, 1);
}

TEST_F(DatabaseProperties, ExistsOnlyAsAFile) {
    const smart_ptr<I_DuckDBDatabase> file = MakeDatabase("file.duckdb");
    EXPECT_FALSE(file->get_Exists());
    file->Create();
    EXPECT_TRUE(file->get_Exists());
    file->put_MotherDuckAccess("token", "");
    EXPECT_FALSE(file->get_Exists()) << "a remote database";
    EXPECT_FALSE(CreateDatabase(":memory:")->get_Exists());
}

TEST_F(DatabaseProperties, NameAndPathAreTheLocations) {
    const smart_ptr<I_DuckDBDatabase> database = MakeDatabase("flights.duckdb");
    EXPECT_EQ(Text(database->get_Name()), "flights");
    EXPECT_EQ(Text(database->get_Path()), (Folder() / "flights.duckdb").string());
}

TEST_F(DatabaseProperties, RegistriesGrowAndLoseNothing) {
    const smart_ptr<I_DuckDBDatabase> database = CreateDatabase();
    std::vector<smart_ptr<I_DuckDBCursor>> cursors;
    for (int i = 0; i < 25; ++i) {
        cursors.push_back(OpenCursor(database, "SELECT 1", kCursorLocationServer));
    }
    database->RemoveCursor(nullptr);      // not there: no error
    database->RemoveQueryResult(nullptr); // nothing was ever entered
    cursors.erase(cursors.begin(), cursors.begin() + 5);
    database->Close();
    for (const auto& cursor : cursors) {
        EXPECT_FALSE(cursor->get_Database()) << "every live cursor was cut off";
    }
}

TEST_F(DatabaseProperties, ArraysDoubleTheirRoomAndKeepTheOrder) {
    const smart_ptr<ArrayOfPtrs<int>> array(new ArrayOfPtrs<int>(10));
    int items[11] = {};
    for (int& item : items) {
        array->Append(&item);
    }
    EXPECT_EQ(array->get_Capacity(), 20u);
    EXPECT_TRUE(array->Remove(&items[3]));
    EXPECT_FALSE(array->Remove(&items[3]));
    ASSERT_EQ(array->get_Count(), 10u);
    for (std::size_t i = 0; i < 10; ++i) {
        EXPECT_EQ((*array)[i], &items[i < 3 ? i : i + 1]);
    }
}

TEST_F(DatabaseProperties, TakeTheGuardWhereTheySay) {
    const smart_ptr<I_DuckDBDatabase> database = MakeDatabase("x.duckdb");
    const auto locks = [](const std::function<void()>& inCall) {
        const std::uint64_t before = standin::get_EngineLockCount();
        inCall();
        EXPECT_EQ(standin::get_EngineLockCount(), standin::get_EngineUnlockCount());
        return standin::get_EngineLockCount() - before;
    };
    EXPECT_EQ(locks([&] { database->SyncEngineLock(); }), 1u);
    EXPECT_EQ(locks([&] { database->Close(); }), 0u) << "on a closed object";
    EXPECT_EQ(locks([&] { database->get_IsOpen(), database->get_IsReadOnly(), database->get_RefsCount(); }),
              0u);
    database->Create();
    const smart_ptr<I_DuckDBCursor> client = OpenCursor(database, "SELECT 1", kCursorLocationClient);
    const smart_ptr<I_DuckDBCursor> server = OpenCursor(database, "SELECT 1", kCursorLocationServer);
    EXPECT_EQ(locks([&] { server->NextRecord(); }), 1u);
    EXPECT_EQ(locks([&] {
                  client->NextRecord();
                  client->get_RecordCount();
                  client->get_Value(0);
                  server->get_Value(0);
                  server->get_ColumnName(0);
              }),
              0u);
}

} // namespace
} // namespace orkit::orsql::test
