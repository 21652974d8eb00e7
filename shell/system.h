/// @file
/// The shell's interface to the operating system: one source for POSIX, one for Windows. All texts are UTF-8.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace orlimbara::shell {

constexpr int kStandardInput = 0;
constexpr int kStandardOutput = 1;
constexpr int kStandardError = 2;

/// The command line.
struct Arguments {
    int count;
    char** texts;
};

/// Reads the command line, opens standard streams that the caller closed, so that no other file gets their
/// numbers, and sets them to binary. Call it once, at the start.
Arguments PrepareProgram(int inCount, char** inArguments);

/// An environment variable; empty if it isn't set.
std::string Environment(const char* inName);
/// The user's home folder; empty if the environment doesn't say.
std::string HomeFolder();

enum class OpenMode {
    Read,
    Write, ///< creates or truncates
};

/// @return a descriptor that child processes don't inherit, or -1 with errno set.
int OpenFile(const std::string& inPath, OpenMode inMode);
bool CloseFile(int inFile);
/// One read, which a signal can end. @return the bytes read, 0 at the end, -1 with errno set.
std::ptrdiff_t ReadSome(int inFile, char* outBuffer, std::size_t inSize);
/// Writes all of a text. @return false, with errno set, at the first failure.
bool WriteAll(int inFile, std::string_view inText);
/// Creates a file with a unique name that ends in ".sql". @return a descriptor, or -1 with errno set.
int MakeScratchFile(std::string& outPath);
/// @param inReplaces whether the new name may exist.
/// @return false, with errno set, if the system reports a failure.
bool RenameFile(const std::string& inFrom, const std::string& inTo, bool inReplaces);
/// Whether a file may be replaced while a program has it open.
extern const bool kReplacesOpenFiles;

bool IsTerminal(int inFile);
/// The size of a terminal; zeros if it doesn't tell.
struct TerminalSize {
    std::size_t lines;
    std::size_t columns;
};
TerminalSize SizeOf(int inTerminal);
/// Whether the terminals support no escape sequences.
bool IsDumbTerminal();

int ProcessId();
/// The seconds that all threads of the process have used on processors.
double ProcessorTime();
bool IsProcessGone(int inProcess);
/// Runs a command of the user's with one more argument and waits for it; Ctrl-C goes to the command
/// meanwhile.
/// @return whether it succeeded.
bool RunCommandOn(const std::string& inCommand, const std::string& inArgument);

/// A program that reads a pipe.
struct PipeReader {
    int pipe = -1; ///< to write to
    std::intptr_t process = -1;
};
/// Starts a command of the user's behind a pipe. Its shell begins messages with `inName`.
/// @return 0, else the error.
int StartReader(const std::string& inCommand, const std::string& inName, PipeReader& outReader);
/// Waits for its end. The pipe must be closed.
/// @return whether there is such a command: false if its shell told that it can't run it.
bool WaitForReader(const PipeReader& inReader);
/// The pager for who hasn't chosen one.
extern const char* const kUsualPager;

/// The file name of the module.
extern const char* const kModuleName;
/// The path of the running program; empty if unknown.
std::string ProgramPath();
/// @return null, with the loader's message, if it can't be loaded.
void* LoadLibraryFile(const std::string& inPath, std::string& outMessage);
/// @return null if the library has no such export.
void* FindSymbol(void* inLibrary, const char* inName);

} // namespace orlimbara::shell
