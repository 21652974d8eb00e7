/// @file
/// Buffered output to standard output or a file.
#pragma once

#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include "shell/files.h"
#include "shell/pager.h"

namespace orlimbara::shell {

/// A failure to write output: the disk is full, or the reader has closed the pipe.
class OutputError : public std::runtime_error {
public:
    /// @param inPath of a file; empty for standard output.
    OutputError(int inErrno, const std::string& inPath);
    /// Whether the reader has closed the pipe. That isn't an error: the run ends silently.
    bool IsReaderGone() const { return mIsReaderGone; }

private:
    bool mIsReaderGone;
};

/// Buffered writing. A failed write throws OutputError and drops the buffer.
class Output {
public:
    /// Standard output.
    Output();
    /// Creates or truncates a file. Throws ShellError if that fails.
    explicit Output(const std::string& inPath);
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    void Write(std::string_view inText) {
        Put(inText);
        if (mSize >= mFlushSize) {
            Flush();
        }
    }
    /// Adds to the buffer and doesn't write it out.
    void Put(std::string_view inText) { mSize += inText.copy(Room(inText.size()), inText.size()); }
    void Put(char inCharacter) {
        *Room(1) = inCharacter;
        ++mSize;
    }
    /// Writes the buffer out.
    void Flush();
    /// Flushes and closes. Throws OutputError.
    void Close();
    /// From now on what doesn't fit the screen goes to a pager, a command for `sh -c`.
    void BeginPaging(const std::string& inCommand);
    /// Waits until the pager is left. Throws OutputError if the terminal can't be written.
    void EndPaging();
    /// Whether the output is JSON, which has its control characters escaped on a terminal.
    void put_IsJson(bool inIsJson) { mIsJson = inIsJson; }
    /// Whether it is a terminal.
    bool IsTerminal() const { return mIsTerminal; }

private:
    static constexpr std::size_t kBufferSize = 1 << 16;
    static constexpr std::size_t kFirstSize = 1 << 10;

    /// Room for `inSize` more characters.
    char* Room(std::size_t inSize) {
        if (mBuffer.size() - mSize < inSize) {
            mBuffer.resize(2 * (mSize + inSize) + kFirstSize);
        }
        return mBuffer.data() + mSize;
    }

    std::string mPath;     // of a file
    std::string mBuffer;   // used up to mSize
    std::size_t mSize = 0; // characters to write
    FileDescriptor mOwned; // of a file; empty for standard output
    int mFile;
    bool mIsTerminal;
    bool mIsJson = false;
    std::unique_ptr<Pager> mPager;
    std::size_t mFlushSize = kBufferSize;
};

} // namespace orlimbara::shell
