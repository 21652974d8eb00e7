/// @file
/// The arguments of one procedure call, read through the host's table.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/procedure_api.h"

namespace orlimbara::procedures {

/// A view of the arguments; the host keeps them. Positions count from 0. An argument is absent when its
/// handle is null or its value is SQL NULL; the optional ones are also absent when the call has fewer
/// arguments.
///
/// Texts are opaque bytes. A value of any kind can be read as text; the host converts it. Bad arguments throw
/// std::runtime_error with the message for the user.
class ArgumentView {
public:
    /// Messages begin with `procedure_name`, a static text.
    ArgumentView(call_context context, const host_value* values, const char* procedure_name) noexcept
        : context_(context), values_(values), procedure_name_(procedure_name) {}

    [[nodiscard]] call_context Context() const noexcept { return context_; }

    /// The number of arguments. Asks the host once, at the first call.
    [[nodiscard]] std::int32_t Count() const;

    /// A mandatory text, untrimmed and never empty. Throws if it is absent or empty. Doesn't check Count():
    /// the procedure's minimum must include the position, or the caller must have checked it.
    [[nodiscard]] std::string Text(std::int32_t position) const;

    /// A trimmed text; empty when the argument is absent.
    [[nodiscard]] std::string OptionalText(std::int32_t position) const;

    /// The trimmed column names of an array, or of a text with commas between names, without empty names.
    /// Empty for all columns: the argument is absent, has no name, or is the text "*".
    [[nodiscard]] std::vector<std::string> ColumnNames(std::int32_t position) const;

    /// A limit as decimal digits; empty when the argument is absent. Throws for a negative number and for a
    /// text that isn't a whole number of the signed 64-bit range.
    [[nodiscard]] std::string Limit(std::int32_t position) const;

private:
    /// The value of an optional argument; null when it is absent.
    [[nodiscard]] host_value OptionalValue(std::int32_t position) const;

    call_context context_;
    const host_value* values_;
    const char* procedure_name_;
    mutable std::optional<std::int32_t> count_;
};

} // namespace orlimbara::procedures
