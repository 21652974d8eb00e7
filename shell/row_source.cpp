#include "shell/row_source.h"

#include <array>
#include <charconv>
#include <utility>

#include "shell/failure.h"
#include "shell/text.h"

namespace orlimbara::shell {

namespace {

/// DuckDB's ids of types whose cells are numbers, or digits too long for a number of the host.
constexpr std::uint64_t kNumberTypes = [] {
    constexpr std::uint32_t kHugeInt = 16;
    constexpr std::uint32_t kDecimal = 19;
    constexpr std::uint32_t kUHugeInt = 32;
    constexpr std::uint32_t kBignum = 35;
    std::uint64_t types = 0;
    for (std::uint32_t id = 2; id <= 11; ++id) { // TINYINT to DOUBLE
        types |= std::uint64_t{1} << id;
    }
    for (const std::uint32_t id : {kHugeInt, kDecimal, kUHugeInt, kBignum}) {
        types |= std::uint64_t{1} << id;
    }
    return types;
}();

constexpr std::uint32_t kDecimalType = 19;

/// Dates, times and other types that would be misread when cut: BOOLEAN, TIMESTAMP, DATE, TIME, INTERVAL, the
/// other TIMESTAMPs, TIMETZ, TIMESTAMPTZ, TIME_NS.
constexpr std::uint64_t kWholeTypes = [] {
    std::uint64_t types = kNumberTypes;
    for (const std::uint32_t id : {1U, 12U, 13U, 14U, 15U, 20U, 21U, 22U, 30U, 31U, 39U}) {
        types |= std::uint64_t{1} << id;
    }
    return types;
}();

constexpr std::array<std::string_view, 14> kHostTypeNames = {"unknown",  "array",  "bool",   "binary", "date",
                                                             "datetime", "double", "int64",  "money",  "null",
                                                             "text",     "time",   "uint64", "variant"};

bool IsOneOf(std::uint64_t inTypes, std::uint32_t inId) { return inId < 64 && (inTypes >> inId & 1) != 0; }

/// Parses "DECIMAL(18,3)".
std::optional<DecimalType> TakeDecimal(std::uint32_t inId, std::string_view inName) {
    constexpr std::string_view kPrefix = "DECIMAL(";
    DecimalType type;
    if (inId != kDecimalType || !inName.starts_with(kPrefix)) {
        return std::nullopt;
    }
    const char* const end = inName.data() + inName.size();
    const auto [comma, error] = std::from_chars(inName.data() + kPrefix.size(), end, type.width);
    if (error != std::errc() || comma == end ||
        std::from_chars(comma + 1, end, type.scale).ec != std::errc()) {
        return std::nullopt;
    }
    return type;
}

bool IsHostNumber(std::int32_t inType) {
    return inType == HOST_TYPE_INT64 || inType == HOST_TYPE_UINT64 || inType == HOST_TYPE_DOUBLE;
}

} // namespace

std::string_view HostTypeName(std::int32_t inType) {
    const auto index = static_cast<std::size_t>(inType);
    return inType >= 0 && index < kHostTypeNames.size() ? kHostTypeNames[index] : kHostTypeNames[0];
}

CursorRows::CursorRows(orkit::smart_ptr<orkit::orsql::I_DuckDBCursor> inCursor)
    : mCursor(std::move(inCursor)) {
    for (std::uint32_t i = 0; i < mCursor->get_ColumnCount(); ++i) {
        const std::uint32_t id = mCursor->get_ColumnType(i);
        Column column;
        column.name = ToUtf8(mCursor->get_ColumnName(i));
        column.type = ToUtf8(mCursor->get_ColumnTypeName(i));
        column.typeId = id;
        column.isNumber = IsOneOf(kNumberTypes, id);
        column.isWhole = IsOneOf(kWholeTypes, id);
        column.decimal = TakeDecimal(id, *column.type);
        mColumns.push_back(std::move(column));
    }
}

bool CursorRows::Next(Row& outRow) {
    if (!mCursor->NextRecord()) {
        return false;
    }
    outRow.resize(mColumns.size());
    for (std::uint32_t i = 0; i < outRow.size(); ++i) {
        ReadCell(*mCursor->get_Value(i), outRow[i]);
    }
    return true;
}

bool CursorRows::NextLazy(LazyRow& outRow) {
    if (!mCursor->NextRecord()) {
        return false;
    }
    outRow.values.resize(mColumns.size());
    for (std::uint32_t i = 0; i < outRow.values.size(); ++i) {
        outRow.values[i] = mCursor->get_Value(i);
    }
    return true;
}

void LazyRow::Format() {
    if (!values.empty()) {
        cells.resize(values.size());
        for (std::size_t i = 0; i < values.size(); ++i) {
            ReadCell(*values[i], cells[i]);
        }
        values.clear();
    }
}

ProcedureRows::ProcedureRows(orkit::standin::ProcedureCursor inCursor) : mCursor(std::move(inCursor)) {
    for (std::size_t i = 0; i < mCursor.get_ColumnCount(); ++i) {
        std::int32_t type = mCursor.get_ColumnType(i);
        if (type == 0) {
            // A cursor of given rows declares no types; they are taken from its first row.
            mIsOnFirstRow = mIsOnFirstRow || mCursor.NextRow();
            type = mIsOnFirstRow ? mCursor.ReadValue(static_cast<std::int32_t>(i)).get_Type()
                                 : HOST_TYPE_VARIANT;
        }
        Column column;
        column.name = ValidUtf8(mCursor.get_ColumnName(i));
        column.hostType = std::string(HostTypeName(type));
        column.isNumber = IsHostNumber(type);
        column.isWhole =
            column.isNumber || type == HOST_TYPE_DATE || type == HOST_TYPE_TIME || type == HOST_TYPE_DATETIME;
        mColumns.push_back(std::move(column));
    }
}

bool ProcedureRows::Next(Row& outRow) try {
    if (!std::exchange(mIsOnFirstRow, false) && !mCursor.NextRow()) {
        return false;
    }
    outRow.resize(mColumns.size());
    for (std::size_t i = 0; i < outRow.size(); ++i) {
        ReadCell(mCursor.ReadValue(static_cast<std::int32_t>(i)), outRow[i]);
    }
    return true;
} catch (const std::runtime_error& error) { // the error that a callback reported
    throw ProcedureError(error.what());
}

TableRows::TableRows(std::vector<std::string> inNames) {
    for (std::string& name : inNames) {
        mColumns.emplace_back().name = std::move(name);
    }
}

void TableRows::Add(Row inRow) {
    for (std::size_t i = 0; i < inRow.size(); ++i) {
        mColumns[i].isNumber = (mColumns[i].isNumber || mRows.empty()) && inRow[i].IsNumber();
        mColumns[i].isWhole = mColumns[i].isNumber;
    }
    mRows.push_back(std::move(inRow));
}

bool TableRows::Next(Row& outRow) {
    if (mNext == mRows.size()) {
        return false;
    }
    outRow = mRows[mNext++];
    return true;
}

UntypedRows::UntypedRows(RowSource& inSource) : mSource(inSource) {
    for (const Column& column : inSource.get_Columns()) {
        Column untyped;
        untyped.name = column.name;
        untyped.isNumber = column.isNumber;
        untyped.isWhole = column.isWhole;
        mColumns.push_back(std::move(untyped));
    }
}

} // namespace orlimbara::shell
