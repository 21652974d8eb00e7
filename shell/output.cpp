#include "shell/output.h"

#include <cerrno>
#include <cstring>

#include "shell/failure.h"
#include "shell/system.h"
#include "shell/text.h"

namespace orlimbara::shell {

OutputError::OutputError(int inErrno)
    : std::runtime_error(std::string("can't write: ") + std::strerror(inErrno)),
      mIsReaderGone(inErrno == EPIPE) {}

Output::Output() : mFile(kStandardOutput), mIsTerminal(shell::IsTerminal(kStandardOutput)) {}

Output::Output(const std::string& inPath)
    : mOwned(OpenFile(inPath, OpenMode::Write)), mFile(mOwned.get()),
      mIsTerminal(mOwned.IsOpen() && shell::IsTerminal(mFile)) {
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
