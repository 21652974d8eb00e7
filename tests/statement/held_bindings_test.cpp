#include <functional>

#include "statement_fixture.h"

namespace orkit::orsql::test {
namespace {

constexpr const char* kNotProvided = "Values were not provided";

class HeldBindings : public StatementTest {
protected:
    void SetUp() override {
        StatementTest::SetUp();
        Execute(mDatabase, "CREATE TABLE t (i INTEGER)");
    }
    std::string Content() const { return SelectOne(mDatabase, "SELECT list(i ORDER BY i)::VARCHAR FROM t"); }
};

TEST_F(HeldBindings, OneArrayServesEveryStatementAndEveryRun) {
    const Statement statement = Make("INSERT INTO t VALUES (?); INSERT INTO t VALUES (? + 1)");
    const smart_ptr<ValueArray> values = Values({Number(1)});
    statement->BindValues(values);
    statement->ExecuteAll();
    EXPECT_EQ(Content(), "[1, 2]");
    statement->SqlExecute();
    EXPECT_EQ(Content(), "[1, 2, 2]") << "a run on its own has the values too";
    (*values)[0] = Number(7);
    statement->SqlExecute();
    EXPECT_EQ(Content(), "[1, 2, 2, 8]") << "the array is the caller's as well, and is read at each run";
}

TEST_F(HeldBindings, ValuesAreBoundAtOnceOnAPreparedStatement) {
    const Statement statement = Prepare("SELECT $1::INTEGER, $2::INTEGER");
    statement->BindInteger(2, 9);
    statement->BindValues(Values({Number(1), nullptr}));
    EXPECT_EQ(Run(statement), (Rows{{"1", "NULL"}}));
    ExpectDuckDBErrorWith(
        [&] {
            statement->BindValues(Values({Number(1), Number(2), Number(3)}));
        },
        mName, "Can not bind to parameter number 3");
    ExpectDuckDBErrorWith([&] { Run(statement); }, mName, "Can not bind to parameter number 3");
    statement->BindValues(Values({}));
    ExpectDuckDBErrorWith([&] { Run(statement); }, mName, kNotProvided);
}

TEST_F(HeldBindings, ArraysLiveAsLongAsTheStatementHoldsThem) {
    const smart_ptr<ValueArray> values = Values({Number(1)});
    const smart_ptr<RowArray> rows = RowsOf({values});
    Statement statement = Prepare("SELECT ?");
    const std::function<void()> kWaysOut[] = {
        [&] { statement->ClearBindings(); },         [&] { statement->BindInteger(1, 2); },
        [&] { statement->BindValue(1, Number(2)); }, [&] { statement->BindRows(nullptr); },
        [&] { statement->BindValues(nullptr); },     [&] { statement.reset(); }};
    for (const auto& wayOut : kWaysOut) {
        statement->BindValues(values);
        EXPECT_EQ(values->get_RefsCount(), 3u);
        statement->BindRows(rows);
        EXPECT_EQ(values->get_RefsCount(), 2u) << "the rows replace the values";
        statement->SqlExecute();
        EXPECT_EQ(values->get_RefsCount(), 3u) << "the row in work";
        wayOut();
        EXPECT_EQ(values->get_RefsCount(), 2u);
        EXPECT_EQ(rows->get_RefsCount(), 1u);
    }
    statement = Prepare("SELECT ?");
    statement->BindValues(values);
    mDatabase->Close();
    EXPECT_EQ(values->get_RefsCount(), 3u) << "arrays go with the statement object";
}

TEST_F(HeldBindings, SingleValuesDropTheArraysAndAllBindings) {
    const Statement statement = Prepare("SELECT $1::INTEGER, $2::INTEGER");
    statement->BindValues(Values({Number(1), Number(2)}));
    statement->BindInteger(1, 5);
    ExpectDuckDBErrorWith([&] { Run(statement); }, mName, kNotProvided);
    statement->BindValue(2, Number(6));
    EXPECT_EQ(Run(statement), (Rows{{"5", "6"}})) << "later ones add to what is there";
    statement->BindRows(RowsOf({Values({Number(1), Number(2)}), Values({Number(3), Number(4)})}));
    statement->BindValue(2, Number(6));
    ExpectDuckDBErrorWith([&] { Run(statement); }, mName, kNotProvided);
}

TEST_F(HeldBindings, NothingIsHeldOfAValueWithoutAPreparedStatement) {
    const Statement statement = Make("SELECT ?");
    const Value value = Number(1);
    statement->BindValue(1, value);
    EXPECT_EQ(value->get_RefsCount(), 1u);
    statement->PrepareNext();
    ExpectDuckDBErrorWith([&] { Run(statement); }, mName, kNotProvided);
}

TEST_F(HeldBindings, RunsOnceForEachRow) {
    const Statement statement = Prepare("INSERT INTO t SELECT unnest(range(?))");
    statement->BindRows(RowsOf({Values({Number(3)}), Values({Number(1)}), Values({Number(2)})}));
    EXPECT_EQ(statement->SqlExecute(), 2u) << "of the last run, not a sum";
    EXPECT_EQ(Content(), "[0, 0, 0, 1, 1, 2]");
    EXPECT_EQ(statement->SqlQuery(kCursorLocationServer)->get_RowsChanged(), 2) << "all rows run again";
    EXPECT_EQ(SelectOne(mDatabase, "SELECT count(*) FROM t"), "12");
    const Raised raised = Catch([&] { statement->SqlSelect(kCursorLocationServer); });
    EXPECT_EQ(raised.mClass, "xFeatureError");
    EXPECT_EQ(raised.mCode, 40960u);
    EXPECT_EQ(raised.mContext, "orDuckDB - multi-row binding for SqlSelect");
    EXPECT_EQ(SelectOne(mDatabase, "SELECT count(*) FROM t"), "12") << "nothing ran";
}

TEST_F(HeldBindings, NoRowsRunNothing) {
    const Statement statement = Prepare("INSERT INTO t VALUES (1)");
    statement->BindRows(RowsOf({}));
    EXPECT_EQ(statement->SqlExecute(), 0u);
    EXPECT_FALSE(statement->SqlSelect(kCursorLocationServer));
    EXPECT_EQ(Content(), "NULL");
    statement->ClearBindings();
    statement->SqlExecute();
    statement->BindRows(RowsOf({}));
    EXPECT_EQ(statement->SqlQuery(kCursorLocationServer)->get_RowsChanged(), 1)
        << "the old result is still there";
    EXPECT_EQ(Content(), "[1]");
}

TEST_F(HeldBindings, OneRowServesASelect) {
    const Statement statement = Make("SELECT ?::INTEGER; SELECT ? + 1");
    statement->BindRows(RowsOf({Values({Number(4)})}));
    statement->PrepareNext();
    EXPECT_EQ(Run(statement), (Rows{{"4"}}));
    statement->PrepareNext();
    EXPECT_EQ(Run(statement), (Rows{{"5"}}));
}

TEST_F(HeldBindings, TheRowLastInWorkIsBoundToTheNextStatement) {
    const Statement statement = Make("SELECT ?::INTEGER; SELECT 1");
    statement->BindRows(RowsOf({Values({Number(4)}), Values({Number(5)})}));
    statement->PrepareNext();
    statement->SqlExecute();
    // It has no parameter, so the first value of the row is one too many.
    ExpectDuckDBErrorWith([&] { statement->PrepareNext(); }, mName, "parameter number 1");
}

TEST_F(HeldBindings, NoRowsAfterAFailedRunGiveItsOutcome) {
    const Statement statement = Prepare("SELECT 'x'::INTEGER");
    EXPECT_EQ(Catch([&] { statement->SqlExecute(); }).mCode, 468225u);
    statement->BindRows(RowsOf({}));
    const smart_ptr<I_DuckDBQueryResult> result = statement->SqlQuery(kCursorLocationServer);
    EXPECT_EQ(result->get_ResultFlags(), I_DuckDBQueryResult::kResultHasError);
    EXPECT_EQ(Text(result->get_ErrorType()), "Conversion");
    EXPECT_EQ(statement->SqlQuery(kCursorLocationServer)->get_ResultFlags(), 0u) << "it went to the first";
}

TEST_F(HeldBindings, FailedRowStopsTheRunAndTakesNothingBack) {
    const Statement statement = Prepare("INSERT INTO t VALUES (?)");
    statement->BindRows(RowsOf({Values({Number(1)}), Values({TextValue("x")}), Values({Number(3)})}));
    ExpectDuckDBErrorWith([&] { statement->SqlExecute(); }, mName, "Could not convert string 'x'");
    EXPECT_EQ(Content(), "[1]");
    statement->BindRows(RowsOf({Values({Number(2)}), nullptr}));
    ExpectDuckDBErrorWith([&] { statement->SqlExecute(); }, mName, kNotProvided);
    EXPECT_EQ(Content(), "[1, 2]");
}

} // namespace
} // namespace orkit::orsql::test
