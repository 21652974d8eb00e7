#include <functional>
#include <map>

#include "duckdb_support/handle_count.h"
#include "host/runtime.h"
#include "host_standin/live_objects.h"
#include "statement_fixture.h"

namespace orkit::orsql::test {
namespace {

using orlimbara::duckdb_support::HandleKind;
using orlimbara::duckdb_support::LiveHandleCount;

class StatementLifecycle : public StatementTest {};

/// The state of the one statement that is alive, as its handles show it.
std::string StateOf(const Statement& inStatement) {
    const bool walks = LiveHandleCount(HandleKind::ExtractedStatements) != 0;
    const bool isPrepared = LiveHandleCount(HandleKind::PreparedStatement) != 0;
    const bool hasRun = LiveHandleCount(HandleKind::Result) != 0;
    if (!inStatement->get_Database()) {
        return walks || isPrepared || hasRun ? "invalidated, with handles" : "invalidated";
    }
    if (!isPrepared) {
        return hasRun ? "a result alone" : walks ? "walking" : "text";
    }
    return std::string(hasRun ? "ran" : "prepared") + (walks ? "" : ", no walk");
}

using Start = std::function<void(I_DuckDBStatement&)>;
using Operation = std::function<std::string(I_DuckDBStatement&)>;

template <class Call>
Operation Silent(Call inCall) {
    return [inCall](I_DuckDBStatement& ioStatement) {
        std::invoke(inCall, ioStatement);
        return "";
    };
}

std::string FirstCell(const smart_ptr<I_DuckDBCursor>& inCursor) {
    return inCursor ? ReadAll(inCursor).at(0).at(0) : "null";
}

void ExecuteToTheEnd(I_DuckDBStatement& ioStatement) {
    while (ioStatement.ExecuteNext()) {
    }
}

/// Ways into the states, for a script of two statements.
const std::map<std::string, Start> kStarts = {
    {"text", [](auto&) {}},
    {"prepared", &I_DuckDBStatement::PrepareNext},
    {"ran", [](auto& s) { s.ExecuteNext(); }},
    {"ran the last", ExecuteToTheEnd},
    {"past the end", [](auto& s) { ExecuteToTheEnd(s), s.PrepareNext(); }},
    {"ran all", &I_DuckDBStatement::ExecuteAll},
    {"invalidated", [](auto& s) { s.get_Database()->Close(); }},
};

std::string TellScript(I_DuckDBStatement& ioStatement) {
    const DuckDBExecutionResult result = ioStatement.ExecuteScript();
    return std::to_string(result.mStatementCount) + " " + std::to_string(result.mErrorCode) +
           Text(result.mErrorText);
}

const std::map<std::string, Operation> kOperations = {
    {"PrepareNext", Silent(&I_DuckDBStatement::PrepareNext)},
    {"ExecuteNext", [](auto& s) { return s.ExecuteNext() ? "more" : "end"; }},
    {"ExecuteAll", Silent(&I_DuckDBStatement::ExecuteAll)},
    {"ExecuteScript", TellScript},
    {"SqlExecute", [](auto& s) { return std::to_string(s.SqlExecute()); }},
    {"SqlSelect", [](auto& s) { return FirstCell(s.SqlSelect(kCursorLocationClient)); }},
    {"SqlSelectToJSON", [](auto& s) { return Text(s.SqlSelectToJSON()); }},
    {"SqlQuery", [](auto& s) { return FirstCell(s.SqlQuery(kCursorLocationServer)->get_Cursor()); }},
    {"BindInteger", Silent([](auto& s) { s.BindInteger(1, 5); })},
    {"BindValue", Silent([](auto& s) { s.BindValue(1, Number(5)); })},
    {"BindValues", Silent([](auto& s) { s.BindValues(Values({})); })},
    {"BindRows", Silent([](auto& s) { s.BindRows(nullptr); })},
    {"ClearBindings", Silent(&I_DuckDBStatement::ClearBindings)},
    {"Invalidate", Silent(&I_DuckDBStatement::Invalidate)},
    {"get_RemainingStatements", [](auto& s) { return std::to_string(s.get_RemainingStatements()); }},
};

constexpr const char* kInvalid = "DuckDBDatabase is invalid";

struct Transition {
    const char* mStart;
    const char* mOperation;
    const char* mOutcome; ///< what it tells, or the message that it raises
    const char* mState;
};

constexpr Transition kTransitions[] = {
    {"text", "PrepareNext", "", "prepared"},
    {"text", "ExecuteNext", "more", "ran"},
    {"text", "ExecuteAll", "", "ran, no walk"},
    {"text", "ExecuteScript", "2 0", "ran, no walk"},
    {"text", "SqlExecute", "0", "text"},
    {"text", "SqlSelect", "null", "text"},
    {"text", "SqlSelectToJSON", "null", "text"},
    {"text", "SqlQuery", "null", "text"},
    {"text", "BindInteger", "", "text"},
    {"text", "BindValue", "", "text"},
    {"text", "BindValues", "", "text"},
    {"text", "ClearBindings", "", "text"},
    {"text", "get_RemainingStatements", "0", "text"},
    {"text", "Invalidate", "", "invalidated"},
    {"prepared", "PrepareNext", "", "prepared"},
    {"prepared", "ExecuteNext", "end", "ran"},
    {"prepared", "ExecuteAll", "", "ran, no walk"},
    {"prepared", "ExecuteScript", "1 0", "ran, no walk"},
    {"prepared", "SqlExecute", "0", "ran"},
    {"prepared", "SqlSelect", "1", "prepared"},
    {"prepared", "SqlSelectToJSON", R"([{"a":1}])", "prepared"},
    {"prepared", "SqlQuery", "1", "prepared"},
    {"prepared", "ClearBindings", "", "prepared"},
    {"prepared", "get_RemainingStatements", "1", "prepared"},
    {"prepared", "Invalidate", "", "invalidated"},
    {"ran", "PrepareNext", "", "prepared"},
    {"ran", "ExecuteNext", "end", "ran"},
    {"ran", "SqlExecute", "0", "ran"},
    {"ran", "SqlSelect", "1", "prepared"},
    {"ran", "SqlQuery", "1", "prepared"},
    {"ran", "get_RemainingStatements", "1", "ran"},
    {"ran", "Invalidate", "", "invalidated"},
    {"ran the last", "PrepareNext", "", "walking"},
    {"ran the last", "ExecuteNext", "end", "walking"},
    {"ran the last", "ExecuteAll", "", "text"},
    {"ran the last", "ExecuteScript", "1 0", "text"},
    {"past the end", "PrepareNext", "", "walking"},
    {"past the end", "ExecuteNext", "end", "walking"},
    {"past the end", "ExecuteAll", "", "text"},
    {"past the end", "SqlExecute", "0", "walking"},
    {"past the end", "SqlSelect", "null", "walking"},
    {"past the end", "SqlQuery", "null", "walking"},
    {"past the end", "BindInteger", "", "walking"},
    {"past the end", "get_RemainingStatements", "0", "walking"},
    {"past the end", "Invalidate", "", "invalidated"},
    {"ran all", "PrepareNext", "", "prepared"},
    {"ran all", "ExecuteNext", "more", "ran"},
    {"ran all", "ExecuteScript", "2 0", "ran, no walk"},
    {"ran all", "SqlExecute", "0", "ran, no walk"},
    {"ran all", "SqlSelect", "2", "prepared, no walk"},
    {"ran all", "SqlQuery", "2", "prepared, no walk"},
    {"ran all", "get_RemainingStatements", "0", "ran, no walk"},
    {"invalidated", "PrepareNext", kInvalid, "invalidated"},
    {"invalidated", "ExecuteNext", kInvalid, "invalidated"},
    {"invalidated", "ExecuteAll", kInvalid, "invalidated"},
    {"invalidated", "ExecuteScript", "0 0", "invalidated"},
    {"invalidated", "SqlExecute", kInvalid, "invalidated"},
    {"invalidated", "SqlSelect", kInvalid, "invalidated"},
    {"invalidated", "SqlSelectToJSON", kInvalid, "invalidated"},
    {"invalidated", "SqlQuery", kInvalid, "invalidated"},
    {"invalidated", "BindInteger", kInvalid, "invalidated"},
    {"invalidated", "BindValue", kInvalid, "invalidated"},
    {"invalidated", "BindValues", kInvalid, "invalidated"},
    {"invalidated", "BindRows", kInvalid, "invalidated"},
    {"invalidated", "ClearBindings", kInvalid, "invalidated"},
    {"invalidated", "Invalidate", "", "invalidated"},
    {"invalidated", "get_RemainingStatements", "0", "invalidated"},
};

TEST_F(StatementLifecycle, EveryOperationLeadsFromStateToState) {
    for (const Transition& transition : kTransitions) {
        SCOPED_TRACE(std::string(transition.mStart) + ", " + transition.mOperation);
        const smart_ptr<I_DuckDBDatabase> database = CreateDatabase();
        const Statement statement = database->CreateStatement("SELECT 1 AS a; SELECT 2 AS b");
        kStarts.at(transition.mStart)(*statement);
        std::string outcome;
        const Raised raised = Catch([&] { outcome = kOperations.at(transition.mOperation)(*statement); });
        EXPECT_EQ(raised.mMessage.value_or(outcome), transition.mOutcome);
        const bool isRaised = raised.mMessage.has_value();
        EXPECT_EQ(raised.mClass, isRaised ? "xDuckDBError" : "");
        EXPECT_EQ(raised.mCode, isRaised ? 468225u : 0u);
        EXPECT_EQ(raised.mContext.value_or("none"), isRaised ? "unknown" : "none");
        EXPECT_EQ(StateOf(statement), transition.mState);
        EXPECT_EQ(Text(statement->get_OriginalSql()), "SELECT 1 AS a; SELECT 2 AS b");
        database->Close(); // meets no pointer to an invalidated statement
    }
}

TEST_F(StatementLifecycle, WalkTellsWhereItIs) {
    const std::string script = "CREATE TABLE t (i INTEGER); INSERT INTO t VALUES (1), (2); SELECT * FROM t";
    const Statement statement = Make(script);
    EXPECT_EQ(Text(statement->get_Sql()), script);
    std::uint64_t rows = 7;
    EXPECT_TRUE(statement->ExecuteNext(rows));
    EXPECT_EQ(rows, 0u);
    EXPECT_EQ(Text(statement->get_Sql()), "CREATE TABLE t (i INTEGER)");
    EXPECT_EQ(statement->get_RemainingStatements(), 2u);
    EXPECT_TRUE(statement->ExecuteNext(rows));
    EXPECT_EQ(rows, 2u);
    EXPECT_EQ(statement->get_RemainingStatements(), 1u);
    EXPECT_FALSE(statement->ExecuteNext(rows));
    EXPECT_EQ(rows, 0u);
    EXPECT_EQ(Text(statement->get_Sql()), " SELECT * FROM t");
    EXPECT_FALSE(statement->ExecuteNext()) << "the walk stays at its end";
    statement->ExecuteAll();
    EXPECT_EQ(Text(statement->get_Sql()), script);
    EXPECT_EQ(statement->get_RemainingStatements(), 0u);
}

TEST_F(StatementLifecycle, RunsOneStatementAgain) {
    Execute(mDatabase, "CREATE TABLE t (i INTEGER)");
    const Statement insert = Prepare("INSERT INTO t VALUES (1)");
    EXPECT_EQ(insert->SqlExecute(), 1u);
    EXPECT_EQ(insert->SqlQuery(kCursorLocationServer)->get_RowsChanged(), 1);
    EXPECT_EQ(Text(insert->SqlSelect(kCursorLocationServer)->get_ColumnName(0)), "Count")
        << "a statement that changes rows has a cursor as well";
    EXPECT_EQ(SelectOne(mDatabase, "SELECT count(*) FROM t"), "3");

    const Statement select = Prepare("SELECT count(*) FROM t");
    for (const std::uint32_t location : {0u, 1u, 2u, 77u}) {
        EXPECT_EQ(Extension()->get_IsClientCursor(select->SqlSelect(location)), location == 1) << location;
    }
    const smart_ptr<I_DuckDBCursor> first = select->SqlSelect(kCursorLocationServer);
    insert->SqlExecute();
    const smart_ptr<I_DuckDBCursor> second = select->SqlSelect(kCursorLocationServer);
    EXPECT_EQ(ReadAll(first), (Rows{{"3"}})) << "each cursor has its own result";
    EXPECT_EQ(ReadAll(second), (Rows{{"4"}}));
}

TEST_F(StatementLifecycle, TextWithoutStatementRunsToItsEnd) {
    for (const char* text : {"", "-- nothing here", "/* nor here */ ;;", " \n "}) {
        const Statement statement = Make(text);
        statement->PrepareNext();
        EXPECT_EQ(StateOf(statement), "text") << text;
        EXPECT_EQ(statement->SqlExecute(), 0u);
        EXPECT_FALSE(statement->SqlSelect(kCursorLocationServer));
        EXPECT_EQ(statement->SqlQuery(kCursorLocationServer)->get_ResultFlags(), 0u);
        EXPECT_FALSE(statement->ExecuteNext());
        EXPECT_EQ(TellScript(*statement), "1 0") << text;
    }
}

TEST_F(StatementLifecycle, FailedSplitLeavesNoWalk) {
    const Statement statement = Make("SELECT 1; SELEC 2");
    for (int i = 0; i < 2; ++i) {
        ExpectDuckDBErrorWith([&] { statement->PrepareNext(); }, mName,
                              "syntax error at or near \\\"SELEC\\\"");
        EXPECT_EQ(StateOf(statement), "text");
    }
}

TEST_F(StatementLifecycle, FailedPrepareIsTriedAgain) {
    const Statement statement = Make("CREATE TABLE a (i INTEGER); INSERT INTO b VALUES (1), (2); SELECT 3");
    EXPECT_TRUE(statement->ExecuteNext());
    for (int i = 0; i < 2; ++i) {
        ExpectDuckDBErrorWith([&] { statement->PrepareNext(); }, mName, "Table with name b does not exist");
        EXPECT_EQ(StateOf(statement), "walking");
        EXPECT_EQ(Text(statement->get_Sql()), " INSERT INTO b VALUES (1), (2)");
        EXPECT_EQ(statement->get_RemainingStatements(), 2u);
    }
    Execute(mDatabase, "CREATE TABLE b (i INTEGER)");
    std::uint64_t rows = 0;
    EXPECT_TRUE(statement->ExecuteNext(rows));
    EXPECT_EQ(rows, 2u);
    EXPECT_FALSE(statement->ExecuteNext());
}

constexpr const char* kFailingRun = "SELECT 'no number'::VARCHAR::INTEGER";
constexpr const char* kFailingRunText = "Could not convert string 'no number' to INT32";

TEST_F(StatementLifecycle, FailedRunIsPassedBy) {
    const std::string script =
        std::string("CREATE TABLE t (i INTEGER);") + kFailingRun + ";INSERT INTO t VALUES (1)";
    const Statement statement = Make(script);
    ExpectDuckDBErrorWith([&] { statement->ExecuteAll(); }, mName, kFailingRunText);
    EXPECT_EQ(StateOf(statement), "ran") << "the failed result stays";
    EXPECT_EQ(statement->get_RemainingStatements(), 1u);
    EXPECT_EQ(Text(statement->get_Sql()), kFailingRun);
    statement->ExecuteAll();
    EXPECT_EQ(SelectOne(mDatabase, "SELECT count(*) FROM t"), "1") << "the table was made, and only once";
    EXPECT_EQ(Text(statement->get_Sql()), script);
}

TEST_F(StatementLifecycle, ScriptTellsItsFailure) {
    struct Case {
        const char* mFailing;
        const char* mPart;
        const char* mState;
    };
    for (const Case& failure :
         {Case{kFailingRun, kFailingRunText, "ran, no walk"},
          Case{"SELECT * FROM missing", "Table with name missing does not exist", "text"}}) {
        SCOPED_TRACE(failure.mFailing);
        const Statement statement =
            Make(std::string("CREATE OR REPLACE TABLE t (i INTEGER);") + failure.mFailing + ";DROP TABLE t");
        const DuckDBExecutionResult result = statement->ExecuteScript();
        EXPECT_EQ(result.mStatementCount, 1u);
        EXPECT_EQ(result.mErrorCode, 468225u);
        EXPECT_NE(Text(result.mErrorText).find(failure.mPart), std::string::npos) << Text(result.mErrorText);
        EXPECT_EQ(SelectOne(mDatabase, "SELECT count(*) FROM t"), "0") << "nothing is rolled back";
        EXPECT_EQ(StateOf(statement), failure.mState);
        EXPECT_EQ(statement->get_RemainingStatements(), 0u);
        EXPECT_EQ(Text(statement->get_Sql()), failure.mFailing);
        EXPECT_EQ(statement->ExecuteScript().mStatementCount, 0u)
            << "a later walk has the failed statement alone";
    }
    Execute(mDatabase, "DROP TABLE t");
}

/// A host value that can't be read.
class UnreadableValue final : public AspectHost_imp {
public:
    UnreadableValue() : AspectHost_imp(true) {}
    std::uint32_t get_Type() const override { return value_type::kLong; }
    void get_String(String&, std::int32_t) const override {}
};

TEST_F(StatementLifecycle, ScriptTellsNothingOfForeignFailures) {
    const Statement statement = Make("SELECT ?");
    statement->BindValues(Values({Value(new UnreadableValue)}));
    const DuckDBExecutionResult result = statement->ExecuteScript();
    EXPECT_EQ(result.mStatementCount, 0u);
    EXPECT_EQ(result.mErrorCode, 466944u);
    EXPECT_EQ(Text(result.mErrorText), "Unexpected DuckDB error");
}

TEST_F(StatementLifecycle, FailureWhileHeldValuesAreBoundLeavesThePreparedStatement) {
    const Statement statement = Make("SELECT 1; SELECT ?");
    statement->BindValues(Values({Number(4)}));
    ExpectDuckDBErrorWith([&] { statement->PrepareNext(); }, mName, "statement only has 0 parameter(s)");
    EXPECT_EQ(StateOf(statement), "prepared");
    EXPECT_EQ(statement->get_RemainingStatements(), 2u);
    statement->ClearBindings();
    EXPECT_EQ(Run(statement), (Rows{{"1"}}));
    EXPECT_EQ(statement->get_RemainingStatements(), 2u) << "the same statement is still the next one";
    EXPECT_TRUE(statement->ExecuteNext());
}

TEST_F(StatementLifecycle, DatabaseKnowsItsStatements) {
    const smart_ptr<I_DuckDBDatabase> other = CreateDatabase();
    const Statement foreign = other->CreateStatement("SELECT 1");
    ExpectDuckDBError([&] { mDatabase->RemoveStatement(foreign.get()); }, mName,
                      "DuckDBStatement does not belong to this database");
    EXPECT_TRUE(Make("SELECT 1")->get_Database() == mDatabase);
    mDatabase->Close();
    ExpectDuckDBError([&] { Make("SELECT 1"); }, mName, "DuckDBDatabase is not open");
    ExpectDuckDBError([&] { mDatabase->RemoveStatement(foreign.get()); }, mName,
                      "DuckDBDatabase is not open");
}

TEST_F(StatementLifecycle, StatementOutlivesItsDatabase) {
    smart_ptr<I_DuckDBDatabase> database = CreateDatabase();
    const Statement statement = database->CreateStatement("SELECT 1; SELECT 2");
    const Statement released = database->CreateStatement("SELECT 1");
    statement->ExecuteNext();
    const smart_ptr<I_DuckDBCursor> cursor = statement->SqlSelect(kCursorLocationServer);
    EXPECT_EQ(database->get_RefsCount(), 1u) << "statements hold no reference";
    database.reset();
    EXPECT_FALSE(statement->get_Database());
    EXPECT_EQ(StateOf(statement), "invalidated");
    EXPECT_EQ(Text(statement->get_Sql()), "SELECT 1");
}

TEST_F(StatementLifecycle, AnswersForItsInterfaces) {
    const Statement statement = Make("SELECT 1");
    EXPECT_EQ(statement->QueryInterface(407), statement.get());
    EXPECT_EQ(static_cast<I_ForeignPlugin*>(statement->QueryInterface(608))->get_RefsCount(), 1u);
    EXPECT_EQ(statement->QueryInterface(0), nullptr);
    EXPECT_EQ(statement->QueryInterface(406), nullptr);
}

TEST_F(StatementLifecycle, GuardAndThreadAreTakenCareOf) {
    struct Case {
        const char* mOperation;
        bool mIsGuarded;
        std::uint64_t mInits;
    };
    for (const Case& row :
         {Case{"PrepareNext", true, 1}, Case{"SqlExecute", true, 1}, Case{"SqlSelect", true, 1},
          Case{"SqlQuery", true, 1}, Case{"BindInteger", true, 0}, Case{"BindValue", true, 0},
          Case{"ClearBindings", true, 0}, Case{"get_RemainingStatements", true, 0},
          Case{"BindValues", false, 0}, Case{"BindRows", false, 0}}) {
        const Statement statement = Make("SELECT 1");
        const std::uint64_t locks = standin::get_EngineLockCount();
        const std::uint64_t inits = standin::get_Init3Count();
        kOperations.at(row.mOperation)(*statement);
        EXPECT_EQ(standin::get_EngineLockCount() > locks, row.mIsGuarded) << row.mOperation;
        EXPECT_EQ(standin::get_Init3Count() - inits, row.mInits) << row.mOperation;
        EXPECT_EQ(standin::get_EngineLockCount(), standin::get_EngineUnlockCount()) << row.mOperation;
    }
}

} // namespace
} // namespace orkit::orsql::test
