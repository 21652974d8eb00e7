#include <algorithm>
#include <cstring>
#include <new>
#include <stdexcept>
#include <vector>

#include "procedures/arguments.h"
#include "procedures/duckdb_instance.h"
#include "procedures/host_boundary.h"
#include "procedures/procedures.h"
#include "procedures/quoting.h"
#include "procedures/type_names.h"

namespace orlimbara::procedures {

namespace {

constexpr std::array kColumnNames = {"ordinal",      "name",           "duckdb_type",
                                     "runtime_type", "orlimbara_type", "orlimbara_type_name"};
using SchemaRow = std::array<host_value, kColumnNames.size()>;

host_value NewText(call_context context, const char* text) {
    return GetProcedureApi()->new_text(context, text, std::strlen(text), 0);
}

/// The row about one column of the result.
SchemaRow DescribeColumn(call_context context, duckdb_result* result, idx_t column) {
    const char* name = duckdb_column_name(result, column);
    const duckdb_type type = duckdb_column_type(result, column);
    const duckdb_type runtime_type = RuntimeType(type);
    const std::int32_t host_type = HostTypeOf(runtime_type);
    const procedure_api& api = *GetProcedureApi();
    const SchemaRow row = {api.new_int64(context, static_cast<std::int64_t>(column) + 1),
                           NewText(context, name != nullptr ? name : ""),
                           NewText(context, DuckDBTypeName(type)),
                           NewText(context, DuckDBTypeName(runtime_type)),
                           api.new_int64(context, host_type),
                           NewText(context, HostTypeName(host_type))};
    if (std::ranges::find(row, nullptr) != row.end()) {
        throw std::bad_alloc(); // null would pass for SQL NULL
    }
    return row;
}

/// A cursor over complete rows. The host takes the values, even if it refuses to make the cursor.
host_cursor MakeRowCursor(call_context context, const std::vector<SchemaRow>& rows) {
    std::vector<const host_value*> row_values;
    row_values.reserve(rows.size());
    for (const SchemaRow& row : rows) {
        row_values.push_back(row.data());
    }
    host_cursor cursor = nullptr;
    if (GetProcedureApi()->make_row_cursor(context, kColumnNames.size(), rows.size(), kColumnNames.data(),
                                           row_values.data(), &cursor) != 0) {
        throw std::runtime_error("Unable to create cursor.");
    }
    return cursor;
}

} // namespace

host_cursor parquet_schema(const ArgumentView& arguments) {
    const std::string path = arguments.Text(0);
    const DuckDBInstance instance("");
    duckdb_support::OwnedResult result = instance.Query("SELECT * FROM " + ParquetSource(path) + " LIMIT 0");
    const idx_t count = duckdb_column_count(result.Get());
    std::vector<SchemaRow> rows;
    rows.reserve(count);
    for (idx_t column = 0; column < count; ++column) {
        rows.push_back(DescribeColumn(arguments.Context(), result.Get(), column));
    }
    return MakeRowCursor(arguments.Context(), rows);
}

} // namespace orlimbara::procedures
