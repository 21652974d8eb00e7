/// @file
/// The fixture of the procedures' tests: the module's procedures registered with the stand-in host, and a
/// folder for files.
#pragma once

#include <gtest/gtest.h>

#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "host_standin/faults.h"
#include "host_standin/live_objects.h"
#include "host_standin/procedure_table.h"
#include "procedures/host_boundary.h"
#include "procedures/procedures.h"
#include "tests_support/duck.h"
#include "tests_support/temp_folder.h"

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

using Row = std::vector<ProcedureValue>;
using Arguments = std::vector<ProcedureValue>;

inline ProcedureValue Text(std::string_view bytes) { return ProcedureValue::Text(bytes); }
inline ProcedureValue Int(std::int64_t number) { return ProcedureValue::Int64(number); }
inline ProcedureValue Null() { return ProcedureValue::Null(); }

/// The rest of the cursor's rows.
inline std::vector<Row> RowsOf(ProcedureCursor& cursor) {
    std::vector<Row> rows;
    while (cursor.NextRow()) {
        Row& row = rows.emplace_back();
        for (std::size_t column = 0; column < cursor.get_ColumnCount(); ++column) {
            row.push_back(cursor.ReadValue(static_cast<std::int32_t>(column)));
        }
    }
    return rows;
}

inline std::vector<std::string> NamesOf(const ProcedureCursor& cursor) {
    std::vector<std::string> names;
    for (std::size_t column = 0; column < cursor.get_ColumnCount(); ++column) {
        names.emplace_back(cursor.get_ColumnName(column));
    }
    return names;
}

/// After each test every value, cursor, context and DuckDB handle must be gone.
class ProcedureTest : public testing::Test {
protected:
    void SetUp() override {
        setenv("TZ", "America/New_York", 1); // local time and UTC must not be the same
        BindProcedureApi(orkit::standin::GetProcedureTable());
        const ProcedureContext context;
        RegisterProcedures(context.get_Handle());
        ASSERT_EQ(context.get_Errors(), std::vector<std::string>());
    }

    void TearDown() override {
        BindProcedureApi(orkit::standin::GetProcedureTable());
        orkit::standin::ClearFaults();
        orkit::standin::ForgetProcedures();
        EXPECT_EQ(orkit::standin::CountLiveObjects().get_Total(), 0);
        EXPECT_EQ(duckdb_support::LiveHandleCount(), 0);
    }

    /// Writes the rows of a query to a Parquet file; gives its path.
    std::string WriteParquet(const std::string& select, const std::string& options = {}) const {
        std::string path = folder / "t.parquet";
        Duck().Run("COPY (" + select + ") TO '" + path + "' (FORMAT parquet" + options + ")");
        return path;
    }

    /// Makes a DuckDB file by the SQL given; gives its path.
    std::string WriteDatabase(const std::string& sql) const {
        std::string path = folder / "shop.db";
        Duck(path).Run(sql);
        return path;
    }

    /// The cursor of a call that must succeed without a report.
    static ProcedureCursor Open(const std::string& procedure, const Arguments& arguments) {
        ProcedureAnswer answer = CallProcedure(procedure, arguments);
        if (!answer.cursor || !answer.errors.empty()) {
            throw std::runtime_error(procedure + ": " +
                                     (answer.errors.empty() ? "no cursor" : answer.errors.front()));
        }
        return std::move(answer.cursor);
    }

    static std::vector<Row> Fetch(const std::string& procedure, const Arguments& arguments) {
        ProcedureCursor cursor = Open(procedure, arguments);
        return RowsOf(cursor);
    }

    /// The one message of a call that must fail.
    static std::string ErrorOf(const std::string& procedure, const Arguments& arguments) {
        const ProcedureAnswer answer = CallProcedure(procedure, arguments);
        EXPECT_FALSE(answer.cursor) << procedure;
        EXPECT_EQ(answer.errors.size(), 1U) << procedure;
        return answer.errors.empty() ? std::string() : answer.errors.front();
    }

    const tests_support::TempFolder folder;
};

} // namespace orlimbara::procedures::test
