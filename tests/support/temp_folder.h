/// @file
/// A test's own folder.
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>

#include <stdlib.h>

namespace tests_support {

/// An empty folder without symbolic links in its path; deleted with its content in the destructor.
class TempFolder {
public:
    TempFolder() {
        namespace fs = std::filesystem;
        std::string pattern = (fs::canonical(fs::temp_directory_path()) / "orlimbara-XXXXXX").string();
        if (!::mkdtemp(pattern.data())) {
            throw std::runtime_error("can't make a folder like " + pattern);
        }
        mPath = pattern;
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    ~TempFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(mPath, ignored);
    }

    const std::filesystem::path& Path() const { return mPath; }
    /// The path of a file in the folder.
    std::string operator/(const std::string& inName) const { return (mPath / inName).string(); }

private:
    std::filesystem::path mPath;
};

} // namespace tests_support
