#include "host_standin/locations.h"

#include <atomic>
#include <filesystem>
#include <system_error>
#include <vector>

#include "host_standin/errors.h"
#include "host_standin/live_objects.h"
#include "host_standin/paths.h"
#include "host_standin/private_files.h"
#include "host_standin/utf.h"

namespace orkit::standin {

namespace {

namespace fs = std::filesystem;

constexpr int kMaxLinks = 40; // as many as Linux follows

// Pushes the components of a path so that the first one is on top.
void PushComponents(const fs::path& inPath, std::vector<std::string>& ioPending) {
    const fs::path relative = inPath.relative_path();
    std::vector<std::string> components;
    for (const fs::path& component : relative) {
        components.push_back(TextOf(component));
    }
    ioPending.insert(ioPending.end(), components.rbegin(), components.rend());
}

bool IsLink(const fs::path& inPath, std::error_code& outError) {
    const fs::file_status status = fs::symlink_status(inPath, outError);
    if (status.type() == fs::file_type::not_found) {
        outError.clear();
    }
    return status.type() == fs::file_type::symlink;
}

// The absolute path of a file or folder that need not exist, in UTF-8 both ways, without symbolic links (even
// dangling ones), ".", "..", doubled and trailing slashes. ".." after a component that doesn't exist removes
// it. A relative path starts at the current directory; inPath must not be empty. Throws xException, code
// error_code::kFileSystem.
std::string ResolvePath(const std::string& inPath) {
    std::error_code error;
    const fs::path start = fs::absolute(PathOf(inPath), error);
    std::vector<std::string> pending;
    PushComponents(start, pending);
    fs::path resolved = start.root_path();
    int links = 0;
    while (!error && !pending.empty()) {
        const std::string component = std::move(pending.back());
        pending.pop_back();
        if (component.empty() || component == ".") {
            continue;
        }
        if (component == "..") {
            // A resolved path has no links, so its parent follows from its text.
            resolved = resolved.parent_path();
            continue;
        }
        const fs::path next = resolved / PathOf(component);
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
            resolved = target.root_path();
        }
        PushComponents(target, pending);
    }
    if (error) {
        ThrowFileError(inPath, "can't resolve path", error);
    }
    return TextOf(resolved);
}

bool NamesNoFile(const std::string& inPath) { return inPath == ":memory:" || inPath.starts_with("md:"); }

class Location final : public I_Location, noncopyable {
public:
    // @param inPath in UTF-8 and resolved, unless it names no file.
    explicit Location(std::string inPath)
        : mNativePath(std::move(inPath)), mIsFile(!NamesNoFile(mNativePath)), mPath(FromUtf8(mNativePath)),
          mName(mIsFile ? FromUtf8(TextOf(PathOf(mNativePath).stem())) : mPath), mFolder(*this) {
        detail::Count(detail::Counted::Locations, +1);
    }
    ~Location() override { detail::Count(detail::Counted::Locations, -1); }

    std::uint32_t AddRef() override { return mRefCount.fetch_add(1, std::memory_order_relaxed) + 1; }
    std::uint32_t Release() override {
        const std::uint32_t left = mRefCount.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (left == 0) {
            delete this;
        }
        return left;
    }
    std::uint32_t get_RefsCount() const override { return mRefCount.load(std::memory_order_relaxed); }

    void* QueryInterface(std::uint32_t inInterfaceId) override {
        const bool isFolder = inInterfaceId == interface_id::kFolder && mIsFile && get_Kind() != Kind::File;
        return isFolder ? static_cast<I_Folder*>(&mFolder) : nullptr;
    }

    const String& get_Path() const override { return mPath; }
    const String& get_Name() const override { return mName; }

    smart_ptr<I_Location> get_ChildLocation(const String& inName) const override {
        const std::string name = ToUtf8(inName);
        if (!mIsFile || name.empty() || name.front() == '/') {
            ThrowFileError(mNativePath, "has no child named \"" + name + "\"");
        }
        return new Location(ResolvePath(mNativePath + "/" + name));
    }

    smart_ptr<I_Location> get_ParentLocation() const override {
        if (!mIsFile || mNativePath == "/") {
            return nullptr;
        }
        return new Location(TextOf(PathOf(mNativePath).parent_path()));
    }

    bool get_Exists() const override { return get_Kind() != Kind::Nothing; }

private:
    enum class Kind { Nothing, File, Folder };

    // A class of its own, since both interfaces have a get_Exists.
    struct Folder final : I_Folder {
        explicit Folder(const Location& inOwner) : mOwner(inOwner) {}
        bool get_Exists() const override {
            return mOwner.get_Kind() == Kind::Folder && IsWritableFolder(mOwner.mNativePath);
        }
        const Location& mOwner;
    };

    // What exists there now.
    Kind get_Kind() const noexcept {
        bool isFolder = false;
        if (!mIsFile || !FindPath(mNativePath, isFolder)) {
            return Kind::Nothing;
        }
        return isFolder ? Kind::Folder : Kind::File;
    }

    std::atomic<std::uint32_t> mRefCount{0};
    const std::string mNativePath; // UTF-8
    const bool mIsFile;
    const String mPath;
    const String mName;
    Folder mFolder;
};

} // namespace

smart_ptr<I_Location> MakeLocation(const String& inPath) {
    std::string path = ToUtf8(inPath);
    if (NamesNoFile(path)) {
        return new Location(std::move(path));
    }
    if (path.empty() || path.find('\0') != std::string::npos) {
        ThrowFileError(path, "is not a path");
    }
    return new Location(ResolvePath(path));
}

} // namespace orkit::standin
