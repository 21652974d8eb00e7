/// @file
/// How the stand-in host throws its own failures: xException with one of two codes.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <system_error>

namespace orkit::standin {

namespace error_code {

/// Files, folders and locations; the first text is the path, the second what failed and why.
inline constexpr std::uint32_t kFileSystem = 0x21000;
/// Values; the first text is "value", the second what failed.
inline constexpr std::uint32_t kValue = 0x31000;

} // namespace error_code

/// Throws xException, code error_code::kFileSystem.
/// @param inPath in UTF-8. @param inWhat for instance "can't open file".
[[noreturn]] void ThrowFileError(const std::string& inPath, std::string_view inWhat);
[[noreturn]] void ThrowFileError(const std::string& inPath, std::string_view inWhat,
                                 const std::error_code& inCause);
/// @param inErrno a value of `errno`.
[[noreturn]] void ThrowFileError(const std::string& inPath, std::string_view inWhat, int inErrno);

/// Throws xException, code error_code::kValue.
[[noreturn]] void ThrowValueError(const char* inMessage);

} // namespace orkit::standin
