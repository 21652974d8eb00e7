/// @file
/// Sources of rows for the renderers: a query's cursor, a table procedure's cursor, or the shell itself.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/duckdb_objects.h"
#include "host_standin/procedure_table.h"
#include "shell/cell.h"
#include "shell/failure.h"

namespace orlimbara::shell {

/// A column. Names are UTF-8.
struct Column {
    std::string name;
    std::optional<std::string> type;     ///< DuckDB's full text of the type
    std::uint32_t typeId = 0;            ///< goes with `type`
    std::optional<std::string> hostType; ///< of a procedure's column
    bool isNumber = false;               ///< shown flush right
    bool isWhole = false;                ///< never cut, as numbers, dates and times
    std::optional<DecimalType> decimal;  ///< of a DECIMAL column
};

/// A row that may not be formatted yet: the host's values, or cells.
struct LazyRow {
    std::vector<orkit::smart_ptr<orkit::orsql::I_Value>> values;
    Row cells;
    /// Formats the values as cells.
    void Format();
};

/// Rows that are read once, front to back.
class RowSource {
public:
    virtual ~RowSource() = default;
    const std::vector<Column>& get_Columns() const { return mColumns; }
    /// Reads the next row into `outRow`, one cell per column. @return false after the last row. Exceptions of
    /// the cursor pass through.
    virtual bool Next(Row& outRow) = 0;
    /// The same, without formatting if that can wait.
    virtual bool NextLazy(LazyRow& outRow) {
        outRow.values.clear();
        return Next(outRow.cells);
    }
    /// Has a column's texts, such as SQL to be copied, and all rows shown whole.
    void KeepWhole(std::size_t inColumn) {
        mColumns[inColumn].isWhole = true;
        mIsKeptWhole = true;
    }
    bool IsKeptWhole() const { return mIsKeptWhole; }
    /// Where the statement or command came from; may be null. It must outlive the reading.
    void put_Origin(const Origin* inOrigin) { mOrigin = inOrigin; }
    const Origin* get_Origin() const { return mOrigin; }

protected:
    std::vector<Column> mColumns;

private:
    const Origin* mOrigin = nullptr;
    bool mIsKeptWhole = false;
};

/// The rows of a cursor, from its current position.
class CursorRows final : public RowSource {
public:
    explicit CursorRows(orkit::smart_ptr<orkit::orsql::I_DuckDBCursor> inCursor);
    bool Next(Row& outRow) override;
    bool NextLazy(LazyRow& outRow) override;

private:
    orkit::smart_ptr<orkit::orsql::I_DuckDBCursor> mCursor;
};

/// The rows of a procedure's cursor.
class ProcedureRows final : public RowSource {
public:
    explicit ProcedureRows(orkit::standin::ProcedureCursor inCursor);
    bool Next(Row& outRow) override;

private:
    orkit::standin::ProcedureCursor mCursor;
    bool mIsOnFirstRow = false; // read early, for the columns' types
};

/// Rows that the shell itself makes.
class TableRows final : public RowSource {
public:
    explicit TableRows(std::vector<std::string> inNames);
    /// A column whose cells are all numbers is shown flush right.
    void Add(Row inRow);
    bool Next(Row& outRow) override;

private:
    std::vector<Row> mRows;
    std::size_t mNext = 0;
};

/// Rows of another source without its columns' types, for the answers of dot commands.
class UntypedRows final : public RowSource {
public:
    explicit UntypedRows(RowSource& inSource);
    bool Next(Row& outRow) override { return mSource.Next(outRow); }

private:
    RowSource& mSource;
};

/// The host's name of a number of `host_type`.
std::string_view HostTypeName(std::int32_t inType);

} // namespace orlimbara::shell
