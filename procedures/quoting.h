/// @file
/// SQL text from what the user supplied. These two quoting rules are the whole of the protection against what
/// stands in a path or a name: nothing is bound as a parameter. They keep statements and expressions out;
/// which files a path or a name reaches is told in docs/procedures.md.
///
/// All texts are opaque bytes. Refusals raise std::runtime_error with the message for the user.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orlimbara::procedures {

/// The text without the bytes at both ends that the C library's `isspace` calls blanks. A view into `text`.
[[nodiscard]] std::string_view TrimText(std::string_view text);

/// The text as one SQL string literal: in single quotes, each single quote written twice.
[[nodiscard]] std::string QuoteLiteral(std::string_view text);

/// The text as one SQL quoted identifier: in double quotes, each double quote written twice.
[[nodiscard]] std::string QuoteIdentifier(std::string_view text);

/// Cuts a name at the dots that are outside double quotes. The parts are trimmed and keep their quotes; they
/// may be empty. Raises when a double quote stays open.
[[nodiscard]] std::vector<std::string_view> SplitQualifiedName(std::string_view name);

/// The bare name of one part: without its outer double quotes, and with each pair of double quotes between
/// them written as one. A part that isn't in double quotes is given unchanged.
[[nodiscard]] std::string UnquoteIdentifier(std::string_view part);

/// "SELECT * FROM " and the name of a table or view, each of its parts quoted. Raises for a blank name, an
/// empty part and an open double quote; how many parts a name may have is for DuckDB to judge.
[[nodiscard]] std::string BuildTableSelect(std::string_view name);

/// Cuts at every comma, with no regard to quotes; trims the pieces and drops the empty ones.
[[nodiscard]] std::vector<std::string_view> SplitColumnText(std::string_view text);

/// "read_parquet(", the path as a literal, ")". The path goes to DuckDB as it is.
[[nodiscard]] std::string ParquetSource(std::string_view path);

} // namespace orlimbara::procedures
