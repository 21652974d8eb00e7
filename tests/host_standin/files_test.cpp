#include "host/file.h"

#include <array>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <duckdb.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "standin_test.h"

namespace orkit::standin {

namespace {

namespace fs = std::filesystem;

short AskForLock(int inDescriptor, int inCommand, short inType) {
    struct flock lock {};
    lock.l_type = inType;
    lock.l_whence = SEEK_SET;
    return ::fcntl(inDescriptor, inCommand, &lock) == 0 ? lock.l_type : short{-1};
}

// Whether a second process would be refused a lock on the file. It runs nothing but system calls.
bool IsLockedForOthers(const std::string& inPath, short inType) {
    const pid_t child = ::fork();
    if (child == 0) {
        const int file = ::open(inPath.c_str(), O_RDWR);
        ::_exit(file >= 0 && AskForLock(file, F_GETLK, inType) == F_UNLCK ? 0 : 1);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return !WIFEXITED(status) || WEXITSTATUS(status) != 0;
}

// A second process that holds a lock on a file, as DuckDB does, until the end of this object.
class OtherProcess {
public:
    OtherProcess(const std::string& inPath, short inType) {
        std::array<int, 2> ready{};
        EXPECT_EQ(::pipe(ready.data()), 0);
        EXPECT_EQ(::pipe(mEnd.data()), 0);
        mChild = ::fork();
        if (mChild == 0) {
            ::close(mEnd[1]);
            const int file = ::open(inPath.c_str(), O_RDWR);
            AskForLock(file, F_SETLK, inType);
            char byte = 0;
            const bool isTold = ::write(ready[1], &byte, 1) == 1;
            const bool isOver = ::read(mEnd[0], &byte, 1) == 0;
            ::_exit(isTold && isOver ? 0 : 1);
        }
        char byte = 0;
        EXPECT_EQ(::read(ready[0], &byte, 1), 1);
        ::close(ready[0]);
        ::close(ready[1]);
        ::close(mEnd[0]);
    }
    ~OtherProcess() {
        ::close(mEnd[1]);
        ::waitpid(mChild, nullptr, 0);
    }

private:
    pid_t mChild = -1;
    std::array<int, 2> mEnd{};
};

class Files : public StandinTest {
protected:
    smart_ptr<I_File> FileOf(const std::string& inName) const { return CreateFile(LocationOf(inName)); }
    void Fill(const std::string& inName, const std::string& inContent) const {
        std::ofstream(PathOf(inName), std::ios::binary) << inContent;
    }
};

TEST_F(Files, AreMadeWrittenReadAndDeleted) {
    const smart_ptr<I_File> file = FileOf("new");
    file->Create();
    EXPECT_EQ(file->get_Size(), 0U);
    EXPECT_EQ(file->Write("DUCK", 8, 4), 4U);
    EXPECT_EQ(file->get_Size(), 12U);
    file->Close();
    file->Close();

    file->put_IsReadOnly(true);
    file->Open();
    std::array<char, 8> buffer;
    buffer.fill('#');
    EXPECT_EQ(file->Read(buffer.data(), 8, 8), 4U);
    EXPECT_EQ(std::string(buffer.data(), 5), "DUCK#");
    EXPECT_EQ(file->Read(buffer.data(), 0, 1), 1U);
    EXPECT_EQ(buffer[0], '\0');
    EXPECT_EQ(file->Read(buffer.data(), 100, 8), 0U);
    EXPECT_NE(Refusal([&] { file->Write("x", 0, 1); }), "");
    file->ThrowOut();
    EXPECT_FALSE(fs::exists(PathOf("new")));
}

TEST_F(Files, RefuseWithThePathAndTheCause) {
    Fill("there", "content");
    fs::create_directory(PathOf("folder"));
    ASSERT_EQ(::mkfifo(PathOf("pipe").c_str(), 0600), 0);
    const smart_ptr<I_File> there = FileOf("there");
    const smart_ptr<I_File> missing = FileOf("missing");
    const smart_ptr<I_File> open = FileOf("there");
    open->Open();
    EXPECT_EQ(Refusal([&] { there->Create(); }), "can't open file: File exists");
    EXPECT_EQ(Refusal([&] { missing->Open(); }), "can't open file: No such file or directory");
    EXPECT_EQ(Refusal([&] { missing->ThrowOut(); }), "can't delete file: No such file or directory");
    EXPECT_EQ(Refusal([&] { missing->get_Size(); }), "file is not open");
    EXPECT_EQ(Refusal([&] { missing->Read(nullptr, 0, 0); }), "file is not open");
    EXPECT_EQ(Refusal([&] { open->Open(); }), "file is open");
    EXPECT_EQ(Refusal([&] { open->put_Location(LocationOf("missing")); }), "file is open");
    EXPECT_EQ(Refusal([&] { FileOf("pipe")->Open(); }), "is not a file");
    const smart_ptr<I_File> folder = FileOf("folder");
    folder->put_IsReadOnly(true);
    EXPECT_EQ(Refusal([&] { folder->Open(); }), "is not a file");
    EXPECT_EQ(Refusal([&] { CreateFile(nullptr); }), "file needs a location");
    const smart_ptr<FileWin> unplaced = new FileWin;
    EXPECT_EQ(Refusal([&] { unplaced->Open(); }), "file has no location");
    const smart_ptr<I_File> memory = CreateFile(MakeLocation(":memory:"));
    EXPECT_EQ(Refusal([&] { memory->Create(); }), "names no file");
    try {
        missing->Open();
        ADD_FAILURE();
    } catch (const xException& exception) {
        EXPECT_EQ(Narrow(*exception.get_Text(0)), PathOf("missing"));
    }
}

TEST_F(Files, RefuseWhatAnotherProcessHasLocked) {
    Fill("db", "content");
    const smart_ptr<I_File> reader = FileOf("db");
    reader->put_IsReadOnly(true);
    const smart_ptr<I_File> writer = FileOf("db");
    {
        const OtherProcess other(PathOf("db"), F_WRLCK);
        EXPECT_NE(Refusal([&] { reader->Open(); }).find("locked by process"), std::string::npos);
        EXPECT_NE(Refusal([&] { writer->Open(); }).find("locked by process"), std::string::npos);
    }
    {
        const OtherProcess other(PathOf("db"), F_RDLCK);
        EXPECT_EQ(Refusal([&] { reader->Open(); }), "");
        EXPECT_NE(Refusal([&] { writer->Open(); }).find("locked by process"), std::string::npos);
    }
    EXPECT_EQ(Refusal([&] { writer->Open(); }), "");
}

// An open database is looked at by its host. The lock that keeps other processes out must survive it.
TEST_F(Files, LookAtAnOpenDatabaseWithoutDroppingItsLock) {
    const std::string path = PathOf("open.duckdb");
    for (const bool isReadOnly : {false, true}) {
        duckdb_config config = nullptr;
        ASSERT_EQ(duckdb_create_config(&config), DuckDBSuccess);
        duckdb_set_config(config, "access_mode", isReadOnly ? "READ_ONLY" : "READ_WRITE");
        duckdb_database database = nullptr;
        ASSERT_EQ(duckdb_open_ext(path.c_str(), &database, config, nullptr), DuckDBSuccess);
        duckdb_destroy_config(&config);

        ASSERT_TRUE(IsLockedForOthers(path, F_WRLCK));
        const smart_ptr<I_File> file = CreateFile(MakeLocation(path.c_str()));
        file->put_IsReadOnly(true);
        file->Open();
        std::array<char, 4> magic{};
        EXPECT_EQ(file->Read(magic.data(), 8, 4), 4U);
        EXPECT_EQ(std::string(magic.data(), 4), "DUCK");
        file->Close();
        file->put_IsReadOnly(false);
        file->Open();
        file->Close();
        EXPECT_EQ(Refusal([&] { file->Create(); }), "can't open file: File exists");
        EXPECT_TRUE(IsLockedForOthers(path, F_WRLCK));
        EXPECT_EQ(IsLockedForOthers(path, F_RDLCK), !isReadOnly);

        duckdb_close(&database);
        EXPECT_FALSE(IsLockedForOthers(path, F_WRLCK));
    }
}

TEST_F(Files, LeaveNoDescriptorsAndNoThreadsBehind) {
    Fill("db", "content");
    const auto count = [](const char* inFolder) {
        return std::distance(fs::directory_iterator(inFolder), fs::directory_iterator());
    };
    const auto descriptors = count("/proc/self/fd");
    const auto threads = count("/proc/self/task");
    for (int i = 0; i < 100; ++i) {
        const smart_ptr<I_File> file = FileOf("db");
        file->Open(); // closed by the last Release
        EXPECT_NE(Refusal([&] { FileOf("missing")->Open(); }), "");
    }
    EXPECT_EQ(count("/proc/self/fd"), descriptors);
    // The kernel takes an ended thread from the list a moment later.
    for (int i = 0; i < 1000 && count("/proc/self/task") != threads; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    EXPECT_EQ(count("/proc/self/task"), threads);
}

TEST_F(Files, OfSeveralThreadsDoNotDisturbEachOther) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([this, i] {
            const std::string name = std::to_string(i);
            for (int round = 0; round < 25; ++round) {
                const smart_ptr<I_File> file = FileOf(name);
                file->Create();
                file->Write(name.data(), 0, 1);
                char byte = 0;
                EXPECT_EQ(file->Read(&byte, 0, 1), 1U);
                EXPECT_EQ(byte, name[0]);
                file->ThrowOut();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST_F(Files, FailOnPurposeOnceAtTheChosenOpening) {
    const smart_ptr<I_File> file = FileOf("f");
    FailCall(Fault::FileOpen, 2);
    file->Create();
    file->Close();
    EXPECT_NE(Refusal([&] { file->Open(); }), "");
    EXPECT_EQ(Refusal([&] { file->Open(); }), "");
}

} // namespace
} // namespace orkit::standin
