/// @file
/// The file of entered statements, which several sessions may append to at once.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace orlimbara::shell {

/// The history file: in XDG_STATE_HOME, else in the home folder. Empty if there is neither.
std::string HistoryPath();

/// The newest entries of a file, oldest first; none if it can't be read. Shortens a file that has grown to
/// several times `inMost` entries.
std::vector<std::string> LoadHistory(const std::string& inPath, std::size_t inMost);
/// Appends an entry at once, so that it survives a killed session. A failure is ignored.
void AppendHistory(const std::string& inPath, const std::string& inEntry);

} // namespace orlimbara::shell
