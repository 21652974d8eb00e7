/// @file
/// SQL text from the user's input.
///
/// The two quoting rules are the only protection against the content of a path or a name, since nothing is
/// bound as a parameter. They keep statements and expressions out; docs/procedures.md says which files a path
/// or a name can reach. All texts are opaque bytes.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orlimbara::procedures {

/// The text without whitespace at both ends, as the C library's `isspace` defines it. A view into `text`.
[[nodiscard]] std::string_view TrimText(std::string_view text);

/// The text as one SQL string literal: in single quotes, each single quote doubled.
[[nodiscard]] std::string QuoteLiteral(std::string_view text);

/// The text as one SQL quoted identifier: in double quotes, each double quote doubled.
[[nodiscard]] std::string QuoteIdentifier(std::string_view text);

/// The bare name of an identifier in double quotes: without them, and with each doubled quote inside as one.
/// Text that isn't in double quotes is returned unchanged.
[[nodiscard]] std::string UnquoteIdentifier(std::string_view text);

/// The FROM clause's content for a Parquet file: "read_parquet(", the path as a literal, ")", and " WHERE "
/// with the predicate unless that is empty. The predicate is inserted unchanged.
[[nodiscard]] std::string ParquetSource(std::string_view path, std::string_view predicate = {});

} // namespace orlimbara::procedures
