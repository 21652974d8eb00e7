#include "duckdb_support/handle_count.h"
#include "host/runtime.h"
#include "host_standin/live_objects.h"
#include "statement_fixture.h"

namespace orkit::orsql::test {
namespace {

class StatementLifecycle : public StatementTest {};

/// The state of the only live statement, by its handles: "text", "walk" (through the script), "prep"
/// (prepared), "ran", followed by "-" without a walk; "gone" if it is invalidated.
std::string StateOf(I_DuckDBStatement& inStatement) {
    const bool walks = LiveHandleCount(HandleKind::ExtractedStatements) != 0;
    const bool isPrepared = LiveHandleCount(HandleKind::PreparedStatement) != 0;
    const bool hasRun = LiveHandleCount(HandleKind::Result) != 0;
    if (!inStatement.get_Database()) {
        return walks || isPrepared || hasRun ? "gone, with handles" : "gone";
    }
    if (!isPrepared) {
        return hasRun ? "a result alone" : walks ? "walk" : "text";
    }
    return std::string(hasRun ? "ran" : "prep") + (walks ? "" : "-");
}

std::string FirstCell(const Cursor& inCursor) { return inCursor ? ReadAll(inCursor).at(0).at(0) : "null"; }

void ExecuteToTheEnd(I_DuckDBStatement& ioStatement) {
    while (ioStatement.ExecuteNext()) {
    }
}

std::string TellScript(I_DuckDBStatement& ioStatement) {
    const DuckDBExecutionResult result = ioStatement.ExecuteScript();
    return std::to_string(result.mStatementCount) + " " + std::to_string(result.mErrorCode) +
           Text(result.mErrorText);
}

/// How to reach the states, for a script of two statements.
const std::function<void(I_DuckDBStatement&)> kStarts[] = {
    [](auto&) {},
    [](auto& s) { s.PrepareNext(); },
    [](auto& s) { s.ExecuteNext(); },
    ExecuteToTheEnd,
    [](auto& s) { ExecuteToTheEnd(s), s.PrepareNext(); },
    [](auto& s) { s.ExecuteAll(); },
    [](auto& s) { s.Invalidate(); },
};

/// An operation, with its result and the next state for each start; "!" means that the statement is invalid,
/// "?" another failure. For the start "text" also how often it takes the guard and prepares the thread.
const std::pair<std::function<std::string(I_DuckDBStatement&)>, const char*> kOperations[] = {
    // from: the text; prepared; ran; ran the last; past the end; ran all; invalidated
    {[](auto& s) { return s.PrepareNext(), ""; }, " prep 1/1; prep; prep; walk; walk; prep;! gone;"},
    {[](auto& s) { return s.ExecuteNext() ? "more" : "end"; },
     "more ran 1/3;end ran;end ran;end walk;end walk;more ran;! gone;"},
    {[](auto& s) { return s.ExecuteAll(), ""; }, " ran- 1/7; ran-; ran-; text; text; ran-;! gone;"},
    {TellScript, "2 0 ran- 1/7;1 0 ran-;1 0 ran-;1 0 text;1 0 text;2 0 ran-;0 0 gone;"},
    {[](auto& s) { return std::to_string(s.SqlExecute()); },
     "0 text 1/1;0 ran;0 ran;0 ran;0 walk;0 ran-;! gone;"},
    {[](auto& s) { return FirstCell(s.SqlSelect(kCursorLocationClient)); },
     "null text 1/1;1 prep;1 prep;2 prep;null walk;2 prep-;! gone;"},
    {[](auto& s) { return Text(s.SqlSelectToJSON()); },
     R"(null text 1/1;[{"a":1}] prep;[{"a":1}] prep;[{"b":2}] prep;null walk;[{"b":2}] prep-;! gone;)"},
    {[](auto& s) { return FirstCell(s.SqlQuery(kCursorLocationServer)->get_Cursor()); },
     "null text 4/1;1 prep;1 prep;2 prep;null walk;2 prep-;! gone;"},
    {[](auto& s) { return std::to_string(s.get_RemainingStatements()); },
     "0 text 1/0;1 prep;1 ran;0 ran;0 walk;0 ran-;0 gone;"},
    {[](auto& s) { return s.BindInteger(1, 5), ""; }, " text 1/0;? prep;? ran;? ran; walk;? ran-;! gone;"},
    {[](auto& s) { return s.BindValue(1, Number(5)), ""; },
     " text 1/0;? prep;? ran;? ran; walk;? ran-;! gone;"},
    {[](auto& s) { return s.BindValues(Values({})), ""; }, " text 0/0; prep; ran; ran; walk; ran-;! gone;"},
    {[](auto& s) { return s.BindRows(nullptr), ""; }, " text 0/0; prep; ran; ran; walk; ran-;! gone;"},
    {[](auto& s) { return s.ClearBindings(), ""; }, " text 1/0; prep; ran; ran; walk; ran-;! gone;"},
    {[](auto& s) { return s.Invalidate(), ""; }, " gone 1/0; gone; gone; gone; gone; gone; gone;"},
};

TEST_F(StatementLifecycle, EveryOperationLeadsFromStateToState) {
    for (const auto& operation : kOperations) {
        std::string outcomes;
        for (const auto& start : kStarts) {
            const Statement statement = Make("SELECT 1 AS a; SELECT 2 AS b");
            const Statement another = statement;
            start(*statement);
            const std::uint64_t locks = standin::get_EngineLockCount();
            const std::uint64_t inits = standin::get_Init3Count();
            std::string outcome;
            const std::string error = Catch([&] { outcome = operation.first(*statement); });
            outcomes += error.empty()                                           ? outcome
                        : error.ends_with("|unknown|DuckDBDatabase is invalid") ? "!"
                                                                                : "?";
            const std::string counts = " " + std::to_string(standin::get_EngineLockCount() - locks) + "/" +
                                       std::to_string(standin::get_Init3Count() - inits);
            EXPECT_EQ(standin::get_EngineLockCount(), standin::get_EngineUnlockCount());
            outcomes += " " + StateOf(*statement) + (&start == kStarts ? counts : "") + ";";
            EXPECT_EQ(Text(statement->get_OriginalSql()), "SELECT 1 AS a; SELECT 2 AS b");
        }
        EXPECT_EQ(outcomes, operation.second) << "operation " << &operation - kOperations;
    }
}

TEST_F(StatementLifecycle, WalkReportsItsPosition) {
    const std::string script = "CREATE TABLE u (i INTEGER); INSERT INTO u VALUES (1), (2); SELECT * FROM u";
    const Statement statement = Make(script);
    EXPECT_EQ(Text(statement->get_Sql()), script);
    for (const auto& [sql, rowsChanged, remaining] : {std::tuple{"CREATE TABLE u (i INTEGER)", 0u, 2u},
                                                      {" INSERT INTO u VALUES (1), (2)", 2u, 1u},
                                                      {" SELECT * FROM u", 0u, 0u}}) {
        std::uint64_t rows = 7;
        EXPECT_EQ(statement->ExecuteNext(rows), remaining != 0);
        EXPECT_EQ(rows, rowsChanged);
        EXPECT_EQ(Text(statement->get_Sql()), sql);
        EXPECT_EQ(statement->get_RemainingStatements(), remaining);
    }
    EXPECT_FALSE(statement->ExecuteNext()) << "the walk stays at its end";
    statement->ExecuteAll();
    EXPECT_EQ(Text(statement->get_Sql()), script);
    for (const char* text : {"", "/* nothing */ ;; -- here"}) {
        const Statement empty = Make(text);
        EXPECT_FALSE(empty->ExecuteNext() || empty->SqlSelect(kCursorLocationServer)) << text;
        EXPECT_EQ(empty->SqlQuery(kCursorLocationServer)->get_ResultFlags(), 0u);
        EXPECT_EQ(TellScript(*empty), "1 0") << text;
    }
}

TEST_F(StatementLifecycle, RunsOneStatementAgain) {
    const Statement insert = Prepare("INSERT INTO t VALUES (1)");
    EXPECT_EQ(insert->SqlExecute(), 1u);
    EXPECT_EQ(Text(insert->SqlSelect(kCursorLocationServer)->get_ColumnName(0)), "Count")
        << "a statement that changes rows has a cursor as well";
    const Statement select = Prepare("SELECT count(*) FROM t");
    for (const std::uint32_t location : {0u, 1u, 2u, 77u}) {
        EXPECT_EQ(Extension()->get_IsClientCursor(select->SqlSelect(location)), location == 1) << location;
    }
    const Cursor first = select->SqlSelect(kCursorLocationServer);
    EXPECT_EQ(insert->SqlQuery(kCursorLocationServer)->get_RowsChanged(), 1);
    const Cursor second = select->SqlSelect(kCursorLocationServer);
    EXPECT_EQ(ReadAll(first), Table("2")) << "each cursor has its own result";
    EXPECT_EQ(ReadAll(second), Table("3"));
}

TEST_F(StatementLifecycle, FailedSplitOrPrepareIsTriedAgain) {
    const Statement bad = Make("SELECT 1; SELEC 2");
    for (int i = 0; i < 2; ++i) {
        ExpectFailure("syntax error at or near \\\"SELEC\\\"", [&] { bad->PrepareNext(); });
        EXPECT_EQ(StateOf(*bad), "text");
    }
    const Statement statement = Make("SELECT 1; INSERT INTO u VALUES (1), (2); SELECT 3");
    EXPECT_TRUE(statement->ExecuteNext());
    for (int i = 0; i < 2; ++i) {
        ExpectFailure("Table with name u does not exist", [&] { statement->PrepareNext(); });
        EXPECT_EQ(StateOf(*statement), "walk");
        EXPECT_EQ(Text(statement->get_Sql()), " INSERT INTO u VALUES (1), (2)");
        EXPECT_EQ(statement->get_RemainingStatements(), 2u);
    }
    Execute(mDatabase, "CREATE TABLE u (i INTEGER)");
    std::uint64_t rows = 0;
    EXPECT_TRUE(statement->ExecuteNext(rows));
    EXPECT_EQ(rows, 2u);

    // After a failure while held values are bound, the prepared statement is still the next one.
    const Statement held = Make("SELECT 1; SELECT ?");
    held->BindValues(Values({Number(4)}));
    ExpectFailure("statement only has 0 parameter(s)", [&] { held->PrepareNext(); });
    EXPECT_EQ(held->get_RemainingStatements(), 2u);
    held->ClearBindings();
    EXPECT_EQ(Run(held), Table("1"));
    EXPECT_TRUE(held->ExecuteNext());
}

constexpr const char* kFailingRun = "SELECT 'no number'::VARCHAR::INTEGER";
constexpr const char* kFailingRunText = "Could not convert string 'no number' to INT32";

TEST_F(StatementLifecycle, FailedRunIsSkippedAndReported) {
    const std::string script = std::string("CREATE TABLE u (i INTEGER);") + kFailingRun + ";DROP TABLE u";
    const Statement walk = Make(script);
    ExpectFailure(kFailingRunText, [&] { walk->ExecuteAll(); });
    EXPECT_EQ(StateOf(*walk), "ran") << "the failed result stays";
    EXPECT_EQ(walk->get_RemainingStatements(), 1u);
    EXPECT_EQ(Text(walk->get_Sql()), kFailingRun);
    walk->ExecuteAll();
    EXPECT_EQ(Text(walk->get_Sql()), script);

    for (const auto& [failing, part, state] :
         {std::tuple{kFailingRun, kFailingRunText, "ran-"},
          std::tuple{"SELECT * FROM missing", "Table with name missing does not exist", "text"}}) {
        walk->Invalidate();
        const Statement statement =
            Make(std::string("INSERT INTO t VALUES (1);") + failing + ";DROP TABLE t");
        const DuckDBExecutionResult result = statement->ExecuteScript();
        EXPECT_EQ(result.mStatementCount, 1u);
        EXPECT_EQ(result.mErrorCode, 468225u);
        EXPECT_NE(Text(result.mErrorText).find(part), std::string::npos) << Text(result.mErrorText);
        EXPECT_EQ(StateOf(*statement), state);
        EXPECT_EQ(Text(statement->get_Sql()), failing) << "a later walk has the failed statement alone";
    }
    EXPECT_EQ(Content(), "[1, 1]") << "nothing is rolled back";
}

TEST_F(StatementLifecycle, DatabaseAndStatementsKnowEachOther) {
    Database other = CreateDatabase("other.duckdb");
    const Statement statement = other->CreateStatement("SELECT 1; SELECT 2");
    EXPECT_EQ(Text(other->get_Name()) + Text(statement->get_Database()->get_Name()), "otherother");
    ExpectError([&] { mDatabase->RemoveStatement(statement.get()); },
                ":memory:", "DuckDBStatement does not belong to this database");
    statement->ExecuteNext();
    const Cursor cursor = statement->SqlSelect(kCursorLocationServer);
    EXPECT_EQ(other->get_RefsCount(), 1u) << "statements hold no reference";
    other.reset();
    EXPECT_EQ(StateOf(*statement), "gone");
    EXPECT_EQ(Text(statement->get_Sql()), "SELECT 1");
    mDatabase->Close();
    ExpectError([&] { Make("SELECT 1"); }, ":memory:", "DuckDBDatabase is not open");
    ExpectError([&] { mDatabase->RemoveStatement(nullptr); }, ":memory:", "DuckDBDatabase is not open");
}

} // namespace
} // namespace orkit::orsql::test
