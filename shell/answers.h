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

namespace orsql {

/// Writes each answer in the mode in force and notes failures. What standard output can't take raises
/// OutputError; a file that can't be written is a failure, after which answers go to standard output again.
class Answers {
public:
    Answers(Mode inMode, ColorChoice inColor, const RenderSettings& inSettings);

    /// Of the answers behind the next one, so that a change of mode is itself answered in the old mode.
    void put_Mode(Mode inMode) { mNextMode = inMode; }
    RenderSettings& get_Settings() { return mSettings; }
    /// Sends the answers behind the next one to a new file. What the system refuses raises ShellError.
    void Redirect(const std::string& inPath);
    /// Sends the answers to standard output again.
    void RedirectBack();

    /// Writes rows as they are read. @param inStatement the SQL that they answer, for a failure's place.
    void Rows(RowSource& inRows, const std::string& inStatement = {});
    void Changed(std::int64_t inCount);
    void Done();
    void Text(std::string_view inText);
    /// In modes that have no failures of their own it goes to standard error.
    void Fail(const Failure& inFailure);
    /// A word beside the answers: to standard error.
    void Notice(std::string_view inText);
    /// Ends the output. No answer comes behind it.
    void Finish();

    /// Whether a failure was answered since the start.
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
    void CloseFile();
    template <class Write>
    void Emit(Write inWrite);

    RenderSettings mSettings;
    ColorChoice mColor;
    Mode mMode;
    Mode mNextMode;
    Sink mStandard;
    std::unique_ptr<Sink> mFile;
    bool mAnswersOnStandard = false; // the next answer, wherever the others go
    bool mHasFailed = false;
};

} // namespace orsql
