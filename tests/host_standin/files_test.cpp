#include "host/file.h"

#include <filesystem>
#include <fstream>
#include <regex>

#include <duckdb.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/backup.h"
#include "tests_support/host_fixture.h"

namespace orkit::standin::test {
namespace {

using namespace orkit::test;

class Files : public HostTest {
protected:
    smart_ptr<I_File> FileOf(const std::string& inName, bool inIsReadOnly = false) const {
        const smart_ptr<I_File> file = CreateFile(At(inName));
        file->put_IsReadOnly(inIsReadOnly);
        return file;
    }
};

TEST_F(Files, AreCreatedWrittenReadAndDeleted) {
    const smart_ptr<I_File> file = FileOf("new");
    file->Create();
    EXPECT_EQ(file->Write("DUCK", 8, 4), 4U);
    EXPECT_EQ(file->get_Size(), 12U);
    file->Close();
    file->Close();
    file->put_IsReadOnly(true);
    file->Open();
    std::string buffer(8, '#');
    EXPECT_EQ(file->Read(buffer.data(), 8, 8), 4U);
    EXPECT_EQ(buffer, "DUCK####");
    EXPECT_EQ(file->Read(buffer.data(), 100, 8), 0U);
    EXPECT_EQ(Refusal([&] { file->Write("x", 0, 1); }), "can't write file: Bad file descriptor");
    file->ThrowOut();
    EXPECT_FALSE(fs::exists(PathOf("new")));
}

TEST_F(Files, RefuseWithThePathAndTheCause) {
    std::ofstream(PathOf("there")) << "content";
    fs::create_directory(PathOf("folder"));
    ASSERT_EQ(::mkfifo(PathOf("pipe").c_str(), 0600), 0);
    const smart_ptr<I_File> missing = FileOf("missing");
    const smart_ptr<I_File> open = FileOf("there");
    const smart_ptr<FileWin> unplaced = new FileWin;
    open->Open();
    const std::pair<std::function<void()>, const char*> cases[] = {
        {[&] { FileOf("there")->Create(); }, "can't open file: File exists"},
        {[&] { missing->ThrowOut(); }, "can't delete file: No such file or directory"},
        {[&] { missing->get_Size(); }, "file is not open"},
        {[&] { open->Open(); }, "file is open"},
        {[&] { open->put_Location(At("missing")); }, "file is open"},
        {[&] { FileOf("pipe")->Open(); }, "is not a file"},
        {[&] { FileOf("folder", true)->Open(); }, "is not a file"},
        {[&] { CreateFile(nullptr); }, "file needs a location"},
        {[&] { unplaced->Open(); }, "file has no location"},
        {[&] { unplaced->ThrowOut(); }, "file has no location"},
        {[&] { smart_ptr<I_File>(CreateFile(MakeLocation(":memory:")))->Create(); }, "names no file"}};
    for (const auto& [call, refusal] : cases) {
        EXPECT_EQ(Refusal(call), refusal);
    }
    EXPECT_EQ(Catch([&] { missing->Open(); }),
              "xException 135168|" + PathOf("missing") + "|can't open file: No such file or directory");
}

/// A lock that conflicts with other locks like another process's, but without a process id.
class ForeignLock {
public:
    ForeignLock(const std::string& inPath, short inType) : mFile(::open(inPath.c_str(), O_RDWR)) {
        mLock.l_type = inType;
        Take();
    }
    ForeignLock(const ForeignLock&) = delete;
    ForeignLock& operator=(const ForeignLock&) = delete;
    ~ForeignLock() { ::close(mFile); } // which drops the locks of this process, too

