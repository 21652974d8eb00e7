#include <array>
#include <atomic>
#include <chrono>
#include <future>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests_support/object_fixture.h"

namespace orkit::orsql::test {
namespace {

using namespace std::chrono_literals;

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

/// The whole life of a statement while the database is open. @return false once it is closed.
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
    EXPECT_TRUE(thrown.empty() || thrown.ends_with("|DuckDBDatabase is not open") ||
                thrown.ends_with("|DuckDBDatabase is invalid"))
        << thrown;
    return thrown.empty();
}

TEST_F(Concurrency, StatementsOnAClosingDatabase) {
    for (int round = 0; round < kRounds; ++round) {
        mDatabase = CreateDatabase();
        OnThreads([&](std::size_t inNumber) {
            while (LiveOnce(mDatabase)) {
                if (inNumber == 0) {
                    mDatabase->Close();
                }
            }
        });
    }
}

#ifndef _WIN32 // which has no pipes in folders
TEST_F(Concurrency, OtherObjectsWorkDuringALongExport) {
    mDatabase = CreateDatabase("sales.duckdb");
    Execute(mDatabase, "CREATE TABLE t AS FROM range(1000)");
    const Database second = OpenDatabase("sales.duckdb");
    const Database other = CreateDatabase();

    // A pipe in place of a table's file blocks the export until it is read.
    static const auto sCreate = gCreateBackupLocation;
    static std::promise<std::string> sPipe;
    sPipe = {};
    gCreateBackupLocation = [](smart_ptr<I_Location> inFolder) {
        smart_ptr<I_Location> backup = sCreate(inFolder);
        const fs::path pipe = LastBackup() / "t.parquet";
        EXPECT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
        sPipe.set_value(pipe);
        return backup;
    };
    auto backup = std::async(std::launch::async, [&] { Backup(mDatabase); });
    const fs::path path = sPipe.get_future().get();
    gCreateBackupLocation = sCreate;
    while (!fs::exists(path.parent_path() / "sales.orduckdb_backup")) {
        std::this_thread::sleep_for(1ms);
    }
    const auto queries = std::async(std::launch::async, [&] {
        EXPECT_EQ(SelectOne(other, "SELECT 42"), "42");
        EXPECT_EQ(SelectOne(second, "SELECT count(*) FROM t"), "1000");
        EXPECT_EQ(Execute(second, "INSERT INTO t VALUES (-1)"), 1);
        EXPECT_TRUE(mDatabase->get_IsOpen());
        EXPECT_EQ(mDatabase->get_ConnectionCount(), 2u);
    });
    EXPECT_EQ(queries.wait_for(20s), std::future_status::ready) << "they wait for the export";
    EXPECT_NE(backup.wait_for(0s), std::future_status::ready);

    const int pipe = ::open(path.c_str(), O_RDONLY | O_NONBLOCK);
    std::array<char, 65536> bytes;
    ssize_t total = 0;
    for (bool isDone = false; !isDone;) {
        isDone = backup.wait_for(1ms) == std::future_status::ready;
        total += std::max<ssize_t>(::read(pipe, bytes.data(), bytes.size()), 0);
    }
    ::close(pipe);
    backup.get();
    EXPECT_GT(total, 0);
    EXPECT_EQ(standin::get_EngineLockCount(), standin::get_EngineUnlockCount());
}
#endif

} // namespace
} // namespace orkit::orsql::test
