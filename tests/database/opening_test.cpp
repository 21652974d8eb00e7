#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>

#include "host/runtime.h"
#include "tests_support/object_fixture.h"

namespace orkit::orsql::test {
namespace {

class Opening : public ObjectTest {
protected:
    static std::string Setting(const smart_ptr<I_DuckDBDatabase>& inDatabase, const std::string& inName) {
        return SelectOne(inDatabase, "SELECT current_setting('" + inName + "')");
    }
    /// Checks that an Open throws the host's exception with DuckDB's text.
    static void ExpectOpenError(const smart_ptr<I_DuckDBDatabase>& inDatabase, const char* inPart) {
        const Raised raised = Catch([&] { inDatabase->Open(); });
        EXPECT_EQ(raised.mClass, "xException");
        EXPECT_EQ(raised.mCode, 626688u);
        EXPECT_NE(raised.mContext.value_or("none").find(inPart), std::string::npos) << *raised.mContext;
        EXPECT_FALSE(raised.mMessage || raised.mHasMoreTexts);
        EXPECT_FALSE(inDatabase->get_IsOpen() || inDatabase->get_IsReadOnly());
        EXPECT_EQ(inDatabase->get_ConnectionCount(), 0u);
    }
    /// Lets a second process hold "a.duckdb" open for as long as the result lives.
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> HoldDatabase(const std::string& inAccessMode) const {
        const std::string program = std::getenv("HOLD_DATABASE");
        const std::string file = (Folder() / "a.duckdb").string();
        std::unique_ptr<std::FILE, int (*)(std::FILE*)> holder(
            ::popen(("'" + program + "' '" + file + "' " + inAccessMode).c_str(), "r"), ::pclose);
        EXPECT_EQ(std::fgetc(holder.get()) + std::fgetc(holder.get()) + std::fgetc(holder.get()),
                  'r' + 'e' + 'a');
        return holder;
    }
};

TEST_F(Opening, CreateMakesOrJoinsOrReplaces) {
    const smart_ptr<I_DuckDBDatabase> database = CreateDatabase("a.duckdb");
    EXPECT_TRUE(database->get_IsOpen());
    EXPECT_FALSE(database->get_IsReadOnly());
    EXPECT_EQ(Setting(database, "errors_as_json"), "true");
    Execute(database, "CREATE TABLE t AS SELECT 7 AS i");
    database->Close();
    EXPECT_FALSE(database->get_IsOpen());
    database->Open();

    // Others have the file open: their contents stay, whatever way leads to it. An instance has one path.
    std::filesystem::create_directory(Folder() / "sub");
    std::filesystem::create_directory_symlink(Folder(), Folder() / "link");
    for (const char* const spelling : {"sub/../a.duckdb", "link/a.duckdb", "./a.duckdb"}) {
        const smart_ptr<I_DuckDBDatabase> second = CreateDatabase(spelling);
        EXPECT_EQ(database->get_ConnectionCount(), 2u) << spelling;
        EXPECT_EQ(SelectOne(second, "SELECT i FROM t"), "7");
    }
    const smart_ptr<I_DuckDBDatabase> memory = CreateDatabase();
    EXPECT_EQ(OpenDatabase(":memory:")->get_ConnectionCount(), 2u);

    database->Create(); // nobody else
    EXPECT_EQ(database->get_ConnectionCount(), 1u);
    EXPECT_EQ(SelectOne(database, "SELECT count(*) FROM duckdb_tables()"), "0");
}

TEST_F(Opening, StorageOptionsShapeTheNewFile) {
    const struct {
        const char* mVersion;
        std::uint32_t mBlockSize;
        const char* mShape; ///< block size and storage version, or null where it can't be made
        const char* mFailure = "";
    } kCases[] = {{"", 0, "262144, v1.0.0+"},       {"", 16384, "16384, v1.0.0+"},
                  {"v1.4.0", 0, "262144, v1.4.0+"}, {"v1.4.0", 16384, "16384, v1.4.0+"},
                  {"v99", 0, nullptr, "v99"},       {"x' y", 0, nullptr, "syntax error"},
                  {"", 17, nullptr, "17"}};
    for (const auto& test : kCases) {
        // A path with a quote has to be quoted in the SQL that makes the file.
        const smart_ptr<I_DuckDBDatabase> database = MakeDatabase("it's new");
        database->put_StorageVersion(test.mVersion);
        database->put_BlockSize(test.mBlockSize);
        if (!test.mShape) {
            ExpectDuckDBErrorWith([&] { database->Create(); }, "it's new", test.mFailure);
            EXPECT_FALSE(database->get_IsOpen());
            EXPECT_EQ(database->get_ConnectionCount(), 0u);
            database->put_StorageVersion("");
            database->put_BlockSize(0);
        }
        database->Create(); // also after a failure
        EXPECT_EQ(Select(database, "SELECT block_size || ', ' || tags['storage_version'] "
                                   "FROM pragma_database_size(), duckdb_databases() WHERE NOT internal"),
                  (Rows{{test.mShape ? test.mShape : "262144, v1.0.0+"}}));
    }
    ExpectDuckDBErrorWith([&] { CreateDatabase("no such folder/x.duckdb"); }, "x", "no such folder");
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
    EXPECT_EQ(Setting(database, "threads") + ", " + Setting(database, "max_memory"), "3, 488.2 MiB");
    for (const auto& [name, folder] :
         {std::pair{"temp", "temp"}, {"home", "höme"}, {"secret", "secret"}, {"extension", "extension"}}) {
        EXPECT_EQ(Setting(database, std::string(name) + "_directory"), (Folder() / folder).string());
    }
    EXPECT_EQ(Setting(database, "enable_external_access"), "false");

    database->Close();
    database->Open();
    EXPECT_EQ(Setting(database, "enable_external_access"), "true") << "a Close makes the settings forgotten";
    database->put_Settings(settings);
    EXPECT_EQ(Setting(database, "enable_external_access"), "true") << "an open database isn't changed";
    database->Open();
    EXPECT_EQ(Setting(database, "enable_external_access"), "true") << "Open closes first, which forgets them";
}

TEST_F(Opening, RaisesDuckDBsTextAndHarmsNothing) {
    const smart_ptr<I_DuckDBDatabase> missing = MakeDatabase("missing.duckdb");
    ExpectDuckDBError([&] { missing->Open(); }, "missing", "File does not exist");
    missing->put_MotherDuckAccess("token", "agent/1.0");
    ExpectOpenError(missing, "motherduck_token"); // a remote database needs no file
    EXPECT_FALSE(std::filesystem::exists(Folder() / "missing.duckdb"));
    missing->Create(); // ignores the token
    EXPECT_TRUE(missing->get_IsOpen());

    std::ofstream(Folder() / "text.duckdb") << std::string(5000, 'x');
    ExpectOpenError(MakeDatabase("text.duckdb"), "not a valid DuckDB database file");
    EXPECT_EQ(std::filesystem::file_size(Folder() / "text.duckdb"), 5000u);

    const smart_ptr<I_DuckDBDatabase> memory = MakeDatabase(":memory:");
    DuckDBSettings settings;
    settings.mAccessMode = 0;
    memory->put_Settings(settings);
    ExpectOpenError(memory, "read-only"); // and no second try for writing, which would succeed
}

TEST_F(Opening, ReadOnlyObjectsHaveHandlesOfTheirOwn) {
    CreateDatabase("a.duckdb")->Close();
    const smart_ptr<I_DuckDBDatabase> first = OpenDatabase("a.duckdb", true);
    const smart_ptr<I_DuckDBDatabase> second = OpenDatabase("a.duckdb", true);
    EXPECT_TRUE(first->get_IsReadOnly() && second->get_IsReadOnly());
    EXPECT_EQ(first->get_ConnectionCount(), 2u);
    ExpectDuckDBErrorWith([&] { Execute(first, "CREATE TABLE t (i INTEGER)"); }, "a", "read-only");
    Execute(first, "SET GLOBAL threads = 7");
    EXPECT_NE(Setting(second, "threads"), "7") << "an instance of its own";
    first->Close();
    EXPECT_EQ(second->get_ConnectionCount(), 1u);

    // A writer beside a reader mixes the count: what is seen here is told in docs/ARCHITECTURE.md.
    const smart_ptr<I_DuckDBDatabase> writer = OpenDatabase("a.duckdb");
    EXPECT_FALSE(writer->get_IsReadOnly());
    EXPECT_EQ(writer->get_ConnectionCount(), 2u);
    EXPECT_FALSE(OpenDatabase("a.duckdb", true)->get_IsReadOnly()) << "joins the writer, settings or not";
    second->Close();
    EXPECT_EQ(writer->get_ConnectionCount(), 1u);
    EXPECT_EQ(SelectOne(writer, "SELECT 1"), "1");
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

TEST_F(Opening, OfAFileThatAnotherProcessHolds) {
    const smart_ptr<I_DuckDBDatabase> database = CreateDatabase("a.duckdb");
    Execute(database, "CREATE TABLE t AS SELECT 7 AS i");
    database->Close();
    {
        const auto reader = HoldDatabase("READ_ONLY");
        database->Open();
        EXPECT_TRUE(database->get_IsReadOnly());
        EXPECT_EQ(SelectOne(database, "SELECT i FROM t"), "7");
        const smart_ptr<I_DuckDBDatabase> other = OpenDatabase("a.duckdb");
        EXPECT_TRUE(other->get_IsReadOnly()) << "no shared handle was left in the table";
        EXPECT_EQ(other->get_ConnectionCount(), 2u);
        database->Close();
        EXPECT_FALSE(database->get_IsReadOnly());
    }
    {
        const auto writer = HoldDatabase("READ_WRITE");
        ExpectOpenError(database, "lock");
        // A file that another process holds can't be deleted, and so isn't replaced by Create.
        ExpectDuckDBErrorWith([&] { database->Create(); }, "a", "lock");
    }
    database->Open();
    EXPECT_FALSE(database->get_IsReadOnly());
    EXPECT_EQ(Execute(database, "INSERT INTO t VALUES (8)"), 1);
}

} // namespace
} // namespace orkit::orsql::test
