#include <array>
#include <atomic>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "host/arrays.h"
#include "host/runtime.h"
#include "standin_test.h"

namespace orkit::standin {

namespace {

class Objects : public StandinTest {};

// Stands for an object of the plug-in.
class PluginObject final : public I_Folder, public ForeignPlugin_imp, noncopyable {
public:
    std::uint32_t AddRef() override { return ++mRefCount; }
    std::uint32_t Release() override {
        const std::uint32_t left = --mRefCount;
        if (left == 0) {
            delete this;
        }
        return left;
    }
    void* QueryInterface(std::uint32_t inInterfaceId) override {
        static constexpr std::array<INTERFACE_ITEM, 3> table = {
            InterfaceRow<PluginObject, I_Folder>(interface_id::kFolder),
            InterfaceRow<PluginObject, I_ForeignPlugin>(interface_id::kForeignPlugin), kInterfaceTableEnd};
        return InterfaceTableQueryInterface(this, table.data(), inInterfaceId);
    }
    std::uint32_t get_RefsCount() const override { return mRefCount; }
    bool get_Exists() const override { return true; }

private:
    std::atomic<std::uint32_t> mRefCount = 0;
};

TEST_F(Objects, AnswerToTheIdsOfTheirTableWithTheRightPart) {
    const smart_ptr<PluginObject> object = new PluginObject;
    EXPECT_EQ(object->QueryInterface(interface_id::kFolder), static_cast<I_Folder*>(object.get()));
    EXPECT_EQ(object->QueryInterface(interface_id::kForeignPlugin),
              static_cast<I_ForeignPlugin*>(object.get()));
    EXPECT_EQ(object->QueryInterface(interface_id::kDuckDBCursor), nullptr);
    EXPECT_EQ(object->QueryInterface(interface_id::kEnd), nullptr);
    EXPECT_EQ(object->get_RefsCount(), 1U);
}

TEST_F(Objects, CallTheirFinalizerWithTheBackReference) {
    int calls = 0;
    {
        const smart_ptr<PluginObject> object = new PluginObject;
        EXPECT_EQ(CountLiveObjects().mForeignPlugins, 1);
        object->put_BackRef(&calls);
        object->put_Xtra(this);
        object->put_Finalize([](void* inBackRef) { ++*static_cast<int*>(inBackRef); });
        EXPECT_EQ(object->get_BackRef(), &calls);
        EXPECT_EQ(object->get_Xtra(), this);
        EXPECT_EQ(calls, 0);
    }
    EXPECT_EQ(calls, 1);
}

TEST_F(Objects, AreCountedWhileTheyLive) {
    const smart_ptr<ArrayOfSmartPtrs<I_Location>> array = new ArrayOfSmartPtrs<I_Location>(1);
    array->Append(MakeLocation("/a"));
    array->Append(MakeLocation("/b"));
    const LiveObjects expected{.mLocations = 2, .mArrays = 1};
    EXPECT_EQ(CountLiveObjects(), expected);
    EXPECT_EQ(CountLiveObjects().get_Total(), 3);
}

TEST_F(Objects, SurviveBeingSharedByThreads) {
    const smart_ptr<I_Location> shared = MakeLocation("/shared");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([shared] {
            for (int round = 0; round < 10000; ++round) {
                const smart_ptr<I_Location> mine = shared;
                ASSERT_GE(mine->get_RefsCount(), 2U);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(shared->get_RefsCount(), 1U);
}

TEST_F(Objects, ExceptionsKeepCodeAndTextsInTheirCopies) {
    std::optional<xException> kept;
    try {
        throw orsql::xDuckDBError(error_code::kDuckDB, u"na\u00EFve", u"text", nullptr, nullptr);
    } catch (const orsql::xORSQLException& exception) {
        kept = exception;
    }
    EXPECT_EQ(kept->get_Code(), 468225U);
    EXPECT_EQ(Narrow(*kept->get_Text(0)), "na\xC3\xAFve");
    EXPECT_EQ(kept->get_Text(2), nullptr);
    EXPECT_EQ(kept->get_Text(4), nullptr);
    const xDBError narrow(error_code::kMissingBackup, nullptr, "na\xC3\xAFve");
    EXPECT_EQ(narrow.get_Text(0), nullptr);
    EXPECT_EQ(*narrow.get_Text(1), *kept->get_Text(0));
    EXPECT_EQ(xFeatureError(error_code::kFeature).get_Text(0), nullptr);
}

} // namespace
} // namespace orkit::standin
