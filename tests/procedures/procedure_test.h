/// @file
/// The fixture of the procedures' tests: the module's procedures registered with the stand-in host, a folder
/// for files, and a DuckDB of the test's own to make them with.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "duckdb_support/handles.h"
#include "host_standin/procedure_table.h"
#include "procedures/procedure_api_binding.h"
#include "procedures/registration.h"

namespace orkit::standin {

inline std::ostream& operator<<(std::ostream& outStream, const ProcedureValue& inValue) {
    if (inValue.IsNull()) {
        return outStream << "NULL";
    }
    return outStream << '(' << inValue.get_Type() << ") " << inValue.AsText();
}

} // namespace orkit::standin

namespace orlimbara::procedures::test {

using orkit::standin::CallProcedure;
using orkit::standin::FailProcedureEntry;
using orkit::standin::ProcedureAnswer;
using orkit::standin::ProcedureContext;
using orkit::standin::ProcedureCursor;
using orkit::standin::ProcedureEntry;
using orkit::standin::ProcedureHandles;
using orkit::standin::ProcedureValue;

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

/// A DuckDB in a file, or in memory for an empty path.
class Duck {
public:
    explicit Duck(const std::string& path = {}) {
        if (duckdb_open(path.empty() ? nullptr : path.c_str(), mDatabase.Put()) != DuckDBSuccess ||
            duckdb_connect(mDatabase.Get(), mConnection.Put()) != DuckDBSuccess) {
            throw std::runtime_error("no DuckDB at " + path);
        }
    }

    duckdb_support::OwnedResult Run(const std::string& sql) {
        duckdb_support::OwnedResult result;
        if (duckdb_query(mConnection.Get(), sql.c_str(), result.Put()) != DuckDBSuccess) {
            throw std::runtime_error(sql + ": " + duckdb_result_error(result.Get()));
        }
        return result;
    }

    /// The cells of the first column, which must be VARCHAR, as bytes; "NULL" for NULL.
    std::vector<std::string> Texts(const std::string& sql) {
        std::vector<std::string> texts;
        const duckdb_support::OwnedResult result = Run(sql);
        for (;;) {
            const duckdb_support::OwnedDataChunk chunk(duckdb_fetch_chunk(result.Struct()));
            if (!chunk) {
                return texts;
            }
            duckdb_vector vector = duckdb_data_chunk_get_vector(chunk.Get(), 0);
            auto* data = static_cast<duckdb_string_t*>(duckdb_vector_get_data(vector));
            std::uint64_t* validity = duckdb_vector_get_validity(vector);
            for (idx_t row = 0; row < duckdb_data_chunk_get_size(chunk.Get()); ++row) {
                const bool is_valid = validity == nullptr || duckdb_validity_row_is_valid(validity, row);
                texts.push_back(is_valid ? std::string(duckdb_string_t_data(&data[row]),
                                                       duckdb_string_t_length(data[row]))
                                         : "NULL");
            }
        }
    }

private:
    duckdb_support::OwnedDatabase mDatabase;
    duckdb_support::OwnedConnection mConnection;
};

/// After each test every value, cursor, context and DuckDB handle must be gone.
class ProcedureTest : public testing::Test {
protected:
    void SetUp() override {
        BindProcedureApi(orkit::standin::GetProcedureTable());
        const ProcedureContext context;
        RegisterProcedures(context.get_Handle());
        ASSERT_EQ(context.get_Errors(), std::vector<std::string>());
        std::string pattern = (std::filesystem::temp_directory_path() / "procedures_XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        mFolder = pattern;
    }

    void TearDown() override {
        orkit::standin::ClearProcedureFaults();
        orkit::standin::ForgetProcedures();
        std::filesystem::remove_all(mFolder);
        const ProcedureHandles handles = orkit::standin::CountProcedureHandles();
        EXPECT_EQ(handles.values, 0);
        EXPECT_EQ(handles.cursors, 0);
        EXPECT_EQ(handles.contexts, 0);
        EXPECT_EQ(duckdb_support::LiveHandleCount(), 0);
    }

    /// A path in the test's folder.
    std::string PathOf(const std::string& name) const { return (mFolder / name).string(); }

    /// Writes the rows of a query to a Parquet file; gives its path.
    std::string WriteParquet(const std::string& name, const std::string& select,
                             const std::string& options = {}) const {
        std::string path = PathOf(name);
        Duck().Run("COPY (" + select + ") TO '" + path + "' (FORMAT parquet" + options + ")");
        return path;
    }

    /// Makes a DuckDB file by the SQL given; gives its path.
    std::string WriteDatabase(const std::string& name, const std::string& sql) const {
        std::string path = PathOf(name);
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

private:
    std::filesystem::path mFolder;
};

} // namespace orlimbara::procedures::test
