/// @file
/// The fixture of the procedures' tests: the module's procedures registered with the stand-in host, and a
/// folder for files.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "host_standin/procedure_table.h"
#include "procedures/host_boundary.h"
#include "procedures/procedures.h"
#include "tests_support/duck.h"
#include "tests_support/host_fixture.h"

namespace orkit::standin {

inline std::ostream& operator<<(std::ostream& outStream, const ProcedureValue& inValue) {
    return outStream << '(' << inValue.get_Type() << ") " << inValue.AsText();
}

} // namespace orkit::standin

namespace orlimbara::procedures::test {

using orkit::standin::CallProcedure;
using orkit::standin::ProcedureAnswer;
using orkit::standin::ProcedureContext;
using orkit::standin::ProcedureCursor;
using orkit::standin::ProcedureValue;
using tests_support::Duck;
using tests_support::Table;

/// A value in a test: a text, an integer, SQL NULL, or any other.
struct Value : ProcedureValue {
    Value(ProcedureValue value = {}) : ProcedureValue(std::move(value)) {}
    Value(const char* text) : ProcedureValue(Text(text)) {}
    Value(const std::string& text) : ProcedureValue(Text(text)) {}
    Value(int number) : ProcedureValue(Int64(number)) {}
    Value(std::nullptr_t) : ProcedureValue(Null()) {}
};
using Row = std::vector<Value>;

/// The rest of the cursor's rows.
inline std::vector<Row> RowsOf(ProcedureCursor& cursor) {
    std::vector<Row> rows;
    while (cursor.NextRow()) {
        Row& row = rows.emplace_back();
        for (std::size_t column = 0; column < cursor.get_ColumnCount(); ++column) {
            row.emplace_back(cursor.ReadValue(static_cast<std::int32_t>(column)));
        }
    }
    return rows;
}

/// The result of an operation, or "refused: " and the message that it throws.
inline std::string ResultOf(const std::function<std::string()>& operation) {
    std::string result;
    const std::string message = orkit::test::Refusal([&] { result = operation(); });
    return message.empty() ? result : "refused: " + message;
}

/// The function of DuckDB that fails, for failures that nothing else causes: `duckdb_open`, `duckdb_connect`,
/// `duckdb_query` (without a text), `duckdb_result_get_chunk` or none.
inline std::string gFailingFunction;

/// After each test every value, cursor, context and DuckDB handle must be gone.
class ProcedureTest : public orkit::test::HostTest {
protected:
    ProcedureTest() {
        setenv("TZ", "America/New_York", 1); // local time and UTC must not be the same
        BindProcedureApi(orkit::standin::GetProcedureTable());
        const ProcedureContext context;
        RegisterProcedures(context.get_Handle());
        EXPECT_EQ(context.get_Errors(), std::vector<std::string>());
    }
    ~ProcedureTest() override {
        gFailingFunction.clear();
        BindProcedureApi(orkit::standin::GetProcedureTable());
        orkit::standin::ForgetProcedures();
        EXPECT_EQ(duckdb_support::LiveHandleCount(), 0);
    }

    /// Writes the rows of a query to a Parquet file. @return its path.
    std::string WriteParquet(const std::string& select, const std::string& options = {}) const {
        std::string path = PathOf("t.parquet");
        Duck().Run("COPY (" + select + ") TO '" + path + "' (FORMAT parquet" + options + ")");
        return path;
    }

    /// Creates a DuckDB file with some SQL. @return its path.
    std::string WriteDatabase(const std::string& sql) const {
        std::string path = PathOf("shop.db");
        Duck(path).Run(sql);
        return path;
    }

    /// The cursor of a call, or its message as an exception: it must give either a cursor or one message.
    static ProcedureCursor Open(const std::string& procedure, const Row& arguments) {
        ProcedureAnswer answer = CallProcedure(procedure, {arguments.begin(), arguments.end()});
        EXPECT_EQ(answer.errors.size(), answer.cursor ? 0U : 1U) << procedure;
        return answer.cursor ? std::move(answer.cursor) : throw std::runtime_error(answer.errors.at(0));
    }

    static std::vector<Row> Fetch(const std::string& procedure, const Row& arguments) {
        ProcedureCursor cursor = Open(procedure, arguments);
        return RowsOf(cursor);
    }

    /// The names of the columns and how many rows there are, such as "a b 3 rows", or the message of a
    /// failure.
    static std::string OutcomeOf(const std::string& procedure, const Row& arguments) {
        ProcedureCursor cursor;
        const std::string message = orkit::test::Refusal([&] { cursor = Open(procedure, arguments); });
        if (!message.empty()) {
            return message;
        }
        std::string outcome;
        for (std::size_t column = 0; column < cursor.get_ColumnCount(); ++column) {
            outcome += cursor.get_ColumnName(column) + std::string(" ");
        }
        EXPECT_EQ(RowsOf(cursor).size(), static_cast<std::size_t>(cursor.get_RowCount()));
        return outcome + std::to_string(cursor.get_RowCount()) + " rows";
    }
};

} // namespace orlimbara::procedures::test
