/// @file
/// Reading lines at a terminal, with editing, history and completion.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "shell/completion.h"

namespace orlimbara::shell {

/// Finds completions for the text before the cursor.
using Completer = std::function<Completions(std::string_view)>;

class LineEditor {
public:
    enum class Answer { Line, End, Interrupted };

    /// @param inHistory the file that keeps the lines across runs; empty for none.
    LineEditor(std::string inHistory, Completer inCompleter);
    LineEditor(const LineEditor&) = delete;
    LineEditor& operator=(const LineEditor&) = delete;
    /// Writes the history; that it can't be written stops nothing.
    ~LineEditor();

    /// Reads a line, including its line feed unless the input ended without one, and adds it to the history.
    Answer Read(const std::string& inPrompt, std::string& outLine);

private:
    struct Imp;
    std::unique_ptr<Imp> mImp;
};

/// Where the history is kept: in XDG_STATE_HOME, else in the home folder. Empty where there is neither.
std::string HistoryPath();

} // namespace orlimbara::shell
