#include "host/backup.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <regex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "standin_test.h"

namespace orkit::standin {

namespace {

namespace fs = std::filesystem;

class Backups : public StandinTest {};

TEST_F(Backups, LocationsSortByTimeAndNeverCollide) {
    const smart_ptr<I_Location> folder = LocationOf("");
    std::vector<std::string> names;
    for (int i = 0; i < 50; ++i) {
        const smart_ptr<I_Location> location = gCreateBackupLocation(folder);
        ASSERT_TRUE(location->get_Exists());
        EXPECT_EQ(get_LastBackupLocation()->get_Path(), location->get_Path());
        names.push_back(fs::path(Narrow(location->get_Path())).filename());
    }
    EXPECT_TRUE(std::is_sorted(names.begin(), names.end()));
    EXPECT_EQ(std::set<std::string>(names.begin(), names.end()).size(), names.size());
    EXPECT_TRUE(std::regex_match(names.front(), std::regex("[0-9]{8}T[0-9]{6}\\.[0-9]{3}-[0-9]{4}")));
}

TEST_F(Backups, OfSeveralThreadsGetFoldersOfTheirOwn) {
    std::mutex mutex;
    std::set<std::string> paths;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 10; ++round) {
                const std::string path = Narrow(gCreateBackupLocation(LocationOf(""))->get_Path());
                const std::lock_guard lock(mutex);
                EXPECT_TRUE(paths.insert(path).second) << path;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(paths.size(), 40U);
}

TEST_F(Backups, FolderIsMadeOnce) {
    const smart_ptr<I_Location> parent = LocationOf("deep/er");
    const smart_ptr<I_Location> folder = PrepareFolder(parent, "Backup/");
    EXPECT_EQ(Narrow(folder->get_Path()), PathOf("deep/er/Backup"));
    EXPECT_TRUE(QueryAspect<I_Folder>(folder.get())->get_Exists());
    EXPECT_EQ(PrepareFolder(parent, "Backup/")->get_Path(), folder->get_Path());
    EXPECT_EQ(PrepareFolder(nullptr, "Backup/"), nullptr);
}

TEST_F(Backups, RefuseAPlaceWhereAFileIs) {
    std::ofstream(PathOf("Backup")) << "x";
    EXPECT_NE(Refusal([&] { PrepareFolder(LocationOf(""), "Backup/"); }), "");
    EXPECT_NE(Refusal([&] { gCreateBackupLocation(LocationOf("Backup")); }), "");
    EXPECT_NE(Refusal([&] { gCreateBackupLocation(LocationOf("missing")); }), "");
    EXPECT_NE(Refusal([&] { gCreateBackupLocation(nullptr); }), "");
}

TEST_F(Backups, FailOnPurpose) {
    FailCall(Fault::PrepareFolder, 1);
    FailCall(Fault::CreateBackupLocation, 1);
    EXPECT_NE(Refusal([&] { PrepareFolder(LocationOf(""), "Backup/"); }), "");
    EXPECT_NE(Refusal([&] { gCreateBackupLocation(LocationOf("")); }), "");
    EXPECT_TRUE(fs::is_empty(mFolder));
    EXPECT_EQ(Refusal([&] { gCreateBackupLocation(PrepareFolder(LocationOf(""), "Backup/")); }), "");
}

TEST_F(Backups, ServerSaysNothingAboutTheFolderUntilItIsSet) {
    EXPECT_FALSE(gServerBackupLocation().has_value());
    const auto former = gServerBackupLocation;
    gServerBackupLocation = []() -> std::optional<smart_ptr<I_Location>> { return smart_ptr<I_Location>(); };
    EXPECT_TRUE(gServerBackupLocation().has_value());
    gServerBackupLocation = former;
}

} // namespace
} // namespace orkit::standin
