#include "duckdb_support/handles.h"
#include "result/server_cursor.h"
#include "tests_support/object_fixture.h"

namespace orkit::orsql::test {
namespace {

namespace support = orlimbara::duckdb_support;

class Cursors : public ObjectTest {
protected:
    void SetUp() override {
        ObjectTest::SetUp();
        mDatabase = CreateDatabase("cursors.duckdb");
    }
    void TearDown() override {
        mDatabase.reset();
        ObjectTest::TearDown();
    }
    smart_ptr<I_DuckDBCursor> Client(std::string_view inSql) {
        return OpenCursor(mDatabase, inSql, kCursorLocationClient);
    }
    smart_ptr<I_DuckDBCursor> Server(std::string_view inSql) {
        return OpenCursor(mDatabase, inSql, kCursorLocationServer);
    }

    smart_ptr<I_DuckDBDatabase> mDatabase;
};

TEST_F(Cursors, ListTheirColumnsOnce) {
    for (const std::uint32_t location : {1u, 2u}) {
        const smart_ptr<I_DuckDBCursor> cursor = OpenCursor(
            mDatabase, "SELECT 1::DECIMAL(5,2) AS \"größe\", [1] AS l, {'a': 1} AS s, NULL AS n", location);
        ASSERT_EQ(cursor->get_ColumnCount(), 4u);
        EXPECT_EQ(Text(cursor->get_ColumnName(0)), "größe");
        EXPECT_EQ(Text(cursor->get_ColumnTypeName(0)), "DECIMAL(5,2)");
        EXPECT_EQ(Text(cursor->get_ColumnTypeName(1)), "INTEGER[]");
        EXPECT_EQ(Text(cursor->get_ColumnTypeName(2)), "STRUCT(a INTEGER)");
        const std::uint32_t kTypes[] = {19, 24, 25, 4};
        for (std::uint32_t column = 0; column < 4; ++column) {
            EXPECT_EQ(cursor->get_ColumnType(column), kTypes[column]);
        }
        EXPECT_EQ(&cursor->get_ColumnName(4), &String::sEmpty);
        EXPECT_EQ(&cursor->get_ColumnTypeName(4), &String::sEmpty);
        EXPECT_EQ(cursor->get_ColumnType(4), 0u);
        EXPECT_EQ(&cursor->get_ColumnName(0), &cursor->get_ColumnName(0)) << "nothing is copied";
    }
}

TEST_F(Cursors, KeepManyColumnsInOrder) {
    for (const int count : {1, 10, 11, 300}) {
        std::string sql = "SELECT 0 AS c0";
        for (int i = 1; i < count; ++i) {
            sql += ", " + std::to_string(i) + " AS c" + std::to_string(i);
        }
        const smart_ptr<I_DuckDBCursor> cursor = Server(sql);
        ASSERT_EQ(cursor->get_ColumnCount(), static_cast<std::uint32_t>(count));
        ASSERT_TRUE(cursor->NextRecord());
        for (int i = 0; i < count; ++i) {
            const auto column = static_cast<std::uint32_t>(i);
            EXPECT_EQ(Text(cursor->get_ColumnName(column)), "c" + std::to_string(i));
            EXPECT_EQ(Text(cursor->get_Value(column)), std::to_string(i));
        }
    }
}

TEST_F(Cursors, ClientMovesAnswerAndStayAtTheEnds) {
    using Cursor = I_DuckDBCursor;
    const struct {
        const char* mMove;
        bool (*mCall)(Cursor&);
        bool mAnswer;
        std::uint32_t mPosition;
    } kMoves[] = {
        {"prev at the start", [](Cursor& c) { return c.PrevRecord(); }, false, 0},
        {"put 0 at the start", [](Cursor& c) { return c.put_CurrentRecord(0); }, false, 0},
        {"next", [](Cursor& c) { return c.NextRecord(); }, true, 1},
        {"prev at record 1", [](Cursor& c) { return c.PrevRecord(); }, false, 1},
        {"put 0", [](Cursor& c) { return c.put_CurrentRecord(0); }, false, 1},
        {"last", [](Cursor& c) { return c.LastRecord(); }, true, 3},
        {"next at the end", [](Cursor& c) { return c.NextRecord(); }, false, 3},
        {"put past the end", [](Cursor& c) { return c.put_CurrentRecord(4); }, false, 3},
        {"prev", [](Cursor& c) { return c.PrevRecord(); }, true, 2},
        {"put the count", [](Cursor& c) { return c.put_CurrentRecord(3); }, true, 3},
        {"first", [](Cursor& c) { return c.FirstRecord(); }, true, 1},
    };
    const smart_ptr<I_DuckDBCursor> cursor = Client("SELECT * FROM range(3)");
    EXPECT_EQ(cursor->get_RecordCount(), 3u);
    EXPECT_EQ(cursor->get_CurrentRecord(), 0u);
    for (const auto& move : kMoves) {
        EXPECT_EQ(move.mCall(*cursor), move.mAnswer) << move.mMove;
        EXPECT_EQ(cursor->get_CurrentRecord(), move.mPosition) << move.mMove;
        if (move.mPosition != 0) {
            EXPECT_EQ(Text(cursor->get_Value(0)), std::to_string(move.mPosition - 1)) << move.mMove;
        }
    }
}

TEST_F(Cursors, AResultWithoutRowsHasNoRecord) {
    const char* const kEmpty = "SELECT 1 WHERE false";
    const smart_ptr<I_DuckDBCursor> client = Client(kEmpty);
    EXPECT_EQ(client->get_RecordCount(), 0u);
    EXPECT_FALSE(client->FirstRecord() || client->LastRecord() || client->NextRecord() ||
                 client->PrevRecord());
    EXPECT_EQ(client->get_CurrentRecord(), 0u);
    ExpectDuckDBError([&] { client->get_Value(0); }, "cursors", "No current record.");
    const smart_ptr<I_DuckDBCursor> server = Server(kEmpty);
    EXPECT_FALSE(server->NextRecord());
    EXPECT_FALSE(server->NextRecord()) << "and again";
    ExpectDuckDBError([&] { server->get_Value(0); }, "cursors",
                      "Data is not available. Use NextRecord() to fetch data.");
}

TEST_F(Cursors, TheColumnIsTestedBeforeThePosition) {
    for (const auto& cursor : {Client("SELECT 1"), Server("SELECT 1")}) {
        ExpectDuckDBError([&] { cursor->get_Value(1); }, "cursors", "inColumnIndex is out of bounds");
    }
    ExpectDuckDBError([&] { Client("SELECT 1")->get_Value(0); }, "cursors", "No current record.");
    ExpectDuckDBError([&] { Server("SELECT 1")->get_Value(0); }, "cursors",
                      "Data is not available. Use NextRecord() to fetch data.");
}

TEST_F(Cursors, WalkResultsOfSeveralChunksWithoutAGap) {
    constexpr std::uint32_t kRows = 5000;
    const std::string sql = "SELECT range, range::VARCHAR FROM range(" + std::to_string(kRows) + ")";
    const smart_ptr<I_DuckDBCursor> client = Client(sql);
    const smart_ptr<I_DuckDBCursor> server = Server(sql);
    EXPECT_EQ(client->get_RecordCount(), kRows);
    for (std::uint32_t row = 0; row < kRows; ++row) {
        ASSERT_TRUE(client->NextRecord() && server->NextRecord()) << row;
        ASSERT_EQ(client->get_CurrentRecord(), row + 1);
        ASSERT_EQ(client->get_Value(0)->get_LLong(), row);
        ASSERT_EQ(server->get_Value(0)->get_LLong(), row);
        ASSERT_EQ(Text(server->get_Value(1)), std::to_string(row));
    }
    EXPECT_FALSE(client->NextRecord() || server->NextRecord());
    ExpectDuckDBError([&] { server->get_Value(0); }, "cursors",
                      "Data is not available. Use NextRecord() to fetch data.");
}

TEST_F(Cursors, ClientKeepsItsValuesAndServerMakesNewOnes) {
    const smart_ptr<I_DuckDBCursor> client = Client("SELECT 1");
    client->NextRecord();
    EXPECT_EQ(client->get_Value(0), client->get_Value(0));
    client->get_Value(0)->put_Long(99);
    EXPECT_EQ(client->get_Value(0)->get_Long(), 99);
    const smart_ptr<I_DuckDBCursor> server = Server("SELECT 1");
    server->NextRecord();
    EXPECT_FALSE(server->get_Value(0) == server->get_Value(0));
}

TEST_F(Cursors, RowsOfAClientCursorAreItsOwnArray) {
    const smart_ptr<I_DuckDBCursor> client = Client("SELECT range, NULL FROM range(25)");
    const smart_ptr<RowArray> rows = Extension()->get_ClientCursorRows(client);
    ASSERT_TRUE(rows);
    ASSERT_EQ(rows->get_Count(), 25u);
    EXPECT_EQ((*rows)[0]->get_Count(), 2u);
    EXPECT_EQ((*rows)[0]->get_Capacity(), 2u);
    EXPECT_EQ(rows->get_Capacity(), 40u) << "room for 10, doubled";
    client->LastRecord();
    EXPECT_EQ((*(*rows)[24])[0], client->get_Value(0));
    EXPECT_TRUE(Extension()->get_IsClientCursor(client));
    for (const auto& other : {Server("SELECT 1"), smart_ptr<I_DuckDBCursor>()}) {
        EXPECT_FALSE(Extension()->get_IsClientCursor(other));
        EXPECT_FALSE(Extension()->get_ClientCursorRows(other));
    }
}

TEST_F(Cursors, ServerRefusesWhatNeedsAllRows) {
    using Cursor = I_DuckDBCursor;
    const struct {
        const char* mName;
        void (*mCall)(Cursor&);
    } kRefused[] = {
        {"get_RecordCount", [](Cursor& c) { c.get_RecordCount(); }},
        {"get_CurrentRecord", [](Cursor& c) { c.get_CurrentRecord(); }},
        {"put_CurrentRecord", [](Cursor& c) { c.put_CurrentRecord(1); }},
        {"FirstRecord", [](Cursor& c) { c.FirstRecord(); }},
        {"LastRecord", [](Cursor& c) { c.LastRecord(); }},
        {"PrevRecord", [](Cursor& c) { c.PrevRecord(); }},
    };
    const smart_ptr<I_DuckDBCursor> cursor = Server("SELECT 1");
    for (const auto& refused : kRefused) {
        ExpectDuckDBError([&] { refused.mCall(*cursor); }, "cursors",
                          std::string(refused.mName) + "() is not supported for server-side cursors");
    }
    mDatabase->Close();
    for (const auto& refused : kRefused) {
        ExpectDuckDBError([&] { refused.mCall(*cursor); }, "unknown", "DuckDBCursor is invalid");
    }
}

TEST_F(Cursors, DisposeCutsOffOnce) {
    for (const auto& cursor : {Client("SELECT 1"), Server("SELECT 1")}) {
        cursor->NextRecord();
        EXPECT_EQ(cursor->get_Database(), mDatabase);
        cursor->Dispose();
        cursor->Dispose();
        EXPECT_FALSE(cursor->get_Database());
        ExpectDuckDBError([&] { cursor->NextRecord(); }, "unknown", "DuckDBCursor is invalid");
        EXPECT_EQ(cursor->get_ColumnCount(), 1u);
    }
    mDatabase->Close(); // meets no pointer to them
}

TEST_F(Cursors, ServerHoldsOneChunkUntilItGoes) {
    const auto chunks = [] { return support::LiveHandleCount(support::HandleKind::DataChunk); };
    smart_ptr<I_DuckDBCursor> cursor =
        Server("SELECT range::VARIANT, [range], range::VARCHAR FROM range(10000)");
    EXPECT_EQ(chunks(), 0);
    while (cursor->NextRecord()) {
        cursor->get_Value(0);
        cursor->get_Value(1);
        ASSERT_EQ(chunks(), 1);
    }
    EXPECT_EQ(chunks(), 0);
    cursor = Server("SELECT 1");
    cursor->NextRecord();
    mDatabase->Close();
    EXPECT_EQ(chunks(), 1) << "the chunk stays until the cursor goes";
    cursor.reset();
    EXPECT_EQ(chunks(), 0);
}

TEST_F(Cursors, InvalidatedByTheHostLeaveNoPointerBehind) {
    smart_ptr<I_DuckDBCursor> cursor = Server("SELECT 1");
    smart_ptr<I_DuckDBQueryResult> result = mDatabase->SqlQuery("SELECT 1", kCursorLocationClient, nullptr);
    smart_ptr<I_DuckDBStatement> statement = mDatabase->CreateStatement("SELECT 1");
    cursor->Invalidate();
    result->Invalidate();
    statement->Invalidate();
    cursor.reset();
    result.reset();
    statement.reset();
    mDatabase->Close();
}

TEST_F(Cursors, NeedADatabase) {
    ExpectDuckDBError([] { DuckDBCursor_server cursor(nullptr, support::OwnedResult()); }, "unknown",
                      "DuckDBCursor is invalid");
}

TEST_F(Cursors, WhatDuckDBRaisesForACellBecomesTheHosts) {
    // Infinity has no calendar parts: DuckDB throws while the value is made.
    const char* const sql = "SELECT 'infinity'::TIMESTAMP_MS::VARIANT";
    ExpectDuckDBErrorWith([&] { Client(sql); }, "cursors", "timestamp");
    const smart_ptr<I_DuckDBCursor> server = Server(sql);
    ASSERT_TRUE(server->NextRecord());
    ExpectDuckDBErrorWith([&] { server->get_Value(0); }, "cursors", "timestamp");
    EXPECT_EQ(SelectOne(mDatabase, "SELECT 1"), "1");
}

} // namespace
} // namespace orkit::orsql::test
