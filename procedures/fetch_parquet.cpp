#include <stdexcept>
#include <vector>

#include "procedures/arguments.h"
#include "procedures/procedures.h"
#include "procedures/query_cursor.h"
#include "procedures/quoting.h"

namespace orlimbara::procedures {

namespace {

std::string SelectList(const std::vector<std::string>& names) {
    if (names.empty()) {
        return "*";
    }
    std::string list;
    for (const std::string& name : names) {
        list += list.empty() ? "" : ", ";
        list += QuoteIdentifier(name);
    }
    return list;
}

} // namespace

std::string BuildParquetSelect(const ArgumentView& arguments) {
    if (arguments.Count() < 1) {
        throw std::runtime_error("fetch_parquet requires parquet file path.");
    }
    const std::string path = arguments.Text(0);
    const std::string list = SelectList(arguments.ColumnNames(1));
    return "SELECT " + list + " FROM " + ParquetSource(path, arguments.OptionalText(2));
}

host_cursor fetch_parquet(const ArgumentView& arguments) {
    const std::string select = BuildParquetSelect(arguments);
    return QueryCursor::Open(arguments.Context(), "", select, arguments.Limit(3));
}

} // namespace orlimbara::procedures
