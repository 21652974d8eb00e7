#include "procedures/arguments.h"
#include "procedures/procedures.h"
#include "procedures/query_cursor.h"
#include "procedures/quoting.h"

namespace orlimbara::procedures {

host_cursor parquet_count(const ArgumentView& arguments) {
    const std::string path = arguments.Text(0);
    const std::string select =
        "SELECT count(*) AS count FROM " + ParquetSource(path, arguments.OptionalText(1));
    return QueryCursor::Open(arguments.Context(), "", select);
}

} // namespace orlimbara::procedures
