#include "host/file.h"

#include <array>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include <duckdb.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "standin_test.h"

namespace orkit::standin {

namespace {

namespace fs = std::filesystem;

// A lock as the second process takes its name.
constexpr const char* kForReading = "r";
constexpr const char* kForWriting = "w";

// Starts the second process without forking this one, whose threads and allocator wouldn't like it.
pid_t StartProbe(const char* inCommand, const std::string& inPath, const char* inType,
                 const posix_spawn_file_actions_t* inActions) {
    std::string program = LOCK_PROBE;
    std::string command = inCommand;
    std::string path = inPath;
    std::string type = inType;
    const std::array<char*, 5> arguments = {program.data(), command.data(), path.data(), type.data(),
                                            nullptr};
    pid_t child = -1;
    EXPECT_EQ(::posix_spawn(&child, program.c_str(), inActions, nullptr, arguments.data(), environ), 0);
    return child;
}

int WaitFor(pid_t inChild) {
    int status = 0;
    EXPECT_EQ(::waitpid(inChild, &status, 0), inChild);
    EXPECT_TRUE(WIFEXITED(status));
    return WEXITSTATUS(status);
}

// Whether a second process would be refused a lock on the file.
bool IsLockedForOthers(const std::string& inPath, const char* inType) {
    const int answer = WaitFor(StartProbe("ask", inPath, inType, nullptr));
    EXPECT_LE(answer, 1);
    return answer != 0;
}

// A second process that holds a lock on a file, as DuckDB does, until the end of this object.
class OtherProcess {
public:
    OtherProcess(const std::string& inPath, const char* inType) {
        std::array<int, 2> input{};
        std::array<int, 2> output{};
        EXPECT_EQ(::pipe2(input.data(), O_CLOEXEC), 0);
        EXPECT_EQ(::pipe2(output.data(), O_CLOEXEC), 0);
        posix_spawn_file_actions_t actions;
        ::posix_spawn_file_actions_init(&actions);
        ::posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
        ::posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
        mChild = StartProbe("hold", inPath, inType, &actions);
        ::posix_spawn_file_actions_destroy(&actions);
        ::close(input[0]);
        ::close(output[1]);
        mEnd = input[1];
        char byte = 0;
        EXPECT_EQ(::read(output[0], &byte, 1), 1);
        ::close(output[0]);
    }
    ~OtherProcess() {
        ::close(mEnd);
        EXPECT_EQ(WaitFor(mChild), 0);
    }

private:
    pid_t mChild = -1;
    int mEnd = -1; // the other end of the child's standard input
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
        const OtherProcess other(PathOf("db"), kForWriting);
        EXPECT_NE(Refusal([&] { reader->Open(); }).find("locked by process"), std::string::npos);
        EXPECT_NE(Refusal([&] { writer->Open(); }).find("locked by process"), std::string::npos);
    }
    {
        const OtherProcess other(PathOf("db"), kForReading);
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

        ASSERT_TRUE(IsLockedForOthers(path, kForWriting));
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
        EXPECT_TRUE(IsLockedForOthers(path, kForWriting));
        EXPECT_EQ(IsLockedForOthers(path, kForReading), !isReadOnly);

        duckdb_close(&database);
        EXPECT_FALSE(IsLockedForOthers(path, kForWriting));
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
