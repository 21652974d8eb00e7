#include "shell/pager.h"

#include <cerrno>
#include <cstring>
#include <iostream>
#include <utility>

#include "shell/system.h"
#include "shell/terminal.h"
#include "shell/text.h"

namespace orlimbara::shell {

namespace {

/// How much a pipe holds before it is read.
constexpr std::size_t kPipeSize = 1 << 16;

/// The text without colour sequences, which have no width.
std::string WithoutColor(std::string_view inText) {
    std::string text(inText);
    for (std::size_t start = text.find("\x1b["); start != std::string::npos;
         start = text.find("\x1b[", start)) {
        text.erase(start, text.find('m', start) - start + 1);
    }
    return text;
}

} // namespace

Pager::Pager(std::string inCommand, int inTerminal) : mCommand(std::move(inCommand)), mTerminal(inTerminal) {}

Pager::~Pager() {
    if (mState == State::Running) {
        End();
    }
}

bool Pager::Write(std::string_view inText) {
    if (mState != State::Holding) {
        return WriteOn(inText);
    }
    mHeld += inText;
    if (HasRoom()) {
        return true;
    }
    const int error = Start();
    mState = error == 0 ? State::Running : State::OnTerminal;
    if (error != 0) {
        std::cerr << "error: can't run the pager: " << std::strerror(error) << std::endl;
    }
    return WriteOn(std::exchange(mHeld, {}));
}

bool Pager::Finish() {
    switch (mState) {
    case State::Holding:
        return WriteAll(mTerminal, mHeld);
    case State::Running:
        return End() || errno == EPIPE;
    case State::Ended:
    case State::OnTerminal:
        break;
    }
    return true;
}

/// Whether what is held, and a prompt, fit the screen.
bool Pager::HasRoom() {
    const std::size_t width = TerminalWidth(mTerminal);
    const std::size_t height = TerminalHeight(mTerminal);
    for (std::size_t end = mHeld.find('\n', mLineStart); end != std::string::npos && mLines < height;
         end = mHeld.find('\n', mLineStart)) {
        const std::string_view line = std::string_view(mHeld).substr(mLineStart, end - mLineStart);
        const std::size_t columns = line.size() <= width ? line.size() : DisplayWidth(WithoutColor(line));
        mLines += columns <= width ? 1 : (columns + width - 1) / width;
        mLineStart = end + 1;
    }
    return mLines < height && mHeld.size() < kPipeSize;
}

/// @return 0, else the error.
int Pager::Start() {
    const int error = StartReader(mCommand, "error: the pager", mReader);
    mPipe = FileDescriptor(mReader.pipe);
    if (error == 0) {
        mYield.emplace(mPipe.get());
    }
    return error;
}

bool Pager::WriteOn(std::string_view inText) {
    if (mState == State::Ended) {
        errno = EPIPE;
        return false;
    }
    if (mState == State::OnTerminal) {
        return WriteAll(mTerminal, inText);
    }
    if (!mIsRead) {
        mHeld += inText;
    }
    if (!WriteAll(mPipe.get(), inText)) {
        return errno == EPIPE && End();
    }
    if (mHeld.size() > kPipeSize) {
        mIsRead = true;
        mHeld = {};
    }
    return true;
}

/// Waits for the pager. If it couldn't be started, its input goes to the terminal.
/// @return false, with EPIPE, unless more can be written there.
bool Pager::End() {
    mYield->KeepOn();
    mPipe.Close();
    const bool wasThere = WaitForReader(mReader);
    mYield.reset();
    if (!wasThere && !mIsRead) {
        mState = State::OnTerminal;
        return WriteAll(mTerminal, mHeld);
    }
    mState = State::Ended;
    errno = EPIPE;
    return false;
}

std::string UsualPager() {
    const std::string pager = Environment("PAGER");
    return pager.empty() ? kUsualPager : pager;
}

} // namespace orlimbara::shell
