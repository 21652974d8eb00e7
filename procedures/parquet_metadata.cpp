#include "procedures/arguments.h"
#include "procedures/procedures.h"
#include "procedures/query_cursor.h"
#include "procedures/quoting.h"

namespace orlimbara::procedures {

host_cursor parquet_metadata(const ArgumentView& arguments) {
    const std::string select = "SELECT * FROM parquet_metadata(" + QuoteLiteral(arguments.Text(0)) + ")";
    return QueryCursor::Open(arguments.Context(), "", select);
}

} // namespace orlimbara::procedures
