#include <array>
#include <cstdlib>
#include <fstream>
#include <string>

#include <sys/wait.h>
#include <unistd.h>

#include "host/file.h"
#include "host/runtime.h"
#include "tests_support/object_fixture.h"

namespace orkit::orsql::test {
namespace {

/// A second process that holds a database open.
class HoldDatabase {
public:
    HoldDatabase(const std::filesystem::path& inPath, const char* inAccessMode) {
        int toChild[2];
        int fromChild[2];
        if (::pipe(toChild) != 0 || ::pipe(fromChild) != 0) {
            return;
        }
        mChild = ::fork();
        if (mChild == 0) {
            ::dup2(toChild[0], STDIN_FILENO);
            ::dup2(fromChild[1], STDOUT_FILENO);
            for (const int end : {toChild[0], toChild[1], fromChild[0], fromChild[1]}) {
                ::close(end);
            }
            const char* const program = std::getenv("HOLD_DATABASE");
            ::execl(program, program, inPath.c_str(), inAccessMode, nullptr);
            ::_exit(127);
        }
        ::close(toChild[0]);
        ::close(fromChild[1]);
        mInput = toChild[1];
        std::array<char, 16> answer = {};
        mIsHolding =
            ::read(fromChild[0], answer.data(), answer.size()) > 0 && answer[0] == 'r' && answer[2] == 'a';
        ::close(fromChild[0]);
    }
    ~HoldDatabase() {
        ::close(mInput);
        int status = 0;
        ::waitpid(mChild, &status, 0);
    }
    bool IsHolding() const { return mIsHolding; }

private:
    pid_t mChild = -1;
    int mInput = -1;
    bool mIsHolding = false;
};

class Opening : public ObjectTest {
protected:
    static std::string Setting(const smart_ptr<I_DuckDBDatabase>& inDatabase, const std::string& inName) {
        return SelectOne(inDatabase, "SELECT current_setting('" + inName + "')");
    }
};

TEST_F(Opening, CreateMakesAFileThatOpensAgain) {
    smart_ptr<I_DuckDBDatabase> database = CreateDatabase("a.duckdb");
    EXPECT_TRUE(database->get_IsOpen());
    EXPECT_FALSE(database->get_IsReadOnly());
    EXPECT_EQ(database->get_ConnectionCount(), 1u);
    Execute(database, "CREATE TABLE t AS SELECT 7 AS i");
    database->Close();
    EXPECT_FALSE(database->get_IsOpen());
    database->Open();
    EXPECT_EQ(SelectOne(database, "SELECT i FROM t"), "7");
    EXPECT_EQ(Setting(database, "errors_as_json"), "true");
}

TEST_F(Opening, CreateReplacesAFileThatNobodyHolds) {
    smart_ptr<I_DuckDBDatabase> database = CreateDatabase("a.duckdb");
    Execute(database, "CREATE TABLE t AS SELECT 7 AS i");
    database->Create();
    EXPECT_EQ(database->get_ConnectionCount(), 1u);
    EXPECT_EQ(SelectOne(database, "SELECT count(*) FROM duckdb_tables()"), "0");
}

TEST_F(Opening, CreateJoinsAnOpenDatabaseAndKeepsItsContents) {
    const smart_ptr<I_DuckDBDatabase> first = CreateDatabase("a.duckdb");
    Execute(first, "CREATE TABLE t AS SELECT 7 AS i");
    const smart_ptr<I_DuckDBDatabase> second = CreateDatabase("a.duckdb");
    EXPECT_EQ(SelectOne(second, "SELECT i FROM t"), "7");
    EXPECT_EQ(first->get_ConnectionCount(), 2u);
    EXPECT_EQ(second->get_ConnectionCount(), 2u);
}

TEST_F(Opening, MemoryDatabasesOfOnePathAreOne) {
    const smart_ptr<I_DuckDBDatabase> first = CreateDatabase();
    Execute(first, "CREATE TABLE t AS SELECT 7 AS i");
    const smart_ptr<I_DuckDBDatabase> second = MakeDatabase(":memory:");
    second->Open();
    EXPECT_EQ(SelectOne(second, "SELECT i FROM t"), "7");
    EXPECT_FALSE(second->get_Exists());
}

TEST_F(Opening, StorageOptionsShapeTheNewFile) {
    const struct {
        const char* mVersion;
        std::uint32_t mBlockSize;
        const char* mExpected; // block size and storage version
    } kCases[] = {
        {"", 0, "262144, v1.0.0+"},
        {"", 16384, "16384, v1.0.0+"},
        {"v1.4.0", 0, "262144, v1.4.0+"},
        {"v1.4.0", 16384, "16384, v1.4.0+"},
    };
    int number = 0;
    for (const auto& test : kCases) {
        // A path with a quote has to be quoted in the SQL that makes the file.
        const smart_ptr<I_DuckDBDatabase> database = MakeDatabase("it's " + std::to_string(++number));
        database->put_StorageVersion(test.mVersion);
        database->put_BlockSize(test.mBlockSize);
        database->Create();
        const std::string blockSize = SelectOne(database, "SELECT block_size FROM pragma_database_size()");
        const std::string version =
            SelectOne(database, "SELECT tags['storage_version'] FROM duckdb_databases() WHERE NOT internal");
        EXPECT_EQ(blockSize + ", " + version, test.mExpected) << number;
        EXPECT_EQ(SelectOne(database, "SELECT count(*) FROM duckdb_databases() WHERE NOT internal"), "1");
    }
}

TEST_F(Opening, FailedCreateLeavesTheObjectClosedWithDuckDBsText) {
    const struct {
        const char* mVersion;
        std::uint32_t mBlockSize;
        const char* mPart;
    } kCases[] = {
        {"v99", 0, "v99"},
        {"x' y", 0, "syntax error"},
        {"", 17, "17"},
    };
    for (const auto& test : kCases) {
        const smart_ptr<I_DuckDBDatabase> database = MakeDatabase("bad.duckdb");
        database->put_StorageVersion(test.mVersion);
        database->put_BlockSize(test.mBlockSize);
        ExpectDuckDBErrorWith([&] { database->Create(); }, "bad", test.mPart);
        EXPECT_FALSE(database->get_IsOpen());
        EXPECT_EQ(database->get_ConnectionCount(), 0u);
        database->put_StorageVersion("");
        database->put_BlockSize(0);
        database->Create();
        EXPECT_EQ(SelectOne(database, "SELECT 1"), "1") << "the object is as good as new";
        database->Drop();
    }
    const smart_ptr<I_DuckDBDatabase> nowhere = MakeDatabase("no such folder/x.duckdb");
    ExpectDuckDBErrorWith([&] { nowhere->Create(); }, "x", "no such folder");
}

TEST_F(Opening, SettingsCountForOneOpening) {
    const smart_ptr<I_DuckDBDatabase> database = MakeDatabase("a.duckdb");
    DuckDBSettings settings;
    settings.mThreads = 3;
    settings.mMaxMemory = 512;
    settings.mTempDirectory = Wide((Folder() / "temp").string());
    settings.mHomeDirectory = Wide((Folder() / "höme").string());
    settings.mSecretDirectory = Wide((Folder() / "secret").string());
    settings.mExtensionDirectory = Wide((Folder() / "extension").string());
    settings.mEnableExternalAccess = false;
    database->put_Settings(settings);
    database->Create();
    EXPECT_EQ(Setting(database, "threads"), "3");
    EXPECT_EQ(Setting(database, "max_memory"), "488.2 MiB");
    EXPECT_EQ(Setting(database, "temp_directory"), (Folder() / "temp").string());
    EXPECT_EQ(Setting(database, "home_directory"), (Folder() / "höme").string());
    EXPECT_EQ(Setting(database, "secret_directory"), (Folder() / "secret").string());
    EXPECT_EQ(Setting(database, "extension_directory"), (Folder() / "extension").string());
    EXPECT_EQ(Setting(database, "enable_external_access"), "false");

    database->Close();
    database->Open();
    EXPECT_EQ(Setting(database, "enable_external_access"), "true") << "a Close makes the settings forgotten";
    database->put_Settings(settings);
    EXPECT_EQ(Setting(database, "enable_external_access"), "true") << "an open database isn't changed";
    database->Open();
    EXPECT_EQ(Setting(database, "enable_external_access"), "true") << "Open closes first, which forgets them";
}

TEST_F(Opening, SettingsOfALaterObjectHaveNoEffect) {
    const smart_ptr<I_DuckDBDatabase> first = CreateDatabase("a.duckdb");
    const smart_ptr<I_DuckDBDatabase> second = MakeDatabase("a.duckdb");
    DuckDBSettings settings;
    settings.mAccessMode = 0;
    settings.mThreads = 1;
    second->put_Settings(settings);
    second->Open();
    EXPECT_FALSE(second->get_IsReadOnly());
    EXPECT_EQ(Setting(second, "threads"), Setting(first, "threads"));
}

TEST_F(Opening, OpenRefusesWhatIsNotThere) {
    const smart_ptr<I_DuckDBDatabase> database = MakeDatabase("missing.duckdb");
    ExpectDuckDBError([&] { database->Open(); }, "missing", "File does not exist");
    EXPECT_FALSE(database->get_IsOpen());
    EXPECT_FALSE(std::filesystem::exists(Folder() / "missing.duckdb"));
}

TEST_F(Opening, OpenOfAnotherFileRaisesDuckDBsTextAndHarmsNothing) {
    std::ofstream(Folder() / "text.duckdb") << std::string(5000, 'x');
    const smart_ptr<I_DuckDBDatabase> database = MakeDatabase("text.duckdb");
    const Raised raised = Catch([&] { database->Open(); });
    EXPECT_EQ(raised.mClass, "xException");
    EXPECT_EQ(raised.mCode, 626688u);
    EXPECT_NE(raised.mContext.value_or("").find("not a valid DuckDB database file"), std::string::npos)
        << raised.mContext.value_or("none");
    EXPECT_FALSE(raised.mMessage || raised.mHasMoreTexts);
    EXPECT_EQ(database->get_ConnectionCount(), 0u);
    EXPECT_EQ(std::filesystem::file_size(Folder() / "text.duckdb"), 5000u);
}

TEST_F(Opening, UnknownRemoteAccessRaisesAtTheOpen) {
    const smart_ptr<I_DuckDBDatabase> database = MakeDatabase("missing.duckdb");
    database->put_MotherDuckAccess("token", "agent/1.0");
    const Raised raised = Catch([&] { database->Open(); }); // no "File does not exist"
    EXPECT_EQ(raised.mClass, "xException");
    EXPECT_NE(raised.mContext.value_or("").find("motherduck_token"), std::string::npos)
        << raised.mContext.value_or("none");
    database->Create(); // ignores the token
    EXPECT_TRUE(database->get_IsOpen());
}

TEST_F(Opening, ReadOnlyObjectsHaveHandlesOfTheirOwn) {
    CreateDatabase("a.duckdb")->Close();
    const auto openReadOnly = [&] {
        const smart_ptr<I_DuckDBDatabase> database = MakeDatabase("a.duckdb");
        DuckDBSettings settings;
        settings.mAccessMode = 0;
        database->put_Settings(settings);
        database->Open();
        EXPECT_TRUE(database->get_IsReadOnly());
        return database;
    };
    const smart_ptr<I_DuckDBDatabase> first = openReadOnly();
    const smart_ptr<I_DuckDBDatabase> second = openReadOnly();
    EXPECT_EQ(first->get_ConnectionCount(), 2u);
    ExpectDuckDBErrorWith([&] { Execute(first, "CREATE TABLE t (i INTEGER)"); }, "a", "read-only");
    Execute(first, "SET GLOBAL threads = 7");
    EXPECT_NE(Setting(second, "threads"), "7") << "an instance of its own";
    first->Close();
    EXPECT_EQ(second->get_ConnectionCount(), 1u);
    EXPECT_EQ(SelectOne(second, "SELECT 1"), "1");
}

TEST_F(Opening, AReadOnlyOpenThatFailsTriesNoOther) {
    // In memory DuckDB refuses to open read-only, and would open for writing.
    const smart_ptr<I_DuckDBDatabase> database = MakeDatabase(":memory:");
    DuckDBSettings settings;
    settings.mAccessMode = 0;
    database->put_Settings(settings);
    const Raised raised = Catch([&] { database->Open(); });
    EXPECT_EQ(raised.mClass, "xException");
    EXPECT_EQ(raised.mCode, 626688u);
    EXPECT_FALSE(database->get_IsOpen() || database->get_IsReadOnly());
}

TEST_F(Opening, AFailedOpenLeavesThePathUnknown) {
    const smart_ptr<I_DuckDBDatabase> database = MakeDatabase("unknown.duckdb");
    ExpectDuckDBError([&] { database->Open(); }, "unknown", "File does not exist");
    EXPECT_FALSE(Extension()->get_IsKnownDatabase(database->get_Path()));
}

TEST_F(Opening, WithoutARootObjectNoFileIsLookedFor) {
    const smart_ptr<I_DuckDBDatabase> database = CreateDatabase("a.duckdb");
    const smart_ptr<I_DuckDBExtension> extension = Extension();
    SetDuckDBExtension(nullptr);
    EXPECT_FALSE(database->get_Exists());
    database->Open();
    database->Drop();
    SetDuckDBExtension(extension);
    EXPECT_TRUE(std::filesystem::exists(Folder() / "a.duckdb")) << "nothing is deleted then";
}

TEST_F(Opening, FallsBackToReadOnlyWhereAnotherProcessReads) {
    smart_ptr<I_DuckDBDatabase> database = CreateDatabase("a.duckdb");
    Execute(database, "CREATE TABLE t AS SELECT 7 AS i");
    database->Close();
    {
        const HoldDatabase holder(Folder() / "a.duckdb", "READ_ONLY");
        ASSERT_TRUE(holder.IsHolding());
        database->Open();
        EXPECT_TRUE(database->get_IsReadOnly());
        EXPECT_EQ(SelectOne(database, "SELECT i FROM t"), "7");
        const smart_ptr<I_DuckDBDatabase> other = MakeDatabase("a.duckdb");
        other->Open();
        EXPECT_TRUE(other->get_IsReadOnly()) << "no shared handle was left in the table";
        EXPECT_EQ(other->get_ConnectionCount(), 2u);
        other->Close();
        database->Close();
        EXPECT_FALSE(database->get_IsReadOnly());
    }
    database->Open();
    EXPECT_FALSE(database->get_IsReadOnly());
    Execute(database, "INSERT INTO t VALUES (8)");
}

TEST_F(Opening, RaisesWhereAnotherProcessWrites) {
    const smart_ptr<I_DuckDBDatabase> database = CreateDatabase("a.duckdb");
    database->Close();
    {
        const HoldDatabase holder(Folder() / "a.duckdb", "READ_WRITE");
        ASSERT_TRUE(holder.IsHolding());
        const Raised raised = Catch([&] { database->Open(); });
        EXPECT_EQ(raised.mClass, "xException");
        EXPECT_EQ(raised.mCode, 626688u);
        EXPECT_NE(raised.mContext.value_or("").find("lock"), std::string::npos)
            << raised.mContext.value_or("none");
        EXPECT_FALSE(database->get_IsOpen());
        // A file that another process holds can't be deleted, and so isn't replaced by Create.
        ExpectDuckDBErrorWith([&] { database->Create(); }, "a", "lock");
        EXPECT_TRUE(std::filesystem::exists(Folder() / "a.duckdb"));
    }
    database->Open();
    EXPECT_EQ(SelectOne(database, "SELECT 1"), "1");
}

TEST_F(Opening, TwoSpellingsOfOneFileAreOneDatabase) {
    std::filesystem::create_directory(Folder() / "sub");
    std::filesystem::create_directory_symlink(Folder(), Folder() / "link");
    const smart_ptr<I_DuckDBDatabase> first = CreateDatabase("a.duckdb");
    for (const char* const spelling : {"sub/../a.duckdb", "link/a.duckdb", "./a.duckdb"}) {
        const smart_ptr<I_DuckDBDatabase> second = MakeDatabase(spelling);
        second->Open();
        EXPECT_EQ(first->get_ConnectionCount(), 2u) << spelling;
    }
}

} // namespace
} // namespace orkit::orsql::test
