#include "procedures/quoting.h"

#include <algorithm>
#include <cctype>
#include <stdexcept>

namespace orlimbara::procedures {

namespace {

constexpr const char* kInvalidName = "Invalid DuckDB table or view name.";

bool IsBlank(char byte) { return std::isspace(static_cast<unsigned char>(byte)) != 0; }

std::string Quote(std::string_view text, char quote) {
    std::string quoted;
    quoted.reserve(text.size() + 2);
    quoted += quote;
    for (const char byte : text) {
        if (byte == quote) {
            quoted += quote;
        }
        quoted += byte;
    }
    quoted += quote;
    return quoted;
}

} // namespace

std::string_view TrimText(std::string_view text) {
    const auto first = std::find_if_not(text.begin(), text.end(), IsBlank);
    const auto last = std::find_if_not(text.rbegin(), std::make_reverse_iterator(first), IsBlank).base();
    return {first, last};
}

std::string QuoteLiteral(std::string_view text) { return Quote(text, '\''); }

std::string QuoteIdentifier(std::string_view text) { return Quote(text, '"'); }

std::vector<std::string_view> SplitQualifiedName(std::string_view name) {
    std::vector<std::string_view> parts;
    bool isInQuotes = false; // a doubled quote inside a quoted part flips it twice
    std::size_t start = 0;
    for (std::size_t at = 0; at < name.size(); ++at) {
        if (name[at] == '"') {
            isInQuotes = !isInQuotes;
        } else if (name[at] == '.' && !isInQuotes) {
            parts.push_back(TrimText(name.substr(start, at - start)));
            start = at + 1;
        }
    }
    if (isInQuotes) {
        throw std::runtime_error(kInvalidName);
    }
    parts.push_back(TrimText(name.substr(start)));
    return parts;
}

std::string UnquoteIdentifier(std::string_view part) {
    if (part.size() < 2 || part.front() != '"' || part.back() != '"') {
        return std::string(part);
    }
    const std::string_view inside = part.substr(1, part.size() - 2);
    std::string bare;
    bare.reserve(inside.size());
    for (std::size_t at = 0; at < inside.size(); ++at) {
        bare += inside[at];
        if (inside[at] == '"' && at + 1 < inside.size() && inside[at + 1] == '"') {
            ++at;
        }
    }
    return bare;
}

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

std::vector<std::string_view> SplitColumnText(std::string_view text) {
    std::vector<std::string_view> names;
    for (;;) {
        const std::size_t comma = text.find(',');
        const std::string_view name = TrimText(text.substr(0, comma));
        if (!name.empty()) {
            names.push_back(name);
        }
        if (comma == std::string_view::npos) {
            return names;
        }
        text.remove_prefix(comma + 1);
    }
}

std::string ParquetSource(std::string_view path) { return "read_parquet(" + QuoteLiteral(path) + ")"; }

} // namespace orlimbara::procedures
