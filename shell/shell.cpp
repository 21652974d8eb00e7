#include "shell/shell.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>

#include <fmt/format.h>

#include "shell/commands.h"
#include "shell/failure.h"
#include "shell/files.h"
#include "shell/interrupts.h"
#include "shell/row_source.h"
#include "shell/system.h"
#include "shell/text.h"

namespace orlimbara::shell {

namespace {

constexpr std::size_t kDeepest = 64;

/// The source that pieces come from, for its lifetime.
class SourceScope {
public:
    SourceScope(Origin& ioOrigin, std::string_view inSource) : mOrigin(ioOrigin) {
        mOrigin.places.push_back({ValidUtf8(inSource), 0});
    }
    SourceScope(const SourceScope&) = delete;
    SourceScope& operator=(const SourceScope&) = delete;
    ~SourceScope() { mOrigin.places.pop_back(); }

private:
    Origin& mOrigin;
};

} // namespace

Shell::Shell(Options& ioOptions, Session& inSession, Answers& inAnswers)
    : mOptions(ioOptions), mSession(inSession), mAnswers(inAnswers) {
    mAnswers.put_Origin(&mOrigin);
}

bool Shell::IsToStop() const {
    const bool isBailing = mOptions.stopsAtFailure && !mIsInteractive && mAnswers.HasFailed();
    return mIsLeaving || isBailing || IsInterrupted();
}

void Shell::RunScripts() {
    for (const Script& script : mOptions.scripts) {
        if (IsToStop()) {
            return;
        }
        if (script.kind == Script::Kind::Command) {
            RunText(script.text);
            continue;
        }
        try {
            RunFile(script.text);
        } catch (const ShellError&) {
            mAnswers.Fail(CurrentFailure());
        }
    }
}

void Shell::RunText(std::string_view inText, std::string_view inSource) {
    const SourceScope source(mOrigin, inSource);
    Splitter splitter;
    splitter.Feed(inText);
    splitter.Finish();
    RunPieces(splitter);
}

void Shell::RunFile(const std::string& inPath) {
    if (inPath == "-") {
        const SourceScope source(mOrigin, inPath);
        if (mOptions.input == InputForm::Jsonl) {
            RunRequests();
        } else {
            RunOpenFile(kStandardInput, "standard input");
        }
        return;
    }
    if (mOrigin.places.size() == kDeepest) {
        throw ShellError(fmt::format("{}: files run each other more than {} deep", inPath, kDeepest));
    }
    const FileDescriptor file = FileDescriptor::OpenToRead(inPath);
    const SourceScope source(mOrigin, inPath);
    RunOpenFile(file.get(), inPath);
}

void Shell::RunOpenFile(int inFile, const std::string& inPath) {
    Splitter splitter;
    std::array<char, 1 << 16> part;
    while (!IsToStop() && WaitForInput(inFile)) {
        const std::ptrdiff_t count = ReadSome(inFile, part.data(), part.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            throw ShellError(fmt::format("can't read {}: {}", inPath, std::strerror(errno)));
        }
        if (count == 0) {
            splitter.Finish();
            RunPieces(splitter);
            return;
        }
        splitter.Feed({part.data(), static_cast<std::size_t>(count)});
        RunPieces(splitter);
    }
}

void Shell::RunPieces(Splitter& ioSplitter) {
    while (!IsToStop()) {
        const std::optional<Piece> piece = ioSplitter.Next();
        if (!piece) {
            return;
        }
        RunPiece(*piece);
    }
}

void Shell::RunPiece(const Piece& inPiece) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point start = Clock::now();
    const double processorStart = ProcessorTime();
    if (!mOrigin.places.empty()) {
        mOrigin.places.back().line = inPiece.line;
    }
    if (mObserver && mOrigin.places.empty()) {
        mObserver(inPiece);
    }
    const bool isTimed = mOptions.showsTimer;
    const bool takesOnce = mAnswers.TakeOnce();
    AnswerPiece(inPiece);
    if (takesOnce) {
        EndOnce();
    }
    if (isTimed && mOptions.showsTimer) {
        const std::chrono::duration<double> elapsed = Clock::now() - start;
        mAnswers.Notice(fmt::format("time: {:.3f} s, processors: {:.3f} s\n", elapsed.count(),
                                    ProcessorTime() - processorStart));
    }
}

