/// @file
/// The codes of the xExceptions that the stand-in host itself raises. The second text says what failed.
#pragma once

#include <cstdint>

namespace orkit::standin::error_code {

/// Files, folders and locations; the first text is the path.
inline constexpr std::uint32_t kFileSystem = 0x21000;
/// Values; the first text is "value".
inline constexpr std::uint32_t kValue = 0x31000;

} // namespace orkit::standin::error_code
