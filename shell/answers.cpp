#include "shell/answers.h"

#include <iostream>
#include <utility>

#include <unistd.h>

#include "shell/terminal.h"

namespace orlimbara::shell {

Answers::Answers(Mode inMode, ColorChoice inColor, const RenderSettings& inSettings)
    : mSettings(inSettings), mColor(inColor), mMode(inMode), mNextMode(inMode) {}

void Answers::Redirect(const std::string& inPath) {
    auto file = std::make_unique<Sink>(inPath);
    CloseFile();
    mFile = std::move(file);
    // Who drives the shell through pipes waits for the answer there.
    mAnswersOnStandard = true;
}

void Answers::RedirectBack() { CloseFile(); }

void Answers::CloseFile() {
    if (const std::unique_ptr<Sink> file = std::move(mFile)) {
        try {
            Prepare(*file).Finish();
            file->output.Close();
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
    mSettings.width = isTerminal ? TerminalWidth(STDOUT_FILENO) : 0;
    mSettings.hasColor = UsesColor(mColor, isTerminal);
    return *ioSink.renderer;
}

template <class Write>
void Answers::Emit(Write inWrite) {
    const bool isToFile = mFile && !std::exchange(mAnswersOnStandard, false);
    try {
        inWrite(Prepare(isToFile ? *mFile : mStandard));
    } catch (const OutputError&) {
        if (!isToFile) {
            throw;
        }
        mFile.reset();
        Fail(CurrentFailure());
    }
    mMode = mNextMode;
}

void Answers::Rows(RowSource& inRows) {
    inRows.put_Origin(mOrigin);
    std::optional<Failure> failure;
    Emit([&](Renderer& renderer) {
        RowsEnd end = renderer.WriteRows(inRows);
        if (end.failure && !renderer.WritesFailures()) {
            failure = std::move(end.failure);
        }
        mHasFailed = mHasFailed || end.failure;
    });
    if (failure) {
        Notice(DescribeFailure(*failure, StandardErrorStyle(mColor)));
        mHasFailed = true;
    }
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
    Emit([&](Renderer& renderer) {
        if (renderer.WritesFailures()) {
            renderer.WriteFailure(inFailure);
        } else {
            Notice(DescribeFailure(inFailure, StandardErrorStyle(mColor)));
        }
    });
}

void Answers::Notice(std::string_view inText) { std::cerr << inText << std::flush; }

void Answers::Finish() {
    CloseFile();
    Prepare(mStandard).Finish();
    mStandard.output.Close();
}

} // namespace orlimbara::shell
