#include "host/file.h"

#include <array>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <regex>
#include <thread>
#include <vector>

#include <duckdb.h>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "host/backup.h"
#include "standin_test.h"

namespace orkit::standin::test {

namespace {

namespace fs = std::filesystem;

class Files : public StandinTest {
protected:
    smart_ptr<I_File> FileOf(const std::string& inName) const { return CreateFile(LocationOf(inName)); }
    void Fill(const std::string& inName) const { std::ofstream(PathOf(inName)) << "content"; }
};

TEST_F(Files, AreMadeWrittenReadAndDeleted) {
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
    Fill("there");
    fs::create_directory(PathOf("folder"));
    ASSERT_EQ(::mkfifo(PathOf("pipe").c_str(), 0600), 0);
    const smart_ptr<I_File> missing = FileOf("missing");
    const smart_ptr<I_File> open = FileOf("there");
    const smart_ptr<I_File> folder = FileOf("folder");
    folder->put_IsReadOnly(true);
    const smart_ptr<FileWin> unplaced = new FileWin;
    open->Open();
    EXPECT_EQ(Refusal([&] { FileOf("there")->Create(); }), "can't open file: File exists");
    EXPECT_EQ(Refusal([&] { missing->Open(); }), "can't open file: No such file or directory");
    EXPECT_EQ(Refusal([&] { missing->ThrowOut(); }), "can't delete file: No such file or directory");
    EXPECT_EQ(Refusal([&] { missing->get_Size(); }), "file is not open");
    EXPECT_EQ(Refusal([&] { open->Open(); }), "file is open");
    EXPECT_EQ(Refusal([&] { open->put_Location(LocationOf("missing")); }), "file is open");
    EXPECT_EQ(Refusal([&] { FileOf("pipe")->Open(); }), "is not a file");
    EXPECT_EQ(Refusal([&] { folder->Open(); }), "is not a file");
    EXPECT_EQ(Refusal([&] { CreateFile(nullptr); }), "file needs a location");
    EXPECT_EQ(Refusal([&] { unplaced->Open(); }), "file has no location");
    EXPECT_EQ(Refusal([&] { unplaced->ThrowOut(); }), "file has no location");
    EXPECT_EQ(Refusal([&] { smart_ptr<I_File>(CreateFile(MakeLocation(":memory:")))->Create(); }),
              "names no file");
    try {
        missing->Open();
    } catch (const xException& exception) {
        EXPECT_EQ(Narrow(*exception.get_Text(0)), PathOf("missing"));
    }
}

// A second process that locks a file, as DuckDB does, until the end of this object. The child makes system
// calls alone, since other threads of this process may hold locks of the C library.
class OtherProcess {
public:
    OtherProcess(const std::string& inPath, short inType) {
        std::array<int, 2> ends{};
        EXPECT_EQ(::pipe(ends.data()), 0);
        mChild =
            ::_Fork(); // no handlers: those of DuckDB's allocator take more locks than a sanitizer counts
        if (mChild == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            struct flock lock {};
            lock.l_type = inType;
            char isLocked = ::fcntl(::open(inPath.c_str(), O_RDWR), F_SETLK, &lock) == 0 ? 1 : 0;
            static_cast<void>(::write(ends[1], &isLocked, 1));
            ::pause();
        }
        EXPECT_EQ(::read(ends[0], &mIsLocked, 1), 1);
        ::close(ends[0]);
        ::close(ends[1]);
    }
    ~OtherProcess() {
        ::kill(mChild, SIGKILL);
        ::waitpid(mChild, nullptr, 0);
    }

