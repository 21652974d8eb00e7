#include "shell/output.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "shell/failure.h"

namespace orsql {

OutputError::OutputError(int inErrno)
    : std::runtime_error(std::string("can't write: ") + std::strerror(inErrno)),
      mIsReaderGone(inErrno == EPIPE) {}

Output::Output() : mFile(STDOUT_FILENO), mIsOwned(false), mIsTerminal(isatty(STDOUT_FILENO) == 1) {}

Output::Output(const std::string& inPath)
    : mFile(open(inPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666)), mIsOwned(true),
      mIsTerminal(mFile >= 0 && isatty(mFile) == 1) {
    if (mFile < 0) {
        throw ShellError("can't write " + inPath + ": " + std::strerror(errno));
    }
}

Output::~Output() {
    if (mIsOwned && mFile >= 0) {
        close(mFile);
    }
}

void Output::Flush() {
    std::size_t written = 0;
    while (written < mBuffer.size()) {
        const ssize_t count = write(mFile, mBuffer.data() + written, mBuffer.size() - written);
        if (count >= 0) {
            written += static_cast<std::size_t>(count);
        } else if (errno != EINTR) {
            const int error = errno;
            mBuffer.clear();
            throw OutputError(error);
        }
    }
    mBuffer.clear();
}

void Output::Close() {
    Flush();
    if (mIsOwned && close(std::exchange(mFile, -1)) != 0) {
        throw OutputError(errno);
    }
}

} // namespace orsql
