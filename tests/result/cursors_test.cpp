#include <dlfcn.h>

#include "duckdb_support/handles.h"
#include "result/server_cursor.h"
#include "tests_support/object_fixture.h"

namespace orkit::orsql::test {
namespace {

constexpr const char* kInvalid = "DuckDBCursor is invalid";
constexpr const char* kNoData = "Data is not available. Use NextRecord() to fetch data.";

/// How many chunks are fetched before fetching fails as it does without memory: no chunk and no text.
/// Negative: all.
int gFetchesUntilFailure = -1;

} // namespace
} // namespace orkit::orsql::test

/// DuckDB's function, for this executable.
extern "C" duckdb_data_chunk duckdb_fetch_chunk(duckdb_result result) {
    int& fetches = orkit::orsql::test::gFetchesUntilFailure;
    static const auto original =
        reinterpret_cast<decltype(&duckdb_fetch_chunk)>(dlsym(RTLD_NEXT, "duckdb_fetch_chunk"));
    return fetches < 0 || fetches-- > 0 ? original(result) : nullptr;
}

namespace orkit::orsql::test {
namespace {

class Cursors : public ObjectTest {
protected:
    void SetUp() override {
        ObjectTest::SetUp();
        mDatabase = CreateDatabase("cursors.duckdb");
    }
    Cursor Client(std::string_view inSql) const {
        return OpenCursor(mDatabase, inSql, kCursorLocationClient);
    }
    Cursor Server(std::string_view inSql) const {
        return OpenCursor(mDatabase, inSql, kCursorLocationServer);
    }
};

TEST_F(Cursors, ListTheirColumnsInOrder) {
    std::string sql = "SELECT 1::DECIMAL(5,2) AS \"größe\", [1] AS l, {'a': 1} AS s, NULL::DATE AS n";
    for (int i = 4; i < 300; ++i) {
        sql += ", " + std::to_string(i) + " AS c" + std::to_string(i);
    }
    for (const auto& cursor : {Client(sql), Server(sql)}) {
        ASSERT_EQ(cursor->get_ColumnCount(), 300u);
        const Rows kColumns = Table("größe|DECIMAL(5,2)|19; l|INTEGER[]|24; s|STRUCT(a INTEGER)|25; n|DATE|13"
                                    "; c4|INTEGER|4");
        for (std::uint32_t column = 0; column < kColumns.size(); ++column) {
            EXPECT_EQ(
                (std::vector{Text(cursor->get_ColumnName(column)), Text(cursor->get_ColumnTypeName(column)),
                             std::to_string(cursor->get_ColumnType(column))}),
                kColumns[column]);
        }
        EXPECT_EQ(&cursor->get_ColumnName(300), &String::sEmpty);
        EXPECT_EQ(&cursor->get_ColumnTypeName(300), &String::sEmpty);
        EXPECT_EQ(cursor->get_ColumnType(300), 0u);
        ASSERT_TRUE(cursor->NextRecord());
        for (std::uint32_t column = 4; column < 300; ++column) {
            EXPECT_EQ("c" + Text(cursor->get_Value(column)), Text(cursor->get_ColumnName(column)));
        }
    }
}

TEST_F(Cursors, ClientMovesAnswerAndStayAtTheEnds) {
    const Cursor cursor = Client("SELECT * FROM range(3)");
    EXPECT_EQ(cursor->get_RecordCount(), 3u);
    const auto go = [&](const std::string& inWhere) {
        return inWhere == "next"    ? cursor->NextRecord()
               : inWhere == "prev"  ? cursor->PrevRecord()
               : inWhere == "first" ? cursor->FirstRecord()
               : inWhere == "last"
                   ? cursor->LastRecord()
                   : cursor->put_CurrentRecord(static_cast<std::uint32_t>(std::stoul(inWhere)));
    };
    // Where to, whether the cursor moves, and the position behind.
    const Rows moves =
        Table("prev|no|0; 0|no|0; next|yes|1; prev|no|1; 0|no|1; last|yes|3; next|no|3; 4|no|3;"
              "prev|yes|2; prev|yes|1; 3|yes|3; first|yes|1");
    for (std::size_t step = 0; step < moves.size(); ++step) {
        const auto& [where, answer, position] = std::tie(moves[step][0], moves[step][1], moves[step][2]);
        EXPECT_EQ(go(where), answer == "yes") << step;
        EXPECT_EQ(std::to_string(cursor->get_CurrentRecord()), position) << step;
        if (position != "0") {
            EXPECT_EQ(cursor->get_Value(0)->get_LLong() + 1, std::stoll(position)) << step;
        }
    }
    const Cursor empty = Client("SELECT 1 WHERE false");
    EXPECT_FALSE(empty->FirstRecord() || empty->LastRecord() || empty->NextRecord() || empty->PrevRecord());
    EXPECT_EQ(empty->get_RecordCount() + empty->get_CurrentRecord(), 0u);
}

TEST_F(Cursors, RefuseAColumnOrPositionThatIsNotThere) {
    for (const char* const sql : {"SELECT 1", "SELECT 1 WHERE false"}) {
        const Cursor client = Client(sql);
        const Cursor server = Server(sql);
        for (const auto& cursor : {client, server}) {
            ExpectDuckDBError([&] { cursor->get_Value(1); }, "cursors", "inColumnIndex is out of bounds");
        }
        ExpectDuckDBError([&] { client->get_Value(0); }, "cursors", "No current record.");
        ExpectDuckDBError([&] { server->get_Value(0); }, "cursors", kNoData);
        while (server->NextRecord()) {
        }
        EXPECT_FALSE(server->NextRecord()) << "and again";
        ExpectDuckDBError([&] { server->get_Value(0); }, "cursors", kNoData);
    }
}

TEST_F(Cursors, ClientKeepsItsValuesAndServerMakesNewOnes) {
    const Cursor client = Client("SELECT range, NULL FROM range(25)");
    const smart_ptr<RowArray> rows = Extension()->get_ClientCursorRows(client);
    ASSERT_TRUE(rows);
    ASSERT_EQ(rows->get_Count(), 25u);
    EXPECT_EQ(rows->get_Capacity(), 40u) << "room for 10, doubled";
    EXPECT_EQ((*rows)[0]->get_Count(), 2u);
    EXPECT_EQ((*rows)[0]->get_Capacity(), 2u);
    client->LastRecord();
    client->get_Value(0)->put_LLong(99);
    EXPECT_EQ((*(*rows)[24])[0]->get_LLong(), 99);
    const Cursor server = Server("SELECT 1");
    server->NextRecord();
    EXPECT_FALSE(server->get_Value(0) == server->get_Value(0));
    for (const auto& other : {server, Cursor()}) {
        EXPECT_FALSE(Extension()->get_IsClientCursor(other));
        EXPECT_FALSE(Extension()->get_ClientCursorRows(other));
    }
}

TEST_F(Cursors, RefuseWhatTheyCannotDoAndEverythingOnceCutOff) {
    const struct {
        const char* mName;
        void (*mCall)(I_DuckDBCursor&);
        bool mIsForServer = false;
    } kCalls[] = {
        {"get_RecordCount", [](auto& c) { c.get_RecordCount(); }},
        {"get_CurrentRecord", [](auto& c) { c.get_CurrentRecord(); }},
        {"put_CurrentRecord", [](auto& c) { c.put_CurrentRecord(1); }},
        {"FirstRecord", [](auto& c) { c.FirstRecord(); }},
        {"LastRecord", [](auto& c) { c.LastRecord(); }},
        {"PrevRecord", [](auto& c) { c.PrevRecord(); }},
        {"NextRecord", [](auto& c) { c.NextRecord(); }, true},
        {"get_Value", [](auto& c) { c.get_Value(0); }, true},
    };
    const std::function<void(I_DuckDBCursor&)> kCuts[] = {[](auto& c) { c.Dispose(), c.Dispose(); },
                                                          [](auto& c) { c.Invalidate(); },
                                                          [this](I_DuckDBCursor&) { mDatabase->Close(); }};
    for (const auto& cut : kCuts) {
        const Cursor client = Client("SELECT 1");
        const Cursor server = Server("SELECT 1");
        const smart_ptr<I_DuckDBQueryResult> result =
            mDatabase->SqlQuery("SELECT 1; SELECT 2", kCursorLocationServer, nullptr);
        EXPECT_TRUE(server->NextRecord() && client->NextRecord());
        for (const auto& call : kCalls) {
            if (!call.mIsForServer) {
                ExpectDuckDBError([&] { call.mCall(*server); }, "cursors",
                                  std::string(call.mName) + "() is not supported for server-side cursors");
            }
        }
        EXPECT_EQ(server->get_Database(), mDatabase);
        const Cursor first = result->get_Cursor(); // null once the database is closed
        cut(*client);
        cut(*server);
        cut(*first);
        result->Invalidate();
        EXPECT_EQ(LiveHandleCount(HandleKind::Result), 0) << "none outlives its connection";
        for (const auto& cursor : {client, server}) {
            for (const auto& call : kCalls) {
                ExpectDuckDBError([&] { call.mCall(*cursor); }, "unknown", kInvalid);
            }
            EXPECT_FALSE(cursor->get_Database());
            EXPECT_EQ(cursor->get_ColumnCount(), 1u);
        }
    }
    mDatabase->Close(); // meets no pointer to them
    ExpectDuckDBError([] { DuckDBCursor_server cursor(nullptr, support::OwnedResult()); }, "unknown",
                      kInvalid);
}

TEST_F(Cursors, RowsThatCantBeFetchedAreNotTheEnd) {
    const char* const sql = "SELECT range FROM range(10000)";
    for (const int chunksBefore : {0, 2}) {
        const Cursor cursor = Server(sql);
        gFetchesUntilFailure = chunksBefore;
        ExpectDuckDBError([&] { ReadAll(cursor); }, "cursors", "Unable to fetch all rows of the result.");
        gFetchesUntilFailure = chunksBefore;
        ExpectDuckDBError([&] { Client(sql); }, "cursors", "Unable to fetch all rows of the result.");
    }
    gFetchesUntilFailure = -1;
}

TEST_F(Cursors, ClientLeavesNoRowsInDuckDB) {
    const Cursor cursor = Client("SELECT range FROM range(3000)");
    EXPECT_EQ(LiveHandleCount(HandleKind::Result), 0);
    EXPECT_EQ(cursor->get_RecordCount(), 3000u);
    mDatabase->Close();
}

TEST_F(Cursors, ServerHoldsOneChunkUntilItGoes) {
    const auto chunks = [] { return LiveHandleCount(HandleKind::DataChunk); };
    Cursor cursor = Server("SELECT range::VARIANT, [range], range::VARCHAR FROM range(5000)");
    EXPECT_EQ(chunks(), 0);
    std::int64_t rows = 0;
    for (; cursor->NextRecord(); ++rows) {
        ASSERT_EQ(cursor->get_Value(0)->get_LLong(), rows);
        ASSERT_EQ(Text(cursor->get_Value(2)), std::to_string(rows));
        ASSERT_EQ(chunks(), 1);
    }
    EXPECT_EQ(rows, 5000);
    EXPECT_EQ(Client("FROM range(5000)")->get_RecordCount(), 5000u);
    EXPECT_EQ(chunks(), 0);
    cursor = Server("SELECT 1");
    cursor->NextRecord();
    mDatabase->Close();
    EXPECT_EQ(chunks(), 1) << "the chunk stays until the cursor goes";
}

TEST_F(Cursors, WhatDuckDBRaisesForACellBecomesTheHosts) {
    // Infinity has no calendar parts: DuckDB throws while the value is made.
    const char* const sql = "SELECT 'infinity'::TIMESTAMP_MS::VARIANT";
    ExpectDuckDBErrorWith([&] { Client(sql); }, "cursors", "timestamp");
    const Cursor server = Server(sql);
    ASSERT_TRUE(server->NextRecord());
    ExpectDuckDBErrorWith([&] { server->get_Value(0); }, "cursors", "timestamp");
    // A later statement of a chain fails when its turn comes.
    const smart_ptr<I_DuckDBQueryResult> result =
        mDatabase->SqlQuery(Wide(std::string("SELECT 1; ") + sql), kCursorLocationClient, nullptr);
    ExpectDuckDBErrorWith([&] { result->get_NextResult(); }, "cursors", "timestamp");
    EXPECT_EQ(ReadAll(result->get_Cursor()), (Rows{{"1"}}));
}

} // namespace
} // namespace orkit::orsql::test
