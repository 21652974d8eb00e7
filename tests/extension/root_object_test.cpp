#include <fstream>

#include "host_standin/faults.h"
#include "host_standin/live_objects.h"
#include "tests_support/object_fixture.h"

namespace orkit::orsql::test {
namespace {

class RootObject : public ObjectTest {};

TEST_F(RootObject, AnswersForItsInterfaceAlone) {
    const smart_ptr<I_DuckDBExtension> extension = Extension();
    EXPECT_EQ(extension->QueryInterface(interface_id::kDuckDBExtension), extension.get());
    for (const std::uint32_t id : {0u, 2u, 406u, 608u}) {
        EXPECT_EQ(extension->QueryInterface(id), nullptr) << id;
    }
    EXPECT_STREQ(extension->get_LibraryVersion(), "v1.5.6");
}

TEST_F(RootObject, RefusesADatabaseWithoutALocation) {
    const std::uint64_t locks = standin::get_EngineLockCount();
    const Raised raised = Catch([] { Extension()->CreateDatabase(nullptr); });
    EXPECT_EQ(raised.mClass, "xDBError");
    EXPECT_EQ(raised.mCode, 333057u);
    EXPECT_FALSE(raised.mContext || raised.mMessage || raised.mHasMoreTexts);
    EXPECT_EQ(standin::get_EngineLockCount(), locks) << "the refusal comes before the guard";
}

TEST_F(RootObject, MakesDatabasesWithoutTouchingTheDisk) {
    const smart_ptr<I_DuckDBDatabase> database = MakeDatabase("new.duckdb");
    EXPECT_EQ(database->get_RefsCount(), 1u);
    EXPECT_FALSE(database->get_IsOpen());
    EXPECT_FALSE(std::filesystem::exists(Folder() / "new.duckdb"));
}

TEST_F(RootObject, TellsADuckDBFileByItsMagic) {
    const struct {
        const char* mName;
        std::string mContent;
        bool mIsDuckDB;
    } kCases[] = {
        {"empty", "", true},
        {"short", "DUCK", false},
        {"eleven bytes", "12345678DUC", false},
        {"magic alone", "12345678DUCK", true},
        {"magic and more", "12345678DUCK and more", true},
        {"magic at the start", "DUCK12345678", false},
        {"lower case", "12345678duck", false},
    };
    for (const auto& test : kCases) {
        std::ofstream(Folder() / test.mName, std::ios::binary) << test.mContent;
        EXPECT_EQ(Extension()->get_IsDuckDBFile(At(test.mName)), test.mIsDuckDB) << test.mName;
    }
    EXPECT_FALSE(Extension()->get_IsDuckDBFile(At("missing")));
    EXPECT_FALSE(Extension()->get_IsDuckDBFile(At("."))) << "a folder";
    EXPECT_EQ(Catch([] { Extension()->get_IsDuckDBFile(nullptr); }).mClass, "xException");
    standin::FailCall(standin::Fault::FileOpen, 1);
    EXPECT_FALSE(Extension()->get_IsDuckDBFile(At("magic alone"))) << "a file that can't be opened";
}

TEST_F(RootObject, TellsARealDatabaseWhileItIsOpenAndAfter) {
    const smart_ptr<I_DuckDBDatabase> database = CreateDatabase("real.duckdb");
    Execute(database, "CREATE TABLE t AS SELECT 42 AS i; CHECKPOINT");
    Extension()->get_IsDuckDBFile(At("real.duckdb")); // whatever it says of a file in use, it does no harm
    Execute(database, "INSERT INTO t VALUES (43)");
    database->Close();
    EXPECT_TRUE(Extension()->get_IsDuckDBFile(At("real.duckdb")));
    database->Open();
    EXPECT_EQ(SelectOne(database, "SELECT sum(i) FROM t"), "85");
}

TEST_F(RootObject, KnowsTheMemoryPathByItsWholeText) {
    for (const auto& [path, isMemory] : {std::pair{":memory:", true},
                                         {":memory:x", false},
                                         {"", false},
                                         {":MEMORY:", false},
                                         {"memory", false}}) {
        EXPECT_EQ(Extension()->get_IsMemoryPath(path), isMemory) << path;
    }
}

TEST_F(RootObject, KnowsADatabaseOnceItWasUsed) {
    const smart_ptr<I_DuckDBDatabase> database = MakeDatabase("known.duckdb");
    const String path = database->get_Path();
    EXPECT_FALSE(Extension()->get_IsKnownDatabase(path));
    EXPECT_FALSE(Extension()->get_IsKnownDatabase(path)) << "asking must not make it known";
    EXPECT_EQ(database->get_ConnectionCount(), 0u);
    EXPECT_TRUE(Extension()->get_IsKnownDatabase(path)) << "asking for the count does";
    database->Create();
    database->Drop();
    EXPECT_TRUE(Extension()->get_IsKnownDatabase(path)) << "it stays known";
}

} // namespace
} // namespace orkit::orsql::test
