#include <thread>
#include <vector>

#include "tests_support/object_fixture.h"

namespace orkit::orsql::test {
namespace {

constexpr int kThreads = 4;
constexpr int kRounds = 20;

/// Runs a function on several threads at once, each with its number.
void OnThreads(const std::function<void(std::size_t)>& inWork) {
    std::vector<std::thread> threads;
    for (std::size_t number = 0; number < kThreads; ++number) {
        threads.emplace_back(inWork, number);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

class Concurrency : public ObjectTest {};

TEST_F(Concurrency, ThreadsRaceForTheFirstAndLastHandleOfAPath) {
    Execute(CreateDatabase("raced.duckdb"), "CREATE TABLE t (i INTEGER)");
    OnThreads([&](std::size_t) {
        for (int round = 0; round < kRounds; ++round) {
            const smart_ptr<I_DuckDBDatabase> database = OpenDatabase("raced.duckdb");
            EXPECT_EQ(Execute(database, "INSERT INTO t VALUES (1)"), 1);
        } // the last reference closes
    });
    EXPECT_EQ(MakeDatabase("raced.duckdb")->get_ConnectionCount(), 0u);
    EXPECT_EQ(SelectOne(OpenDatabase("raced.duckdb"), "SELECT count(*) FROM t"),
              std::to_string(kThreads * kRounds));
}

TEST_F(Concurrency, ThreadsOpenAndAskOneObject) {
    const smart_ptr<I_DuckDBDatabase> database = CreateDatabase("one.duckdb");
    OnThreads([&](std::size_t inNumber) {
        for (int round = 0; round < kRounds / 2; ++round) {
            if (inNumber != 0) {
                database->Open();
            }
            database->get_IsOpen();
            EXPECT_FALSE(database->get_IsReadOnly());
            EXPECT_LE(database->get_ConnectionCount(), 1u);
        }
    });
    EXPECT_EQ(database->get_ConnectionCount(), 1u);
    database->Close();
    EXPECT_EQ(database->get_ConnectionCount(), 0u);
}

TEST_F(Concurrency, LastReleasesMeetAClosingDatabase) {
    for (int round = 0; round < kRounds; ++round) {
        const smart_ptr<I_DuckDBDatabase> database = CreateDatabase();
        std::vector<smart_ptr<I_Unknown>> objects[kThreads];
        for (auto& mine : objects) {
            for (const std::uint32_t location : {1u, 2u}) {
                mine.push_back(OpenCursor(database, "SELECT * FROM range(10)", location));
                mine.push_back(database->SqlQuery("SELECT 1; SELECT 2", location, nullptr));
            }
        }
        OnThreads([&](std::size_t inNumber) {
            if (inNumber == 0) {
                database->Close();
            }
            objects[inNumber].clear();
        });
    }
}

TEST_F(Concurrency, LastReleaseOfADatabaseMeetsItsCursors) {
    for (int round = 0; round < kRounds; ++round) {
        smart_ptr<I_DuckDBDatabase> database = CreateDatabase();
        std::vector<smart_ptr<I_DuckDBCursor>> cursors;
        for (int number = 0; number < kThreads; ++number) {
            cursors.push_back(OpenCursor(database, "SELECT * FROM range(5000)", kCursorLocationServer));
        }
        OnThreads([&](std::size_t inNumber) {
            if (inNumber == 0) {
                database.reset();
                return;
            }
            const Raised raised = Catch([&] {
                while (cursors[inNumber]->NextRecord()) {
                    cursors[inNumber]->get_Value(0);
                    cursors[inNumber]->get_Database(); // the database or null, never one that is gone
                }
            });
            EXPECT_EQ(raised.mMessage.value_or("DuckDBCursor is invalid"), "DuckDBCursor is invalid");
        });
    }
}

} // namespace
} // namespace orkit::orsql::test
