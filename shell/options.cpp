#include "shell/options.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <iostream>

#include <CLI/CLI.hpp>

#include "host_standin/paths.h"
#include "shell/text.h"

namespace orlimbara::shell {

namespace {

constexpr std::array<std::string_view, 3> kColorNames = {"auto", "always", "never"};

void AddScriptOptions(CLI::App& ioApp, Options& outOptions) {
    // Each occurrence is stored when it is parsed, which keeps the order across both options.
    const auto add = [&](const char* name, Script::Kind kind, const char* value, const char* help) {
        ioApp
            .add_option_function<std::string>(
                name,
                [&outOptions, kind](const std::string& text) {
                    outOptions.scripts.push_back({kind, text});
                },
                help)
            ->type_name(value)
            ->trigger_on_parse()
            ->expected(1)
            ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    };
    add("-c,--command", Script::Kind::Command, "TEXT",
        "run TEXT: SQL, or a dot command; repeatable, in order");
    add("-f,--file", Script::Kind::File, "FILE", "run a file of SQL and dot commands; - is standard input");
}

/// An option whose words stand for the values of an enumeration, in their order.
template <class Choice, std::size_t Count, class Set>
void AddChoice(CLI::App& ioApp, const char* inName, const std::array<std::string_view, Count>& inWords,
               Set inSet, const char* inHelp) {
    std::string words;
    for (const std::string_view word : inWords) {
        words += (words.empty() ? "" : "|") + std::string(word);
    }
    const std::string name(inName);
    ioApp
        .add_option_function<std::string>(
            name,
            [name, words, inWords, inSet](const std::string& word) {
                const auto found = std::find(inWords.begin(), inWords.end(), word);
                if (found == inWords.end()) {
                    throw CLI::ValidationError(name, word + " is none of " + words);
                }
                inSet(static_cast<Choice>(found - inWords.begin()));
            },
            inHelp)
        ->type_name(words);
}

CLI::Validator NotNegative() {
    return {[](std::string& text) { return text.starts_with('-') ? text + " is below 0" : std::string(); },
            ""};
}

void AddOutputOptions(CLI::App& ioApp, Options& outOptions) {
    AddChoice<Mode>(
        ioApp, "-m,--mode", kModeNames, [&](Mode mode) { outOptions.mode = mode; },
        "form of the output; box on a terminal, csv otherwise");
    AddChoice<InputForm>(
        ioApp, "--input", kInputNames, [&](InputForm input) { outOptions.input = input; },
        "how standard input is read; jsonl is a request per line");
    AddChoice<ColorChoice>(
        ioApp, "--color", kColorNames, [&](ColorChoice color) { outOptions.color = color; },
        "colour on a terminal, always or never");
    ioApp
        .add_option("--max-width", outOptions.maxWidth,
                    "columns of text that a box may take, else the terminal's width; 0 is no limit")
        ->check(NotNegative())
        ->type_name("N");
    ioApp.add_option("--max-rows", outOptions.maxRows, "rows shown of a table in box mode; 0 shows all")
        ->check(NotNegative())
        ->type_name("N");
    ioApp.add_option("--null", outOptions.nullText, "what NULL is shown as")->type_name("TEXT");
    ioApp.add_flag_callback(
        "--no-header", [&outOptions] { outOptions.hasHeader = false; },
        "without the columns' names in box and csv mode");
    ioApp.add_flag("--timer", outOptions.showsTimer, "show the time that each statement takes");
    ioApp.add_flag_callback(
        "--no-rc", [&outOptions] { outOptions.readsRc = false; },
        "don't run the settings file at the start of an interactive session");
    ioApp.add_flag("--bail", outOptions.stopsAtFailure, "stop at the first failure");
}

void AddDatabaseOptions(CLI::App& ioApp, Options& outOptions) {
    AddChoice<CursorLocation>(
        ioApp, "--cursor", kCursorNames, [&](CursorLocation cursor) { outOptions.cursor = cursor; },
        "cursor location for queries");
    ioApp
        .add_option("--module", outOptions.module,
                    "the module; by default the one beside the program, else the installed one")
        ->type_name("PATH");
    ioApp.add_flag("--readonly", outOptions.isReadOnly, "open for reading alone");
    ioApp.add_option("--threads", outOptions.threads, "DuckDB's threads")->type_name("N");
    ioApp.add_option("--max-memory", outOptions.maxMemory, "DuckDB's memory in megabytes")->type_name("MB");
    const auto addFolder = [&](const char* name, std::string& folder, const char* help) {
        ioApp.add_option(name, folder, help)->type_name("DIR");
    };
    addFolder("--temp-directory", outOptions.tempDirectory, "DuckDB's folder for temporary files");
    addFolder("--home-directory", outOptions.homeDirectory, "DuckDB's home folder");
    addFolder("--secret-directory", outOptions.secretDirectory, "DuckDB's folder for secrets");
    addFolder("--extension-directory", outOptions.extensionDirectory, "DuckDB's folder for extensions");
    ioApp.add_flag_callback(
        "--no-external-access", [&outOptions] { outOptions.hasExternalAccess = false; },
        "let DuckDB touch nothing outside the database");
    ioApp
        .add_option(
            "--token-file", outOptions.tokenFile,
            "file with the token for an md: database; else motherduck_token of the environment counts")
        ->type_name("FILE");
    ioApp.add_option("--user-agent", outOptions.userAgent, "user agent for an md: database")
        ->type_name("TEXT");
    ioApp.add_option("--block-size", outOptions.blockSize, "block size of a new file in bytes")
        ->type_name("N");
    ioApp
        .add_option("--storage-version", outOptions.storageVersion, "DuckDB's storage version of a new file")
        ->type_name("V");
}

/// The version becomes part of DuckDB's SQL, so its characters are restricted.
bool IsVersionText(const std::string& inText) {
    return std::all_of(inText.begin(), inText.end(), [](unsigned char c) {
        return std::isalnum(c) != 0 || c == '.' || c == '_' || c == '-';
    });
}

/// The arguments in the parser's order, last first. The parser ignores an empty value after "=", so such a
/// value becomes a separate argument.
std::vector<std::string> ArgumentsInReverse(int inCount, const char* const* inArguments) {
    std::vector<std::string> arguments;
    bool areOptions = true;
    for (int i = 1; i < inCount; ++i) {
        std::string argument = inArguments[i];
        areOptions = areOptions && argument != "--";
        if (areOptions && argument.size() > 3 && argument.starts_with("--") &&
            argument.find('=') == argument.size() - 1) {
            argument.pop_back();
            arguments.push_back(argument);
            arguments.emplace_back();
            continue;
        }
        arguments.push_back(std::move(argument));
    }
    std::reverse(arguments.begin(), arguments.end());
    return arguments;
}

} // namespace

bool IsMemoryPath(const std::string& inPath) { return inPath == ":memory:"; }

bool IsRemotePath(const std::string& inPath) { return inPath.starts_with("md:"); }

std::optional<std::string> RefuseFileOptions(const Options& inOptions, const std::string& inDatabase) {
    if (inOptions.blockSize == 0 && inOptions.storageVersion.empty()) {
        return std::nullopt;
    }
    if (IsMemoryPath(inDatabase)) {
        return "--block-size and --storage-version are for a file, not for :memory:";
    }
    const std::string name = orkit::standin::TextOf(orkit::standin::PathOf(inDatabase).filename());
    if (EqualsIgnoringCase(name, "memory") || StartsIgnoringCase(name, "memory.")) {
        return "--block-size and --storage-version don't go with a file of the name memory";
    }
    if (!inOptions.hasExternalAccess) {
        return "--block-size and --storage-version need external access";
    }
    return std::nullopt;
}

std::optional<Options> ReadCommandLine(int inCount, const char* const* inArguments, int& outStatus) {
    Options options;
    CLI::App app("The host shell of the DuckDB module: runs SQL and dot commands in a DuckDB database.\n"
                 "Without -c and -f it reads standard input, on a terminal line by line.\n",
                 "orsql");
    app.add_option("DATABASE", options.database, "a path, or :memory:; a file that doesn't exist is created")
        ->type_name("");
    AddScriptOptions(app, options);
    AddOutputOptions(app, options);
    AddDatabaseOptions(app, options);
    app.add_flag("--version", options.showsVersion, "print the versions of orsql and of DuckDB");
    try {
        app.parse(ArgumentsInReverse(inCount, inArguments));
        if (options.input == InputForm::Jsonl && options.mode.value_or(Mode::Jsonl) != Mode::Jsonl) {
            throw CLI::ValidationError("--input jsonl goes with --mode jsonl alone");
        }
        if (!IsVersionText(options.storageVersion)) {
            throw CLI::ValidationError("--storage-version", options.storageVersion + " is no version");
        }
        if (const auto refusal = RefuseFileOptions(options, options.database);
            refusal && !options.showsVersion) {
            throw CLI::ValidationError(*refusal);
        }
    } catch (const CLI::CallForHelp&) {
        std::cout << app.help() << std::flush;
        outStatus = std::cout ? exit_status::kGood : exit_status::kFailed;
        return std::nullopt;
    } catch (const CLI::Error& error) {
        std::cerr << "error: " << error.what() << "\nRun orsql --help for the options.\n";
        outStatus = exit_status::kWrongUse;
        return std::nullopt;
    }
    return options;
}

} // namespace orlimbara::shell
