#include "procedures/quoting.h"

#include <algorithm>
#include <cctype>
#include <iterator>

namespace orlimbara::procedures {

namespace {

bool IsWhitespace(char byte) { return std::isspace(static_cast<unsigned char>(byte)) != 0; }

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
    const auto first = std::find_if_not(text.begin(), text.end(), IsWhitespace);
    const auto last = std::find_if_not(text.rbegin(), std::make_reverse_iterator(first), IsWhitespace).base();
    return {first, last};
}

std::string QuoteLiteral(std::string_view text) { return Quote(text, '\''); }

std::string QuoteIdentifier(std::string_view text) { return Quote(text, '"'); }

std::string UnquoteIdentifier(std::string_view text) {
    if (text.size() < 2 || text.front() != '"' || text.back() != '"') {
        return std::string(text);
    }
    const std::string_view inside = text.substr(1, text.size() - 2);
    std::string bare;
    bare.reserve(inside.size());
    for (std::size_t at = 0; at < inside.size(); ++at) {
        bare += inside[at];
        if (inside.substr(at, 2) == "\"\"") {
            ++at;
        }
    }
    return bare;
}

std::string ParquetSource(std::string_view path, std::string_view predicate) {
    std::string source = "read_parquet(" + QuoteLiteral(path) + ")";
    if (!predicate.empty()) {
        source += " WHERE ";
        source += predicate;
    }
    return source;
}

} // namespace orlimbara::procedures
