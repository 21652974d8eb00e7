#include "procedures/procedure_query.h"

#include <memory>
#include <stdexcept>

#include "procedures/procedure_api_binding.h"
#include "procedures/result_cursor.h"
#include "procedures/result_transfer.h"

namespace orlimbara::procedures {

void OpenDatabase(const std::string& database_path, duckdb_support::OwnedDatabase& database,
                  duckdb_support::OwnedConnection& connection) {
    const bool is_in_memory = database_path.empty();
    if (duckdb_open(is_in_memory ? nullptr : database_path.c_str(), database.Put()) != DuckDBSuccess) {
        throw std::runtime_error(is_in_memory ? "Unable to open in-memory DuckDB database."
                                              : "Unable to open DuckDB database.");
    }
    if (duckdb_connect(database.Get(), connection.Put()) != DuckDBSuccess) {
        throw std::runtime_error(is_in_memory ? "Unable to connect to in-memory DuckDB database."
                                              : "Unable to connect to DuckDB database.");
    }
}

host_cursor RunProcedureQuery(call_context context, const std::string& database_path, const std::string& sql,
                              const std::string& limit) {
    auto result = std::make_unique<ProcedureResult>();
    BindCallbacks(*result);
    OpenDatabase(database_path, result->database, result->connection);
    OpenProcedureResult(*result, sql, limit);
    host_cursor cursor = nullptr;
    if (GetProcedureApi()->make_callback_cursor(context, &result->descriptor, &cursor) != 0) {
        throw std::runtime_error("Unable to create DuckDB cursor.");
    }
    static_cast<void>(result.release()); // the host's now, until it calls `destroy`
    return cursor;
}

} // namespace orlimbara::procedures
