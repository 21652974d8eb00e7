#include <atomic>
#include <chrono>
#include <thread>

#include "tests_support/object_fixture.h"

namespace orkit::orsql::test {
namespace {

using namespace std::chrono_literals;

const std::string kInterruptedText = R"({"exception_type":"INTERRUPT","exception_message":"Interrupted!"})";
const std::string kInterrupted = "xDuckDBError 468225|run|" + kInterruptedText;
// Ends by itself, so that a lost stop fails the test instead of hanging it.
const std::string kLong = "SELECT sum(a.range * b.range) FROM range(40000) a, range(60000) b";

using Control = smart_ptr<I_DuckDBRunControl>;
using IsTime = std::function<bool(const DuckDBProgress&)>;

IsTime After(std::uint64_t inMicroseconds) {
    return [=](const DuckDBProgress& inProgress) { return inProgress.mElapsedMicroseconds > inMicroseconds; };
}

Control ControlOf(I_Unknown* inObject) { return Control(QueryAspect<I_DuckDBRunControl>(inObject)); }

class RunControlTest : public ObjectTest {
protected:
    RunControlTest() {
        mDatabase = CreateDatabase("run.duckdb");
        mControl = ControlOf(mDatabase.get());
    }

    /// What a call throws if it is stopped once, at the right time while it runs.
    std::string CatchStopped(const std::function<void()>& inCall, const IsTime& inIsTime = After(30'000),
                             Control inControl = nullptr) {
        const std::jthread stopper([&](const std::stop_token& inEnd) {
            const Control control = inControl ? inControl : mControl;
            for (; !inEnd.stop_requested(); std::this_thread::sleep_for(100us)) {
                const DuckDBProgress progress = control->get_Progress();
                if (progress.mElapsedMicroseconds != 0 && inIsTime(progress)) {
                    return control->Interrupt();
                }
            }
        });
        return Catch(inCall);
    }

    /// The connection works, nothing runs, and the file can be opened again.
    void ExpectUsable() {
        EXPECT_EQ(SelectOne(mDatabase, "SELECT 42"), "42");
        EXPECT_EQ(mControl->get_Progress().mElapsedMicroseconds, 0u);
        EXPECT_EQ(mControl->get_Progress().mFraction, 0);
        mDatabase->Close();
        mControl->Interrupt(); // has no effect
        mDatabase->Open();
    }
    void ExpectStopped(const std::function<void()>& inCall, const IsTime& inIsTime = After(30'000)) {
        EXPECT_EQ(CatchStopped(inCall, inIsTime), kInterrupted);
        ExpectUsable();
    }

    Control mControl;
};

TEST_F(RunControlTest, StopsEveryKindOfRun) {
    Execute(mDatabase, "CREATE TABLE t (i INTEGER)");
    const auto count = [&] { return std::stoll(SelectOne(mDatabase, "SELECT count(*) FROM t")); };
    ExpectStopped([&] { Select(mDatabase, kLong); });
    const std::string changes = "INSERT INTO t VALUES (1); BEGIN; INSERT INTO t VALUES (2);";
    const auto later = After(200'000); // what comes before has ended, on a busy machine too
    ExpectStopped([&] { Execute(mDatabase, changes + kLong); }, later);
    EXPECT_EQ(count(), 1) << "the transaction of the stopped script is rolled back";

    const smart_ptr<RowArray> rows(new RowArray(100'000));
    for (std::int32_t i = 0; i < 100'000; ++i) {
        rows->Append(Values({Number(i)}));
    }
    Statement statement = mDatabase->CreateStatement("INSERT INTO t VALUES (?)");
    statement->BindRows(rows);
    ExpectStopped([&] { statement->ExecuteNext(); }, later);
    EXPECT_GT(count(), 1) << "the rows before the stop stay";
    EXPECT_LT(count(), 100'001);

    DuckDBExecutionResult result;
    statement = mDatabase->CreateStatement(Wide("SELECT 1; " + kLong + "; SELECT 2"));
    EXPECT_EQ(CatchStopped([&] { result = statement->ExecuteScript(); }, later), "");
    EXPECT_EQ(Text(result.mErrorText), kInterruptedText);
    EXPECT_EQ(result.mStatementCount, 1u);

    // A stopped statement leaves its transaction aborted.
    Execute(mDatabase, "BEGIN");
    statement = mDatabase->CreateStatement(Wide(kLong));
    statement->PrepareNext();
    EXPECT_EQ(CatchStopped([&] { statement->SqlExecute(); }), kInterrupted);
    ExpectErrorWith([&] { Select(mDatabase, "SELECT 1"); }, "run", "aborted");
    ExpectUsable();

    // 10 million cells: the stop comes after the first ones have become values.
    Execute(mDatabase, "BEGIN; CREATE TABLE lost (i INTEGER)");
    ExpectStopped([&] { OpenCursor(mDatabase, "FROM range(10000000)", kCursorLocationClient); },
                  [&](const auto&) { return standin::CountLiveObjects().mValues > 300'000; });
    ExpectErrorWith([&] { Select(mDatabase, "FROM lost"); }, "run", "lost");
}

TEST_F(RunControlTest, StopsBackupsAndRestores) {
    Execute(mDatabase,
            "CREATE TABLE large AS SELECT range AS i, sha256(range::VARCHAR) AS s FROM range(1500000)");
    // An export doesn't hold the engine lock: what waited for one that does would come too late to stop it.
    const Database other = OpenDatabase("run.duckdb");
    ExpectStopped([&] { Backup(mDatabase); },
                  [&](const DuckDBProgress& inProgress) {
                      return After(30'000)(inProgress) && mDatabase->get_ConnectionCount() == 2 &&
                             Execute(other, "INSERT INTO large VALUES (-1, '')") == 1;
                  });
    const auto backup = Backup(mDatabase);
    const auto root = ControlOf(Extension().get());
    const std::string thrown = CatchStopped([&] { Restore("restored.duckdb", backup); }, After(50'000), root);
    EXPECT_TRUE(thrown.ends_with(kInterruptedText)) << thrown;
    EXPECT_EQ(root->get_Progress().mElapsedMicroseconds, 0u);
    EXPECT_EQ(Catch([&] { Restore("restored.duckdb", backup)->Drop(); }), "");
}

TEST_F(RunControlTest, ReportsProgressIfDuckDBDoes) {
    Execute(mDatabase, "CREATE TABLE big AS SELECT range AS i FROM range(8000000);"
                       "SET enable_progress_bar = true; SET enable_progress_bar_print = false");
    DuckDBProgress seen;
    ExpectStopped([&] { Select(mDatabase, "SELECT max(sha256(i::VARCHAR)) FROM big"); },
                  [&](const DuckDBProgress& inProgress) {
                      seen = inProgress;
                      return inProgress.mFraction > 0;
                  });
    EXPECT_LT(seen.mFraction, 1);
    EXPECT_GT(seen.mRowsTotal, 0u);
    EXPECT_LE(seen.mRowsDone, seen.mRowsTotal);
}

TEST_F(RunControlTest, AffectsNoLaterCall) {
    std::atomic<int> asked{0};
    std::atomic<int> answered{0};
    std::jthread stopper([&](const std::stop_token& inEnd) {
        while (!inEnd.stop_requested()) {
            ++asked;
            mControl->Interrupt();
            ++answered;
            std::this_thread::sleep_for(20us);
        }
    });
    int stopped = 0;
    for (int call = 0; call < 1000 || (stopped == 0 && call < 100000); ++call) {
        const int answeredBefore = answered;
        const std::string thrown = Catch([&] { SelectOne(mDatabase, "SELECT 1"); });
        if (!thrown.empty()) {
            ++stopped;
            EXPECT_EQ(thrown, kInterrupted);
            EXPECT_GT(asked, answeredBefore) << "no Interrupt came during the call";
        }
    }
    stopper = {};
    EXPECT_GT(stopped, 0);
    ExpectUsable();
}

TEST_F(RunControlTest, LosesNoStopAfterTheEntry) {
    for (int round = 0; round < 1000; ++round) {
        const auto wait = [round](const DuckDBProgress&) {
            const auto end = std::chrono::steady_clock::now() + std::chrono::microseconds(round % 501);
            while (std::chrono::steady_clock::now() < end) {
            }
            return true;
        };
        ASSERT_EQ(CatchStopped([&] { Select(mDatabase, kLong); }, wait), kInterrupted) << "round " << round;
    }
    ExpectUsable();
}

} // namespace
} // namespace orkit::orsql::test
