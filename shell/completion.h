/// @file
/// Completion at the cursor: dot commands and their arguments, SQL keywords, names, files.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace orlimbara::shell {

class Session;

/// What completion offers: texts that can replace the line from `start` up to the cursor.
struct Completions {
    std::size_t start = 0;
    std::vector<std::string> texts;

    /// Adds a text if it begins with what was typed.
    void Add(std::string_view inTyped, std::string_view inText);
};

/// @param inBefore the line up to the cursor. Names of tables and columns come from the open database, if it
/// can answer.
Completions Complete(Session& inSession, std::string_view inBefore);

/// Adds the completions of a dot command's argument. @param inTyped the argument so far.
using CompleteArgument = void (*)(Session& inSession, std::string_view inTyped, Completions& ioFound);

void CompleteFiles(Session& inSession, std::string_view inTyped, Completions& ioFound);
void CompleteTables(Session& inSession, std::string_view inTyped, Completions& ioFound);
void CompleteCommandNames(Session& inSession, std::string_view inTyped, Completions& ioFound);
/// The table procedures, and files for their arguments.
void CompleteCall(Session& inSession, std::string_view inTyped, Completions& ioFound);

/// One of a list of words.
template <const auto& Words>
void CompleteWords(Session&, std::string_view inTyped, Completions& ioFound) {
    for (const std::string_view word : Words) {
        ioFound.Add(inTyped, word);
    }
}

} // namespace orlimbara::shell
