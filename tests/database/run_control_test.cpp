#include <atomic>
#include <chrono>
#include <thread>

#include "backup_fixture.h"
#include "host_standin/live_objects.h"

namespace orkit::orsql::test {
namespace {

using namespace std::chrono_literals;

constexpr const char* kInterrupted = R"({"exception_type":"INTERRUPT","exception_message":"Interrupted!"})";
// Ends by itself, so that a stop that is lost fails the test and doesn't hang it.
constexpr const char* kLong = "SELECT sum(a.range * b.range) FROM range(40000) a, range(60000) b";

class RunControlTest : public BackupTest {
protected:
    void SetUp() override {
        BackupTest::SetUp();
        mDatabase = CreateDatabase("run.duckdb");
        mControl = ControlOf(mDatabase.get());
    }
    void TearDown() override {
        mControl.reset();
        mDatabase.reset();
        BackupTest::TearDown();
    }

    static smart_ptr<I_DuckDBRunControl> ControlOf(I_Unknown* inObject) {
        return smart_ptr<I_DuckDBRunControl>(QueryAspect<I_DuckDBRunControl>(inObject));
    }

    /// Stops, once, when a run is on and `inIsTime` says so, or when the test is over.
    static void StopWhen(const smart_ptr<I_DuckDBRunControl>& inControl, const std::atomic<bool>& inIsOver,
                         const std::function<bool(const DuckDBProgress&)>& inIsTime) {
        while (!inIsOver) {
            const DuckDBProgress progress = inControl->get_Progress();
            if (progress.mElapsedMicroseconds != 0 && inIsTime(progress)) {
                return inControl->Interrupt();
            }
            std::this_thread::sleep_for(100us);
        }
    }

