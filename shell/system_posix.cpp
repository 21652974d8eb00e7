// The operating system's calls on POSIX.
#include "shell/system.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>

#include <dlfcn.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orlimbara::shell {

Arguments PrepareProgram(int inCount, char** inArguments) {
    // A stream opened here is at its end for reading, and writing to it fails.
    for (const int stream : {kStandardInput, kStandardOutput, kStandardError}) {
        if (fcntl(stream, F_GETFD) < 0) {
            open("/dev/null", O_RDONLY); // takes the lowest free number, which is this one
        }
    }
    return {inCount, inArguments};
}

std::string Environment(const char* inName) {
    const char* const value = std::getenv(inName);
    return value ? value : "";
}

std::string HomeFolder() { return Environment("HOME"); }

int OpenFile(const std::string& inPath, OpenMode inMode) {
    const int mode = inMode == OpenMode::Read ? O_RDONLY : O_WRONLY | O_CREAT | O_TRUNC;
    return open(inPath.c_str(), mode | O_CLOEXEC, 0666);
}

bool CloseFile(int inFile) { return close(inFile) == 0; }

std::ptrdiff_t ReadSome(int inFile, char* outBuffer, std::size_t inSize) {
    return read(inFile, outBuffer, inSize);
}

bool WriteAll(int inFile, std::string_view inText) {
    while (!inText.empty()) {
        const ssize_t count = write(inFile, inText.data(), inText.size());
        if (count < 0 && errno != EINTR) {
            return false;
        }
        inText.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
    return true;
}

int MakeScratchFile(std::string& outPath) {
    outPath = (std::filesystem::temp_directory_path() / "orsql-XXXXXX.sql").string();
    return mkstemps(outPath.data(), 4);
}

bool RenameFile(const std::string& inFrom, const std::string& inTo, bool inReplaces) {
    const unsigned flags = inReplaces ? 0 : RENAME_NOREPLACE;
    int result = renameat2(AT_FDCWD, inFrom.c_str(), AT_FDCWD, inTo.c_str(), flags);
    if (result != 0 && flags != 0 && (errno == EINVAL || errno == ENOSYS)) {
        // The file system can't guarantee it; the name was free a moment ago.
        result = rename(inFrom.c_str(), inTo.c_str());
    }
    return result == 0;
}

const bool kReplacesOpenFiles = true;

bool IsTerminal(int inFile) { return isatty(inFile) == 1; }

TerminalSize SizeOf(int inTerminal) {
    winsize size = {};
    return ioctl(inTerminal, TIOCGWINSZ, &size) == 0 ? TerminalSize{size.ws_row, size.ws_col}
                                                     : TerminalSize{0, 0};
}

bool IsDumbTerminal() { return Environment("TERM") == "dumb"; }

double ProcessorTime() {
    timespec clock = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &clock);
    return static_cast<double>(clock.tv_sec) + static_cast<double>(clock.tv_nsec) * 1e-9;
}

int ProcessId() { return getpid(); }

bool IsProcessGone(int inProcess) { return kill(inProcess, 0) != 0 && errno == ESRCH; }

bool RunCommandOn(const std::string& inCommand, const std::string& inArgument) {
    // system() ignores Ctrl-C here while the command runs.
    return std::system((inCommand + " '" + inArgument + "'").c_str()) == 0;
}

int StartReader(const std::string& inCommand, const std::string& inName, PipeReader& outReader) {
    std::array<int, 2> ends = {-1, -1};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        return errno;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[0], STDIN_FILENO);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t usual;
    sigemptyset(&usual);
    sigaddset(&usual, SIGPIPE);
    sigaddset(&usual, SIGXFSZ);
    posix_spawnattr_setsigdefault(&attributes, &usual);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    std::array<std::string, 4> words = {// less is to pass colours on, unless the user has told it what to do.
                                        "sh", "-c", "export LESS=\"${LESS-R}\"; " + inCommand, inName};
    std::array<char*, 5> arguments = {words[0].data(), words[1].data(), words[2].data(), words[3].data(),
                                      nullptr};
    pid_t process = -1;
    const int error = posix_spawn(&process, "/bin/sh", &actions, &attributes, arguments.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[0]);
    outReader = {ends[1], process};
    return error;
}

bool WaitForReader(const PipeReader& inReader) {
    constexpr int kCantRun = 126;
    constexpr int kNotFound = 127;
    int status = 0;
    while (waitpid(static_cast<pid_t>(inReader.process), &status, 0) < 0 && errno == EINTR) {
    }
    return !WIFEXITED(status) || (WEXITSTATUS(status) != kCantRun && WEXITSTATUS(status) != kNotFound);
}

const char* const kUsualPager = "less";

const char* const kModuleName = "orlimbara_duckdb.so";

std::string ProgramPath() {
    std::error_code error;
    const std::filesystem::path path = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::string() : path.string();
}

void* LoadLibraryFile(const std::string& inPath, std::string& outMessage) {
    // The module binds its own symbols immediately anyway; DuckDB's many are bound at their first call.
    void* const library = dlopen(inPath.c_str(), RTLD_LAZY | RTLD_LOCAL);
    if (!library) {
        const char* const reason = dlerror();
        outMessage = reason ? reason : inPath;
    }
    return library;
}

void* FindSymbol(void* inLibrary, const char* inName) { return dlsym(inLibrary, inName); }

} // namespace orlimbara::shell
