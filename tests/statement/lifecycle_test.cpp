#include "statement_fixture.h"

namespace orkit::orsql::test {
namespace {

class StatementLifecycle : public StatementTest {};

/// The state of the only live statement, by its handles: "t", followed by "w" if it walks through the script,
/// "p" if a statement is prepared and "r" if there is a result; "gone" if it is invalidated.
std::string StateOf(I_DuckDBStatement& inStatement) {
    std::string state = inStatement.get_Database() ? "t" : "gone";
    state += LiveHandleCount(HandleKind::ExtractedStatements) != 0 ? "w" : "";
    state += LiveHandleCount(HandleKind::PreparedStatement) != 0 ? "p" : "";
    return state + (LiveHandleCount(HandleKind::Result) != 0 ? "r" : "");
}

/// The state, how many statements are left, and the current text.
std::string PositionOf(I_DuckDBStatement& inStatement) {
    return StateOf(inStatement) + " " + std::to_string(inStatement.get_RemainingStatements()) + ": " +
           Text(inStatement.get_Sql());
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
/// "?" another failure. For the first start also how often it takes the guard and prepares the thread.
const std::pair<std::function<std::string(I_DuckDBStatement&)>, const char*> kOperations[] = {
    // from: the text; prepared; ran; ran the last; past the end; ran all; invalidated
    {[](auto& s) { return s.PrepareNext(), ""; }, " twp 1/1; twp; twp; tw; tw; twp;! gone;"},
    {[](auto& s) { return s.ExecuteNext() ? "more" : "end"; },
     "more twpr 1/3;end twpr;end twpr;end tw;end tw;more twpr;! gone;"},
    {[](auto& s) { return s.ExecuteAll(), ""; }, " tpr 1/7; tpr; tpr; t; t; tpr;! gone;"},
    {TellScript, "2 0 tpr 1/7;1 0 tpr;1 0 tpr;1 0 t;1 0 t;2 0 tpr;0 0 gone;"},
    {[](auto& s) { return std::to_string(s.SqlExecute()); },
     "0 t 1/1;0 twpr;0 twpr;0 twpr;0 tw;0 tpr;! gone;"},
    {[](auto& s) { return FirstCell(s.SqlSelect(1)); }, "null t 1/1;1 twp;1 twp;2 twp;null tw;2 tp;! gone;"},
    {[](auto& s) { return Text(s.SqlSelectToJSON()); },
     R"(null t 1/1;[{"a":1}] twp;[{"a":1}] twp;[{"b":2}] twp;null tw;[{"b":2}] tp;! gone;)"},
    {[](auto& s) { return FirstCell(s.SqlQuery(2)->get_Cursor()); },
     "null t 4/1;1 twp;1 twp;2 twp;null tw;2 tp;! gone;"},
    {[](auto& s) { return std::to_string(s.get_RemainingStatements()); },
     "0 t 1/0;1 twp;1 twpr;0 twpr;0 tw;0 tpr;0 gone;"},
    {[](auto& s) { return s.BindInteger(1, 5), ""; }, " t 1/0;? twp;? twpr;? twpr; tw;? tpr;! gone;"},
    {[](auto& s) { return s.BindValue(1, Number(5)), ""; }, " t 1/0;? twp;? twpr;? twpr; tw;? tpr;! gone;"},
    {[](auto& s) { return s.BindValues(Values({})), ""; }, " t 0/0; twp; twpr; twpr; tw; tpr;! gone;"},
    {[](auto& s) { return s.BindRows(nullptr), ""; }, " t 0/0; twp; twpr; twpr; tw; tpr;! gone;"},
    {[](auto& s) { return s.ClearBindings(), ""; }, " t 1/0; twp; twpr; twpr; tw; tpr;! gone;"},
    {[](auto& s) { return s.Invalidate(), ""; }, " gone 1/0; gone; gone; gone; gone; gone; gone;"},
};

TEST_F(StatementLifecycle, EveryOperationLeadsFromStateToState) {
    for (const auto& operation : kOperations) {
        std::string outcomes;
        for (const auto& start : kStarts) {
            const Statement statement = Make("SELECT 1 AS a; SELECT 2 AS b");
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
    EXPECT_EQ(PositionOf(*statement), "t 0: " + script);
    std::string walk;
    for (bool hasMore = true; hasMore;) {
        std::uint64_t rows = 7;
        hasMore = statement->ExecuteNext(rows);
        walk += std::to_string(rows) + " " + PositionOf(*statement) + "; ";
    }
    EXPECT_EQ(walk, "0 twpr 2: CREATE TABLE u (i INTEGER); 2 twpr 1:  INSERT INTO u VALUES (1), (2); "
                    "0 twpr 0:  SELECT * FROM u; ");
    EXPECT_FALSE(statement->ExecuteNext()) << "the walk stays at its end";
    statement->ExecuteAll();
    EXPECT_EQ(PositionOf(*statement), "t 0: " + script);
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
        EXPECT_EQ(StateOf(*bad), "t");
    }
    const Statement statement = Make("SELECT 1; INSERT INTO u VALUES (1), (2); SELECT 3");
    EXPECT_TRUE(statement->ExecuteNext());
    for (int i = 0; i < 2; ++i) {
        ExpectFailure("Table with name u does not exist", [&] { statement->PrepareNext(); });
        EXPECT_EQ(PositionOf(*statement), "tw 2:  INSERT INTO u VALUES (1), (2)");
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
    EXPECT_EQ(PositionOf(*walk), std::string("twpr 1: ") + kFailingRun) << "the failed result stays";
    walk->ExecuteAll();
    EXPECT_EQ(Text(walk->get_Sql()), script);

    for (const auto& [failing, part, state] :
         {std::tuple{kFailingRun, kFailingRunText, "tpr 0: "},
          std::tuple{"SELECT * FROM missing", "Table with name missing does not exist", "t 0: "}}) {
        walk->Invalidate();
        const Statement statement =
            Make(std::string("INSERT INTO t VALUES (1);") + failing + ";DROP TABLE t");
        const DuckDBExecutionResult result = statement->ExecuteScript();
        EXPECT_EQ(result.mStatementCount, 1u);
        EXPECT_EQ(result.mErrorCode, 468225u);
        EXPECT_NE(Text(result.mErrorText).find(part), std::string::npos) << Text(result.mErrorText);
        EXPECT_EQ(PositionOf(*statement), std::string(state) + failing)
            << "a later walk has the failed statement alone";
    }
    EXPECT_EQ(Content(), "[1, 1]") << "nothing is rolled back";
}

TEST_F(StatementLifecycle, DatabaseAndStatementsKnowEachOther) {
    Database other = CreateDatabase("other.duckdb");
    const Statement statement = other->CreateStatement("SELECT 1; SELECT 2");
    EXPECT_EQ(Text(other->get_Name()) + Text(statement->get_Database()->get_Name()), "otherother");
    ExpectError([&] { mDatabase->RemoveStatement(statement.get()); },
                ":memory:", "DuckDBStatement does not belong to this database");
    statement->BindValues(Values({}));
    statement->BindInteger(1, 5); // drops the values, and binds nothing yet
    statement->ExecuteNext();
    other->RemoveStatement(other->CreateStatement("SELECT 3").get());
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
