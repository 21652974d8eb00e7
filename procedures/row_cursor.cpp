#include "procedures/row_cursor.h"

#include <stdexcept>

#include "procedures/procedure_api_binding.h"

namespace orlimbara::procedures {

host_cursor MakeRowCursor(call_context context, const std::vector<std::string>& names,
                          const std::vector<std::vector<host_value>>& rows) {
    std::vector<const char*> name_texts;
    name_texts.reserve(names.size());
    for (const std::string& name : names) {
        name_texts.push_back(name.c_str());
    }
    std::vector<const host_value*> row_values;
    row_values.reserve(rows.size());
    for (const std::vector<host_value>& row : rows) {
        row_values.push_back(row.data());
    }
    host_cursor cursor = nullptr;
    if (GetProcedureApi()->make_row_cursor(context, names.size(), rows.size(), name_texts.data(),
                                           row_values.data(), &cursor) != 0) {
        throw std::runtime_error("Unable to create cursor.");
    }
    return cursor;
}

} // namespace orlimbara::procedures
