#include <stdexcept>
#include <vector>

#include "procedures/arguments.h"
#include "procedures/procedures.h"
#include "procedures/query_cursor.h"
#include "procedures/quoting.h"

namespace orlimbara::procedures {

namespace {

constexpr const char* kInvalidName = "Invalid DuckDB table or view name.";

/// Splits a name at the dots that are outside double quotes. The parts are trimmed and keep their quotes;
/// they may be empty.
std::vector<std::string_view> SplitQualifiedName(std::string_view name) {
    std::vector<std::string_view> parts;
    bool is_in_quotes = false; // a doubled quote inside a quoted part flips it twice
    std::size_t start = 0;
    for (std::size_t at = 0; at < name.size(); ++at) {
        if (name[at] == '"') {
            is_in_quotes = !is_in_quotes;
        } else if (name[at] == '.' && !is_in_quotes) {
            parts.push_back(TrimText(name.substr(start, at - start)));
            start = at + 1;
        }
    }
    if (is_in_quotes) {
        throw std::runtime_error(kInvalidName);
    }
    parts.push_back(TrimText(name.substr(start)));
    return parts;
}

} // namespace

std::string BuildTableSelect(std::string_view name) {
    const std::string_view trimmed = TrimText(name);
    if (trimmed.empty()) {
        throw std::runtime_error("fetch_duckdb requires DuckDB table or view name.");
    }
    std::string select = "SELECT * FROM ";
    const char* separator = "";
    for (const std::string_view part : SplitQualifiedName(trimmed)) {
        if (part.empty()) {
            throw std::runtime_error(kInvalidName);
        }
        select += separator;
        select += QuoteIdentifier(UnquoteIdentifier(part));
        separator = ".";
    }
    return select;
}

host_cursor fetch_duckdb(const ArgumentView& arguments) {
    if (arguments.Count() < 2) {
        throw std::runtime_error("fetch_duckdb requires database URI and DuckDB table or view name.");
    }
    const std::string path = arguments.Text(0);
    const std::string select = BuildTableSelect(arguments.Text(1));
    return QueryCursor::Open(arguments.Context(), path, select, arguments.Limit(2));
}

} // namespace orlimbara::procedures
