/// @file
/// Failures as the shell shows them to people and programs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace orlimbara::shell {

/// A failure of the shell's own: an unknown command, a file that can't be read. Shown with the class "orsql".
class ShellError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Wrong arguments of a dot command; shown with the command's use.
class UsageError : public ShellError {
public:
    using ShellError::ShellError;
};

/// Adds an explanation for people to the exception nested in it. Class, code and message are the nested
/// one's.
class Explanation : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A table procedure's failure, with the text that it reported.
class ProcedureError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A line of a script. The source is the file's name as the user wrote it, "-c" or "-".
struct SourceLine {
    std::string source;
    std::size_t line = 0; ///< from 1
};

/// One failure. All texts are UTF-8.
struct Failure {
    std::string className;
    std::optional<std::uint32_t> code;
    std::optional<std::string> context;
    std::string message;               ///< as the module gave it
    std::optional<std::size_t> column; ///< where a line of JSON is broken, from 1
    bool isInterrupted = false;        ///< Ctrl-C stopped it
    std::string words;                 ///< an explanation for people, not for programs
    std::string statement;             ///< the SQL that failed, for the caret; empty if there is none
    /// Where it came from: the script's line, then the lines that ran that script, innermost first. Empty for
    /// input at the prompt.
    std::vector<SourceLine> places;
};

/// Where the running statement or command came from.
struct Origin {
    std::vector<SourceLine> places; ///< outermost first; empty at the prompt
    std::string statement;          ///< empty for a dot command
    bool isOneLine = false;         ///< the statement's line feeds aren't lines of the source

    /// Adds the statement and the places; the innermost one is the line of the failure's position.
    void Mark(Failure& ioFailure) const;
};

/// The parts of DuckDB's error text.
struct ErrorParts {
    std::string readable;
    std::string type; ///< such as "Binder"; empty if the text has none
    std::optional<std::int64_t> position;
};

/// The exception being handled as a failure. Call it inside a catch block.
Failure CurrentFailure();
/// The failure of a ShellError that was never thrown.
Failure FailureOf(const ShellError& inError);

/// Parses DuckDB's text: a JSON object, a kind of error followed by such an object, or plain words that begin
/// with the kind of error. Other text is readable already.
ErrorParts TakeApart(const std::string& inMessage);
/// The same for a failure. Only failures of the module and the procedures have DuckDB's text.
ErrorParts PartsOf(const Failure& inFailure);

/// How standard error shows failures.
struct ErrorStyle {
    bool isTerminal = false; ///< the place in the statement is shown with a caret
    bool hasColor = false;
    std::size_t width = 0; ///< of the terminal in columns; 0 without one
};

/// The text for standard error: "error: MESSAGE" and what else is known, ending in a line feed.
std::string DescribeFailure(const Failure& inFailure, const ErrorStyle& inStyle);

} // namespace orlimbara::shell
