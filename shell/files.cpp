#include "shell/files.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include "host/exceptions.h"
#include "host_standin/locations.h"
#include "shell/failure.h"
#include "shell/system.h"
#include "shell/text.h"

namespace orlimbara::shell {

FileDescriptor::FileDescriptor(FileDescriptor&& ioOther) noexcept : mFile(std::exchange(ioOther.mFile, -1)) {}

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& ioOther) noexcept {
    std::swap(mFile, ioOther.mFile);
    return *this;
}

FileDescriptor::~FileDescriptor() { Close(); }

FileDescriptor FileDescriptor::OpenToRead(const std::string& inPath) {
    FileDescriptor file(OpenFile(inPath, OpenMode::Read));
    if (!file.IsOpen()) {
        throw ShellError("can't read " + inPath + ": " + std::strerror(errno));
    }
    return file;
}

bool FileDescriptor::Close() { return mFile < 0 || CloseFile(std::exchange(mFile, -1)); }

std::string ReadFile(const std::string& inPath) {
    const FileDescriptor file = FileDescriptor::OpenToRead(inPath);
    std::string text;
    std::array<char, 1 << 16> part;
    std::ptrdiff_t count = 1;
    while (count > 0) {
        count = ReadSome(file.get(), part.data(), part.size());
        text.append(part.data(), static_cast<std::size_t>(std::max<std::ptrdiff_t>(count, 0)));
    }
    if (count < 0) {
        throw ShellError("can't read " + inPath + ": " + std::strerror(errno));
    }
    return text;
}

orkit::smart_ptr<orkit::I_Location> LocationOf(const std::string& inPath) {
    try {
        return orkit::standin::MakeLocation(ToHost(inPath));
    } catch (const orkit::xException&) {
        throw ShellError("'" + inPath + "': " + CurrentFailure().message);
    }
}

} // namespace orlimbara::shell
