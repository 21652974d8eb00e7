/// @file
/// Files in the shell: owners of descriptors, reading whole files, and the host's locations of paths.
#pragma once

#include <string>

#include "host/location.h"

namespace orlimbara::shell {

/// Owns an open descriptor and closes it in the destructor.
class FileDescriptor {
public:
    FileDescriptor() = default;
    /// Takes ownership of a descriptor. Owns nothing if it is negative, as after a failed call.
    explicit FileDescriptor(int inFile) : mFile(inFile) {}
    FileDescriptor(FileDescriptor&& ioOther) noexcept;
    FileDescriptor& operator=(FileDescriptor&& ioOther) noexcept;
    ~FileDescriptor();

    /// Opens a file for reading. Throws ShellError.
    static FileDescriptor OpenToRead(const std::string& inPath);

    int get() const { return mFile; }
    bool IsOpen() const { return mFile >= 0; }
    /// @return false, with errno set, if the system reports a failure.
    bool Close();

private:
    int mFile = -1;
};

/// The content of a file. Throws ShellError.
std::string ReadFile(const std::string& inPath);

/// The host's location of a path. Throws ShellError if the host refuses the path.
orkit::smart_ptr<orkit::I_Location> LocationOf(const std::string& inPath);

} // namespace orlimbara::shell
