#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "tests_support/object_fixture.h"

namespace orkit::orsql::test {
namespace {

constexpr int kThreads = 4;
constexpr int kRounds = 20;

/// Runs a function on several threads at once, each with its number.
void OnThreads(const std::function<void(int)>& inWork) {
    std::vector<std::thread> threads;
    for (int number = 0; number < kThreads; ++number) {
        threads.emplace_back(inWork, number);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

class Concurrency : public ObjectTest {};

TEST_F(Concurrency, ThreadsShareOnePath) {
    const smart_ptr<I_DuckDBDatabase> keeper = CreateDatabase("shared.duckdb");
    Execute(keeper, "CREATE TABLE t (i INTEGER)");
    OnThreads([&](int inNumber) {
        for (int round = 0; round < kRounds; ++round) {
            const smart_ptr<I_DuckDBDatabase> database = MakeDatabase("shared.duckdb");
            database->Open();
            Execute(database, "INSERT INTO t VALUES (" + std::to_string(inNumber) + ")");
            EXPECT_FALSE(database->get_IsReadOnly());
            database->Close();
        }
    });
    EXPECT_EQ(keeper->get_ConnectionCount(), 1u);
    EXPECT_EQ(SelectOne(keeper, "SELECT count(*) FROM t"), std::to_string(kThreads * kRounds));
}

TEST_F(Concurrency, ThreadsRaceForTheFirstAndLastHandleOfAPath) {
    CreateDatabase("raced.duckdb")->Close();
    OnThreads([&](int) {
        for (int round = 0; round < kRounds; ++round) {
            const smart_ptr<I_DuckDBDatabase> database = MakeDatabase("raced.duckdb");
            database->Open();
            EXPECT_EQ(SelectOne(database, "SELECT 1"), "1");
        } // the last reference closes
    });
    EXPECT_EQ(MakeDatabase("raced.duckdb")->get_ConnectionCount(), 0u);
}

TEST_F(Concurrency, ThreadsOpenOneObject) {
    const smart_ptr<I_DuckDBDatabase> database = CreateDatabase("one.duckdb");
    OnThreads([&](int) {
        for (int round = 0; round < kRounds; ++round) {
            database->Open();
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
        OnThreads([&](int inNumber) {
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
        OnThreads([&](int inNumber) {
            if (inNumber == 0) {
                database.reset();
                return;
            }
            const smart_ptr<I_DuckDBCursor>& cursor = cursors[static_cast<std::size_t>(inNumber)];
            try {
                while (cursor->NextRecord()) {
                    cursor->get_Value(0);
                    cursor->get_Database(); // the database or null, never one that is gone
                }
            } catch (const xDuckDBError& error) {
                EXPECT_EQ(Text(*error.get_Text(1)), "DuckDBCursor is invalid");
            }
        });
    }
}

TEST_F(Concurrency, StateCanBeAskedWhileOthersOpenAndClose) {
    const smart_ptr<I_DuckDBDatabase> database = CreateDatabase("asked.duckdb");
    std::atomic<bool> isDone{false};
    std::thread asker([&] {
        while (!isDone) {
            database->get_IsOpen();
            database->get_IsReadOnly();
            database->get_ConnectionCount();
            database->get_Name();
        }
    });
    for (int round = 0; round < kRounds; ++round) {
        database->Close();
        database->Open();
    }
    isDone = true;
    asker.join();
}

TEST_F(Concurrency, AskingForTheStateDoesNotWaitForALongQuery) {
    const smart_ptr<I_DuckDBDatabase> database = CreateDatabase();
    std::atomic<bool> isRunning{true};
    std::atomic<bool> hasStarted{false};
    std::thread worker([&] {
        hasStarted = true;
        Execute(database, "SELECT sum(a.range * b.range) FROM range(30000) a, range(20000) b");
        isRunning = false;
    });
    while (!hasStarted) {
        std::this_thread::yield();
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_TRUE(database->get_IsOpen());
    EXPECT_TRUE(isRunning) << "the answer came only when the query was done";
    worker.join();
}

} // namespace
} // namespace orkit::orsql::test
