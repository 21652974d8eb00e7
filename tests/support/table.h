/// @file
/// Tables of tests, written as texts.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace tests_support {

/// One row is the texts of its cells.
using Rows = std::vector<std::vector<std::string>>;

/// Rows end with ';' or a line, '|' stands between cells, and blanks around a cell don't count. Rows without
/// any text are left out.
inline Rows Table(std::string_view inText) {
    constexpr const char* kBlanks = " \n";
    Rows rows;
    while (inText.find_first_not_of(kBlanks) != inText.npos) {
        std::string_view row = inText.substr(0, inText.find_first_of(";\n"));
        inText.remove_prefix(std::min(row.size() + 1, inText.size()));
        if (row.find_first_not_of(kBlanks) == row.npos) {
            continue;
        }
        std::vector<std::string>& cells = rows.emplace_back();
        for (bool isLast = false; !isLast;) {
            std::string_view cell = row.substr(0, row.find('|'));
            isLast = cell.size() == row.size();
            row.remove_prefix(isLast ? row.size() : cell.size() + 1);
            cell.remove_prefix(std::min(cell.find_first_not_of(kBlanks), cell.size()));
            cells.emplace_back(cell.substr(0, cell.find_last_not_of(kBlanks) + 1));
        }
    }
    return rows;
}

} // namespace tests_support
