#include "shell/output.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

#include "shell/failure.h"
#include "shell/text.h"

namespace orlimbara::shell {

OutputError::OutputError(int inErrno)
    : std::runtime_error(std::string("can't write: ") + std::strerror(inErrno)),
      mIsReaderGone(inErrno == EPIPE) {}

Output::Output() : mFile(STDOUT_FILENO), mIsTerminal(isatty(STDOUT_FILENO) == 1) {}

Output::Output(const std::string& inPath)
    : mOwned(open(inPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666)), mFile(mOwned.get()),
      mIsTerminal(mOwned.IsOpen() && isatty(mFile) == 1) {
    if (!mOwned.IsOpen()) {
        throw ShellError("can't write " + inPath + ": " + std::strerror(errno));
    }
}

void Output::Flush() {
    if (mIsTerminal && mIsJson) {
        mBuffer = HarmlessJson(mBuffer);
    }
    const bool isWritten = WriteAll(mFile, mBuffer);
    const int error = errno;
    mBuffer.clear();
    if (!isWritten) {
        throw OutputError(error);
    }
}

void Output::Close() {
    Flush();
    if (!mOwned.Close()) {
        throw OutputError(errno);
    }
}

} // namespace orlimbara::shell
