/// @file
/// Files that can be opened and closed without dropping the locks that this process holds on them.
///
/// POSIX drops all of a process's fcntl record locks on a file as soon as the process closes any descriptor
/// of that file. DuckDB protects its database files from other processes with these locks. So a host that
/// opened and closed such a file would silently drop the lock of the DuckDB in the same process, and a second
/// process could then open the database for writing. (The same happens when any other code in the process
/// closes a stream on such a file: don't read an open database file through the standard library.)
///
/// On Linux the locks belong to the process's descriptor table. A PrivateFile therefore uses its own thread,
/// which has left the shared table for a private one; opening and closing files there affects only the locks
/// of that thread, which has none. Measured with a second process that asks for the lock: it is free after a
/// plain open and close, and still held after those of a PrivateFile.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace orkit::standin {

/// One open regular file. All operations run on the file's own thread and wait for it.
class PrivateFile {
public:
    enum class Mode { ReadOnly, ReadWrite, CreateNew };

    /// Opens `inPath` (UTF-8), which must be a regular file. Throws xException, code error_code::kFileSystem,
    /// also if another process holds a lock on the file that forbids the mode. A lock of this process doesn't
    /// matter. (If this process holds a read lock, another process's read lock isn't noticed.)
    PrivateFile(std::string inPath, Mode inMode);
    PrivateFile(const PrivateFile&) = delete;
    PrivateFile& operator=(const PrivateFile&) = delete;
    ~PrivateFile();

    /// Size in bytes.
    std::uint64_t get_Size();
    /// @return the number of bytes read; fewer than `inLength` at the end of the file.
    std::size_t Read(void* outBuffer, std::uint64_t inOffset, std::size_t inLength);
    /// Writes all bytes.
    void Write(const void* inBuffer, std::uint64_t inOffset, std::size_t inLength);

private:
    void Open(Mode inMode);
    // Runs a job on the file's thread and rethrows its exception.
    void Run(const std::function<void()>& inJob);
    void Serve();
    void Stop();

    const std::string mPath;
    std::mutex mMutex;
    std::condition_variable mChanged;
    const std::function<void()>* mJob = nullptr; // to be run
    std::exception_ptr mFailure;                 // of the job that ran last
    bool mIsStopping = false;
    int mLeaveError = 0; // errno of leaving the common table
    int mDescriptor = -1;
    std::thread mThread;
};

/// Whether something is at a path, and whether it is a folder.
bool FindPath(const std::string& inPath, bool& outIsFolder) noexcept;
/// Whether files can be made in a folder.
bool IsWritableFolder(const std::string& inPath) noexcept;
/// @return false, with errno set, if the system reports a failure.
bool RemoveFile(const std::string& inPath);

} // namespace orkit::standin
