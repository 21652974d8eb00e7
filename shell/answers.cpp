#include "shell/answers.h"

#include <iostream>
#include <utility>

#include "shell/row_source.h"
#include "shell/system.h"
#include "shell/terminal.h"

namespace orlimbara::shell {

Answers::Answers(Mode inMode, ColorChoice inColor, const RenderSettings& inSettings)
    : mSettings(inSettings), mColor(inColor), mMode(inMode), mNextMode(inMode) {}

void Answers::Redirect(const std::string& inPath) {
    auto file = std::make_unique<Sink>(inPath);
    Close(std::move(mFile));
    mFile = std::move(file);
    // A program that drives the shell through pipes waits for the answer there.
    mAnswersOnStandard = true;
}

void Answers::RedirectBack() { Close(std::move(mFile)); }

bool Answers::TakeOnce() {
    if (!mNextOnce || mOnce) {
        return false;
    }
    mOnce = std::move(mNextOnce);
    return true;
}

void Answers::EndOnce() { Close(std::move(mOnce)); }

void Answers::Close(std::unique_ptr<Sink> inFile) {
    if (inFile) {
        try {
            Prepare(*inFile).Finish();
            inFile->output.Close();
        } catch (const OutputError& error) {
            throw ShellError(error.what());
        }
    }
}

Renderer& Answers::Prepare(Sink& ioSink) {
    if (!ioSink.renderer || ioSink.mode != mMode) {
        if (ioSink.renderer) {
            ioSink.renderer->Finish();
        }
        ioSink.renderer = MakeRenderer(mMode, ioSink.output, mSettings);
        ioSink.mode = mMode;
    }
    const bool isTerminal = ioSink.output.IsTerminal();
    mSettings.width = mSettings.maxWidth.value_or(isTerminal ? TerminalWidth(kStandardOutput) : 0);
    mSettings.isTerminal = isTerminal;
    mSettings.hasColor = UsesColor(mColor, isTerminal);
    return *ioSink.renderer;
}

Answers::Sink& Answers::SinkOf(bool inIsFailure) {
    if (std::exchange(mAnswersOnStandard, false)) {
        return mStandard;
    }
    if (mOnce && !inIsFailure) {
        return *mOnce;
    }
    return mFile ? *mFile : mStandard;
}

/// Writes to standard output through the pager, which may be left before the end.
template <class Write>
void Answers::WritePaged(Write inWrite) {
    Renderer& renderer = Prepare(mStandard);
    Output& output = mStandard.output;
    output.BeginPaging(mPager);
    try {
        inWrite(renderer);
        output.Flush();
    } catch (const OutputError& error) {
        output.EndPaging();
        if (!error.IsReaderGone()) {
            throw;
        }
        return;
    } catch (...) {
        output.EndPaging();
        throw;
    }
    output.EndPaging();
}

template <class Write>
void Answers::Emit(Write inWrite, bool inIsFailure) {
    Sink& sink = SinkOf(inIsFailure);
    try {
        if (&sink == &mStandard && mCanPage && !mPager.empty()) {
            WritePaged(inWrite);
        } else {
            inWrite(Prepare(sink));
        }
    } catch (const OutputError& error) {
        if (&sink == &mStandard) {
            throw;
        }
        (&sink == mOnce.get() ? mOnce : mFile).reset();
        Fail(FailureOf(ShellError(error.what())));
    }
    mMode = mNextMode;
}

void Answers::Rows(RowSource& inRows) {
    inRows.put_Origin(mOrigin);
    std::optional<Failure> failure;
    bool isTold = false;
    Emit([&](Renderer& renderer) {
        failure = renderer.WriteRows(inRows).failure;
        isTold = renderer.WritesFailures() && !mOnce;
    });
    if (failure && !isTold) {
        Fail(std::move(*failure));
    }
    mHasFailed = mHasFailed || failure;
}

void Answers::Changed(std::int64_t inCount) {
    Emit([&](Renderer& renderer) { renderer.WriteChanged(inCount); });
}

void Answers::Done() {
    Emit([](Renderer& renderer) { renderer.WriteDone(); });
}

void Answers::Text(std::string_view inText) {
    Emit([&](Renderer& renderer) { renderer.WriteText(inText); });
}

void Answers::Fail(Failure inFailure) {
    mHasFailed = true;
    if (mOrigin) {
        mOrigin->Mark(inFailure);
    }
    Emit(
        [&](Renderer& renderer) {
            if (renderer.WritesFailures()) {
                renderer.WriteFailure(inFailure);
            } else {
                Notice(DescribeFailure(inFailure, StandardErrorStyle(mColor)));
            }
        },
        true);
}

void Answers::Notice(std::string_view inText) { std::cerr << inText << std::flush; }

void Answers::Finish() {
    Close(std::move(mFile));
    Prepare(mStandard).Finish();
    mStandard.output.Close();
}

} // namespace orlimbara::shell
