/// @file
/// The pieces of a script, for tests and fuzzers.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "shell/splitter.h"

namespace orlimbara::shell::test {

/// Splits a script that arrives in parts of a limited size. A dot command is marked by a line end before it,
/// with which no statement begins.
inline std::vector<std::string> Split(std::string_view inText, std::size_t inPart = std::string::npos) {
    Splitter splitter;
    std::vector<std::string> pieces;
    for (bool isAll = false; !isAll;) {
        isAll = inText.empty();
        isAll ? splitter.Finish() : splitter.Feed(inText.substr(0, inPart));
        inText.remove_prefix(std::min(inPart, inText.size()));
        while (const auto piece = splitter.Next()) {
            pieces.push_back((piece->kind == Piece::Kind::DotCommand ? "\n" : "") + piece->text);
        }
    }
    return pieces;
}

} // namespace orlimbara::shell::test
