#include "procedures/arguments.h"

#include <cerrno>
#include <cstdlib>
#include <stdexcept>
#include <string_view>

#include "procedures/host_boundary.h"
#include "procedures/quoting.h"

namespace orlimbara::procedures {

namespace {

bool IsAbsent(host_value value) { return value == nullptr || GetProcedureApi()->value_is_null(value) != 0; }

/// The text of a value, empty if there is none. Copied at once: the host's bytes may change with its next
/// function.
std::string TextOf(call_context context, host_value value) {
    std::uint64_t length = 0;
    const char* text = GetProcedureApi()->value_text(context, value, &length);
    return text == nullptr ? std::string() : std::string(text, length);
}

std::vector<std::string> NamesOfArray(call_context context, host_value array) {
    std::vector<std::string> names;
    const std::int64_t size = GetProcedureApi()->array_size(array);
    for (std::int64_t index = 0; index < size; ++index) {
        const host_value element = GetProcedureApi()->array_element(array, index);
        const std::string text = IsAbsent(element) ? std::string() : TextOf(context, element);
        const std::string_view name = TrimText(text);
        if (!name.empty()) {
            names.emplace_back(name);
        }
    }
    return names;
}

/// Splits at every comma: a name with a comma needs the array.
std::vector<std::string> NamesOfText(std::string_view text) {
    std::vector<std::string> names;
    for (;;) {
        const std::size_t comma = text.find(',');
        const std::string_view name = TrimText(text.substr(0, comma));
        if (!name.empty()) {
            names.emplace_back(name);
        }
        if (comma == std::string_view::npos) {
            return names;
        }
        text.remove_prefix(comma + 1);
    }
}

/// The order of these tests decides the message of a text with several faults.
std::string ParseLimitText(std::string_view limit) {
    const std::string text(limit); // ends with a zero byte
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

std::int32_t ArgumentView::Count() const {
    if (!count_) {
        count_ = GetProcedureApi()->argument_count(context_);
    }
    return *count_;
}

std::string ArgumentView::Text(std::int32_t position) const {
    const host_value value = values_[position];
    std::string text = IsAbsent(value) ? std::string() : TextOf(context_, value);
    if (text.empty()) {
        throw std::runtime_error(std::string(procedure_name_) + " requires a text argument.");
    }
    return text;
}

std::string ArgumentView::OptionalText(std::int32_t position) const {
    const host_value value = OptionalValue(position);
    return value == nullptr ? std::string() : std::string(TrimText(TextOf(context_, value)));
}

std::vector<std::string> ArgumentView::ColumnNames(std::int32_t position) const {
    const host_value value = OptionalValue(position);
    if (value == nullptr) {
        return {};
    }
    if (GetProcedureApi()->value_type(value) == HOST_TYPE_ARRAY) {
        return NamesOfArray(context_, value);
    }
    const std::string text = TextOf(context_, value);
    return TrimText(text) == "*" ? std::vector<std::string>() : NamesOfText(text);
}

std::string ArgumentView::Limit(std::int32_t position) const {
    const host_value value = OptionalValue(position);
    if (value == nullptr) {
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
        return ParseLimitText(TrimText(TextOf(context_, value)));
    }
}

host_value ArgumentView::OptionalValue(std::int32_t position) const {
    return position < Count() && !IsAbsent(values_[position]) ? values_[position] : nullptr;
}

} // namespace orlimbara::procedures
