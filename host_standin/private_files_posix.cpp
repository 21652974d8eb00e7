#include "host_standin/private_files.h"

#include <cerrno>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <linux/close_range.h>
#include <sched.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "host_standin/errors.h"

namespace orkit::standin {

namespace {

// System calls without the C library's wrappers: a sanitizer that intercepts those takes equal descriptors of
// two tables for one file.
template <class... Arguments>
long Call(long inNumber, Arguments... inArguments) {
    long result = 0;
    do {
        result = ::syscall(inNumber, inArguments...);
    } while (result < 0 && errno == EINTR && inNumber != SYS_close);
    return result;
}

int FlagsOf(PrivateFile::Mode inMode) {
    // Without O_NONBLOCK opening a pipe would block.
    constexpr int kCommon = O_CLOEXEC | O_NONBLOCK;
    switch (inMode) {
    case PrivateFile::Mode::ReadOnly:
        return O_RDONLY | kCommon;
    case PrivateFile::Mode::ReadWrite:
        return O_RDWR | kCommon;
    default:
        return O_RDWR | O_CREAT | O_EXCL | kCommon;
    }
}

// Why opening failed; mWhat is empty on success.
struct OpenFailure {
    std::string mWhat;
    int mErrno = 0;
};

OpenFailure CheckOpened(int inDescriptor, PrivateFile::Mode inMode) {
    struct statx status {};
    if (Call(SYS_statx, inDescriptor, "", AT_EMPTY_PATH, STATX_TYPE, &status) != 0) {
        return {"can't look at file", errno};
    }
    if (!S_ISREG(status.stx_mode)) {
        return {"is not a file", 0};
    }
    struct flock lock {};
    lock.l_type = inMode == PrivateFile::Mode::ReadOnly ? F_RDLCK : F_WRLCK;
    lock.l_whence = SEEK_SET;
    // On a file system without locks no other process can hold one.
    const bool isLocked = Call(SYS_fcntl, inDescriptor, F_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
    if (isLocked && lock.l_pid != ::getpid()) {
        return {"can't open file: locked by process " + std::to_string(lock.l_pid), 0};
    }
    return {};
}

} // namespace

PrivateFile::PrivateFile(std::string inPath, Mode inMode) : mPath(std::move(inPath)) {
    try {
        mThread = std::thread([this] { Serve(); });
    } catch (const std::system_error& error) {
        ThrowFileError(mPath, "can't start the thread of a file", error.code());
    }
    try {
        Open(inMode);
    } catch (...) {
        Stop(); // destroying a running thread would end the process
        throw;
    }
}

void PrivateFile::Open(Mode inMode) {
    OpenFailure failure;
    Run([&] {
        if (mLeaveError != 0) {
            failure = {"can't leave the common table of descriptors", mLeaveError};
            return;
        }
        mDescriptor = static_cast<int>(Call(SYS_openat, AT_FDCWD, mPath.c_str(), FlagsOf(inMode), 0666));
        failure = mDescriptor < 0 ? OpenFailure{"can't open file", errno} : CheckOpened(mDescriptor, inMode);
    });
    if (failure.mErrno != 0) {
        ThrowFileError(mPath, failure.mWhat, failure.mErrno);
    }
    if (!failure.mWhat.empty()) {
        ThrowFileError(mPath, failure.mWhat);
    }
}

PrivateFile::~PrivateFile() { Stop(); }

void PrivateFile::Stop() {
    {
        const std::lock_guard lock(mMutex);
        mIsStopping = true;
    }
    mChanged.notify_all();
    mThread.join();
}

void PrivateFile::Run(const std::function<void()>& inJob) {
    std::unique_lock lock(mMutex);
    mJob = &inJob;
    mChanged.notify_all();
    mChanged.wait(lock, [this] { return mJob == nullptr; });
    if (mFailure) {
        std::rethrow_exception(std::exchange(mFailure, nullptr));
    }
}

void PrivateFile::Serve() {
    // Only the standard streams stay in the new table, for reports of faults. An older kernel or a
    // container's filter may refuse the first way.
    if (Call(SYS_close_range, 3U, ~0U, static_cast<unsigned>(CLOSE_RANGE_UNSHARE)) != 0 &&
        Call(SYS_unshare, CLONE_FILES) != 0) {
        mLeaveError = errno;
    }
    std::unique_lock lock(mMutex);
    while (true) {
        mChanged.wait(lock, [this] { return mJob != nullptr || mIsStopping; });
        if (!mJob) {
            break;
        }
        try {
            (*mJob)();
        } catch (...) {
            mFailure = std::current_exception();
        }
        mJob = nullptr;
        mChanged.notify_all();
    }
    if (mDescriptor >= 0) {
        Call(SYS_close, mDescriptor);
    }
}

std::uint64_t PrivateFile::get_Size() {
    struct statx status {};
    int error = 0;
    Run([&] {
        error = Call(SYS_statx, mDescriptor, "", AT_EMPTY_PATH, STATX_SIZE, &status) == 0 ? 0 : errno;
    });
    if (error != 0) {
        ThrowFileError(mPath, "can't tell the size of file", error);
    }
    return status.stx_size;
}

std::size_t PrivateFile::Read(void* outBuffer, std::uint64_t inOffset, std::size_t inLength) {
    std::size_t done = 0;
    int error = 0;
    Run([&] {
        while (done < inLength) {
            const long part = Call(SYS_pread64, mDescriptor, static_cast<char*>(outBuffer) + done,
                                   inLength - done, inOffset + done);
            if (part <= 0) {
                error = part < 0 ? errno : 0;
                return;
            }
            done += static_cast<std::size_t>(part);
        }
    });
    if (error != 0) {
        ThrowFileError(mPath, "can't read file", error);
    }
    return done;
}

void PrivateFile::Write(const void* inBuffer, std::uint64_t inOffset, std::size_t inLength) {
    int error = 0;
    Run([&] {
        std::size_t done = 0;
        while (done < inLength) {
            const long part = Call(SYS_pwrite64, mDescriptor, static_cast<const char*>(inBuffer) + done,
                                   inLength - done, inOffset + done);
            if (part < 0) {
                error = errno;
                return;
            }
            done += static_cast<std::size_t>(part);
        }
    });
    if (error != 0) {
        ThrowFileError(mPath, "can't write file", error);
    }
}

bool FindPath(const std::string& inPath, bool& outIsFolder) noexcept {
    struct stat status {};
    const bool isThere = ::stat(inPath.c_str(), &status) == 0;
    outIsFolder = isThere && S_ISDIR(status.st_mode);
    return isThere;
}

bool IsWritableFolder(const std::string& inPath) noexcept {
    return ::access(inPath.c_str(), W_OK | X_OK) == 0;
}

bool RemoveFile(const std::string& inPath) { return ::unlink(inPath.c_str()) == 0; }

} // namespace orkit::standin
