// Private files on Windows, where closing a file drops no lock of another handle, so plain descriptors
// suffice.

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

#include "host_standin/errors.h"
#include "host_standin/paths.h"
#include "host_standin/private_files.h"

namespace orkit::standin {

namespace {

constexpr std::size_t kMaxTransfer = 1 << 30; // the calls count in unsigned int

[[noreturn]] void ThrowLastError(const std::string& inPath, const char* inWhat) {
    ThrowFileError(inPath, inWhat, std::error_code(errno, std::generic_category()));
}

void Seek(int inDescriptor, std::uint64_t inOffset, const std::string& inPath) {
    if (_lseeki64(inDescriptor, static_cast<std::int64_t>(inOffset), SEEK_SET) < 0) {
        ThrowLastError(inPath, "can't seek in file");
    }
}

} // namespace

PrivateFile::PrivateFile(std::string inPath, Mode inMode) : mPath(std::move(inPath)) {
    const int access = inMode == Mode::ReadOnly ? _O_RDONLY : _O_RDWR;
    const int creation = inMode == Mode::CreateNew ? _O_CREAT | _O_EXCL : 0;
    mDescriptor =
        _wopen(PathOf(mPath).c_str(), access | creation | _O_BINARY | _O_NOINHERIT, _S_IREAD | _S_IWRITE);
    if (mDescriptor < 0) {
        ThrowLastError(mPath, "can't open file");
    }
}

PrivateFile::~PrivateFile() { _close(mDescriptor); }

std::uint64_t PrivateFile::get_Size() {
    const std::int64_t size = _filelengthi64(mDescriptor);
    if (size < 0) {
        ThrowLastError(mPath, "can't tell size of file");
    }
    return static_cast<std::uint64_t>(size);
}

std::size_t PrivateFile::Read(void* outBuffer, std::uint64_t inOffset, std::size_t inLength) {
    Seek(mDescriptor, inOffset, mPath);
    std::size_t done = 0;
    while (done < inLength) {
        const auto part = static_cast<unsigned>(std::min(inLength - done, kMaxTransfer));
        const int count = _read(mDescriptor, static_cast<char*>(outBuffer) + done, part);
        if (count < 0) {
            ThrowLastError(mPath, "can't read file");
        }
        if (count == 0) {
            break;
        }
        done += static_cast<std::size_t>(count);
    }
    return done;
}

void PrivateFile::Write(const void* inBuffer, std::uint64_t inOffset, std::size_t inLength) {
    Seek(mDescriptor, inOffset, mPath);
    for (std::size_t done = 0; done < inLength;) {
        const auto part = static_cast<unsigned>(std::min(inLength - done, kMaxTransfer));
        const int count = _write(mDescriptor, static_cast<const char*>(inBuffer) + done, part);
        if (count <= 0) {
            ThrowLastError(mPath, "can't write file");
        }
        done += static_cast<std::size_t>(count);
    }
}

bool FindPath(const std::string& inPath, bool& outIsFolder) noexcept {
    std::error_code ignored;
    const std::filesystem::file_type type = std::filesystem::status(PathOf(inPath), ignored).type();
    outIsFolder = type == std::filesystem::file_type::directory;
    return type != std::filesystem::file_type::none && type != std::filesystem::file_type::not_found;
}

bool IsWritableFolder(const std::string& inPath) noexcept {
    constexpr int kWriting = 2;
    return _waccess(PathOf(inPath).c_str(), kWriting) == 0;
}

bool RemoveFile(const std::string& inPath) { return _wunlink(PathOf(inPath).c_str()) == 0; }

} // namespace orkit::standin
