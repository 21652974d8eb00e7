#include <thread>
#include <vector>

#include "tests_support/object_fixture.h"

namespace orkit::orsql::test {
namespace {

constexpr int kThreads = 4;
constexpr int kRounds = 20;

/// Runs a function on several threads at once, each with its number.
void OnThreads(const std::function<void(std::size_t)>& inWork) {
    std::vector<std::jthread> threads; // joined by their destructors
    for (std::size_t number = 0; number < kThreads; ++number) {
        threads.emplace_back(inWork, number);
    }
}

class Concurrency : public ObjectTest {};

TEST_F(Concurrency, ThreadsRaceForTheFirstAndLastHandleOfAPath) {
    Execute(CreateDatabase("raced.duckdb"), "CREATE TABLE t (i INTEGER)");
    OnThreads([&](std::size_t) {
        for (int round = 0; round < kRounds; ++round) {
            const Database database = OpenDatabase("raced.duckdb");
            EXPECT_EQ(Execute(database, "INSERT INTO t VALUES (1)"), 1);
        } // the last reference closes
    });
    mDatabase = MakeDatabase("raced.duckdb");
    EXPECT_EQ(mDatabase->get_ConnectionCount(), 0u);
    mDatabase->Open();
    EXPECT_EQ(SelectOne(mDatabase, "SELECT count(*) FROM t"), std::to_string(kThreads * kRounds));
    // One object, whose getters other threads call meanwhile.
    OnThreads([&](std::size_t inNumber) {
        for (int round = 0; round < kRounds / 2; ++round) {
            if (inNumber != 0) {
                mDatabase->Open();
            }
            mDatabase->get_IsOpen();
            EXPECT_FALSE(mDatabase->get_IsReadOnly());
            EXPECT_LE(mDatabase->get_ConnectionCount(), 1u);
        }
    });
    EXPECT_EQ(mDatabase->get_ConnectionCount(), 1u);
    mDatabase->Close();
    EXPECT_EQ(mDatabase->get_ConnectionCount(), 0u);
}

TEST_F(Concurrency, LastReleasesDuringCloseOrDestruction) {
    for (int round = 0; round < 2 * kRounds; ++round) {
        mDatabase = CreateDatabase();
        std::vector<smart_ptr<I_Unknown>> objects[kThreads];
        for (auto& mine : objects) {
            for (const std::uint32_t location : {1u, 2u}) {
                mine.push_back(OpenCursor(mDatabase, "SELECT * FROM range(10)", location));
                mine.push_back(mDatabase->SqlQuery("SELECT 1; SELECT 2", location, nullptr));
            }
        }
        const Cursor cursors[] = {OpenCursor(mDatabase, "FROM range(5000)"),
                                  OpenCursor(mDatabase, "FROM range(5000)")};
        OnThreads([&](std::size_t inNumber) {
            if (inNumber == 0) {
                round % 2 == 0 ? mDatabase->Close() : mDatabase.reset();
            } else if (inNumber <= std::size(cursors)) {
                const Cursor& cursor = cursors[inNumber - 1];
                const std::string thrown = Catch([&] {
                    while (cursor->NextRecord()) {
                        cursor->get_Value(0);
                        cursor->get_Database(); // the database or null, never a destroyed one
                    }
                });
                EXPECT_TRUE(thrown.empty() || thrown.ends_with("|DuckDBCursor is invalid")) << thrown;
            }
            objects[inNumber].clear();
        });
    }
}

/// The whole life of a statement while the database is open, or a part if it is stopped. @return false once
/// the database is closed.
bool LiveOnce(const Database& inDatabase) {
    const std::string thrown = Catch([&] {
        const Statement statement = inDatabase->CreateStatement("SELECT $1::INTEGER; SELECT $1 + 1");
        statement->BindValues(Values({Number(1)}));
        statement->ExecuteNext();
        statement->BindInteger(1, 2);
        statement->SqlSelect(kCursorLocationClient);
        statement->get_RemainingStatements();
        statement->get_Database();
        statement->ExecuteScript();
    });
    const bool isClosed =
        thrown.ends_with("|DuckDBDatabase is not open") || thrown.ends_with("|DuckDBDatabase is invalid");
    EXPECT_TRUE(isClosed || thrown.empty() || thrown.ends_with("Interrupted!\"}")) << thrown;
    return !isClosed;
}

TEST_F(Concurrency, StatementsAndStopsOnAClosingDatabase) {
    for (int round = 0; round < kRounds; ++round) {
        mDatabase = CreateDatabase();
        auto* const control = QueryAspect<I_DuckDBRunControl>(mDatabase.get());
        std::jthread stopper([&](const std::stop_token& inEnd) {
            while (round % 2 != 0 && !inEnd.stop_requested()) {
                control->Interrupt();
                control->get_Progress();
            }
        });
        OnThreads([&](std::size_t inNumber) {
            while (LiveOnce(mDatabase)) {
                if (inNumber == 0) {
                    mDatabase->Open(); // closes first
                    mDatabase->Close();
                }
            }
        });
        stopper = {};
        mDatabase->Open();
        EXPECT_EQ(SelectOne(mDatabase, "SELECT 42"), "42");
        EXPECT_EQ(control->get_Progress().mElapsedMicroseconds, 0u);
    }
}

} // namespace
} // namespace orkit::orsql::test
