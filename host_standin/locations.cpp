#include "host_standin/locations.h"

#include <atomic>
#include <filesystem>

#include <sys/stat.h>
#include <unistd.h>

#include "host_standin/file_errors.h"
#include "host_standin/object_counts.h"
#include "host_standin/path_resolution.h"
#include "host_standin/utf.h"

namespace orkit::standin {

namespace {

namespace fs = std::filesystem;

bool NamesNoFile(const std::string& inPath) { return inPath == ":memory:" || inPath.starts_with("md:"); }

class Location final : public I_Location, noncopyable {
public:
    // @param inPath in UTF-8 and resolved, unless it names no file.
    explicit Location(std::string inPath)
        : mNativePath(std::move(inPath)), mIsFile(!NamesNoFile(mNativePath)), mPath(FromUtf8(mNativePath)),
          mName(mIsFile ? FromUtf8(fs::path(mNativePath).stem().native()) : mPath), mFolder(*this) {
        detail::gLocationCounter.Add(+1);
    }
    ~Location() override { detail::gLocationCounter.Add(-1); }

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
            RaiseFileError(mNativePath, "has no child named \"" + name + "\"");
        }
        return new Location(ResolvePath(mNativePath + "/" + name));
    }

    smart_ptr<I_Location> get_ParentLocation() const override {
        if (!mIsFile || mNativePath == "/") {
            return nullptr;
        }
        return new Location(fs::path(mNativePath).parent_path().native());
    }

    bool get_Exists() const override { return get_Kind() != Kind::Nothing; }

private:
    enum class Kind { Nothing, File, Folder };

    // Apart from the location, since both interfaces have a get_Exists.
    struct Folder final : I_Folder {
        explicit Folder(const Location& inOwner) : mOwner(inOwner) {}
        bool get_Exists() const override {
            return mOwner.get_Kind() == Kind::Folder &&
                   ::access(mOwner.mNativePath.c_str(), W_OK | X_OK) == 0;
        }
        const Location& mOwner;
    };

    // What is there now.
    Kind get_Kind() const noexcept {
        struct stat status;
        if (!mIsFile || ::stat(mNativePath.c_str(), &status) != 0) {
            return Kind::Nothing;
        }
        return S_ISDIR(status.st_mode) ? Kind::Folder : Kind::File;
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
        RaiseFileError(path, "is not a path");
    }
    return new Location(ResolvePath(path));
}

} // namespace orkit::standin
