#include "procedures/inspection.h"

#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include "duckdb_support/handles.h"
#include "procedures/arguments.h"
#include "procedures/procedure_api_binding.h"
#include "procedures/procedure_frame.h"
#include "procedures/procedure_query.h"
#include "procedures/quoting.h"
#include "procedures/result_transfer.h"
#include "procedures/row_cursor.h"
#include "procedures/type_names.h"

namespace orlimbara::procedures {

namespace {

using duckdb_support::OwnedConnection;
using duckdb_support::OwnedDatabase;
using duckdb_support::OwnedResult;

host_value NewText(call_context context, const char* text) {
    return GetProcedureApi()->new_text(context, text, std::strlen(text), 0);
}

/// One row of `parquet_schema`, about one column of the result.
std::vector<host_value> SchemaRow(call_context context, OwnedResult& result, idx_t column) {
    const char* name = duckdb_column_name(result.Get(), column);
    const duckdb_type type = duckdb_column_type(result.Get(), column);
    const duckdb_type runtime_type = RuntimeType(type);
    const std::int32_t host_type = HostTypeOf(runtime_type);
    const procedure_api& api = *GetProcedureApi();
    return {api.new_int64(context, static_cast<std::int64_t>(column) + 1),
            NewText(context, name != nullptr ? name : ""),
            NewText(context, DuckDBTypeName(type)),
            NewText(context, DuckDBTypeName(runtime_type)),
            api.new_int64(context, host_type),
            NewText(context, HostTypeName(host_type))};
}

host_cursor MakeSchemaCursor(call_context context, const std::string& path) {
    OwnedDatabase database;
    OwnedConnection connection;
    OpenDatabase("", database, connection);
    const std::string sql = "SELECT * FROM " + ParquetSource(path) + " LIMIT 0";
    OwnedResult result;
    if (duckdb_query(connection.Get(), sql.c_str(), result.Put()) != DuckDBSuccess) {
        throw std::runtime_error(ResultErrorText(result.Get()));
    }
    const std::vector<std::string> names = {"ordinal",      "name",           "duckdb_type",
                                            "runtime_type", "orlimbara_type", "orlimbara_type_name"};
    const idx_t count = duckdb_column_count(result.Get());
    std::vector<std::vector<host_value>> rows;
    rows.reserve(count);
    for (idx_t column = 0; column < count; ++column) {
        rows.push_back(SchemaRow(context, result, column));
    }
    return MakeRowCursor(context, names, rows);
}

} // namespace

host_cursor parquet_schema(call_context context, const host_value* arguments) noexcept {
    return RunInProcedureFrame(context, "Unexpected error while reading parquet schema.", [&] {
        return MakeSchemaCursor(context, RequireTextArgument(context, arguments[0], "parquet_schema"));
    });
}

host_cursor parquet_metadata(call_context context, const host_value* arguments) noexcept {
    return RunInProcedureFrame(context, "Unexpected error while reading parquet metadata.", [&] {
        const std::string path = RequireTextArgument(context, arguments[0], "parquet_metadata");
        const std::string sql = "SELECT * FROM parquet_metadata(" + QuoteLiteral(path) + ")";
        return RunProcedureQuery(context, "", sql, "");
    });
}

host_cursor parquet_count(call_context context, const host_value* arguments) noexcept {
    return RunInProcedureFrame(context, "Unexpected error while counting parquet rows.", [&] {
        const std::string path = RequireTextArgument(context, arguments[0], "parquet_count");
        std::string sql = "SELECT count(*) AS count FROM " + ParquetSource(path);
        if (GetProcedureApi()->argument_count(context) > 1) {
            const std::string where = OptionalTextArgument(context, arguments[1]);
            if (!where.empty()) {
                sql += " WHERE " + where;
            }
        }
        return RunProcedureQuery(context, "", sql, "");
    });
}

} // namespace orlimbara::procedures
