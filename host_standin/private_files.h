/// @file
/// Files that are opened and closed without touching the locks that this process holds on them.
///
/// POSIX drops all of a process's fcntl record locks on a file as soon as the process closes any descriptor
/// of that file. DuckDB guards its database files against other processes with just these locks. So a host
/// that opened such a file to look at it, and closed it again, would silently take the lock from the DuckDB
/// that runs in the same process, and a second process could then open the database for writing. (The same
/// happens to everyone else in the process who closes a stream on such a file: don't read an open database
/// file through the standard library.)
///
/// On Linux the locks belong to the process's table of descriptors. A PrivateFile therefore lives in a thread
/// of its own that has left the common table for one of its own; what is opened and closed there touches only
/// the locks of that thread, which has none. Measured with a second process that asks for the lock: it is
/// free after a plain open and close, and still held after those of a PrivateFile.
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

    /// Opens `inPath` (UTF-8), which must be a regular file. Throws xException, code
    /// error_code::kFileSystem, also where another process holds a lock on the file that forbids the mode. A
    /// lock of this process doesn't. (Where this process holds a read lock, a read lock that another process
    /// holds beside it isn't seen.)
    PrivateFile(std::string inPath, Mode inMode);
    PrivateFile(const PrivateFile&) = delete;
    PrivateFile& operator=(const PrivateFile&) = delete;
    ~PrivateFile();

    /// Size in bytes.
    std::uint64_t get_Size();
    /// @return the bytes read; fewer than asked for at the file's end.
    std::size_t Read(void* outBuffer, std::uint64_t inOffset, std::size_t inLength);
    /// Writes all bytes.
    void Write(const void* inBuffer, std::uint64_t inOffset, std::size_t inLength);

private:
    void Open(Mode inMode);
    // Runs a job on the file's thread, and throws what it throws.
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

} // namespace orkit::standin
