#include "shell/output.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include "shell/failure.h"
#include "shell/system.h"
#include "shell/text.h"

namespace orlimbara::shell {

OutputError::OutputError(int inErrno, const std::string& inPath)
    : std::runtime_error("can't write" + (inPath.empty() ? "" : " " + inPath) + ": " +
                         std::strerror(inErrno)),
      mIsReaderGone(inErrno == EPIPE) {}

Output::Output() : mFile(kStandardOutput), mIsTerminal(shell::IsTerminal(kStandardOutput)) {}

Output::Output(const std::string& inPath)
    : mPath(inPath), mOwned(OpenFile(inPath, OpenMode::Write)), mFile(mOwned.get()),
      mIsTerminal(mOwned.IsOpen() && shell::IsTerminal(mFile)) {
    if (!mOwned.IsOpen()) {
        throw ShellError("can't write " + inPath + ": " + std::strerror(errno));
    }
}

void Output::Flush() {
    std::string_view text(mBuffer.data(), std::exchange(mSize, 0));
    std::string harmless;
    if (mIsTerminal && mIsJson) {
        harmless = HarmlessJson(text);
        text = harmless;
    }
    const bool isWritten = mPager ? mPager->Write(text) : WriteAll(mFile, text);
    const int error = errno;
    // Checks held-back text at once: it may be longer than the screen.
    mFlushSize = mPager && mPager->IsHolding() ? 1 : kBufferSize;
    if (!isWritten) {
        throw OutputError(error, mPath);
    }
}

void Output::BeginPaging(const std::string& inCommand) {
    Flush();
    mPager = std::make_unique<Pager>(inCommand, mFile);
    mFlushSize = 1;
}

void Output::EndPaging() {
    const std::unique_ptr<Pager> pager = std::move(mPager);
    mFlushSize = kBufferSize;
    if (!pager->Finish()) {
        throw OutputError(errno, mPath);
    }
}

void Output::Close() {
    Flush();
    if (!mOwned.Close()) {
        throw OutputError(errno, mPath);
    }
}

} // namespace orlimbara::shell
