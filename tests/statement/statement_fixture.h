/// @file
/// The fixture of the tests of statements: an open database, and short ways to values and statements.
#pragma once

#include <initializer_list>
#include <string_view>

#include "tests_support/object_fixture.h"

namespace orkit::orsql::test {

using Statement = smart_ptr<I_DuckDBStatement>;
using Value = smart_ptr<I_Value>;

inline Value Number(std::int32_t inNumber) {
    Value value(CreateValueLong(true, nullptr, nullptr));
    value->put_Long(inNumber);
    return value;
}

/// A text, or a JSON value.
inline Value TextValue(std::string_view inText, bool inIsJson = false) {
    Value value((inIsJson ? CreateValueJSON : CreateValueString)(true, nullptr, nullptr));
    if (!inIsJson) {
        value->put_MaxLength(static_cast<std::uint32_t>(2 * inText.size() + 2));
    }
    value->put_String(Wide(inText));
    return value;
}

template <class Item>
smart_ptr<ArrayOfSmartPtrs<Item>> ArrayOf(std::initializer_list<smart_ptr<Item>> inItems) {
    smart_ptr<ArrayOfSmartPtrs<Item>> array(new ArrayOfSmartPtrs<Item>(inItems.size()));
    for (const smart_ptr<Item>& item : inItems) {
        array->Append(item);
    }
    return array;
}
inline smart_ptr<ValueArray> Values(std::initializer_list<Value> inValues) {
    return ArrayOf<I_Value>(inValues);
}
inline smart_ptr<RowArray> RowsOf(std::initializer_list<smart_ptr<ValueArray>> inRows) {
    return ArrayOf<ValueArray>(inRows);
}

class StatementTest : public ObjectTest {
protected:
    void SetUp() override {
        ObjectTest::SetUp();
        mDatabase = CreateDatabase();
        Execute(mDatabase, "SET TimeZone = 'UTC'; CREATE TABLE t (i INTEGER)");
    }
    void TearDown() override {
        mDatabase.reset();
        ObjectTest::TearDown();
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
    /// The text and type of the parameter that a value becomes.
    Rows Parameter(const Value& inValue) const {
        return RunWith("SELECT $1::VARCHAR, typeof($1)", {inValue});
    }
    /// What is in table t.
    std::string Content() const { return SelectOne(mDatabase, "SELECT list(i ORDER BY i)::VARCHAR FROM t"); }
    /// Checks that a call fails with a text of DuckDB or the module that has this part.
    static void ExpectFailure(std::string_view inPart, const std::function<void()>& inCall) {
        ExpectDuckDBErrorWith(inCall, ":memory:", inPart);
    }

    smart_ptr<I_DuckDBDatabase> mDatabase;
};

} // namespace orkit::orsql::test
