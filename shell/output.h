/// @file
/// Where results go: standard output or a file, through one buffer.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace orsql {

/// Output couldn't be written: a full disk, or a reader that is gone.
class OutputError : public std::runtime_error {
public:
    explicit OutputError(int inErrno);
    /// Whether nobody reads any more, which is no failure: the run ends without a word.
    bool IsReaderGone() const { return mIsReaderGone; }

private:
    bool mIsReaderGone;
};

/// Buffered writing. A write that fails raises OutputError and drops the buffer.
class Output {
public:
    /// Standard output.
    Output();
    /// A new file in place of an old one. What the system refuses raises ShellError.
    explicit Output(const std::string& inPath);
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;
    ~Output();

    void Write(std::string_view inText) {
        mBuffer += inText;
        if (mBuffer.size() >= kBufferSize) {
            Flush();
        }
    }
    void Put(char inCharacter) { mBuffer += inCharacter; }
    /// Hands everything to the system.
    void Flush();
    /// Flushes and closes; a file that can't be closed raises OutputError.
    void Close();
    /// Whether a terminal shows it.
    bool IsTerminal() const { return mIsTerminal; }

private:
    static constexpr std::size_t kBufferSize = 1 << 16;

    std::string mBuffer;
    int mFile;
    bool mIsOwned;
    bool mIsTerminal;
};

} // namespace orsql