    std::string Refusal() const { return "can't open file: locked by process " + std::to_string(mChild); }
    bool IsLocked() const { return mIsLocked != 0; }

private:
    pid_t mChild = -1;
    char mIsLocked = 0;
};

TEST_F(Files, RefuseWhatAnotherProcessHasLocked) {
    Fill("db");
    const smart_ptr<I_File> reader = FileOf("db");
    reader->put_IsReadOnly(true);
    const smart_ptr<I_File> writer = FileOf("db");
    {
        const OtherProcess other(PathOf("db"), F_WRLCK);
        EXPECT_EQ(Refusal([&] { reader->Open(); }), other.Refusal());
        EXPECT_EQ(Refusal([&] { writer->Open(); }), other.Refusal());
    }
    const OtherProcess other(PathOf("db"), F_RDLCK);
    EXPECT_EQ(Refusal([&] { reader->Open(); }), "");
    EXPECT_EQ(Refusal([&] { writer->Open(); }), other.Refusal());
}

// An open database is looked at by its host. The lock that keeps other processes out must survive it.
TEST_F(Files, LookAtAnOpenDatabaseWithoutDroppingItsLock) {
    const std::string path = PathOf("open.duckdb");
    duckdb_database database = nullptr;
    ASSERT_EQ(duckdb_open(path.c_str(), &database), DuckDBSuccess);
    ASSERT_FALSE(OtherProcess(path, F_RDLCK).IsLocked());
    const smart_ptr<I_File> file = FileOf("open.duckdb");
    for (const bool isReadOnly : {false, true}) {
        file->put_IsReadOnly(isReadOnly);
        file->Open();
        std::array<char, 4> magic{};
        EXPECT_EQ(file->Read(magic.data(), 8, 4), 4U);
        EXPECT_EQ(std::string(magic.data(), 4), "DUCK");
        file->Close();
    }
    EXPECT_FALSE(OtherProcess(path, F_RDLCK).IsLocked());
    duckdb_close(&database);
    EXPECT_TRUE(OtherProcess(path, F_WRLCK).IsLocked());
}

TEST_F(Files, LeaveNoDescriptorsAndNoThreadsBehind) {
    const auto count = [](const char* inFolder) {
        return std::distance(fs::directory_iterator(inFolder), fs::directory_iterator());
    };
    const auto descriptors = count("/proc/self/fd");
    const auto threads = count("/proc/self/task");
    for (int i = 0; i < 20; ++i) {
        const smart_ptr<I_File> file = FileOf(std::to_string(i));
        file->Create(); // closed by the last Release
        EXPECT_NE(Refusal([&] { FileOf("missing")->Open(); }), "");
    }
    EXPECT_EQ(count("/proc/self/fd"), descriptors);
    // The kernel takes an ended thread from the list a moment later.
    for (int i = 0; i < 1000 && count("/proc/self/task") != threads; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    EXPECT_EQ(count("/proc/self/task"), threads);
}

class Locations : public StandinTest {
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

// Two paths of one file would open it twice in one process.
TEST_F(Locations, OfOneFileHaveOnePath) {
    for (const auto& [given, resolved] : std::vector<std::pair<const char*, const char*>>{
             {"./real//file.db", "real/file.db"},
             {"link/sub/../file.db", "real/file.db"},
             {"file_link", "real/file.db"},
             {"link/", "real"},
             {"link/../real/file.db", "real/file.db"},
             {"dangling", "real/new.db"}, // a link to what doesn't exist
             {"missing/deeper/../new.db", "missing/new.db"},
             {"real/file.db/odd", "real/file.db/odd"}, // below a file there is nothing
         }) {
        EXPECT_EQ(Narrow(LocationOf(given)->get_Path()), PathOf(resolved)) << given;
        EXPECT_EQ(Narrow(LocationOf("")->get_ChildLocation(given)->get_Path()), PathOf(resolved)) << given;
    }
    EXPECT_EQ(Narrow(MakeLocation("/../..")->get_Path()), "/");
    EXPECT_EQ(Narrow(MakeLocation("x.db")->get_Path()), (fs::current_path() / "x.db").string());
    EXPECT_EQ(Narrow(LocationOf("file_link")->get_ParentLocation()->get_Path()), PathOf("real"));
    EXPECT_EQ(MakeLocation("/")->get_ParentLocation(), nullptr);
    EXPECT_EQ(Narrow(LocationOf("dangling")->get_Name()), "new"); // of its target
    EXPECT_EQ(Narrow(LocationOf("a.b.db")->get_Name()), "a.b");
}

TEST_F(Locations, ThatNameNoFileStayAsGiven) {
    for (const char* const path : {":memory:", "md:sales"}) {
        const smart_ptr<I_Location> location = MakeLocation(path);
        EXPECT_EQ(Narrow(location->get_Path()), path);
        EXPECT_EQ(Narrow(location->get_Name()), path);
        EXPECT_FALSE(location->get_Exists());
        EXPECT_EQ(location->get_ParentLocation(), nullptr);
        EXPECT_EQ(location->QueryInterface(interface_id::kFolder), nullptr);
        EXPECT_EQ(Refusal([&] { location->get_ChildLocation("x"); }), "has no child named \"x\"");
    }
    const std::string tooLong(300, 'n');
    for (const String& path :
         {String(""), String("a\0b", 3), String(PathOf("loop").c_str()), String(PathOf(tooLong).c_str())}) {
        EXPECT_NE(Refusal([&] { MakeLocation(path); }), "") << Narrow(path);
    }
    EXPECT_NE(Refusal([&] { LocationOf("real")->get_ChildLocation(""); }), "");
    EXPECT_NE(Refusal([&] { LocationOf("real")->get_ChildLocation("/etc"); }), "");
}

TEST_F(Locations, OfferTheFolderAspectUnlessAFileIsThere) {
    EXPECT_EQ(LocationOf("file_link")->QueryInterface(interface_id::kFolder), nullptr);
    const smart_ptr<I_Location> later = LocationOf("later");
    const I_Folder* const folder = QueryAspect<I_Folder>(later.get());
    ASSERT_NE(folder, nullptr);
    EXPECT_FALSE(folder->get_Exists() || later->get_Exists());
    fs::create_directory(PathOf("later"));
    EXPECT_TRUE(folder->get_Exists() && later->get_Exists());
    EXPECT_EQ(later->QueryInterface(interface_id::kForeignPlugin), nullptr);
}

class Backups : public StandinTest {};

TEST_F(Backups, OfSeveralThreadsGetSortedFoldersOfTheirOwn) {
    const smart_ptr<I_Location> parent = PrepareFolder(LocationOf("deep/er"), "Backup/");
    EXPECT_EQ(Narrow(parent->get_Path()), PathOf("deep/er/Backup"));
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([this] {
            std::string last;
            for (int round = 0; round < 25; ++round) {
                // The folder is there already, which is fine.
                const auto location = gCreateBackupLocation(PrepareFolder(LocationOf("deep/er"), "Backup/"));
                EXPECT_TRUE(location->get_Exists());
                EXPECT_LT(std::exchange(last, Narrow(location->get_Path())), Narrow(location->get_Path()));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(PathOf("deep/er/Backup")), fs::directory_iterator()), 100);
    const std::string last = Narrow(gCreateBackupLocation(parent)->get_Path());
    EXPECT_EQ(Narrow(get_LastBackupLocation()->get_Path()), last);
    EXPECT_TRUE(std::regex_search(last, std::regex("/[0-9]{8}T[0-9]{6}\\.[0-9]{3}-[0-9]{4}$"))) << last;
}

TEST_F(Backups, RefuseAPlaceWhereAFileIs) {
    std::ofstream(PathOf("Backup")) << "x";
    EXPECT_EQ(PrepareFolder(nullptr, "Backup/"), nullptr);
    EXPECT_NE(Refusal([&] { PrepareFolder(LocationOf(""), "Backup/"); }), "");
    EXPECT_NE(Refusal([&] { gCreateBackupLocation(LocationOf("Backup")); }), "");
    EXPECT_NE(Refusal([&] { gCreateBackupLocation(nullptr); }), "");
}

} // namespace
} // namespace orkit::standin::test
