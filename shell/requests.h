/// @file
/// Requests as lines of JSON: one statement or dot command each, with its values.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "host/duckdb_objects.h"
#include "shell/failure.h"

namespace orlimbara::shell {

/// A line that isn't a request. Has a `get_Column` if the JSON itself is broken.
class RequestError : public ShellError {
public:
    explicit RequestError(const std::string& inText, std::optional<std::size_t> inColumn = std::nullopt)
        : ShellError(inText), mColumn(inColumn) {}
    /// The byte of the line, from 1.
    std::optional<std::size_t> get_Column() const { return mColumn; }

private:
    std::optional<std::size_t> mColumn;
};

/// One request: either `sql` or `command`.
struct Request {
    std::optional<std::string> sql;
    std::optional<std::string> command;
    orkit::smart_ptr<orkit::orsql::ValueArray> values; ///< for `sql`; may be null
    orkit::smart_ptr<orkit::orsql::RowArray> rows;     ///< in place of values
    bool holdsValues = false;                          ///< whether values or rows were given
};

/// Reads one line. @param outId the JSON of the member "id" as it was written, also if the line isn't a
/// request. Throws RequestError.
Request ParseRequest(std::string_view inLine, std::optional<std::string>& outId);

} // namespace orlimbara::shell
