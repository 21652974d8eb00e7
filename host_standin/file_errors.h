/// @file
/// The one way to raise what the file system refuses.
#pragma once

#include <string>
#include <string_view>
#include <system_error>

namespace orkit::standin {

/// Raises xException, code error_code::kFileSystem: first the path, second what failed and why.
/// @param inPath in UTF-8. @param inWhat for instance "can't open file".
[[noreturn]] void RaiseFileError(const std::string& inPath, std::string_view inWhat);
[[noreturn]] void RaiseFileError(const std::string& inPath, std::string_view inWhat,
                                 const std::error_code& inCause);
/// @param inErrno a value of `errno`.
[[noreturn]] void RaiseFileError(const std::string& inPath, std::string_view inWhat, int inErrno);

} // namespace orkit::standin
