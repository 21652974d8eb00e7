/// @file
/// Reading lines at a terminal, with editing, history and completion.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace orsql {

/// What completion offers: texts that can take the place of what stands from `start` on.
struct Completions {
    std::size_t start = 0;
    std::vector<std::string> texts;
};

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

    /// Reads a line, with its line feed unless the input ended in it, and enters it into the history.
    Answer Read(const std::string& inPrompt, std::string& outLine);

private:
    struct Imp;
    std::unique_ptr<Imp> mImp;
};

/// Where the history is kept: in XDG_STATE_HOME, else in the home folder. Empty where there is neither.
std::string HistoryPath();

} // namespace orsql
