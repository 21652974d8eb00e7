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

    explicit LineEditor(Completer inCompleter);
    LineEditor(const LineEditor&) = delete;
    LineEditor& operator=(const LineEditor&) = delete;
    ~LineEditor();

    /// Reads a line, including its line feed unless the input ended without one. Pasted text may contain
    /// several lines.
    Answer Read(const std::string& inPrompt, std::string& outLine);
    /// Adds a complete statement or dot command to the history.
    void Remember(const std::string& inEntry);

private:
    struct Imp;
    std::unique_ptr<Imp> mImp;
};

} // namespace orlimbara::shell
