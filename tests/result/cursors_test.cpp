#include <span>

#include <dlfcn.h>

#include "result/query_result.h"
#include "result/server_cursor.h"
#include "tests_support/duck.h"
#include "tests_support/object_fixture.h"

/// How many chunks are fetched before fetching fails as it does without memory: no chunk and no text.
/// Negative: never.
static int gFetchesUntilFailure = -1;

/// DuckDB's function, for this executable.
extern "C" duckdb_data_chunk duckdb_fetch_chunk(duckdb_result result) {
    static const auto original =
        reinterpret_cast<decltype(&duckdb_fetch_chunk)>(dlsym(RTLD_NEXT, "duckdb_fetch_chunk"));
    return gFetchesUntilFailure < 0 || gFetchesUntilFailure-- > 0 ? original(result) : nullptr;
}

namespace orkit::orsql::test {
namespace {

constexpr const char* kInvalid = "DuckDBCursor is invalid";
constexpr const char* kNoData = "Data is not available. Use NextRecord() to fetch data.";

/// The flags of a result, the rows changed, the error's position and type, and what else it has.
std::string Tell(I_DuckDBQueryResult& inResult) {
    return std::to_string(inResult.get_ResultFlags()) + " " + std::to_string(inResult.get_RowsChanged()) +
           " " + std::to_string(inResult.get_ErrorPosition()) + Text(inResult.get_ErrorType()) +
           (inResult.get_Cursor() ? " cursor" : "") + (inResult.get_NextResult() ? " next" : "");
}

class Cursors : public ObjectTest {
protected:
    Cursors() { mDatabase = CreateDatabase("cursors.duckdb"); }
    Cursor Client(std::string_view inSql) const { return OpenCursor(mDatabase, inSql, 1); }
    Cursor Server(std::string_view inSql) const { return OpenCursor(mDatabase, inSql); }
};

TEST_F(Cursors, ListTheirColumnsInOrder) {
    std::string sql = "SELECT 1::DECIMAL(5,2) AS \"größe\", [1] AS l, {'a': 1} AS s, NULL::DATE AS n";
    for (int i = 4; i < 300; ++i) {
        sql += ", " + std::to_string(i) + " AS c" + std::to_string(i);
    }
    for (const Cursor& cursor : {Client(sql), Server(sql)}) {
        ASSERT_EQ(cursor->get_ColumnCount(), 300u);
        Rows columns;
        for (const std::uint32_t column : {0u, 1u, 2u, 3u, 4u, 300u}) {
            columns.push_back({Text(cursor->get_ColumnName(column)), Text(cursor->get_ColumnTypeName(column)),
                               std::to_string(cursor->get_ColumnType(column))});
        }
        EXPECT_EQ(columns, Table("größe|DECIMAL(5,2)|19; l|INTEGER[]|24; s|STRUCT(a INTEGER)|25; n|DATE|13;"
                                 "c4|INTEGER|4; ||0"));
        ASSERT_TRUE(cursor->NextRecord());
        for (std::uint32_t column = 4; column < 300; ++column) {
            EXPECT_EQ("c" + Text(cursor->get_Value(column)), Text(cursor->get_ColumnName(column)));
        }
    }
}

TEST_F(Cursors, ClientMovesAnswerAndStayAtTheEnds) {
    const Cursor cursor = Client("SELECT * FROM range(3)");
    EXPECT_EQ(cursor->get_RecordCount(), 3u);
    // To the next record, the previous, first, last, or one by its number; "!" where the cursor doesn't move.
    std::string positions;
    for (const char step : std::string_view("p0np0ln4pp3f")) {
        const bool moves = step == 'n'   ? cursor->NextRecord()
                           : step == 'p' ? cursor->PrevRecord()
                           : step == 'f' ? cursor->FirstRecord()
                           : step == 'l' ? cursor->LastRecord()
                                         : cursor->put_CurrentRecord(static_cast<std::uint32_t>(step - '0'));
        const std::uint32_t position = cursor->get_CurrentRecord();
        positions += (moves ? "" : "!") + std::to_string(position) + " ";
        EXPECT_TRUE(position == 0 || cursor->get_Value(0)->get_LLong() + 1 == position) << positions;
    }
    EXPECT_EQ(positions, "!0 !0 1 !1 !1 3 !3 !3 2 1 3 1 ");
    const Cursor empty = Client("SELECT 1 WHERE false");
    EXPECT_FALSE(empty->FirstRecord() || empty->LastRecord() || empty->NextRecord() || empty->PrevRecord());
    EXPECT_EQ(empty->get_RecordCount() + empty->get_CurrentRecord(), 0u);
}

TEST_F(Cursors, RefuseAMissingColumnOrPosition) {
    for (const char* const sql : {"SELECT 1", "SELECT 1 WHERE false"}) {
        const Cursor server = Server(sql);
        ExpectError([&] { Client(sql)->get_Value(1); }, "cursors", "inColumnIndex is out of bounds");
        ExpectError([&] { server->get_Value(1); }, "cursors", "inColumnIndex is out of bounds");
        ExpectError([&] { Client(sql)->get_Value(0); }, "cursors", "No current record.");
        ExpectError([&] { server->get_Value(0); }, "cursors", kNoData);
        while (server->NextRecord()) {
        }
        EXPECT_FALSE(server->NextRecord()) << "and again";
        ExpectError([&] { server->get_Value(0); }, "cursors", kNoData);
    }
}

TEST_F(Cursors, ClientKeepsItsValuesAndServerMakesNewOnes) {
    const Cursor client = Client("SELECT range, NULL FROM range(25)");
    const smart_ptr<RowArray> rows = Extension()->get_ClientCursorRows(client);
    EXPECT_EQ(LiveHandleCount(HandleKind::Result), 0) << "no rows are left in DuckDB";
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

TEST_F(Cursors, ServerMakesTheValuesOfTheClient) {
    for (const auto& type :
         Table("BOOLEAN; TINYINT; SMALLINT; INTEGER; BIGINT; UTINYINT; USMALLINT; UINTEGER; UBIGINT;"
               "FLOAT; DOUBLE; DECIMAL(4,1); DECIMAL(9,4); DECIMAL(18,0); DECIMAL(38,2)")) {
        // What doesn't fit the type is NULL.
        const std::string sql =
            "SELECT TRY_CAST((i % 7 - 3) * (1::HUGEINT << i % 64) AS " + type[0] + ") FROM range(2500) t(i)";
        const Cursor server = Server(sql);
        for (const Cursor client = Client(sql); client->NextRecord();) {
            ASSERT_TRUE(server->NextRecord());
            const Value value = server->get_Value(0);
            const Value expected = client->get_Value(0);
            EXPECT_EQ(value->get_Type(), expected->get_Type()) << type[0];
            EXPECT_EQ(Text(value), Text(expected)) << type[0];
        }
    }
}

TEST_F(Cursors, RefuseUnsupportedOperationsAndAllOnceInvalid) {
    const std::pair<const char*, void (*)(I_DuckDBCursor&)> kCalls[] = {
        {"NextRecord", [](auto& c) { c.NextRecord(); }}, // the server's own
        {"get_Value", [](auto& c) { c.get_Value(0); }},
        {"get_RecordCount", [](auto& c) { c.get_RecordCount(); }},
        {"get_CurrentRecord", [](auto& c) { c.get_CurrentRecord(); }},
        {"put_CurrentRecord", [](auto& c) { c.put_CurrentRecord(1); }},
        {"FirstRecord", [](auto& c) { c.FirstRecord(); }},
        {"LastRecord", [](auto& c) { c.LastRecord(); }},
        {"PrevRecord", [](auto& c) { c.PrevRecord(); }},
    };
    const std::function<void(I_DuckDBCursor&)> kCuts[] = {[](auto& c) { c.Dispose(), c.Dispose(); },
                                                          [](auto& c) { c.Invalidate(); },
                                                          [this](I_DuckDBCursor&) { mDatabase->Close(); }};
    for (const auto& cut : kCuts) {
        const Cursor client = Client("SELECT 1");
        const Cursor server = Server("SELECT 1");
        const QueryResult result = mDatabase->SqlQuery("SELECT 1; SELECT 2", kCursorLocationServer, nullptr);
        EXPECT_TRUE(server->NextRecord() && client->NextRecord());
        for (const auto& [name, call] : std::span(kCalls).subspan(2)) {
            ExpectError([&, refused = call] { refused(*server); }, "cursors",
                        std::string(name) + "() is not supported for server-side cursors");
        }
        EXPECT_EQ(server->get_Database(), mDatabase);
        const Cursor first = result->get_Cursor(); // null once the database is closed
        cut(*client);
        cut(*server);
        cut(*first);
        result->Invalidate();
        EXPECT_EQ(Tell(*result), "1 0 -1");
        EXPECT_EQ(LiveHandleCount(HandleKind::Result), 0) << "none outlives its connection";
        for (const auto& cursor : {client, server}) {
            for (const auto& call : kCalls) {
                ExpectError([&] { call.second(*cursor); }, "unknown", kInvalid);
            }
            EXPECT_FALSE(cursor->get_Database());
            EXPECT_EQ(cursor->get_ColumnCount(), 1u);
        }
    }
    mDatabase->Close(); // finds no pointer to them
    ExpectError([] { DuckDBCursor_server cursor(nullptr, support::OwnedResult()); }, "unknown", kInvalid);
}

TEST_F(Cursors, RowsThatCantBeFetchedAreNotTheEnd) {
    const char* const sql = "SELECT range FROM range(10000)";
    for (const int chunksBefore : {0, 2}) {
        const Cursor cursor = Server(sql);
        gFetchesUntilFailure = chunksBefore;
        ExpectError([&] { ReadAll(cursor); }, "cursors", "Unable to fetch all rows of the result.");
        gFetchesUntilFailure = chunksBefore;
        ExpectError([&] { Client(sql); }, "cursors", "Unable to fetch all rows of the result.");
    }
    gFetchesUntilFailure = -1;
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
    cursor = Server("SELECT repeat('ab', 5000)::BLOB");
    cursor->NextRecord();
    const Value bytes = cursor->get_Value(0);
    mDatabase->Close();
    EXPECT_EQ(chunks(), 1) << "the chunk stays until the cursor goes";
    cursor.reset();
    EXPECT_EQ(bytes->get_Length(), 10000u) << "bytes outlive their chunk";
    EXPECT_EQ(Text(bytes).substr(19994), "61626162'");
}

TEST_F(Cursors, DuckDBsExceptionForACellBecomesTheHosts) {
    // Infinity has no calendar parts: DuckDB throws while the value is made.
    const char* const sql = "SELECT 'infinity'::TIMESTAMP_MS::VARIANT";
    ExpectErrorWith([&] { Client(sql); }, "cursors", "timestamp");
    const Cursor server = Server(sql);
    ASSERT_TRUE(server->NextRecord());
    ExpectErrorWith([&] { server->get_Value(0); }, "cursors", "timestamp");
    // A later statement of a chain fails when its turn comes.
    const QueryResult result = mDatabase->SqlQuery(Wide(std::string("SELECT 1; ") + sql), 1, nullptr);
    ExpectErrorWith([&] { result->get_NextResult(); }, "cursors", "timestamp");
    EXPECT_EQ(ReadAll(result->get_Cursor()), (Rows{{"1"}}));
}

class QueryResults : public ObjectTest {};

TEST_F(QueryResults, ParseDuckDBsError) {
    // errors_as_json, what runs, a part of the message, and the result.
    const std::tuple<std::string, const char*, const char*, const char*> kCases[] = {
        {"true", "SELECT nonsense", "Referenced column \"nonsense\" was not found", "4 0 7Binder"},
        {"true", "SELECT 'x'::INTEGER", "Could not convert string 'x' to INT32", "4 0 10Conversion"},
        {"true", "SELECT error('no reason')", "no reason", "4 0 -1Invalid Input"},
        {"false", "SELECT nonsense", "Binder Error: Referenced column", "4 0 -1"},
        // Not JSON as a whole: the message is the text, unchanged.
        {"true", "SELEC 1", "Parser Error: {\"exception_type\":\"Parser\"", "4 0 -1"},
    };
    for (const auto& [asJson, sql, part, told] : kCases) {
        // On DuckDB directly: a database's run throws before a query result gets a failed result.
        const tests_support::Duck duck;
        duck.Run("SET errors_as_json = " + asJson);
        ResultList results(2);
        duckdb_query(duck.Connection(), sql, results.front().Put());
        duckdb_query(duck.Connection(), "LOAD parquet", results.back().Put());
        const QueryResult result(new DuckDBQueryResult(nullptr, std::move(results), kCursorLocationServer));
        const std::string message = Text(result->get_ErrorMessage());
        EXPECT_NE(message.find(part), std::string::npos) << message;
        EXPECT_EQ(Tell(*result), std::string(told) + " next") << sql;
    }
}

TEST_F(QueryResults, KeepTheirContentOnceInvalid) {
    mDatabase = CreateDatabase();
    Execute(mDatabase, "CREATE TABLE t (i INTEGER)");
    const QueryResult result = mDatabase->SqlQuery("INSERT INTO t VALUES (1), (2); SELECT 1", 2, nullptr);
    EXPECT_EQ(result->AddRef() + result->Release(), 3u);
    mDatabase->AddCursor(nullptr); // which Close skips
    mDatabase->Close();
    EXPECT_EQ(LiveHandleCount(), 0);
    EXPECT_EQ(Tell(*result), "2 2 -1");
    const QueryResult empty(new DuckDBQueryResult(nullptr, {}, kCursorLocationClient));
    EXPECT_EQ(Tell(*empty), "0 0 -1");
    EXPECT_TRUE(empty->get_ErrorMessage().isEmpty());
}

} // namespace
} // namespace orkit::orsql::test
