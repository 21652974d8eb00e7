#include "procedures/result_transfer.h"

#include <stdexcept>

#include "procedures/quoting.h"
#include "procedures/type_names.h"

namespace orlimbara::procedures {

namespace {

using duckdb_support::OwnedDataChunk;
using duckdb_support::OwnedResult;

/// " FROM (the caller's SQL) AS parquet_source".
std::string SubquerySource(std::string_view sql) {
    std::string source = " FROM (";
    source += sql;
    source += ") AS parquet_source";
    return source;
}

void Query(const ProcedureResult& result, const std::string& sql, OwnedResult& answer) {
    if (duckdb_query(result.connection.Get(), sql.c_str(), answer.Put()) != DuckDBSuccess) {
        throw std::runtime_error(ResultErrorText(answer.Get()));
    }
}

std::vector<ProcedureColumn> ColumnsOf(OwnedResult& probe) {
    const idx_t count = duckdb_column_count(probe.Get());
    std::vector<ProcedureColumn> columns;
    columns.reserve(count);
    for (idx_t index = 0; index < count; ++index) {
        const char* name = duckdb_column_name(probe.Get(), index);
        const duckdb_type type = duckdb_column_type(probe.Get(), index);
        const duckdb_type runtime_type = RuntimeType(type);
        columns.push_back({name != nullptr ? name : "Column" + std::to_string(index + 1), type, runtime_type,
                           HostTypeOf(runtime_type)});
    }
    return columns;
}

/// Cells are read as raw memory of the runtime types, so these must be the types that really came: between
/// probe and query another process may have put another file in the place of the one that was probed.
void RequireRuntimeTypes(ProcedureResult& result) {
    bool is_as_probed = duckdb_column_count(result.result.Get()) == result.columns.size();
    for (idx_t index = 0; is_as_probed && index < result.columns.size(); ++index) {
        is_as_probed = duckdb_column_type(result.result.Get(), index) == result.columns[index].runtime_type;
    }
    if (!is_as_probed) {
        throw std::runtime_error("The columns of the DuckDB result have changed.");
    }
}

/// All lists get their room here, so that nothing behind the callbacks allocates.
void FillDescriptor(ProcedureResult& result) {
    const std::size_t count = result.columns.size();
    result.column_data.reserve(count);
    result.column_validity.reserve(count);
    result.column_names.reserve(count);
    result.column_host_types.reserve(count);
    for (const ProcedureColumn& column : result.columns) {
        result.column_names.push_back(column.name.c_str());
        result.column_host_types.push_back(column.host_type);
    }
    result.descriptor.column_count = count;
    result.descriptor.column_names = result.column_names.data();
    result.descriptor.column_types = result.column_host_types.data();
}

} // namespace

std::string ColumnProjection(std::string_view column_name, duckdb_type type) {
    const std::string quoted = QuoteIdentifier(column_name);
    const duckdb_type runtime_type = RuntimeType(type);
    if (runtime_type == type) {
        return quoted;
    }
    return "CAST(" + quoted + " AS " + DuckDBTypeName(runtime_type) + ") AS " + quoted;
}

std::string BuildProjectionSelect(std::string_view sql, const std::vector<ProcedureColumn>& columns,
                                  std::string_view limit) {
    std::string select = "SELECT ";
    const char* separator = "";
    for (const ProcedureColumn& column : columns) {
        select += separator;
        select += ColumnProjection(column.name, column.source_type);
        separator = ", ";
    }
    select += SubquerySource(sql);
    if (!limit.empty()) {
        select += " LIMIT ";
        select += limit;
    }
    return select;
}

std::string ResultErrorText(duckdb_result* result) {
    const char* text = duckdb_result_error(result);
    return text != nullptr ? text : "DuckDB query failed.";
}

void OpenProcedureResult(ProcedureResult& result, std::string_view sql, std::string_view limit) {
    OwnedResult probe;
    Query(result, "SELECT *" + SubquerySource(sql) + " LIMIT 0", probe);
    result.columns = ColumnsOf(probe);
    Query(result, BuildProjectionSelect(sql, result.columns, limit), result.result);
    RequireRuntimeTypes(result);
    IndexChunks(result);
    FillDescriptor(result);
}

void IndexChunks(ProcedureResult& result) {
    const idx_t count = duckdb_result_chunk_count(result.result.Struct());
    result.chunk_starts.clear();
    result.chunk_starts.reserve(count);
    std::uint64_t rows = 0;
    for (idx_t index = 0; index < count; ++index) {
        const OwnedDataChunk chunk(duckdb_result_get_chunk(result.result.Struct(), index));
        if (!chunk) {
            throw std::runtime_error("Unable to access DuckDB result chunk.");
        }
        result.chunk_starts.push_back(rows);
        rows += duckdb_data_chunk_get_size(chunk.Get());
    }
    result.row_count = rows;
}

} // namespace orlimbara::procedures
