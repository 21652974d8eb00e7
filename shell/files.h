/// @file
/// Files as the shell uses them: descriptors with an owner, whole files, and the host's locations of paths.
#pragma once

#include <string>

#include "host/location.h"

namespace orlimbara::shell {

/// Owns an open descriptor and closes it at the end.
class FileDescriptor {
public:
    FileDescriptor() = default;
    /// Takes a descriptor over. A negative one, as a failed call returns it, owns nothing.
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

/// A whole file. Throws ShellError.
std::string ReadFile(const std::string& inPath);

/// The host's location of a path. A path that the host refuses throws ShellError.
orkit::smart_ptr<orkit::I_Location> LocationOf(const std::string& inPath);

} // namespace orlimbara::shell
