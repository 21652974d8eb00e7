#include "host_standin/path_resolution.h"

#include <filesystem>
#include <system_error>
#include <vector>

#include "host_standin/file_errors.h"

namespace orkit::standin {

namespace {

namespace fs = std::filesystem;

constexpr int kMaxLinks = 40; // as many as Linux follows

// Pushes the components of a path so that the first one lies on top.
void PushComponents(const fs::path& inPath, std::vector<std::string>& ioPending) {
    const fs::path relative = inPath.relative_path();
    const std::vector<std::string> components(relative.begin(), relative.end());
    ioPending.insert(ioPending.end(), components.rbegin(), components.rend());
}

bool IsLink(const fs::path& inPath, std::error_code& outError) {
    const fs::file_status status = fs::symlink_status(inPath, outError);
    if (status.type() == fs::file_type::not_found) {
        outError.clear();
    }
    return status.type() == fs::file_type::symlink;
}

} // namespace

std::string ResolvePath(const std::string& inPath) {
    std::error_code error;
    const fs::path start = fs::absolute(inPath, error);
    std::vector<std::string> pending;
    PushComponents(start, pending);
    fs::path resolved = "/";
    int links = 0;
    while (!error && !pending.empty()) {
        const std::string component = std::move(pending.back());
        pending.pop_back();
        if (component.empty() || component == ".") {
            continue;
        }
        if (component == "..") {
            // What is resolved holds no link, so its text tells its parent.
            resolved = resolved.parent_path();
            continue;
        }
        const fs::path next = resolved / component;
        if (!IsLink(next, error)) {
            resolved = next;
            continue;
        }
        if (++links > kMaxLinks) {
            error = std::make_error_code(std::errc::too_many_symbolic_link_levels);
            break;
        }
        const fs::path target = fs::read_symlink(next, error);
        if (target.is_absolute()) {
            resolved = "/";
        }
        PushComponents(target, pending);
    }
    if (error) {
        RaiseFileError(inPath, "can't resolve path", error);
    }
    return resolved.native();
}

} // namespace orkit::standin
