#include "support_test.h"

#include <memory>

namespace orlimbara::duckdb_support::test {
namespace {

/// A handle that counts how often it is destroyed, which real handles don't tell.
void EndProbe(int** ioHandle) {
    ++**ioHandle;
    throw 1; // an owner must ignore this
}
using Counts = std::vector<std::int64_t>;
using Probe = OwnedHandle<int*, HandleKind::Bytes, EndProbe>;

class Handles : public SupportTest {};

TEST_F(Handles, AreDestroyedExactlyOnce) {
    int ended[2] = {};
    // How often each was ended, and how many are held.
    const auto counts = [&] { return Counts{ended[0], ended[1], LiveHandleCount(HandleKind::Bytes)}; };
    {
        Probe first(&ended[0]);
        Probe second(std::move(first));
        EXPECT_FALSE(first);
        EXPECT_EQ(second.Get(), &ended[0]);
        Probe third(&ended[1]);
        EXPECT_EQ(counts(), (Counts{0, 0, 2}));
        third = std::move(second);
        EXPECT_EQ(counts(), (Counts{0, 1, 1})) << "an assignment ends what was held";
        third.Reset();
        EXPECT_EQ(counts(), (Counts{1, 1, 0}));
        EXPECT_FALSE(third);
        *third.Put() = &ended[1];
        EXPECT_EQ(counts(), (Counts{1, 1, 1}));
    }
    EXPECT_EQ(counts(), (Counts{1, 2, 0}));
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
