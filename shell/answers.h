/// @file
/// The answers to statements and dot commands, on their way to standard output, a file or standard error.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "shell/options.h"
#include "shell/output.h"
#include "shell/renderer.h"

namespace orlimbara::shell {

/// Writes each answer in the current mode and remembers failures. Throws OutputError when standard output
/// can't be written. A redirection file that can't be written is a failure, and answers go to standard output
/// again.
class Answers {
public:
    Answers(Mode inMode, ColorChoice inColor, const RenderSettings& inSettings);

    /// Takes effect after the next answer, so that the command that changes the mode is answered in the old
    /// one.
    void put_Mode(Mode inMode) { mNextMode = inMode; }
    Mode get_Mode() const { return mMode; }
    RenderSettings& get_Settings() { return mSettings; }
    /// Sends the answers after the next one to a new file. Throws ShellError if it can't be created.
    void Redirect(const std::string& inPath);
    /// Sends answers to standard output again.
    void RedirectBack();
    /// Sends the answers between TakeOnce and EndOnce to a new file, except failures. Throws ShellError if it
    /// can't be created.
    void RedirectOnce(const std::string& inPath) { mNextOnce = std::make_unique<Sink>(inPath); }
    /// Begins to use the file of RedirectOnce. @return false if there is none, or one is in use.
    bool TakeOnce();
    /// Closes the file. Throws ShellError if it can't be written.
    void EndOnce();

    /// Sets where later failures come from; null for nowhere. It must outlive the answers.
    void put_Origin(const Origin* inOrigin) { mOrigin = inOrigin; }

    /// The command that answers on standard output go to where they are longer than the screen; empty for
    /// none.
    void put_Pager(const std::string& inCommand) { mPager = inCommand; }
    const std::string& get_Pager() const { return mPager; }
    /// Lets the pager be used; standard output is a terminal with somebody at it.
    void put_CanPage(bool inCanPage) { mCanPage = inCanPage; }

    /// Writes rows as they are read.
    void Rows(RowSource& inRows);
    void Changed(std::int64_t inCount);
    void Done();
    void Text(std::string_view inText);
    /// Goes to standard error in modes whose output has no form for failures.
    void Fail(Failure inFailure);
    /// Writes a message that is no answer to standard error.
    void Notice(std::string_view inText);
    /// Ends the output; no answer may follow.
    void Finish();

    /// Whether any answer was a failure.
    bool HasFailed() const { return mHasFailed; }

private:
    struct Sink {
        Output output;
        std::unique_ptr<Renderer> renderer;
        Mode mode = Mode::Csv;
        Sink() = default;
        explicit Sink(const std::string& inPath) : output(inPath) {}
    };

    Renderer& Prepare(Sink& ioSink);
    void Close(std::unique_ptr<Sink> inFile);
    Sink& SinkOf(bool inIsFailure);
    template <class Write>
    void WritePaged(Write inWrite);
    template <class Write>
    void Emit(Write inWrite, bool inIsFailure = false);

    RenderSettings mSettings;
    ColorChoice mColor;
    const Origin* mOrigin = nullptr;
    Mode mMode;
    Mode mNextMode;
    Sink mStandard;
    std::unique_ptr<Sink> mFile;
    std::unique_ptr<Sink> mOnce;
    std::unique_ptr<Sink> mNextOnce;
    bool mAnswersOnStandard = false; // sends the next answer there, even if a file takes the others
    bool mHasFailed = false;
    std::string mPager;
    bool mCanPage = false;
};

} // namespace orlimbara::shell
