/// @file
/// The fixture of the statement tests: an open database, and short functions for values and statements.
#pragma once

#include <string_view>

#include "tests_support/object_fixture.h"

namespace orkit::orsql::test {

class StatementTest : public ObjectTest {
protected:
    StatementTest() {
        mDatabase = CreateDatabase();
        Execute(mDatabase, "SET TimeZone = 'UTC'; CREATE TABLE t (i INTEGER)");
    }

    Statement Make(std::string_view inSql) const { return mDatabase->CreateStatement(Wide(inSql)); }
    Statement Prepare(std::string_view inSql) const {
        Statement statement = Make(inSql);
        statement->PrepareNext();
        return statement;
    }
    /// The rows of a prepared statement's run.
    static Rows Run(const Statement& inStatement) {
        return ReadAll(inStatement->SqlSelect(kCursorLocationServer));
    }
    /// The rows of a text run with values.
    Rows RunWith(std::string_view inSql, std::initializer_list<Value> inValues) const {
        return ReadAll(mDatabase->SqlSelect(Wide(inSql), kCursorLocationServer, Values(inValues)));
    }
    /// The text and type of the parameter for a value, such as "5 INTEGER".
    std::string Parameter(const Value& inValue) const {
        return RunWith("SELECT concat(coalesce($1::VARCHAR, 'NULL'), ' ', typeof($1))", {inValue})[0][0];
    }
    /// The content of table t.
    std::string Content() const { return SelectOne(mDatabase, "SELECT list(i ORDER BY i)::VARCHAR FROM t"); }
    /// Checks that a call fails with a text of DuckDB or the module that has this part.
    static void ExpectFailure(const std::string& inPart, const std::function<void()>& inCall) {
        ExpectErrorWith(inCall, ":memory:", inPart);
    }
};

} // namespace orkit::orsql::test
