// The root object, and the guard that every call on the object side takes.

#include <fstream>
#include <thread>

#include <sys/inotify.h>
#include <unistd.h>

#include "extension/engine_lock_guard.h"
#include "tests_support/object_fixture.h"

namespace orkit::orsql::test {
namespace {

class RootObject : public ObjectTest {};

TEST_F(RootObject, HasItsInterfaceAndKnowsTheMemoryPath) {
    const auto extension = Extension();
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
    mDatabase = MakeDatabase("new.duckdb");
    EXPECT_EQ(standin::get_EngineLockCount(), locks + 1);
    EXPECT_EQ(mDatabase->get_RefsCount(), 1u);
    EXPECT_FALSE(fs::exists(Folder() / "new.duckdb"));
    // A path is known once its count was read, and stays known.
    const auto isKnown = [&] { return Extension()->get_IsKnownDatabase(mDatabase->get_Path()); };
    EXPECT_FALSE(isKnown());
    EXPECT_FALSE(isKnown()) << "asking must not make it known";
    ExpectError([&] { mDatabase->Open(); }, "new", "File does not exist");
    EXPECT_FALSE(isKnown()) << "nor a failed Open";
    EXPECT_EQ(mDatabase->get_ConnectionCount(), 0u);
    EXPECT_TRUE(isKnown());
    mDatabase->Create();
    mDatabase->Drop();
    EXPECT_TRUE(isKnown());
}

TEST_F(RootObject, RecognisesADuckDBFileByItsMagic) {
    const auto isDuckDB = [this](auto& inName) { return Extension()->get_IsDuckDBFile(At(inName)); };
    const int events = ::inotify_init();
    for (const auto& row :
         Table("|yes; 12345678DUC|no; 12345678DUCK|yes; 12345678DUCK and more|yes; DUCK12345678|no")) {
        const std::string name = "with " + row[0];
        std::ofstream(Folder() / name, std::ios::binary) << row[0];
        ::inotify_add_watch(events, (Folder() / name).c_str(), IN_CLOSE);
        EXPECT_EQ(isDuckDB(name), row[1] == "yes") << name;
        inotify_event event = {};
        EXPECT_EQ(::read(events, &event, sizeof event), static_cast<ssize_t>(sizeof event));
        EXPECT_EQ(event.mask, static_cast<std::uint32_t>(IN_CLOSE_NOWRITE)) << "opened to be read";
    }
    ::close(events);
    EXPECT_FALSE(isDuckDB("missing"));
    EXPECT_FALSE(isDuckDB(".")) << "a folder";
    EXPECT_TRUE(Catch([] { Extension()->get_IsDuckDBFile(nullptr); }).starts_with("xException "));

    mDatabase = CreateDatabase("real.duckdb");
    Execute(mDatabase, "CREATE TABLE t AS SELECT 42 AS i; CHECKPOINT");
    isDuckDB("real.duckdb"); // whatever it returns for a file in use, it does no harm
    Execute(mDatabase, "INSERT INTO t VALUES (43)");
    mDatabase->Close();
    standin::FailCall(standin::Fault::FileOpen, 1);
    EXPECT_FALSE(isDuckDB("real.duckdb")) << "a file that can't be opened";
    EXPECT_TRUE(isDuckDB("real.duckdb"));
}

class EngineLock : public ObjectTest {};

TEST_F(EngineLock, IsTakenOnlyByTheOutermostGuardAndIfThereIsOne) {
    const std::uint64_t locks = standin::get_EngineLockCount();
    const std::uint64_t unlocks = standin::get_EngineUnlockCount();
    const auto throwing = [&] {
        const EngineLockGuard outer;
        { const EngineLockGuard inner; }
        EXPECT_EQ(standin::get_EngineUnlockCount(), unlocks);
        EXPECT_TRUE(gIsGlobalLockTaken.get());
        std::thread([] { EXPECT_FALSE(gIsGlobalLockTaken.get()) << "the flag is the thread's"; }).join();
        throw std::runtime_error("on the way out");
    };
    EXPECT_THROW(throwing(), std::runtime_error);
    EXPECT_FALSE(gIsGlobalLockTaken.get());
    for (const bool isTaken : {false, true}) {
        gIsThisDiagnoseMTThread.put(true);
        gIsGlobalLockTaken.put(isTaken);
        { const EngineLockGuard guard; }
        EXPECT_EQ(gIsGlobalLockTaken.get(), isTaken);
        gIsGlobalLockTaken.put(false);
        gIsThisDiagnoseMTThread.put(false);
    }
    standin::put_HasEngineLock(false);
    {
        const EngineLockGuard guard;
        EXPECT_FALSE(gIsGlobalLockTaken.get());
    }
    standin::put_HasEngineLock(true);
    EXPECT_EQ(standin::get_EngineLockCount() - locks, 1u);
    EXPECT_EQ(standin::get_EngineUnlockCount() - unlocks, 1u);
}

} // namespace
} // namespace orkit::orsql::test
