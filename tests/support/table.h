/// @file
/// Tables for tests, written as texts.
#pragma once

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

namespace tests_support {

/// A row: the texts of its cells.
using Rows = std::vector<std::vector<std::string>>;

/// Rows end at ';' or a line feed, '|' separates cells, and spaces around a cell are ignored. Empty rows are
/// skipped.
inline Rows Table(std::string inText) {
    Rows rows;
    std::ranges::replace(inText, ';', '\n');
    std::istringstream lines(inText);
    for (std::string line, cell; std::getline(lines, line);) {
        std::vector<std::string>& row = rows.emplace_back();
        for (std::istringstream cells(line + '|'); std::getline(cells, cell, '|');) {
            cell.erase(cell.find_last_not_of(' ') + 1);
            row.push_back(cell.erase(0, cell.find_first_not_of(' ')));
        }
    }
    std::erase(rows, std::vector<std::string>{""});
    return rows;
}

} // namespace tests_support
