/// @file
/// Reading CSV as RFC 4180 tells, with lines that end in LF or CRLF.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orsql {

/// One record: a cell is nothing if it was empty and not quoted.
using CsvRecord = std::vector<std::optional<std::string>>;

/// All records of a text, which may begin with a byte order mark. An empty line is a record of one empty
/// cell. A quote that isn't closed, and text before or behind a quoted cell, raise ShellError, which names
/// the line.
std::vector<CsvRecord> ReadCsv(std::string_view inText);

} // namespace orsql
