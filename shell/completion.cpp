#include "shell/completion.h"

#include <algorithm>
#include <filesystem>
#include <optional>

#include "host_standin/paths.h"
#include "host_standin/procedure_table.h"
#include "shell/commands.h"
#include "shell/host_values.h"
#include "shell/row_source.h"
#include "shell/session.h"
#include "shell/text.h"

namespace orlimbara::shell {

namespace {

namespace fs = std::filesystem;

constexpr const char* kNames = "SELECT DISTINCT name FROM ("
                               "SELECT table_name AS name FROM duckdb_tables() WHERE NOT internal"
                               " UNION ALL SELECT view_name FROM duckdb_views() WHERE NOT internal"
                               " UNION ALL SELECT column_name FROM duckdb_columns() WHERE NOT internal)";
constexpr const char* kTableNames = "SELECT table_name AS name FROM duckdb_tables() WHERE NOT internal"
                                    " UNION ALL SELECT view_name FROM duckdb_views() WHERE NOT internal";
// What can follow a qualifier and a dot: tables of a schema or database, schemas, columns of a table.
constexpr const char* kQualified =
    "SELECT DISTINCT name FROM ("
    "SELECT table_name AS name FROM duckdb_tables() WHERE lower($1) IN (lower(schema_name), "
    "lower(database_name))"
    " UNION ALL SELECT view_name FROM duckdb_views()"
    " WHERE NOT internal AND lower($1) IN (lower(schema_name), lower(database_name))"
    " UNION ALL SELECT schema_name FROM duckdb_schemas() WHERE lower($1) = lower(database_name)"
    " UNION ALL SELECT column_name FROM duckdb_columns() WHERE NOT internal AND lower($1) = "
    "lower(table_name))";
constexpr const char* kFunctions = "SELECT DISTINCT function_name FROM duckdb_functions() WHERE "
                                   "regexp_matches(function_name, '^[a-z]\\w*$')";
constexpr const char* kKeywords = "SELECT upper(keyword_name) FROM duckdb_keywords()";

bool IsNamePart(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' ||
           static_cast<unsigned char>(c) >= 0x80;
}

template <class Words>
void AddAll(Completions& ioFound, std::string_view inTyped, const Words& inWords) {
    for (const std::string_view word : inWords) {
        ioFound.Add(inTyped, word);
    }
}

/// The first column of a query; nothing if the database can't answer (closed, or in an aborted transaction).
std::vector<std::string> Ask(Session& inSession, const char* inSql,
                             const std::optional<std::string>& inValue = std::nullopt) {
    std::vector<std::string> names;
    try {
        orkit::smart_ptr<orkit::orsql::ValueArray> values;
        if (inValue) {
            values = new orkit::orsql::ValueArray(1);
            values->Append(MakeTextValue(ToHost(*inValue)));
        }
        CursorRows rows(inSession.Select(inSql, values));
        Row row;
        while (rows.Next(row)) {
            names.push_back(row.front().text);
        }
    } catch (...) {
        names.clear();
    }
    return names;
}

void AddFiles(Completions& ioFound, std::string_view inTyped) {
    const std::size_t slash = inTyped.rfind('/');
    const std::string folder(slash == std::string_view::npos ? "" : inTyped.substr(0, slash + 1));
    const std::string_view name = inTyped.substr(folder.size());
    std::error_code error;
    for (fs::directory_iterator entry(orkit::standin::PathOf(folder.empty() ? "." : folder), error), end;
         !error && entry != end; entry.increment(error)) {
        const std::string found = orkit::standin::TextOf(entry->path().filename());
        if (found.starts_with(name) && (!name.empty() || !found.starts_with('.'))) {
            std::error_code ignored;
            ioFound.texts.push_back(folder + found + (entry->is_directory(ignored) ? "/" : ""));
        }
    }
}

void CompleteCommand(Session& inSession, std::string_view inBefore, Completions& ioFound) {
    const auto firstBlank = std::find_if(inBefore.begin(), inBefore.end(), IsWhitespace);
    const auto nameLength = static_cast<std::size_t>(firstBlank - inBefore.begin());
    if (nameLength == inBefore.size()) {
        ioFound.start = 0;
        for (const DotCommand& command : GetDotCommands()) {
            ioFound.Add(inBefore, "." + std::string(command.name));
        }
        return;
    }
    const std::vector<const DotCommand*> commands = MatchCommands(inBefore.substr(1, nameLength - 1));
    ioFound.start = inBefore.find_last_of(" \t'") + 1;
    if (commands.size() == 1 && commands.front()->complete) {
        commands.front()->complete(inSession, inBefore.substr(ioFound.start), ioFound);
    }
}

std::size_t StartOfName(std::string_view inText) {
    std::size_t start = inText.size();
    while (start > 0 && IsNamePart(inText[start - 1])) {
        --start;
    }
    return start;
}

/// The name before the dot that a text ends with; empty if there is none.
std::string QualifierOf(std::string_view inText) {
    if (!inText.ends_with('.')) {
        return {};
    }
    inText.remove_suffix(1);
    if (inText.size() > 1 && inText.ends_with('"')) {
        inText.remove_suffix(1);
        return std::string(inText.substr(inText.rfind('"') + 1));
    }
    return std::string(inText.substr(StartOfName(inText)));
}

/// A name, quoted if it was begun with a quote or needs quotes.
std::string AsInSql(const std::string& inName, bool inIsQuoted) {
    const bool isPlain = !inName.empty() && !IsDigit(inName.front()) &&
                         std::all_of(inName.begin(), inName.end(),
                                     [](char c) { return IsNamePart(c) && (c < 'A' || c > 'Z'); });
    if (isPlain && !inIsQuoted) {
        return inName;
    }
    std::string quoted = "\"";
    for (const char c : inName) {
        quoted += c == '"' ? "\"\"" : std::string(1, c);
    }
    return quoted + '"';
}

void CompleteSql(Session& inSession, std::string_view inBefore, Completions& ioFound) {
    if (std::count(inBefore.begin(), inBefore.end(), '\'') % 2 != 0) {
        ioFound.start = inBefore.rfind('\'') + 1;
        AddFiles(ioFound, inBefore.substr(ioFound.start));
        return;
    }
    const bool isQuoted = std::count(inBefore.begin(), inBefore.end(), '"') % 2 != 0;
    ioFound.start = isQuoted ? inBefore.rfind('"') : StartOfName(inBefore);
    const std::string_view typed = inBefore.substr(ioFound.start);
    const std::string qualifier = QualifierOf(inBefore.substr(0, ioFound.start));
    const std::vector<std::string> names =
        qualifier.empty() ? Ask(inSession, kNames) : Ask(inSession, kQualified, qualifier);
    for (const std::string& name : names) {
        if (StartsIgnoringCase(name, typed.substr(isQuoted ? 1 : 0))) {
            ioFound.texts.push_back(AsInSql(name, isQuoted));
        }
    }
    if (typed.empty() || isQuoted || !qualifier.empty()) {
        return;
    }
    AddAll(ioFound, typed, Ask(inSession, kFunctions));
    const bool isLower =
        std::none_of(typed.begin(), typed.end(), [](char c) { return c >= 'A' && c <= 'Z'; });
    for (std::string word : Ask(inSession, kKeywords)) {
        if (isLower) {
            std::transform(word.begin(), word.end(), word.begin(), [](char c) {
                return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
            });
        }
        ioFound.Add(typed, word);
    }
}

} // namespace

void Completions::Add(std::string_view inTyped, std::string_view inText) {
    if (StartsIgnoringCase(inText, inTyped)) {
        texts.emplace_back(inText);
    }
}

void CompleteFiles(Session&, std::string_view inTyped, Completions& ioFound) { AddFiles(ioFound, inTyped); }

void CompleteTables(Session& inSession, std::string_view inTyped, Completions& ioFound) {
    AddAll(ioFound, inTyped, Ask(inSession, kTableNames));
}

void CompleteCommandNames(Session&, std::string_view inTyped, Completions& ioFound) {
    for (const DotCommand& command : GetDotCommands()) {
        ioFound.Add(inTyped, command.name);
    }
}

void CompleteCall(Session&, std::string_view inTyped, Completions& ioFound) {
    for (const orkit::standin::RegisteredProcedure& procedure : orkit::standin::ListProcedures()) {
        ioFound.Add(inTyped, procedure.name);
    }
    AddFiles(ioFound, inTyped);
}

Completions Complete(Session& inSession, std::string_view inBefore) {
    Completions found;
    if (inBefore.starts_with('.')) {
        CompleteCommand(inSession, inBefore, found);
    } else {
        CompleteSql(inSession, inBefore, found);
    }
    std::sort(found.texts.begin(), found.texts.end());
    found.texts.erase(std::unique(found.texts.begin(), found.texts.end()), found.texts.end());
    return found;
}

} // namespace orlimbara::shell
