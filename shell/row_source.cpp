#include "shell/row_source.h"

#include <array>
#include <utility>

#include "shell/failure.h"
#include "shell/text.h"

namespace orlimbara::shell {

namespace {

/// DuckDB's type ids whose cells are numbers, or digits too long for a number of the host.
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

constexpr std::array<std::string_view, 14> kHostTypeNames = {"unknown",  "array",  "bool",   "binary", "date",
                                                             "datetime", "double", "int64",  "money",  "null",
                                                             "text",     "time",   "uint64", "variant"};

bool IsNumberType(std::uint32_t inId) { return inId < 64 && (kNumberTypes >> inId & 1) != 0; }

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
        mColumns.push_back({ToUtf8(mCursor->get_ColumnName(i)),
                            ToUtf8(mCursor->get_ColumnTypeName(i)),
                            id,
                            {},
                            IsNumberType(id)});
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

ProcedureRows::ProcedureRows(orkit::standin::ProcedureCursor inCursor) : mCursor(std::move(inCursor)) {
    for (std::size_t i = 0; i < mCursor.get_ColumnCount(); ++i) {
        std::int32_t type = mCursor.get_ColumnType(i);
        if (type == 0) {
            // A cursor of given rows declares no types: its first row shows them.
            mIsOnFirstRow = mIsOnFirstRow || mCursor.NextRow();
            type = mIsOnFirstRow ? mCursor.ReadValue(static_cast<std::int32_t>(i)).get_Type()
                                 : HOST_TYPE_VARIANT;
        }
        mColumns.push_back({ValidUtf8(mCursor.get_ColumnName(i)), std::nullopt, 0,
                            std::string(HostTypeName(type)), IsHostNumber(type)});
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
} catch (const std::runtime_error& error) { // what a callback reported
    throw ProcedureError(error.what());
}

TableRows::TableRows(std::vector<std::string> inNames) {
    for (std::string& name : inNames) {
        mColumns.push_back({std::move(name), std::nullopt, 0, std::nullopt, false});
    }
}

void TableRows::Add(Row inRow) {
    for (std::size_t i = 0; i < inRow.size(); ++i) {
        mColumns[i].isNumber = (mColumns[i].isNumber || mRows.empty()) && inRow[i].IsNumber();
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
        mColumns.push_back({column.name, std::nullopt, 0, std::nullopt, column.isNumber});
    }
}

} // namespace orlimbara::shell
