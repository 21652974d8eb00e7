// The operating system's calls on Windows.
#include "shell/system.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <windows.h>
// After it, which defines what they need.
#include <fcntl.h>
#include <io.h>
#include <process.h>
#include <share.h>
#include <shellapi.h>
#include <sys/stat.h>

namespace orlimbara::shell {

namespace {

std::wstring Wide(std::string_view inText) {
    const int length = static_cast<int>(inText.size());
    std::wstring wide(inText.size(), L'\0'); // UTF-16 never needs more units than UTF-8 has bytes
    wide.resize(static_cast<std::size_t>(
        std::max(0, MultiByteToWideChar(CP_UTF8, 0, inText.data(), length, wide.data(), length))));
    return wide;
}

std::string Narrow(std::wstring_view inText) {
    const int length = static_cast<int>(inText.size());
    std::string narrow(inText.size() * 3, '\0');
    narrow.resize(static_cast<std::size_t>(
        std::max(0, WideCharToMultiByte(CP_UTF8, 0, inText.data(), length, narrow.data(), length * 3, nullptr,
                                        nullptr))));
    return narrow;
}

std::string MessageOf(DWORD inError) {
    std::wstring text(512, L'\0');
    const DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                        inError, 0, text.data(), static_cast<DWORD>(text.size()), nullptr);
    text.resize(length);
    while (!text.empty() && (text.back() == L'\n' || text.back() == L'\r' || text.back() == L'.')) {
        text.pop_back();
    }
    return text.empty() ? "error " + std::to_string(inError) : Narrow(text);
}

HANDLE HandleOf(int inFile) { return reinterpret_cast<HANDLE>(_get_osfhandle(inFile)); }

/// @return a failed call's answer, with errno set.
int Failed(int inErrno) {
    errno = inErrno;
    return -1;
}

constexpr std::size_t kPart = 1 << 13; // every console accepts this much at once

/// Reads a line from a console after the user's editing. What doesn't fit the buffer is kept for the next
/// call.
std::ptrdiff_t ReadConsoleLine(HANDLE inConsole, char* outBuffer, std::size_t inSize) {
    static std::string waiting;
    if (waiting.empty()) {
        std::wstring line;
        do {
            std::wstring part(kPart, L'\0');
            DWORD length = 0;
            if (!ReadConsoleW(inConsole, part.data(), static_cast<DWORD>(part.size()), &length, nullptr)) {
                return Failed(GetLastError() == ERROR_OPERATION_ABORTED ? EINTR : EIO);
            }
            if (length == 0) {
                return Failed(EINTR); // Ctrl-C
            }
            line.append(part, 0, length);
        } while (!line.ends_with(L'\n'));
        constexpr wchar_t kCtrlZ = 26;
        if (line.front() == kCtrlZ) {
            return 0;
        }
        std::erase(line, L'\r');
        waiting = Narrow(line);
    }
    const std::size_t count = std::min(inSize, waiting.size());
    waiting.copy(outBuffer, count);
    waiting.erase(0, count);
    return static_cast<std::ptrdiff_t>(count);
}

bool WriteToConsole(HANDLE inConsole, std::string_view inText) {
    const std::wstring text = Wide(inText);
    for (std::size_t done = 0; done < text.size();) {
        DWORD count = 0;
        if (!WriteConsoleW(inConsole, text.data() + done,
                           static_cast<DWORD>(std::min(kPart, text.size() - done)), &count, nullptr)) {
            errno = EIO;
            return false;
        }
        done += count;
    }
    return true;
}

UINT gCodePage = 0; // of the console before this program

/// Makes consoles accept UTF-8 and escape sequences until the program ends.
void PrepareConsole() {
    gCodePage = GetConsoleOutputCP();
    SetConsoleOutputCP(CP_UTF8);
    std::atexit([] { SetConsoleOutputCP(gCodePage); });
    for (const int stream : {kStandardOutput, kStandardError}) {
        DWORD mode = 0;
        if (GetConsoleMode(HandleOf(stream), &mode)) {
            SetConsoleMode(HandleOf(stream), mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
        }
    }
}

bool KnowsSequences(int inFile) {
    DWORD mode = 0;
    return !GetConsoleMode(HandleOf(inFile), &mode) || (mode & ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
}

} // namespace

Arguments PrepareProgram(int, char**) {
    for (const int stream : {kStandardInput, kStandardOutput, kStandardError}) {
        if (_get_osfhandle(stream) < 0) {
            _wopen(L"NUL", _O_RDONLY); // takes the lowest free number, which is this one
        }
        _setmode(stream, _O_BINARY);
    }
    PrepareConsole();
    static std::vector<std::string> texts;
    static std::vector<char*> pointers;
    int count = 0;
    wchar_t** const words = CommandLineToArgvW(GetCommandLineW(), &count);
    for (int i = 0; i < count; ++i) {
        texts.push_back(Narrow(words[i]));
    }
    LocalFree(words);
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return {count, pointers.data()};
}

std::string Environment(const char* inName) {
    const wchar_t* const value = _wgetenv(Wide(inName).c_str());
    return value ? Narrow(value) : "";
}

std::string HomeFolder() {
    const std::string home = Environment("HOME");
    return home.empty() ? Environment("USERPROFILE") : home;
}

int OpenFile(const std::string& inPath, OpenMode inMode) {
    const int mode = inMode == OpenMode::Read ? _O_RDONLY : _O_WRONLY | _O_CREAT | _O_TRUNC;
    return _wopen(Wide(inPath).c_str(), mode | _O_BINARY | _O_NOINHERIT, _S_IREAD | _S_IWRITE);
}

bool CloseFile(int inFile) { return _close(inFile) == 0; }

std::ptrdiff_t ReadSome(int inFile, char* outBuffer, std::size_t inSize) {
    if (IsTerminal(inFile)) {
        return ReadConsoleLine(HandleOf(inFile), outBuffer, inSize);
    }
    DWORD count = 0;
    if (ReadFile(HandleOf(inFile), outBuffer, static_cast<DWORD>(std::min<std::size_t>(inSize, 1 << 30)),
                 &count, nullptr)) {
        return count;
    }
    const DWORD error = GetLastError();
    return error == ERROR_BROKEN_PIPE || error == ERROR_HANDLE_EOF ? 0
           : error == ERROR_OPERATION_ABORTED                      ? Failed(EINTR)
           : error == ERROR_ACCESS_DENIED                          ? Failed(EACCES)
                                                                   : Failed(EIO);
}

bool WriteAll(int inFile, std::string_view inText) {
    if (IsTerminal(inFile)) {
        return WriteToConsole(HandleOf(inFile), inText);
    }
    while (!inText.empty()) {
        const auto part = static_cast<unsigned>(std::min<std::size_t>(inText.size(), 1 << 30));
        const int count = _write(inFile, inText.data(), part);
        if (count < 0) {
            if (GetLastError() == ERROR_NO_DATA || GetLastError() == ERROR_BROKEN_PIPE) {
                errno = EPIPE;
            }
            return false;
        }
        inText.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

int MakeScratchFile(std::string& outPath) {
    const std::string start = Narrow((std::filesystem::temp_directory_path() / "orsql-").wstring());
    for (auto number = std::chrono::system_clock::now().time_since_epoch().count();; ++number) {
        outPath = start + std::to_string(number) + ".sql";
        const int file = _wopen(Wide(outPath).c_str(), _O_WRONLY | _O_CREAT | _O_EXCL | _O_NOINHERIT,
                                _S_IREAD | _S_IWRITE);
        if (file >= 0 || errno != EEXIST) {
            return file;
        }
    }
}

bool RenameFile(const std::string& inFrom, const std::string& inTo, bool inReplaces) {
    if (MoveFileExW(Wide(inFrom).c_str(), Wide(inTo).c_str(), inReplaces ? MOVEFILE_REPLACE_EXISTING : 0)) {
        return true;
    }
    const DWORD error = GetLastError();
    errno = error == ERROR_ALREADY_EXISTS || error == ERROR_FILE_EXISTS        ? EEXIST
            : error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND   ? ENOENT
            : error == ERROR_ACCESS_DENIED || error == ERROR_SHARING_VIOLATION ? EACCES
                                                                               : EIO;
    return false;
}

const bool kReplacesOpenFiles = false;

bool IsTerminal(int inFile) {
    DWORD mode = 0; // _isatty also takes NUL for a terminal
    return GetConsoleMode(HandleOf(inFile), &mode) != 0;
}

TerminalSize SizeOf(int inTerminal) {
    CONSOLE_SCREEN_BUFFER_INFO info = {};
    if (!GetConsoleScreenBufferInfo(HandleOf(inTerminal), &info)) {
        return {0, 0};
    }
    return {static_cast<std::size_t>(info.srWindow.Bottom - info.srWindow.Top + 1),
            static_cast<std::size_t>(info.srWindow.Right - info.srWindow.Left + 1)};
}

bool IsDumbTerminal() {
    return Environment("TERM") == "dumb" || !KnowsSequences(kStandardOutput) ||
           !KnowsSequences(kStandardError);
}

double ProcessorTime() {
    FILETIME created = {};
    FILETIME ended = {};
    FILETIME system = {};
    FILETIME user = {};
    GetProcessTimes(GetCurrentProcess(), &created, &ended, &system, &user);
    const auto seconds = [](const FILETIME& time) {
        return (static_cast<double>(time.dwHighDateTime) * 4294967296.0 + time.dwLowDateTime) * 1e-7;
    };
    return seconds(system) + seconds(user);
}

int ProcessId() { return _getpid(); }

bool IsProcessGone(int inProcess) {
    const HANDLE process =
        OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION | SYNCHRONIZE, FALSE, static_cast<DWORD>(inProcess));
    if (!process) {
        return GetLastError() == ERROR_INVALID_PARAMETER;
    }
    const bool isGone = WaitForSingleObject(process, 0) == WAIT_OBJECT_0;
    CloseHandle(process);
    return isGone;
}

bool RunCommandOn(const std::string& inCommand, const std::string& inArgument) {
    SetConsoleCtrlHandler(nullptr, TRUE);
    // The command interpreter removes the outer quotes.
    const bool isGood = _wsystem(Wide("\"" + inCommand + " \"" + inArgument + "\"\"").c_str()) == 0;
    SetConsoleCtrlHandler(nullptr, FALSE);
    return isGood;
}

int StartReader(const std::string& inCommand, const std::string&, PipeReader& outReader) {
    int ends[2] = {-1, -1};
    if (_pipe(ends, 1 << 16, _O_BINARY | _O_NOINHERIT) != 0) {
        return errno;
    }
    // The program gets the standard input of this one.
    const int before = _dup(kStandardInput);
    _dup2(ends[0], kStandardInput);
    _close(ends[0]);
    const std::wstring command = Wide("\"" + inCommand + "\"");
    const std::intptr_t process =
        _wspawnlp(_P_NOWAIT, L"cmd.exe", L"cmd.exe", L"/s", L"/c", command.c_str(), nullptr);
    const int error = process < 0 ? errno : 0;
    _dup2(before, kStandardInput);
    _close(before);
    outReader = {ends[1], process};
    return error;
}

bool WaitForReader(const PipeReader& inReader) {
    constexpr int kNotFound = 1; // also the status of programs that failed
    int status = 0;
    _cwait(&status, inReader.process, 0);
    return status != kNotFound;
}

const char* const kUsualPager = "more";

const char* const kModuleName = "orlimbara_duckdb.dll";

std::string ProgramPath() {
    std::wstring path(1 << 15, L'\0'); // the longest that there is
    path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return Narrow(path);
}

void* LoadLibraryFile(const std::string& inPath, std::string& outMessage) {
    // The library's dependencies are searched beside it first, if its path is written with backslashes.
    std::wstring path = Wide(inPath);
    std::replace(path.begin(), path.end(), L'/', L'\\');
    void* const library = LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (!library) {
        outMessage = inPath + ": " + MessageOf(GetLastError());
    }
    return library;
}

void* FindSymbol(void* inLibrary, const char* inName) {
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(inLibrary), inName));
}

} // namespace orlimbara::shell
