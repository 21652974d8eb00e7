/// @file
/// The forms of output: each writes one answer per statement and dot command.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "shell/failure.h"

namespace orlimbara::shell {

enum class Mode;
class Output;
class RowSource;

/// The user's choices; they can change between two answers.
struct RenderSettings {
    std::optional<std::string> nullText; ///< replaces the mode's default
    std::uint64_t maxRows = 40;          ///< of a box; 0 shows all
    bool hasHeader = true;
    std::optional<std::string> requestId; ///< JSON, which answers in JSON carry as "id"
    bool hasColor = false;
    std::optional<std::size_t> maxWidth; ///< columns of a box, in place of the terminal's; 0 is no limit
    std::size_t width = 0;               ///< columns that a box may take; 0 is no limit
    bool isTerminal = false;             ///< texts are escaped, so that they can't affect it
};

/// How the reading of rows ended.
struct RowsEnd {
    std::uint64_t count = 0;
    bool isInterrupted = false;
    std::optional<Failure> failure;
};

/// One form of output. All writing throws OutputError.
class Renderer {
public:
    virtual ~Renderer() = default;
    /// Whether failures are part of the output. Otherwise the caller writes them to standard error.
    virtual bool WritesFailures() const { return false; }
    /// Reads all rows and writes them as they arrive. A failure to read ends the answer and is returned.
    virtual RowsEnd WriteRows(RowSource& inRows) = 0;
    virtual void WriteChanged(std::int64_t inCount) = 0;
    virtual void WriteDone() {}
    virtual void WriteText(std::string_view inText) = 0;
    virtual void WriteFailure(const Failure&) {}
    /// Ends the output; nothing may follow.
    virtual void Finish() {}
};

/// @param inSettings read for every answer. Both must outlive the renderer.
std::unique_ptr<Renderer> MakeRenderer(Mode inMode, Output& inOutput, const RenderSettings& inSettings);

} // namespace orlimbara::shell
