#include "procedures/arguments.h"

#include <cerrno>
#include <cstdlib>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "procedures/procedure_api_binding.h"
#include "procedures/quoting.h"

namespace orlimbara::procedures {

namespace {

bool IsAbsent(host_value value) { return value == nullptr || GetProcedureApi()->value_is_null(value) != 0; }

/// The text of a value, empty if there is none. Copied at once: the host's bytes don't last.
std::string TextOf(call_context context, host_value value) {
    if (IsAbsent(value)) {
        return {};
    }
    std::uint64_t length = 0;
    const char* text = GetProcedureApi()->value_text(context, value, &length);
    return text == nullptr ? std::string() : std::string(text, length);
}

std::vector<std::string> NamesOfArray(call_context context, host_value array) {
    std::vector<std::string> names;
    const std::int64_t size = GetProcedureApi()->array_size(array);
    for (std::int64_t index = 0; index < size; ++index) {
        const std::string text = TextOf(context, GetProcedureApi()->array_element(array, index));
        const std::string_view name = TrimText(text);
        if (!name.empty()) {
            names.emplace_back(name);
        }
    }
    return names;
}

std::vector<std::string> NamesOfText(call_context context, host_value value) {
    const std::string text = TextOf(context, value);
    const std::string_view trimmed = TrimText(text);
    if (trimmed == "*") {
        return {};
    }
    const std::vector<std::string_view> names = SplitColumnText(trimmed);
    return {names.begin(), names.end()};
}

/// The limit of a text. The tests keep this order: it decides the message of a text with several faults.
std::string ParseLimitText(const std::string& text) {
    char* end = nullptr;
    errno = 0;
    const long long number = std::strtoll(text.c_str(), &end, 10);
    if (end == text.c_str()) {
        throw std::runtime_error("invalid stoll argument");
    }
    if (errno == ERANGE) {
        throw std::runtime_error("stoll argument out of range");
    }
    if (end != text.c_str() + text.size()) {
        throw std::runtime_error("limit must be an integer");
    }
    if (number < 0) {
        throw std::runtime_error("limit must not be negative");
    }
    return std::to_string(number);
}

} // namespace

std::string RequireTextArgument(call_context context, host_value value, const char* procedure_name) {
    std::string text = TextOf(context, value);
    if (text.empty()) {
        throw std::runtime_error(std::string(procedure_name) + " requires a text argument.");
    }
    return text;
}

std::string OptionalTextArgument(call_context context, host_value value) {
    const std::string text = TextOf(context, value);
    return std::string(TrimText(text));
}

std::string BuildColumnList(call_context context, host_value value) {
    if (IsAbsent(value)) {
        return "*";
    }
    const bool is_array = GetProcedureApi()->value_type(value) == HOST_TYPE_ARRAY;
    const std::vector<std::string> names =
        is_array ? NamesOfArray(context, value) : NamesOfText(context, value);
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

std::string ParseLimit(call_context context, host_value value) {
    if (IsAbsent(value)) {
        return {};
    }
    switch (GetProcedureApi()->value_type(value)) {
    case HOST_TYPE_INT64: {
        const std::int64_t number = GetProcedureApi()->value_int64(value);
        if (number < 0) {
            throw std::runtime_error("limit must not be negative");
        }
        return std::to_string(number);
    }
    case HOST_TYPE_UINT64:
        return std::to_string(GetProcedureApi()->value_uint64(value));
    default:
        return ParseLimitText(OptionalTextArgument(context, value));
    }
}

} // namespace orlimbara::procedures
