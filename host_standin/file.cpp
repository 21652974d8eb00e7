#include "host/file.h"

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <optional>

#include "host_standin/errors.h"
#include "host_standin/faults.h"
#include "host_standin/live_objects.h"
#include "host_standin/private_files.h"
#include "host_standin/utf.h"

namespace orkit {

using standin::PrivateFile;
using standin::ThrowFileError;

struct FileWin::Imp {
    std::atomic<std::uint32_t> mRefCount{0};
    smart_ptr<I_Location> mLocation;
    bool mIsReadOnly = false;
    std::optional<PrivateFile> mFile;

    std::string get_Path() const {
        return mLocation ? standin::ToUtf8(mLocation->get_Path()) : std::string();
    }

    void OpenAs(PrivateFile::Mode inMode) {
        const std::string path = get_Path();
        if (!mLocation) {
            ThrowFileError(path, "file has no location");
        }
        if (mFile) {
            ThrowFileError(path, "file is open");
        }
        if (!std::filesystem::path(path).is_absolute()) {
            ThrowFileError(path, "names no file");
        }
        if (standin::detail::TakeFault(standin::Fault::FileOpen)) {
            ThrowFileError(path, "can't open file: fault on purpose");
        }
        mFile.emplace(path, inMode);
    }

    PrivateFile& get_OpenFile() {
        if (!mFile) {
            ThrowFileError(get_Path(), "file is not open");
        }
        return *mFile;
    }
};

FileWin::FileWin() : mImp(std::make_unique<Imp>()) {
    standin::detail::Count(standin::detail::Counted::Files, +1);
}
FileWin::~FileWin() { standin::detail::Count(standin::detail::Counted::Files, -1); }

std::uint32_t FileWin::AddRef() { return mImp->mRefCount.fetch_add(1, std::memory_order_relaxed) + 1; }

std::uint32_t FileWin::Release() {
    const std::uint32_t left = mImp->mRefCount.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0) {
        delete this;
    }
    return left;
}

void* FileWin::QueryInterface(std::uint32_t) { return nullptr; }
std::uint32_t FileWin::get_RefsCount() const { return mImp->mRefCount.load(std::memory_order_relaxed); }

void FileWin::put_Location(smart_ptr<I_Location> inLocation) {
    if (!inLocation) {
        ThrowFileError("", "file needs a location");
    }
    if (mImp->mFile) {
        ThrowFileError(mImp->get_Path(), "file is open");
    }
    mImp->mLocation = std::move(inLocation);
}

void FileWin::put_IsReadOnly(bool inIsReadOnly) { mImp->mIsReadOnly = inIsReadOnly; }
void FileWin::Create() { mImp->OpenAs(PrivateFile::Mode::CreateNew); }
void FileWin::Open() {
    mImp->OpenAs(mImp->mIsReadOnly ? PrivateFile::Mode::ReadOnly : PrivateFile::Mode::ReadWrite);
}
void FileWin::Close() { mImp->mFile.reset(); }

void FileWin::ThrowOut() {
    Close();
    const std::string path = mImp->get_Path();
    if (!mImp->mLocation) {
        ThrowFileError(path, "file has no location");
    }
    if (!standin::RemoveFile(path)) {
        ThrowFileError(path, "can't delete file", errno);
    }
}

std::uint64_t FileWin::get_Size() { return mImp->get_OpenFile().get_Size(); }

std::uint32_t FileWin::Read(void* outBuffer, std::uint64_t inOffset, std::uint32_t inLength) {
    return static_cast<std::uint32_t>(mImp->get_OpenFile().Read(outBuffer, inOffset, inLength));
}

std::uint32_t FileWin::Write(const void* inBuffer, std::uint64_t inOffset, std::uint32_t inLength) {
    mImp->get_OpenFile().Write(inBuffer, inOffset, inLength);
    return inLength;
}

I_File* CreateFile(smart_ptr<I_Location> inLocation) {
    auto file = std::make_unique<FileWin>();
    file->put_Location(std::move(inLocation));
    return file.release();
}

} // namespace orkit
