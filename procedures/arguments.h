/// @file
/// The arguments of a procedure call, read through the host's table. A handle may be null; a null handle and
/// a value that is SQL NULL both mean an argument that is left out.
///
/// All texts are opaque bytes. Refusals raise std::runtime_error with the message for the user.
#pragma once

#include <string>

#include "host/procedure_api.h"

namespace orlimbara::procedures {

/// The text of a mandatory argument, untrimmed and never empty; a value of any kind is taken by the text that
/// the host gives for it. Raises `procedure_name` and " requires a text argument." when there is none.
[[nodiscard]] std::string RequireTextArgument(call_context context, host_value value,
                                              const char* procedure_name);

/// The trimmed text of an argument that may be left out; empty when it is.
[[nodiscard]] std::string OptionalTextArgument(call_context context, host_value value);

/// The SELECT list of `fetch_parquet`: "*", or quoted column names. The argument is an array of names, or a
/// text of names with commas between.
[[nodiscard]] std::string BuildColumnList(call_context context, host_value value);

/// The limit as decimal digits; empty for no limit. Raises for a negative number and for a text that isn't a
/// whole number of the signed 64-bit range.
[[nodiscard]] std::string ParseLimit(call_context context, host_value value);

} // namespace orlimbara::procedures
