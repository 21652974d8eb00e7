/// @file
/// The shell as a whole: it runs scripts, statements and dot commands.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "shell/answers.h"
#include "shell/options.h"
#include "shell/requests.h"
#include "shell/session.h"
#include "shell/splitter.h"

namespace orlimbara::shell {

class Shell {
public:
    /// All must outlive the shell.
    Shell(Options& ioOptions, Session& inSession, Answers& inAnswers);
    Shell(const Shell&) = delete;
    Shell& operator=(const Shell&) = delete;
    ~Shell() { mAnswers.put_Origin(nullptr); }

    Session& get_Session() { return mSession; }
    const Session& get_Session() const { return mSession; }
    Answers& get_Answers() { return mAnswers; }
    Options& get_Options() { return mOptions; }
    const Options& get_Options() const { return mOptions; }

    /// Runs text from the command line, a file ("-" is standard input), or all that the splitter holds. Each
    /// stops early if the shell must leave, at Ctrl-C, and with --bail at a failure. Throws ShellError if a
    /// file can't be read.
    void RunText(std::string_view inText, std::string_view inSource = "-c");
    void RunFile(const std::string& inPath);
    void RunPieces(Splitter& ioSplitter);
    /// Runs the scripts of the command line. A missing file is a failure.
    void RunScripts();

    /// Leaves after the running command.
    void Leave() { mIsLeaving = true; }
    bool IsLeaving() const { return mIsLeaving; }
    /// Where the running piece came from.
    const Origin& get_Origin() const { return mOrigin; }
    /// Sets a function that is called with each typed piece before it runs; may be null.
    void put_Observer(std::function<void(const Piece&)> inObserver) { mObserver = std::move(inObserver); }
    /// The last statement that ran; empty before the first.
    const std::string& get_LastStatement() const { return mLastStatement; }
    /// An interactive session goes on after a failure, even with --bail.
    void put_IsInteractive(bool inIsInteractive) { mIsInteractive = inIsInteractive; }

private:
    bool IsToStop() const;
    void RunOpenFile(int inFile, const std::string& inPath);
    void RunPiece(const Piece& inPiece);
    void AnswerPiece(const Piece& inPiece);
    void RunRequests();
    void RunRequest(std::string_view inLine);
    void AnswerRequest(Request inRequest);
    void EndOnce();
    void RunStatement(const std::string& inSql);
    void RunCommand(const std::string& inLine);

    Options& mOptions;
    Session& mSession;
    Answers& mAnswers;
    bool mIsLeaving = false;
    bool mIsInteractive = false;
    Origin mOrigin;
    std::function<void(const Piece&)> mObserver;
    std::string mLastStatement;
};

} // namespace orlimbara::shell
