/// @file
/// Paths without symbolic links, "." and "..".
#pragma once

#include <string>

namespace orkit::standin {

/// The absolute path of a file or folder that need not exist, in UTF-8 both ways, free of symbolic links
/// (also dangling ones), ".", "..", doubled and trailing slashes. ".." behind what doesn't exist takes that
/// away.
/// @param inPath not empty; a relative path starts at the current directory.
/// Raises xException, code error_code::kFileSystem.
std::string ResolvePath(const std::string& inPath);

} // namespace orkit::standin
