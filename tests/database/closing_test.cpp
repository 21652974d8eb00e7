#include "host_standin/faults.h"
#include "tests_support/object_fixture.h"

namespace orkit::orsql::test {
namespace {

class Closing : public ObjectTest {
protected:
    bool FileIsThere(const char* inName) const { return std::filesystem::exists(Folder() / inName); }
};

TEST_F(Closing, CloseTwiceCountsOnce) {
    const smart_ptr<I_DuckDBDatabase> first = CreateDatabase("a.duckdb");
    const smart_ptr<I_DuckDBDatabase> second = CreateDatabase("a.duckdb");
    first->Close();
    first->Close();
    EXPECT_EQ(second->get_ConnectionCount(), 1u);
    EXPECT_EQ(SelectOne(second, "SELECT 1"), "1") << "the shared handle stays open for the other";
    second->Close();
    EXPECT_EQ(second->get_ConnectionCount(), 0u);
}

TEST_F(Closing, LastReleaseCloses) {
    CreateDatabase("a.duckdb").reset();
    const smart_ptr<I_DuckDBDatabase> database = MakeDatabase("a.duckdb");
    EXPECT_EQ(database->get_ConnectionCount(), 0u);
    database->Open();
    EXPECT_FALSE(database->get_IsReadOnly());
}

TEST_F(Closing, CutsOffEverythingThatHangsOnTheConnection) {
    const smart_ptr<I_DuckDBDatabase> database = CreateDatabase();
    const smart_ptr<I_DuckDBCursor> server = OpenCursor(database, "SELECT 1 AS a, 2", kCursorLocationServer);
    const smart_ptr<I_DuckDBCursor> client = OpenCursor(database, "SELECT 1 AS a", kCursorLocationClient);
    const smart_ptr<I_DuckDBQueryResult> result =
        database->SqlQuery("SELECT 1; SELECT 2", kCursorLocationServer, nullptr);
    const smart_ptr<I_DuckDBCursor> resultCursor = result->get_Cursor();
    ASSERT_TRUE(server->NextRecord());
    ASSERT_TRUE(client->NextRecord());
    const smart_ptr<I_Value> value = client->get_Value(0);

    database->Close();

    for (const auto& cursor : {server, client, resultCursor}) {
        ExpectDuckDBError([&] { cursor->NextRecord(); }, "unknown", "DuckDBCursor is invalid");
        ExpectDuckDBError([&] { cursor->get_Value(0); }, "unknown", "DuckDBCursor is invalid");
        EXPECT_FALSE(cursor->get_Database());
    }
    EXPECT_EQ(Text(server->get_ColumnName(0)), "a") << "columns still answer";
    EXPECT_EQ(server->get_ColumnCount(), 2u);
    EXPECT_EQ(Text(value), "1") << "a value that the host holds lives on";
    EXPECT_FALSE(result->get_Cursor());
    EXPECT_FALSE(result->get_NextResult());
    EXPECT_EQ(result->get_ResultFlags(), I_DuckDBQueryResult::kResultHasCursor);
    ExpectDuckDBError([&] { Execute(database, "SELECT 1"); }, ":memory:", "DuckDBDatabase is not open");
}

TEST_F(Closing, DropDeletesTheFileAlone) {
    const smart_ptr<I_DuckDBDatabase> database = CreateDatabase("a.duckdb");
    CreateDatabase("b.duckdb")->Close();
    database->Drop();
    EXPECT_FALSE(database->get_IsOpen());
    EXPECT_FALSE(FileIsThere("a.duckdb"));
    EXPECT_TRUE(FileIsThere("b.duckdb"));
    const Raised raised = Catch([&] { database->Drop(); });
    EXPECT_EQ(raised.mClass, "xException") << "the file isn't there any more: the host's own failure";
    CreateDatabase(":memory:")->Drop();
}

TEST_F(Closing, DropRefusesWhileOthersHoldThePath) {
    const smart_ptr<I_DuckDBDatabase> first = CreateDatabase("a.duckdb");
    const smart_ptr<I_DuckDBDatabase> second = CreateDatabase("a.duckdb");
    ExpectDuckDBError([&] { first->Drop(); }, "a", "Can not be dropped. 1 connections are alive.");
    EXPECT_FALSE(first->get_IsOpen()) << "it was closed before the test";
    EXPECT_TRUE(FileIsThere("a.duckdb"));
    EXPECT_EQ(SelectOne(second, "SELECT 1"), "1");
    second->Drop();
    EXPECT_FALSE(FileIsThere("a.duckdb"));
}

TEST_F(Closing, DropKeepsAFileThatCantBeOpened) {
    const smart_ptr<I_DuckDBDatabase> database = CreateDatabase("a.duckdb");
    standin::FailCall(standin::Fault::FileOpen, 1);
    EXPECT_EQ(Catch([&] { database->Drop(); }).mClass, "xException");
    EXPECT_TRUE(FileIsThere("a.duckdb"));
    database->Open();
    EXPECT_EQ(SelectOne(database, "SELECT 1"), "1");
}

TEST_F(Closing, ReadOnlyBesideReadWriteMixesTheCount) {
    // Two instances on one file in one process: what is seen here is told in docs/ARCHITECTURE.md.
    CreateDatabase("a.duckdb")->Close();
    const smart_ptr<I_DuckDBDatabase> reader = MakeDatabase("a.duckdb");
    DuckDBSettings settings;
    settings.mAccessMode = 0;
    reader->put_Settings(settings);
    reader->Open();
    const smart_ptr<I_DuckDBDatabase> writer = MakeDatabase("a.duckdb");
    writer->Open();
    EXPECT_TRUE(reader->get_IsReadOnly());
    EXPECT_FALSE(writer->get_IsReadOnly());
    EXPECT_EQ(writer->get_ConnectionCount(), 2u);
    reader->Close();
    EXPECT_EQ(writer->get_ConnectionCount(), 1u);
    EXPECT_EQ(SelectOne(writer, "SELECT 1"), "1");
}

} // namespace
} // namespace orkit::orsql::test
