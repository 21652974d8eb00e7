#include "procedures/fetch_parquet.h"

#include <stdexcept>

#include "procedures/arguments.h"
#include "procedures/procedure_api_binding.h"
#include "procedures/procedure_frame.h"
#include "procedures/procedure_query.h"
#include "procedures/quoting.h"

namespace orlimbara::procedures {

std::string BuildParquetSelect(call_context context, const host_value* arguments) {
    const std::int32_t count = GetProcedureApi()->argument_count(context);
    if (count < 1) {
        throw std::runtime_error("fetch_parquet requires parquet file path.");
    }
    const std::string path = RequireTextArgument(context, arguments[0], "fetch_parquet");
    std::string select = "SELECT ";
    select += count < 2 ? "*" : BuildColumnList(context, arguments[1]);
    select += " FROM ";
    select += ParquetSource(path);
    if (count > 2) {
        const std::string where = OptionalTextArgument(context, arguments[2]);
        if (!where.empty()) {
            select += " WHERE ";
            select += where;
        }
    }
    return select;
}

host_cursor fetch_parquet(call_context context, const host_value* arguments) noexcept {
    return RunInProcedureFrame(context, "Unexpected error while reading parquet file.", [&] {
        const std::string select = BuildParquetSelect(context, arguments);
        const bool has_limit = GetProcedureApi()->argument_count(context) > 3;
        const std::string limit = has_limit ? ParseLimit(context, arguments[3]) : std::string();
        return RunProcedureQuery(context, "", select, limit);
    });
}

} // namespace orlimbara::procedures
