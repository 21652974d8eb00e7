#include <algorithm>
#include <random>

#include "database/registry.h"
#include "host_standin/faults.h"
#include "tests_support/object_fixture.h"

namespace orkit::orsql::test {
namespace {

class Closing : public ObjectTest {
protected:
    bool FileIsThere(const char* inName) const { return std::filesystem::exists(Folder() / inName); }
};

TEST_F(Closing, CutsOffEverythingThatHangsOnTheConnection) {
    const smart_ptr<I_DuckDBDatabase> database = CreateDatabase();
    const smart_ptr<I_DuckDBCursor> server = OpenCursor(database, "SELECT 1 AS a", kCursorLocationServer);
    const smart_ptr<I_DuckDBCursor> client = OpenCursor(database, "SELECT 1 AS a", kCursorLocationClient);
    const smart_ptr<I_DuckDBQueryResult> result =
        database->SqlQuery("SELECT 1 AS a; SELECT 2", kCursorLocationServer, nullptr);
    const smart_ptr<I_DuckDBCursor> resultCursor = result->get_Cursor();
    EXPECT_TRUE(server->NextRecord() && client->NextRecord());
    const smart_ptr<I_Value> value = client->get_Value(0);
    database->Close();
    for (const auto& cursor : {server, client, resultCursor}) {
        ExpectDuckDBError([&] { cursor->get_Value(0); }, "unknown", "DuckDBCursor is invalid");
        EXPECT_FALSE(cursor->get_Database());
        EXPECT_EQ(Text(cursor->get_ColumnName(0)), "a") << "columns still answer";
    }
    EXPECT_EQ(Text(value), "1") << "a value that the host holds lives on";
    EXPECT_FALSE(result->get_Cursor() || result->get_NextResult());
    EXPECT_EQ(result->get_ResultFlags(), I_DuckDBQueryResult::kResultHasCursor);
    ExpectDuckDBError([&] { Execute(database, "SELECT 1"); }, ":memory:", "DuckDBDatabase is not open");
}

TEST(RegistryOrder, RepeatedAndForeignPointersLeaveInTheirOrder) {
    int objects[4] = {};
    Registry<int> registry;
    std::vector<int*> expected;
    std::mt19937 random(1);
    for (int step = 0; step < 20'000; ++step) {
        int* const object = random() % 5 == 0 ? nullptr : &objects[random() % 4];
        switch (random() % 7) {
        case 0:
            ASSERT_EQ(registry.isEmpty(), expected.empty());
            if (!expected.empty()) {
                ASSERT_EQ(registry.TakeLast(), expected.back());
                expected.pop_back();
            }
            break;
        case 1:
        case 2:
        case 3: {
            const auto first = std::find(expected.begin(), expected.end(), object);
            ASSERT_EQ(registry.Leave(object), first != expected.end());
            if (first != expected.end()) {
                expected.erase(first);
            }
            break;
        }
        default:
            registry.Enter(object);
            expected.push_back(object);
        }
        if (expected.size() > 30) {
            while (!expected.empty()) {
                ASSERT_EQ(registry.TakeLast(), expected.back());
                expected.pop_back();
            }
        }
    }
}

TEST_F(Closing, RegistriesLoseNothingWhateverGoesMeanwhile) {
    const smart_ptr<I_DuckDBDatabase> database = CreateDatabase();
    std::vector<smart_ptr<I_DuckDBQueryResult>> results;
    for (int i = 0; i < 25; ++i) {
        results.push_back(database->SqlQuery("SELECT 1; SELECT 2", kCursorLocationServer, nullptr));
    }
    const std::vector<smart_ptr<I_DuckDBQueryResult>> kept = {results[0], results[12], results[24]};
    database->RemoveCursor(nullptr); // not there: no error
    // When Close makes the last result's cursor go, its owner lets other results go.
    auto* const plugin = QueryAspect<I_ForeignPlugin>(kept.back()->get_Cursor().get());
    plugin->put_BackRef(&results);
    plugin->put_Finalize([](void* inResults) { static_cast<decltype(results)*>(inResults)->clear(); });
    database->Close();
    EXPECT_TRUE(results.empty());
    for (const auto& result : kept) {
        EXPECT_FALSE(result->get_NextResult()) << "every live result was cut off";
    }
}

TEST_F(Closing, DropDeletesTheFileWhenNobodyHoldsIt) {
    const smart_ptr<I_DuckDBDatabase> database = CreateDatabase("a.duckdb");
    const smart_ptr<I_DuckDBDatabase> second = CreateDatabase("a.duckdb");
    CreateDatabase("b.duckdb")->Close();
    ExpectDuckDBError([&] { database->Drop(); }, "a", "Can not be dropped. 1 connections are alive.");
    EXPECT_FALSE(database->get_IsOpen()) << "it was closed before the test";
    database->Close(); // counts once
    EXPECT_EQ(second->get_ConnectionCount(), 1u);
    EXPECT_EQ(SelectOne(second, "SELECT 1"), "1") << "the shared handle stays open for the other";

    standin::FailCall(standin::Fault::FileOpen, 1);
    EXPECT_EQ(Catch([&] { second->Drop(); }).mClass, "xException");
    EXPECT_TRUE(FileIsThere("a.duckdb"));
    second->Open();
    second->Drop();
    EXPECT_FALSE(FileIsThere("a.duckdb"));
    EXPECT_TRUE(FileIsThere("b.duckdb"));
    EXPECT_EQ(Catch([&] { second->Drop(); }).mClass, "xException") << "the host's own failure: no such file";
    CreateDatabase(":memory:")->Drop();
}

} // namespace
} // namespace orkit::orsql::test
