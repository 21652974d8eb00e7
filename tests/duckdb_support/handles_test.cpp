#include "support_test.h"

#include <memory>

namespace orlimbara::duckdb_support::test {
namespace {

/// A handle that counts how often it is destroyed, which real handles don't tell.
void EndProbe(int** ioHandle) {
    ++**ioHandle;
    throw 1; // an owner must ignore this
}
using Probe = OwnedHandle<int*, HandleKind::Bytes, EndProbe>;

class Handles : public SupportTest {};

TEST_F(Handles, AreDestroyedExactlyOnce) {
    int ended[2] = {};
    const auto tell = [&] {
        return std::to_string(ended[0]) + " and " + std::to_string(ended[1]) +
               " times ended, held: " + std::to_string(LiveHandleCount(HandleKind::Bytes));
    };
    {
        Probe first(&ended[0]);
        Probe second(std::move(first));
        EXPECT_FALSE(first);
        EXPECT_EQ(second.Get(), &ended[0]);
        Probe third(&ended[1]);
        EXPECT_EQ(tell(), "0 and 0 times ended, held: 2");
        third = std::move(second);
        EXPECT_EQ(tell(), "0 and 1 times ended, held: 1") << "an assignment ends what was held";
        third.Reset();
        EXPECT_EQ(tell(), "1 and 1 times ended, held: 0");
        EXPECT_FALSE(third);
        *third.Put() = &ended[1];
        EXPECT_EQ(tell(), "1 and 1 times ended, held: 1");
    }
    EXPECT_EQ(tell(), "1 and 2 times ended, held: 0");
}

TEST_F(Handles, InSharedCellsCloseForAllHoldersAndOnlyOnRequest) {
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
    for (auto* const going : {&holder, &cell}) { // the handle stays open when they are destroyed
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
