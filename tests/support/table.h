/// @file
/// Tables for tests, written as texts.
#pragma once

#include <string>
#include <vector>

namespace tests_support {

/// A row: the texts of its cells.
using Rows = std::vector<std::vector<std::string>>;

/// Rows end at ';' or a line feed, '|' separates cells, and spaces around a cell are ignored. Empty rows are
/// skipped.
inline Rows Table(const std::string& inText) {
    Rows rows(1);
    std::size_t begin = 0;
    for (std::size_t end = 0; end != inText.npos; begin = end + 1) {
        end = inText.find_first_of("|;\n", begin);
        std::string cell = inText.substr(begin, end - begin);
        cell.erase(cell.find_last_not_of(' ') + 1);
        cell.erase(0, cell.find_first_not_of(' '));
        rows.back().push_back(cell);
        if (end == inText.npos || inText[end] != '|') {
            if (rows.back() == std::vector<std::string>{""}) {
                rows.back().clear();
            } else
                rows.emplace_back();
        }
    }
    rows.pop_back();
    return rows;
}

} // namespace tests_support
