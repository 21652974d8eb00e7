/// @file
/// Reading CSV as defined by RFC 4180, with lines that end in LF or CRLF.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orlimbara::shell {

/// One record. An empty cell without quotes has no value.
using CsvRecord = std::vector<std::optional<std::string>>;

/// All records of a text, which may begin with a byte order mark. An empty line is a record of one empty
/// cell. An unclosed quote, or text before or after a quoted cell, throws ShellError, which names
/// the line.
std::vector<CsvRecord> ReadCsv(std::string_view inText);

} // namespace orlimbara::shell
