#include <array>
#include <atomic>
#include <chrono>
#include <future>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "backup_fixture.h"
#include "host_standin/live_objects.h"

namespace orkit::orsql::test {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

class BackupConcurrency : public BackupTest {};

/// Reads a pipe until the writer says that it is done. @return the number of bytes.
std::size_t Drain(const fs::path& inPipe, const std::atomic<bool>& inIsDone) {
    const int pipe = ::open(inPipe.c_str(), O_RDONLY | O_NONBLOCK);
    std::size_t total = 0;
    std::array<char, 65536> bytes;
    while (true) {
        const bool wasDone = inIsDone;
        const ssize_t count = ::read(pipe, bytes.data(), bytes.size());
        if (count > 0) {
            total += static_cast<std::size_t>(count);
        } else if (wasDone) {
            ::close(pipe);
            return total;
        } else {
            std::this_thread::sleep_for(1ms);
        }
    }
}

TEST_F(BackupConcurrency, OtherObjectsWorkWhileAnExportHangs) {
    const smart_ptr<I_DuckDBDatabase> database = CreateDatabase("sales.duckdb");
    Execute(database, "CREATE TABLE t AS SELECT i FROM range(1000) r(i)");
    const smart_ptr<I_DuckDBDatabase> second = MakeDatabase("sales.duckdb");
    second->Open();
    const smart_ptr<I_DuckDBDatabase> other = CreateDatabase();

    // A pipe in place of a table's file holds the export up for as long as nobody reads it.
    static decltype(gCreateBackupLocation) sCreate;
    sCreate = gCreateBackupLocation;
    gCreateBackupLocation = [](smart_ptr<I_Location> inFolder) {
        smart_ptr<I_Location> backup = sCreate(inFolder);
        EXPECT_EQ(::mkfifo((PathOf(backup) / "t.parquet").c_str(), 0600), 0);
        return backup;
    };

    std::atomic<bool> isDone = false;
    std::thread backup([&] {
        EXPECT_NO_THROW(database->Backup(At("backups")));
        isDone = true;
    });
    const auto marker = [&] {
        for (const std::string& name : NamesIn(Folder() / "backups")) {
            if (fs::exists(Folder() / "backups" / name / "sales.orduckdb_backup")) {
                return true;
            }
        }
        return false;
    };
    while (!marker()) {
        std::this_thread::sleep_for(1ms);
    }

    const auto queries = std::async(std::launch::async, [&] {
        EXPECT_EQ(SelectOne(other, "SELECT sum(range) FROM range(100000)"), "4999950000");
        EXPECT_EQ(SelectOne(second, "SELECT count(*) FROM t"), "1000");
        EXPECT_EQ(Execute(second, "INSERT INTO t VALUES (-1)"), 1);
        EXPECT_TRUE(database->get_IsOpen());
        EXPECT_EQ(database->get_ConnectionCount(), 2u);
    });
    EXPECT_EQ(queries.wait_for(20s), std::future_status::ready) << "they wait for the export";
    EXPECT_FALSE(isDone);

    EXPECT_GT(Drain(LastBackup() / "t.parquet", isDone), 0u);
    backup.join();
    queries.wait();
    EXPECT_EQ(standin::get_EngineLockCount(), standin::get_EngineUnlockCount());
}

TEST_F(BackupConcurrency, ALargeExportShowsOneMomentAndHoldsUpNobody) {
    const smart_ptr<I_DuckDBDatabase> database = CreateDatabase("sales.duckdb");
    Execute(database, "CREATE TABLE debit AS SELECT i, sha256(i::VARCHAR) AS s FROM range(300000) r(i);"
                      "CREATE TABLE credit AS SELECT * FROM debit");
    const smart_ptr<I_DuckDBDatabase> second = MakeDatabase("sales.duckdb");
    second->Open();
    const smart_ptr<I_DuckDBDatabase> other = CreateDatabase();

    std::atomic<bool> isDone = false;
    std::thread backup([&] {
        EXPECT_NO_THROW(database->Backup(At("backups")));
        isDone = true;
    });
    int rounds = 0;
    const fs::path backups = Folder() / "backups";
    while (!isDone) {
        const bool hasBegun = !fs::is_empty(backups);
        EXPECT_EQ(SelectOne(other, "SELECT 42"), "42");
        Execute(second,
                "BEGIN; INSERT INTO debit VALUES (-1, ''); INSERT INTO credit VALUES (-1, ''); COMMIT");
        rounds += hasBegun && !isDone;
    }
    backup.join();
    EXPECT_GT(rounds, 0);

    const smart_ptr<I_DuckDBDatabase> restored =
        Restore("restored.duckdb", standin::get_LastBackupLocation());
    restored->Open();
    EXPECT_EQ(SelectOne(restored, "SELECT (SELECT count(*) FROM debit) - (SELECT count(*) FROM credit)"),
              "0");
    EXPECT_EQ(SelectOne(restored, "SELECT count(*) FROM debit WHERE i >= 0"), "300000");
}

TEST_F(BackupConcurrency, FailingBackupsMeetQueriesOnTheSameObject) {
    const smart_ptr<I_DuckDBDatabase> database = CreateDatabase("sales.duckdb");
    Execute(database, "CREATE TABLE t AS SELECT INTERVAL '-1 day' AS d");
    std::atomic<bool> isDone = false;
    std::thread backup([&] {
        for (int round = 0; round < 10; ++round) {
            ExpectDuckDBErrorWith([&] { database->Backup(At("backups")); }, "sales", "negative intervals");
        }
        isDone = true;
    });
    while (!isDone) {
        EXPECT_EQ(SelectOne(database, "SELECT count(*) FROM t"), "1");
    }
    backup.join();
    EXPECT_EQ(NamesIn(Folder() / "backups").size(), 10u);
    EXPECT_EQ(standin::get_EngineLockCount(), standin::get_EngineUnlockCount());
}

} // namespace
} // namespace orkit::orsql::test