    /// What a call throws that is stopped after some time.
    Raised CatchStopped(
        const std::function<void()>& inCall,
        const std::function<bool(const DuckDBProgress&)>& inIsTime =
            [](const DuckDBProgress& inProgress) { return inProgress.mElapsedMicroseconds > 30'000; },
        smart_ptr<I_DuckDBRunControl> inControl = nullptr) {
        std::atomic<bool> isOver{false};
        std::thread stopper([&] { StopWhen(inControl ? inControl : mControl, isOver, inIsTime); });
        Raised raised = Catch(inCall);
        isOver = true;
        stopper.join();
        return raised;
    }

    /// The connection answers, nothing goes on, and the file opens again.
    void ExpectUsable() {
        EXPECT_EQ(SelectOne(mDatabase, "SELECT 42"), "42");
        EXPECT_EQ(mControl->get_Progress().mElapsedMicroseconds, 0u);
        mDatabase->Close();
        mDatabase->Open();
    }

    smart_ptr<I_DuckDBDatabase> mDatabase;
    smart_ptr<I_DuckDBRunControl> mControl;
};

TEST_F(RunControlTest, StopsEveryKindOfRun) {
    Execute(mDatabase, "CREATE TABLE t (i INTEGER)");
    const auto statement = [&](const char* inSql) { return mDatabase->CreateStatement(inSql); };
    const auto countOf = [&](const char* inTable) {
        return std::stoll(SelectOne(mDatabase, std::string("SELECT count(*) FROM ") + inTable));
    };
    const auto expectStopped = [&](const Raised& inRaised, const char* inWhat) {
        EXPECT_EQ(inRaised.mMessage.value_or("nothing"), kInterrupted) << inWhat;
        ExpectUsable();
    };

    expectStopped(CatchStopped([&] { mDatabase->SqlSelect(kLong, 1, nullptr); }), "a query");
    expectStopped(CatchStopped([&] {
                      Execute(mDatabase,
                              std::string("INSERT INTO t VALUES (1); BEGIN; INSERT INTO t VALUES (2);") +
                                  kLong);
                  }),
                  "a script");
    EXPECT_EQ(countOf("t"), 1) << "the transaction of the stopped script is rolled back";

    const smart_ptr<RowArray> rows(new RowArray(100'000));
    for (std::int32_t i = 0; i < 100'000; ++i) {
        const smart_ptr<ValueArray> row(new ValueArray(1));
        row->Append(smart_ptr<I_Value>(CreateValueLong(true, nullptr, nullptr)));
        rows->Append(row);
    }
    {
        const auto insert = statement("INSERT INTO t VALUES (?)");
        insert->BindRows(rows);
        expectStopped(CatchStopped([&] { insert->ExecuteNext(); }), "rows");
        EXPECT_GT(countOf("t"), 1) << "the rows before the stop stay";
        EXPECT_LT(countOf("t"), 100'001);
    }
    DuckDBExecutionResult result;
    const auto script = statement((std::string("SELECT 1; ") + kLong + "; SELECT 2").c_str());
    EXPECT_EQ(CatchStopped([&] { result = script->ExecuteScript(); }).mClass, "");
    EXPECT_EQ(Text(result.mErrorText), kInterrupted);
    EXPECT_EQ(result.mStatementCount, 1u);

    // A stopped statement leaves its transaction aborted.
    Execute(mDatabase, "BEGIN");
    const auto query = statement(kLong);
    query->PrepareNext();
    EXPECT_EQ(CatchStopped([&] { query->SqlExecute(); }).mMessage, kInterrupted);
    ExpectDuckDBErrorWith([&] { mDatabase->SqlSelect("SELECT 1", 1, nullptr); }, "run", "aborted");
    ExpectUsable();

    // 10 million cells: the stop comes when the first ones have become values.
    Execute(mDatabase, "BEGIN; CREATE TABLE lost (i INTEGER)");
    expectStopped(CatchStopped([&] { mDatabase->SqlSelect("FROM range(10000000)", 1, nullptr); },
                               [&](const auto&) { return standin::CountLiveObjects().mValues > 200'000; }),
                  "a client cursor");
    ExpectDuckDBErrorWith([&] { countOf("lost"); }, "run", "lost");

    Execute(mDatabase,
            "CREATE TABLE large AS SELECT range AS i, sha256(range::VARCHAR) AS s FROM range(1500000)");
    expectStopped(CatchStopped([&] { Backup(mDatabase); }), "a backup");
    const smart_ptr<I_Location> backup = Backup(mDatabase);
    const auto root = ControlOf(Extension().get());
    expectStopped(CatchStopped([&] { Restore("restored.duckdb", backup); },
                               [](const auto& p) { return p.mElapsedMicroseconds > 50'000; }, root),
                  "a restore");
    EXPECT_EQ(root->get_Progress().mElapsedMicroseconds, 0u);
    EXPECT_EQ(Catch([&] { Restore("restored.duckdb", backup)->Drop(); }).mClass, "");
}

TEST_F(RunControlTest, TellsTheProgressWhereDuckDBDoes) {
    Execute(mDatabase, "CREATE TABLE big AS SELECT range AS i FROM range(8000000);"
                       "SET enable_progress_bar = true; SET enable_progress_bar_print = false");
    DuckDBProgress seen;
    const Raised raised =
        CatchStopped([&] { mDatabase->SqlSelect("SELECT max(sha256(i::VARCHAR)) FROM big", 2, nullptr); },
                     [&](const DuckDBProgress& inProgress) {
                         seen = inProgress;
                         return inProgress.mFraction > 0;
                     });
    EXPECT_EQ(raised.mMessage.value_or("it ended without a fraction"), kInterrupted);
    EXPECT_LT(seen.mFraction, 1);
    EXPECT_GT(seen.mRowsTotal, 0u);
    EXPECT_LE(seen.mRowsDone, seen.mRowsTotal);
}

TEST_F(RunControlTest, DoesNothingWhereNothingRuns) {
    const smart_ptr<I_DuckDBDatabase> closed = MakeDatabase("closed.duckdb");
    for (const smart_ptr<I_DuckDBDatabase>& database : {closed, mDatabase}) {
        const auto control = ControlOf(database.get());
        control->Interrupt();
        const DuckDBProgress progress = control->get_Progress();
        EXPECT_EQ(progress.mFraction, 0);
        EXPECT_EQ(progress.mElapsedMicroseconds, 0u);
    }
    closed->Create();
    EXPECT_EQ(SelectOne(closed, "SELECT 1"), "1");
    EXPECT_EQ(SelectOne(mDatabase, "SELECT 1"), "1");
}

TEST_F(RunControlTest, TouchesNoCallThatIsEnteredLater) {
    std::atomic<int> asked{0};
    std::atomic<int> answered{0};
    std::thread stopper([&] {
        for (int round = 0; round < 1000; ++round) {
            ++asked;
            mControl->Interrupt();
            ++answered;
            std::this_thread::sleep_for(20us);
        }
    });
    int stopped = 0;
    while (answered < 1000) {
        const int answeredBefore = answered;
        const Raised raised = Catch([&] { SelectOne(mDatabase, "SELECT 1"); });
        if (raised.mClass.empty()) {
            continue;
        }
        ++stopped;
        EXPECT_EQ(raised.mMessage, kInterrupted);
        EXPECT_GT(asked, answeredBefore) << "no Interrupt came while the call was in work";
    }
    stopper.join();
    EXPECT_GT(stopped, 0);
    EXPECT_LE(stopped, 1000);
    ExpectUsable();
}

TEST_F(RunControlTest, LosesNoStopThatComesAfterTheEntry) {
    for (int round = 0; round < 1000; ++round) {
        const auto delay = std::chrono::microseconds(round % 501);
        const Raised raised = CatchStopped([&] { mDatabase->SqlSelect(kLong, 2, nullptr); },
                                           [delay](const DuckDBProgress&) {
                                               const auto end = std::chrono::steady_clock::now() + delay;
                                               while (std::chrono::steady_clock::now() < end) {
                                               }
                                               return true;
                                           });
        ASSERT_EQ(raised.mMessage.value_or("lost"), kInterrupted) << "round " << round;
    }
    ExpectUsable();
}

TEST_F(RunControlTest, StopsMeetCloseAndTheReleasesOfOthers) {
    std::atomic<bool> isOver{false};
    std::thread stopper([&] {
        const smart_ptr<I_DuckDBRunControl> control = ControlOf(mDatabase.get());
        while (!isOver) {
            control->Interrupt();
            control->get_Progress();
        }
    });
    std::thread holder([&] {
        while (!isOver) {
            const smart_ptr<I_DuckDBDatabase> other = mDatabase;
            Catch([&] { other->CreateStatement("SELECT 1")->ExecuteAll(); });
        }
    });
    for (int round = 0; round < 20; ++round) {
        Catch([&] { Execute(mDatabase, "SELECT 1; SELECT 2"); });
        mDatabase->Close();
        mDatabase->Open();
    }
    isOver = true;
    stopper.join();
    holder.join();
    ExpectUsable();
}

} // namespace
} // namespace orkit::orsql::test
