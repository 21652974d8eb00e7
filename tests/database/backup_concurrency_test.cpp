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

using namespace std::chrono_literals;

class BackupConcurrency : public BackupTest {};

/// Reads a pipe until the writer says that it is done. @return the number of bytes.
std::size_t Drain(const fs::path& inPipe, const std::atomic<bool>& inIsDone) {
    const int pipe = ::open(inPipe.c_str(), O_RDONLY | O_NONBLOCK);
    std::size_t total = 0;
    std::array<char, 65536> bytes;
    bool wasDone = false;
    for (ssize_t count = 0; count > 0 || !wasDone; total += static_cast<std::size_t>(std::max(count, 0l))) {
        wasDone = inIsDone;
        count = ::read(pipe, bytes.data(), bytes.size());
        std::this_thread::sleep_for(1ms);
    }
    ::close(pipe);
    return total;
}

TEST_F(BackupConcurrency, OtherObjectsWorkWhileAnExportHangs) {
    const smart_ptr<I_DuckDBDatabase> database = MakeSales();
    const smart_ptr<I_DuckDBDatabase> second = OpenDatabase("sales.duckdb");
    const smart_ptr<I_DuckDBDatabase> other = CreateDatabase();

    // A pipe in place of a table's file holds the export up for as long as nobody reads it.
    static decltype(gCreateBackupLocation) sCreate;
    sCreate = gCreateBackupLocation;
    gCreateBackupLocation = [](smart_ptr<I_Location> inFolder) {
        smart_ptr<I_Location> backup = sCreate(inFolder);
        EXPECT_EQ(::mkfifo((LastBackup() / "t.parquet").c_str(), 0600), 0);
        return backup;
    };

    std::atomic<bool> isDone = false;
    std::thread backup([&] {
        EXPECT_NO_THROW(database->Backup(At("backups")));
        isDone = true;
    });
    while (NamesIn(Folder() / "backups").empty() ||
           !NamesIn(LastBackup()).contains("sales.orduckdb_backup")) {
        std::this_thread::sleep_for(1ms);
    }

    const auto queries = std::async(std::launch::async, [&] {
        EXPECT_EQ(SelectOne(other, "SELECT 42"), "42");
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

} // namespace
} // namespace orkit::orsql::test
