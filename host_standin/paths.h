/// @file
/// Paths of the C++ library from texts in UTF-8 and back, on Windows too, where plain texts aren't taken for
/// UTF-8.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace orkit::standin {

inline std::filesystem::path PathOf(std::string_view inText) {
    return std::u8string(inText.begin(), inText.end());
}

/// With '/' between its parts.
inline std::string TextOf(const std::filesystem::path& inPath) {
    const std::u8string text = inPath.generic_u8string();
    return {text.begin(), text.end()};
}

} // namespace orkit::standin
