/// @file
/// The command line.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orlimbara::shell {

/// The form of output.
enum class Mode { Box, Csv, Json, Jsonl, Line, Markdown };
/// The names of the modes, in the order of `Mode`.
inline constexpr std::array<std::string_view, 6> kModeNames = {"box",   "csv",  "json",
                                                               "jsonl", "line", "markdown"};
enum class CursorLocation { Server, Client };
/// The names of the locations, in the order of `CursorLocation`.
inline constexpr std::array<std::string_view, 2> kCursorNames = {"server", "client"};
/// The names of a switch's states; off is 0.
inline constexpr std::array<std::string_view, 2> kSwitches = {"off", "on"};
/// How standard input is read.
enum class InputForm { Sql, Jsonl };
inline constexpr std::array<std::string_view, 2> kInputNames = {"sql", "jsonl"};
enum class ColorChoice { Auto, Always, Never };

/// Exit statuses.
namespace exit_status {
inline constexpr int kGood = 0;
inline constexpr int kFailed = 1;
inline constexpr int kWrongUse = 2;
inline constexpr int kNotOpened = 3;
inline constexpr int kInterrupted = 130;
} // namespace exit_status

/// A script on the command line.
struct Script {
    enum class Kind { Command, File };
    Kind kind;
    std::string text; ///< the SQL or dot command; the file's path, "-" for standard input
    bool operator==(const Script&) const = default;
};

struct Options {
    std::string database = ":memory:";
    std::vector<Script> scripts;
    std::optional<Mode> mode;
    CursorLocation cursor = CursorLocation::Server;
    std::string module; ///< empty: the one beside the program

    bool isReadOnly = false;
    std::uint32_t threads = 0;
    std::uint32_t maxMemory = 0; ///< megabytes
    std::string tempDirectory;
    std::string homeDirectory;
    std::string secretDirectory;
    std::string extensionDirectory;
    bool hasExternalAccess = true;

    std::string tokenFile;
    std::string userAgent;
    std::uint32_t blockSize = 0; ///< bytes
    std::string storageVersion;

    bool stopsAtFailure = false;
    std::uint64_t maxRows = 40;
    std::optional<std::size_t> maxWidth; ///< of a box; 0 is no limit
    bool showsTimer = false;
    bool showsProgress = true;
    bool canShowProgress = false; ///< where the standard streams are terminals
    std::optional<std::string> nullText;
    bool hasHeader = true;
    ColorChoice color = ColorChoice::Auto;
    bool showsVersion = false;
    InputForm input = InputForm::Sql;
    bool readsRc = true;
    std::string prompt; ///< in place of the database's name; empty for the name
};

/// Whether a path names the database in memory.
bool IsMemoryPath(const std::string& inPath);
/// Whether a path names a remote database.
bool IsRemotePath(const std::string& inPath);

/// Reads the command line. @return nothing if help was printed or the use was wrong, which is reported on
/// standard error. @param outStatus the exit status in that case.
std::optional<Options> ReadCommandLine(int inCount, const char* const* inArguments, int& outStatus);

/// Checks the options for a new file against this database: DuckDB can't create such a file in memory or
/// without external access. @return what is wrong, else nothing.
std::optional<std::string> RefuseFileOptions(const Options& inOptions, const std::string& inDatabase);

} // namespace orlimbara::shell
