#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <sys/stat.h>

#include "standin_test.h"

namespace orkit::standin {

namespace {

namespace fs = std::filesystem;

class Locations : public StandinTest {
protected:
    void SetUp() override {
        StandinTest::SetUp();
        fs::create_directories(mFolder / "real/sub");
        std::ofstream(mFolder / "real/file.db") << "x";
        fs::create_symlink("real", mFolder / "link");
        fs::create_symlink(mFolder / "real/file.db", mFolder / "file_link");
        fs::create_symlink("link/new.db", mFolder / "dangling");
        fs::create_symlink("loop_b", mFolder / "loop_a");
        fs::create_symlink("loop_a", mFolder / "loop_b");
    }
};

// Two paths of one file would open it twice in one process.
TEST_F(Locations, OfOneFileHaveOnePath) {
    const std::vector<std::pair<const char*, const char*>> cases = {
        {"real/file.db", "real/file.db"},
        {"./real//file.db", "real/file.db"},
        {"real/sub/../file.db", "real/file.db"},
        {"link/file.db", "real/file.db"},
        {"file_link", "real/file.db"},
        {"link/sub/../file.db", "real/file.db"},
        {"link/../real/file.db", "real/file.db"},
        {"real/", "real"},
        {"link/", "real"},
        {"link/new.db", "real/new.db"}, // doesn't exist, behind a link
        {"dangling", "real/new.db"},    // a link to what doesn't exist
        {"missing/deeper/../new.db", "missing/new.db"},
        {"real/file.db/odd", "real/file.db/odd"}, // below a file there is nothing
    };
    for (const auto& [given, resolved] : cases) {
        EXPECT_EQ(Narrow(LocationOf(given)->get_Path()), PathOf(resolved)) << given;
    }
    EXPECT_EQ(Narrow(MakeLocation("/../..")->get_Path()), "/");
    EXPECT_EQ(Narrow(MakeLocation("x.db")->get_Path()), (fs::current_path() / "x.db").string());
}

TEST_F(Locations, ThatNameNoFileStayAsGiven) {
    for (const char* const path : {":memory:", "md:sales", "md:"}) {
        const smart_ptr<I_Location> location = MakeLocation(path);
        EXPECT_EQ(Narrow(location->get_Path()), path);
        EXPECT_EQ(Narrow(location->get_Name()), path);
        EXPECT_FALSE(location->get_Exists());
        EXPECT_EQ(location->get_ParentLocation(), nullptr);
        EXPECT_EQ(location->QueryInterface(interface_id::kFolder), nullptr);
        EXPECT_NE(Refusal([&] { location->get_ChildLocation("x"); }), "");
    }
}

TEST_F(Locations, RefuseWhatIsNoPath) {
    const std::string tooLong(300, 'n');
    const std::vector<String> paths = {"", String("a\0b", 3), PathOf("loop_a").c_str(),
                                       PathOf(tooLong).c_str()};
    for (const String& path : paths) {
        EXPECT_NE(Refusal([&] { MakeLocation(path); }), "") << Narrow(path);
    }
    const smart_ptr<I_Location> folder = LocationOf("real");
    EXPECT_NE(Refusal([&] { folder->get_ChildLocation(""); }), "");
    EXPECT_NE(Refusal([&] { folder->get_ChildLocation("/etc"); }), "");
}

TEST_F(Locations, NamesAreTheLastComponentWithoutItsEnding) {
    const std::vector<std::pair<const char*, const char*>> cases = {{"sales.duckdb", "sales"},
                                                                    {"a.b.db", "a.b"},
                                                                    {"plain", "plain"},
                                                                    {".hidden", ".hidden"},
                                                                    {"dot.", "dot"}};
    for (const auto& [file, name] : cases) {
        EXPECT_EQ(Narrow(LocationOf(file)->get_Name()), name);
    }
    // A link is named like its target.
    EXPECT_EQ(Narrow(LocationOf("dangling")->get_Name()), "new");
}

TEST_F(Locations, ChildrenAndParentsAreResolvedToo) {
    const smart_ptr<I_Location> folder = LocationOf("link");
    EXPECT_EQ(Narrow(folder->get_ChildLocation("Backup/")->get_Path()), PathOf("real/Backup"));
    EXPECT_EQ(Narrow(folder->get_ChildLocation("../dangling")->get_Path()), PathOf("real/new.db"));
    EXPECT_EQ(Narrow(LocationOf("file_link")->get_ParentLocation()->get_Path()), PathOf("real"));
    EXPECT_EQ(MakeLocation("/")->get_ParentLocation(), nullptr);
}

TEST_F(Locations, OfferTheFolderAspectUnlessAFileIsThere) {
    EXPECT_EQ(LocationOf("file_link")->QueryInterface(interface_id::kFolder), nullptr);
    const smart_ptr<I_Location> missing = LocationOf("later");
    const I_Folder* const folder = QueryAspect<I_Folder>(missing.get());
    ASSERT_NE(folder, nullptr);
    EXPECT_FALSE(folder->get_Exists());
    EXPECT_FALSE(missing->get_Exists());
    fs::create_directory(mFolder / "later");
    EXPECT_TRUE(folder->get_Exists());
    EXPECT_TRUE(missing->get_Exists());
    if (::geteuid() != 0) { // who may do everything can write there too
        ::chmod(PathOf("later").c_str(), 0500);
        EXPECT_FALSE(folder->get_Exists());
        ::chmod(PathOf("later").c_str(), 0700);
    }
}

} // namespace
} // namespace orkit::standin
