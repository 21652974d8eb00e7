#include "support_test.h"

#include <cstring>
#include <memory>

namespace orlimbara::duckdb_support::test {
namespace {

/// A handle that counts how often each one is ended, for what the real handles can't tell.
void EndProbe(int** ioHandle) {
    ++**ioHandle;
    throw 1; // an owner must bear that
}
using Probe = OwnedHandle<int*, HandleKind::Bytes, EndProbe>;

class Handles : public SupportTest {};

TEST_F(Handles, EndExactlyOnce) {
    int ended[2] = {};
    {
        Probe first(&ended[0]);
        Probe second(std::move(first));
        EXPECT_FALSE(first);
        EXPECT_EQ(second.Get(), &ended[0]);
        Probe third(&ended[1]);
        EXPECT_EQ(LiveHandleCount(HandleKind::Bytes), 2);
        third = std::move(second);
        EXPECT_EQ(ended[1], 1) << "an assignment ends what was held";
        EXPECT_EQ(ended[0], 0);
        third.Reset();
        EXPECT_EQ(ended[0], 1);
        EXPECT_EQ(LiveHandleCount(HandleKind::Bytes), 0);
        EXPECT_FALSE(third);
        *third.Put() = &ended[1];
        EXPECT_EQ(LiveHandleCount(HandleKind::Bytes), 1);
    }
    EXPECT_EQ(ended[0], 1);
    EXPECT_EQ(ended[1], 2);
    EXPECT_EQ(LiveHandleCount(HandleKind::Bytes), 0);
}

TEST_F(Handles, AreCountedAndUsableAtOnceUnlessTheirCallFailed) {
    OwnedDatabase database;
    OwnedText error;
    EXPECT_EQ(duckdb_open_ext("/no/such/folder/x.duckdb", database.Put(), nullptr, error.Put()), DuckDBError);
    EXPECT_FALSE(database);
    EXPECT_NE(std::string_view(error.Get()).find("x.duckdb"), std::string_view::npos);
    EXPECT_EQ(LiveHandleCount(HandleKind::Database), 1) << "the fixture's";
    EXPECT_EQ(LiveHandleCount(HandleKind::Text), 1);
    OwnedConnection connection;
    ASSERT_TRUE(duckdb_open(nullptr, database.Put()) == DuckDBSuccess &&
                duckdb_connect(database.Get(), connection.Put()) == DuckDBSuccess);
    EXPECT_EQ(LiveHandleCount(HandleKind::Database), 2);
    EXPECT_EQ(LiveHandleCount(HandleKind::Connection), 2);
    // A failed result is held for its error.
    OwnedResult result;
    ASSERT_EQ(duckdb_query(connection.Get(), "SELECT nothing", result.Put()), DuckDBError);
    ASSERT_TRUE(result);
    EXPECT_NE(std::string(duckdb_result_error(result.Get())).find("nothing"), std::string::npos);
    result.Reset();
    EXPECT_FALSE(result);
    EXPECT_EQ(LiveHandleCount(HandleKind::Result), 0);
}

TEST_F(Handles, OfResultsHandTheStructOnAndForgetIt) {
    OwnedResult taker = mDuck->Run("SELECT 42");
    OwnedResult other = mDuck->Run("SELECT 1 WHERE false");
    other = std::move(taker);
    const duckdb_result zeros = {};
    EXPECT_EQ(std::memcmp(&taker.Struct(), &zeros, sizeof(zeros)), 0);
    EXPECT_EQ(duckdb_row_count(other.Get()), 1);
    EXPECT_EQ(LiveHandleCount(HandleKind::Result), 1);
}

TEST_F(Handles, InSharedCellsAreClosedForAllHoldersAtOnceAndOnlyWhenTold) {
    auto cell = std::make_shared<DatabaseCell>();
    EXPECT_FALSE(*cell);
    ASSERT_EQ(duckdb_open(nullptr, cell->Put()), DuckDBSuccess);
    auto holder = cell;
    for (int i = 0; i < 2; ++i) {
        holder->Close();
        EXPECT_FALSE(*cell);
        EXPECT_EQ(LiveHandleCount(HandleKind::Database), 1) << "the fixture's";
    }
    ASSERT_EQ(duckdb_open(nullptr, cell->Put()), DuckDBSuccess);
    duckdb_database kept = holder->Get();
    for (auto* const going : {&holder, &cell}) { // the handle stays open when they go
        going->reset();
        EXPECT_EQ(LiveHandleCount(HandleKind::Database), 2);
    }
    OwnedConnection connection;
    EXPECT_EQ(duckdb_connect(kept, connection.Put()), DuckDBSuccess);
    connection.Reset();
    duckdb_close(&kept);
    detail::CountHandles(HandleKind::Database, -1); // the cell's share, for the checks that follow
}

} // namespace
} // namespace orlimbara::duckdb_support::test
