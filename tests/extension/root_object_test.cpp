#include <fstream>

#include <sys/inotify.h>
#include <unistd.h>

#include "host_standin/faults.h"
#include "host_standin/live_objects.h"
#include "tests_support/object_fixture.h"

namespace orkit::orsql::test {
namespace {

class RootObject : public ObjectTest {};

TEST_F(RootObject, AnswersForItsInterfaceAndTheMemoryPath) {
    const smart_ptr<I_DuckDBExtension> extension = Extension();
    EXPECT_EQ(extension->QueryInterface(interface_id::kDuckDBExtension), extension.get());
    for (const std::uint32_t id : {0u, 2u, 406u, 608u}) {
        EXPECT_EQ(extension->QueryInterface(id), nullptr) << id;
    }
    EXPECT_STREQ(extension->get_LibraryVersion(), "v1.5.6");
    EXPECT_TRUE(extension->get_IsMemoryPath(":memory:"));
    for (const char* const path : {":memory:x", "", ":MEMORY:", "memory"}) {
        EXPECT_FALSE(extension->get_IsMemoryPath(path)) << path;
    }
}

TEST_F(RootObject, MakesDatabasesWithoutTouchingTheDisk) {
    const std::uint64_t locks = standin::get_EngineLockCount();
    EXPECT_EQ(Catch([] { Extension()->CreateDatabase(nullptr); }), "xDBError 333057");
    EXPECT_EQ(standin::get_EngineLockCount(), locks) << "the refusal comes before the guard";

    const smart_ptr<I_DuckDBDatabase> database = MakeDatabase("new.duckdb");
    EXPECT_EQ(standin::get_EngineLockCount(), locks + 1);
    EXPECT_EQ(database->get_RefsCount(), 1u);
    EXPECT_FALSE(std::filesystem::exists(Folder() / "new.duckdb"));
    // A path is known once its count was asked for, and stays so.
    const String path = database->get_Path();
    EXPECT_FALSE(Extension()->get_IsKnownDatabase(path));
    EXPECT_FALSE(Extension()->get_IsKnownDatabase(path)) << "asking must not make it known";
    ExpectDuckDBError([&] { database->Open(); }, "new", "File does not exist");
    EXPECT_FALSE(Extension()->get_IsKnownDatabase(path)) << "nor a failed Open";
    EXPECT_EQ(database->get_ConnectionCount(), 0u);
    EXPECT_TRUE(Extension()->get_IsKnownDatabase(path));
    database->Create();
    database->Drop();
    EXPECT_TRUE(Extension()->get_IsKnownDatabase(path));
}

TEST_F(RootObject, TellsADuckDBFileByItsMagic) {
    const struct {
        const char* mName;
        std::string mContent;
        bool mIsDuckDB;
    } kCases[] = {
        {"empty", "", true},
        {"eleven bytes", "12345678DUC", false},
        {"magic alone", "12345678DUCK", true},
        {"magic and more", "12345678DUCK and more", true},
        {"magic at the start", "DUCK12345678", false},
    };
    const int events = ::inotify_init();
    for (const auto& test : kCases) {
        std::ofstream(Folder() / test.mName, std::ios::binary) << test.mContent;
        ::inotify_add_watch(events, (Folder() / test.mName).c_str(), IN_CLOSE);
        EXPECT_EQ(Extension()->get_IsDuckDBFile(At(test.mName)), test.mIsDuckDB) << test.mName;
        inotify_event event = {};
        EXPECT_EQ(::read(events, &event, sizeof event), static_cast<ssize_t>(sizeof event));
        EXPECT_EQ(event.mask, static_cast<std::uint32_t>(IN_CLOSE_NOWRITE)) << "opened to be read";
    }
    ::close(events);
    EXPECT_FALSE(Extension()->get_IsDuckDBFile(At("missing")));
    EXPECT_FALSE(Extension()->get_IsDuckDBFile(At("."))) << "a folder";
    EXPECT_TRUE(Catch([] { Extension()->get_IsDuckDBFile(nullptr); }).starts_with("xException "));
    standin::FailCall(standin::Fault::FileOpen, 1);
    EXPECT_FALSE(Extension()->get_IsDuckDBFile(At("magic alone"))) << "a file that can't be opened";

    const smart_ptr<I_DuckDBDatabase> database = CreateDatabase("real.duckdb");
    Execute(database, "CREATE TABLE t AS SELECT 42 AS i; CHECKPOINT");
    Extension()->get_IsDuckDBFile(At("real.duckdb")); // whatever it says of a file in use, it does no harm
    Execute(database, "INSERT INTO t VALUES (43)");
    database->Close();
    EXPECT_TRUE(Extension()->get_IsDuckDBFile(At("real.duckdb")));
}

} // namespace
} // namespace orkit::orsql::test