void Shell::AnswerPiece(const Piece& inPiece) {
    const bool isStatement = inPiece.kind == Piece::Kind::Statement;
    mOrigin.statement = isStatement ? inPiece.text : "";
    if (inPiece.text.find('\0') != std::string::npos) {
        // The module's texts end at a zero byte, and the text before it may be another statement.
        mAnswers.Fail(FailureOf(ShellError("the text holds a zero byte")));
    } else if (isStatement) {
        mLastStatement = inPiece.text;
        RunStatement(inPiece.text);
    } else {
        RunCommand(inPiece.text);
    }
}

void Shell::RunRequests() {
    std::string text;
    std::array<char, 1 << 16> part;
    mOrigin.isOneLine = true;
    while (!IsToStop() && WaitForInput(kStandardInput)) {
        const std::ptrdiff_t count = ReadSome(kStandardInput, part.data(), part.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            throw ShellError(fmt::format("can't read standard input: {}", std::strerror(errno)));
        }
        if (count == 0) {
            RunRequest(text);
            break;
        }
        std::size_t seen = text.size();
        text.append(part.data(), static_cast<std::size_t>(count));
        std::size_t start = 0;
        for (std::size_t end = text.find('\n', seen); end != std::string::npos && !IsToStop();
             end = text.find('\n', start)) {
            RunRequest(std::string_view(text).substr(start, end - start));
            start = end + 1;
        }
        text.erase(0, start);
    }
    mOrigin.isOneLine = false;
}

/// Writes one line per request, none for an empty line.
void Shell::RunRequest(std::string_view inLine) {
    ++mOrigin.places.back().line;
    mOrigin.statement.clear();
    if (inLine.ends_with('\r')) {
        inLine.remove_suffix(1);
    }
    if (inLine.empty()) {
        return;
    }
    std::optional<std::string>& id = mAnswers.get_Settings().requestId;
    try {
        AnswerRequest(ParseRequest(inLine, id));
    } catch (const ShellError&) {
        mAnswers.Fail(CurrentFailure());
    }
    id.reset();
}

void Shell::AnswerRequest(Request inRequest) {
    if (inRequest.command) {
        if (!inRequest.command->starts_with('.')) {
            throw RequestError("a \"command\" begins with a dot");
        }
        AnswerPiece({Piece::Kind::DotCommand, *inRequest.command});
        return;
    }
    Splitter splitter;
    splitter.Feed(*inRequest.sql);
    splitter.Finish();
    const std::optional<Piece> piece = splitter.Next();
    if (!piece) {
        mAnswers.Done();
        return;
    }
    if (piece->kind == Piece::Kind::DotCommand || splitter.Next()) {
        throw RequestError("\"sql\" is one statement");
    }
    if (!inRequest.holdsValues) {
        AnswerPiece(*piece);
        return;
    }
    const Session::Held held = mSession.Exchange({std::move(inRequest.values), std::move(inRequest.rows)});
    AnswerPiece(*piece);
    mSession.Exchange(held);
}

void Shell::EndOnce() {
    try {
        mAnswers.EndOnce();
    } catch (const ShellError&) {
        mAnswers.Fail(CurrentFailure());
    }
}

void Shell::RunStatement(const std::string& inSql) {
    Outcome outcome;
    try {
        outcome = mSession.Run(inSql, mOptions.cursor);
    } catch (...) {
        mAnswers.Fail(CurrentFailure());
        return;
    }
    if (outcome.cursor) {
        CursorRows rows(std::move(outcome.cursor));
        mAnswers.Rows(rows);
    } else if (outcome.hasCount) {
        mAnswers.Changed(outcome.count);
    } else {
        mAnswers.Done();
    }
}

void Shell::RunCommand(const std::string& inLine) {
    try {
        if (RunDotCommand(*this, inLine) == CommandAnswer::Pending) {
            mAnswers.Done();
        }
    } catch (const OutputError&) {
        throw;
    } catch (...) {
        mOrigin.statement.clear(); // set by a script that the command ran
        mAnswers.Fail(CurrentFailure());
    }
}

} // namespace orlimbara::shell
