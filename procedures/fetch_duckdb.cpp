#include "procedures/fetch_duckdb.h"

#include <stdexcept>
#include <string>

#include "procedures/arguments.h"
#include "procedures/procedure_api_binding.h"
#include "procedures/procedure_frame.h"
#include "procedures/procedure_query.h"
#include "procedures/quoting.h"

namespace orlimbara::procedures {

host_cursor fetch_duckdb(call_context context, const host_value* arguments) noexcept {
    return RunInProcedureFrame(context, "Unexpected error while reading DuckDB table or view.", [&] {
        const std::int32_t count = GetProcedureApi()->argument_count(context);
        if (count < 2) {
            throw std::runtime_error("fetch_duckdb requires database URI and DuckDB table or view name.");
        }
        const std::string path = RequireTextArgument(context, arguments[0], "fetch_duckdb");
        const std::string name = RequireTextArgument(context, arguments[1], "fetch_duckdb");
        const std::string select = BuildTableSelect(name);
        const std::string limit = count >= 3 ? ParseLimit(context, arguments[2]) : std::string();
        return RunProcedureQuery(context, path, select, limit);
    });
}

} // namespace orlimbara::procedures
