/// @file
/// Showing long output page by page, in a program of the user's choice.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "shell/files.h"
#include "shell/interrupts.h"
#include "shell/system.h"

namespace orlimbara::shell {

/// Takes an answer for a terminal: holds the text back, and starts the pager once it no longer fits the
/// screen. Ctrl-C goes to the pager while it runs.
class Pager {
public:
    /// @param inCommand for `sh -c`. @param inTerminal the descriptor of the terminal.
    Pager(std::string inCommand, int inTerminal);
    Pager(const Pager&) = delete;
    Pager& operator=(const Pager&) = delete;
    ~Pager();

    /// Whether all of the answer is held back so far.
    bool IsHolding() const { return mState == State::Holding; }
    /// Takes a part of the answer. @return false, with errno set, if it can't be written: EPIPE if the user
    /// left the pager.
    bool Write(std::string_view inText);
    /// Shows an answer that fits the screen, or waits until the user leaves the pager. @return as Write.
    bool Finish();

private:
    enum class State { Holding, Running, Ended, OnTerminal };

    bool HasRoom();
    bool WriteOn(std::string_view inText);
    int Start();
    bool End();

    std::string mCommand;
    int mTerminal;
    State mState = State::Holding;
    std::string mHeld; // before the start; then what the pager may not have read
    std::size_t mLines = 0;
    std::size_t mLineStart = 0; // in mHeld
    bool mIsRead = false;       // by the pager
    PipeReader mReader;
    FileDescriptor mPipe;
    std::optional<YieldScope> mYield;
};

/// The pager that the user has chosen for all programs.
std::string UsualPager();

} // namespace orlimbara::shell
