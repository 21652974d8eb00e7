#include "shell/files.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "host/exceptions.h"
#include "host_standin/locations.h"
#include "shell/failure.h"
#include "shell/text.h"

namespace orlimbara::shell {

FileDescriptor::FileDescriptor(FileDescriptor&& ioOther) noexcept : mFile(std::exchange(ioOther.mFile, -1)) {}

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& ioOther) noexcept {
    std::swap(mFile, ioOther.mFile);
    return *this;
}

FileDescriptor::~FileDescriptor() { Close(); }

FileDescriptor FileDescriptor::OpenToRead(const std::string& inPath) {
    FileDescriptor file(open(inPath.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.IsOpen()) {
        throw ShellError("can't read " + inPath + ": " + std::strerror(errno));
    }
    return file;
}

bool FileDescriptor::Close() { return mFile < 0 || close(std::exchange(mFile, -1)) == 0; }

std::string ReadFile(const std::string& inPath) {
    const FileDescriptor file = FileDescriptor::OpenToRead(inPath);
    std::string text;
    std::array<char, 1 << 16> part;
    ssize_t count = 1;
    while (count > 0) {
        count = read(file.get(), part.data(), part.size());
        text.append(part.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
    if (count < 0) {
        throw ShellError("can't read " + inPath + ": " + std::strerror(errno));
    }
    return text;
}

bool WriteAll(int inFile, std::string_view inText) {
    while (!inText.empty()) {
        const ssize_t count = write(inFile, inText.data(), inText.size());
        if (count < 0 && errno != EINTR) {
            return false;
        }
        inText.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
    return true;
}

orkit::smart_ptr<orkit::I_Location> LocationOf(const std::string& inPath) {
    try {
        return orkit::standin::MakeLocation(ToHost(inPath));
    } catch (const orkit::xException&) {
        throw ShellError("'" + inPath + "': " + CurrentFailure().message);
    }
}

} // namespace orlimbara::shell