    bool Take() { return ::fcntl(mFile, F_OFD_SETLK, &mLock) == 0; }

private:
    int mFile;
    struct flock mLock {};
};

TEST_F(Files, RefuseWhatAnotherProcessHasLocked) {
    std::ofstream(PathOf("db")) << "content";
    const std::string locked = "can't open file: locked by process -1";
    {
        const ForeignLock lock(PathOf("db"), F_WRLCK);
        EXPECT_EQ(Refusal([&] { FileOf("db", true)->Open(); }), locked);
        EXPECT_EQ(Refusal([&] { FileOf("db")->Open(); }), locked);
    }
    const ForeignLock lock(PathOf("db"), F_RDLCK);
    EXPECT_EQ(Refusal([&] { FileOf("db", true)->Open(); }), "");
    EXPECT_EQ(Refusal([&] { FileOf("db")->Open(); }), locked);
}

// The host inspects an open database. The lock that excludes other processes must survive.
TEST_F(Files, InspectAnOpenDatabaseWithoutDroppingItsLock) {
    duckdb_database database = nullptr;
    ASSERT_EQ(duckdb_open(PathOf("open.duckdb").c_str(), &database), DuckDBSuccess);
    ForeignLock lock(PathOf("open.duckdb"), F_RDLCK);
    EXPECT_FALSE(lock.Take());
    for (const bool isReadOnly : {false, true}) {
        const smart_ptr<I_File> file = FileOf("open.duckdb", isReadOnly);
        file->Open();
        std::string magic(4, '#');
        EXPECT_EQ(file->Read(magic.data(), 8, 4), 4U);
        EXPECT_EQ(magic, "DUCK");
    }
    EXPECT_FALSE(lock.Take());
    duckdb_close(&database);
    EXPECT_TRUE(lock.Take());
}

class Locations : public HostTest {
protected:
    Locations() {
        fs::create_directories(PathOf("real/sub"));
        std::ofstream(PathOf("real/file.db")) << "x";
        fs::create_symlink("real", PathOf("link"));
        fs::create_symlink(PathOf("real/file.db"), PathOf("file_link"));
        fs::create_symlink("link/new.db", PathOf("dangling"));
        fs::create_symlink("loop", PathOf("loop"));
    }
};

// Two paths of one file would open it twice in one process. Some don't exist, or are below a file.
TEST_F(Locations, OfOneFileHaveOnePath) {
    for (const auto& row : Table(R"(
             ./real//file.db|real/file.db|file; link/sub/../file.db|real/file.db|file; file_link|real/file.db|file
             link/|real|real; link/../a.b.db|a.b.db|a.b; dangling|real/new.db|new
             missing/deeper/../new.db|missing/new.db|new; real/file.db/odd|real/file.db/odd|odd)")) {
        for (const auto& location : {At(row[0]), At("")->get_ChildLocation(row[0].c_str())}) {
            EXPECT_EQ(Text(location->get_Path()), PathOf(row[1])) << row[0];
            EXPECT_EQ(Text(location->get_Name()), row[2]) << row[0];
        }
    }
    EXPECT_EQ(Text(MakeLocation("/../..")->get_Path()), "/");
    EXPECT_EQ(Text(MakeLocation("x.db")->get_Path()), (fs::current_path() / "x.db").string());
    EXPECT_EQ(Text(At("file_link")->get_ParentLocation()->get_Path()), PathOf("real"));
    EXPECT_EQ(MakeLocation("/")->get_ParentLocation(), nullptr);
}

TEST_F(Locations, ThatNameNoFileStayAsGiven) {
    for (const char* const path : {":memory:", "md:sales"}) {
        const smart_ptr<I_Location> location = MakeLocation(path);
        EXPECT_EQ(Text(location->get_Path()), path);
        EXPECT_EQ(Text(location->get_Name()), path);
        EXPECT_FALSE(location->get_Exists());
        EXPECT_EQ(location->get_ParentLocation(), nullptr);
        EXPECT_EQ(location->QueryInterface(interface_id::kFolder), nullptr);
        EXPECT_EQ(Refusal([&] { location->get_ChildLocation("x"); }), "has no child named \"x\"");
    }
    const std::string tooLong(300, 'n');
    for (const String& path :
         {String(""), String("a\0b", 3), String(PathOf("loop").c_str()), String(PathOf(tooLong).c_str())}) {
        EXPECT_NE(Refusal([&] { MakeLocation(path); }), "") << Text(path);
    }
    EXPECT_NE(Refusal([&] { At("real")->get_ChildLocation(""); }), "");
    EXPECT_NE(Refusal([&] { At("real")->get_ChildLocation("/etc"); }), "");
}

TEST_F(Locations, HaveTheFolderAspectUnlessTheyAreFiles) {
    EXPECT_EQ(At("file_link")->QueryInterface(interface_id::kFolder), nullptr);
    const smart_ptr<I_Location> later = At("later");
    const I_Folder* const folder = QueryAspect<I_Folder>(later.get());
    ASSERT_NE(folder, nullptr);
    EXPECT_FALSE(folder->get_Exists() || later->get_Exists());
    fs::create_directory(PathOf("later"));
    EXPECT_TRUE(folder->get_Exists() && later->get_Exists());
    EXPECT_EQ(later->QueryInterface(interface_id::kForeignPlugin), nullptr);
}

using Backups = HostTest;

TEST_F(Backups, GetTheirOwnSortedFolders) {
    const std::string folder = PathOf("deep/er/Backup");
    std::string before;
    for (int round = 0; round < 100; ++round) {
        const auto location = gCreateBackupLocation(PrepareFolder(At("deep/er"), "Backup/"));
        EXPECT_TRUE(location->get_Exists());
        EXPECT_LT(std::exchange(before, Text(location->get_Path())), Text(location->get_Path()));
    }
    const std::string last = Text(gCreateBackupLocation(At("deep/er/Backup"))->get_Path());
    EXPECT_EQ(Text(get_LastBackupLocation()->get_Path()), last);
    EXPECT_TRUE(std::regex_match(last, std::regex(folder + "/[0-9]{8}T[0-9]{6}\\.[0-9]{3}-[0-9]{4}")))
        << last;
    std::ofstream(PathOf("Backup")) << "a file is there";
    EXPECT_EQ(PrepareFolder(nullptr, "Backup/"), nullptr);
    EXPECT_NE(Refusal([&] { PrepareFolder(At(""), "Backup/"); }), "");
    EXPECT_NE(Refusal([&] { gCreateBackupLocation(At("Backup")); }), "");
    EXPECT_NE(Refusal([&] { gCreateBackupLocation(nullptr); }), "");
}

} // namespace
} // namespace orkit::standin::test
