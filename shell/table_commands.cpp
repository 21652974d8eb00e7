// The dot commands about tables: listing, describing, importing.
#include <algorithm>
#include <array>
#include <fstream>

#include <fmt/format.h>

#include "shell/commands.h"
#include "shell/failure.h"
#include "shell/host_values.h"
#include "shell/literals.h"
#include "shell/row_source.h"
#include "shell/shell.h"
#include "shell/text.h"

namespace orlimbara::shell {

namespace {

using orkit::smart_ptr;
using orkit::orsql::ValueArray;

// Tables and views that users made, in all databases; databases other than the current one are part of the
// schema's name.
constexpr const char* kTables =
    "SELECT CASE WHEN database_name IN (current_database(), 'temp') THEN schema_name"
    " ELSE database_name || '.' || schema_name END AS \"schema\", name, \"type\" FROM ("
    "SELECT database_name, schema_name, table_name AS name, 'table' AS \"type\", internal FROM "
    "duckdb_tables()"
    " UNION ALL SELECT database_name, schema_name, view_name, 'view', internal FROM duckdb_views())"
    " WHERE NOT internal AND name ILIKE $1 ORDER BY ALL";

constexpr const char* kSchema =
    "SELECT sql FROM ("
    "SELECT 1 AS kind, database_name, schema_name, table_name AS name, sql FROM duckdb_tables() WHERE NOT "
    "internal"
    " UNION ALL "
    "SELECT 2, database_name, schema_name, view_name, sql FROM duckdb_views() WHERE NOT internal)"
    " WHERE ($1 IS NULL OR lower(name) = lower($1))"
    " AND ($2 IS NULL OR lower(schema_name) = lower($2) OR ($3 IS NULL AND lower(database_name) = lower($2)))"
    " AND ($3 IS NULL OR lower(database_name) = lower($3)) ORDER BY kind,"
    " database_name NOT IN (current_database(), 'temp'), schema_name, name";

constexpr const char* kFind =
    "SELECT table_name FROM duckdb_tables() WHERE lower(table_name) = lower($1)"
    " AND ($2 IS NULL AND (database_name = 'temp'"
    " OR (database_name = current_database() AND schema_name = current_schema()))"
    " OR lower(schema_name) = lower($2) AND ($3 IS NOT NULL OR database_name = current_database())"
    " OR $3 IS NULL AND lower(database_name) = lower($2))"
    " AND ($3 IS NULL OR lower(database_name) = lower($3))";

/// A table's name as in SQL: at most database, schema and table; the table is always given.
using TableName = std::vector<std::string>;

TableName ParseTableName(std::string_view inText) {
    TableName parts(1);
    bool isQuoted = false;
    for (std::size_t i = 0; i < inText.size(); ++i) {
        const char c = inText[i];
        if (c == '"') {
            const bool isDoubled = isQuoted && i + 1 < inText.size() && inText[i + 1] == '"';
            i += isDoubled ? 1 : 0;
            parts.back() += isDoubled ? "\"" : "";
            isQuoted = isQuoted == isDoubled;
        } else if (c == '.' && !isQuoted) {
            parts.emplace_back();
        } else if (IsWhitespace(c) && !isQuoted) {
            throw UsageError("too many arguments");
        } else {
            parts.back() += c;
        }
    }
    if (isQuoted || parts.size() > 3 || std::count(parts.begin(), parts.end(), "") > 0) {
        throw UsageError(fmt::format("{} is no name of a table", inText));
    }
    return parts;
}

/// The name in the arguments, which may also be a word in '…'.
TableName TakeTableName(std::string_view inArguments) {
    const std::string_view text = Trim(inArguments);
    return ParseTableName(text.starts_with('\'') ? TakeWords(text, 1, 1).front() : std::string(text));
}

std::string Quoted(std::string_view inText, char inQuote) {
    std::string quoted(1, inQuote);
    for (const char c : inText) {
        quoted += std::string(c == inQuote ? 2 : 1, c);
    }
    return quoted + inQuote;
}

std::string SqlOf(const TableName& inName) {
    std::string sql;
    for (const std::string& part : inName) {
        sql += (sql.empty() ? "" : ".") + Quoted(part, '"');
    }
    return sql;
}

/// Table, schema and database as parameters, NULL for missing parts.
smart_ptr<ValueArray> ParametersOf(const TableName& inName) {
    const smart_ptr<ValueArray> values = new ValueArray(3);
    for (std::size_t i = 0; i < 3; ++i) {
        values->Append(i < inName.size() ? MakeTextValue(ToHost(inName[inName.size() - 1 - i]))
                                         : MakeNullValue());
    }
    return values;
}

CommandAnswer AnswerQuery(Shell& inShell, const std::string& inSql, const smart_ptr<ValueArray>& inValues) {
    CursorRows cursor(inShell.get_Session().Select(inSql.c_str(), inValues));
    UntypedRows rows(cursor);
    inShell.get_Answers().Rows(rows);
    return CommandAnswer::Given;
}

CommandAnswer Tables(Shell& inShell, std::string_view inArguments) {
    const std::vector<std::string> words = TakeWords(inArguments, 0, 1);
    const smart_ptr<ValueArray> values = new ValueArray(1);
    values->Append(MakeTextValue(words.empty() ? "%" : ToHost(words.front())));
    return AnswerQuery(inShell, kTables, values);
}

CommandAnswer Schema(Shell& inShell, std::string_view inArguments) {
    const bool hasName = !Trim(inArguments).empty();
    CursorRows cursor(inShell.get_Session().Select(
        kSchema, ParametersOf(hasName ? TakeTableName(inArguments) : TableName())));
    UntypedRows rows(cursor);
    rows.KeepWhole(0);
    inShell.get_Answers().Rows(rows);
    return CommandAnswer::Given;
}

CommandAnswer Describe(Shell& inShell, std::string_view inArguments) {
    if (Trim(inArguments).empty()) {
        throw UsageError("an argument is missing");
    }
    return AnswerQuery(
        inShell,
        fmt::format("SELECT column_name AS \"column\", column_type AS \"type\", \"null\", \"key\", "
                    "\"default\" FROM (DESCRIBE {})",
                    SqlOf(TakeTableName(inArguments))),
        nullptr);
}

/// The kind of a file, by its extension or else by its first bytes: "csv", "json" or "parquet".
std::string_view KindOf(const std::string& inPath) {
    std::string name = inPath;
    for (const std::string_view ending : {".gz", ".zst"}) {
        name.resize(name.size() - (name.ends_with(ending) ? ending.size() : 0));
    }
    constexpr std::array<std::array<std::string_view, 2>, 7> kEndings = {{{".csv", "csv"},
                                                                          {".tsv", "csv"},
                                                                          {".txt", "csv"},
                                                                          {".json", "json"},
                                                                          {".jsonl", "json"},
                                                                          {".ndjson", "json"},
                                                                          {".parquet", "parquet"}}};
    for (const auto& [ending, kind] : kEndings) {
        if (name.size() >= ending.size() &&
            EqualsIgnoringCase(std::string_view(name).substr(name.size() - ending.size()), ending)) {
            return kind;
        }
    }
    std::array<char, 4> start{};
    std::ifstream(inPath, std::ios::binary).read(start.data(), start.size());
    const std::string_view text(start.data(), start.size());
    return text == "PAR1" ? "parquet" : text.starts_with('{') || text.starts_with('[') ? "json" : "csv";
}

bool HasRow(CursorRows inRows, std::string_view inCell = {}) {
    Row row;
    return inRows.Next(row) && (inCell.empty() || row.front().text == inCell);
}

/// The INSERT of a file into an existing table. CSV's texts are converted to the columns' types, so that no
/// guessed type changes them.
std::string InsertText(const Session& inSession, std::string_view inKind, const std::string& inFile,
                       const std::string& inTable) {
    if (inKind != "csv") {
        return fmt::format("INSERT INTO {} BY NAME FROM read_{}({})", inTable, inKind, inFile);
    }
    const bool hasNames =
        HasRow(CursorRows(inSession.Select(fmt::format("SELECT HasHeader FROM sniff_csv({})", inFile).c_str(),
                                           nullptr)),
               "true");
    return fmt::format("INSERT INTO {} {} FROM read_csv({}, all_varchar = true, header = {})", inTable,
                       hasNames ? "BY NAME" : "", inFile, hasNames);
}

CommandAnswer Import(Shell& inShell, std::string_view inArguments) {
    std::string_view rest;
    const std::string path = TakeWord(inArguments, rest);
    if (path.empty() || Trim(rest).empty()) {
        throw UsageError("an argument is missing");
    }
    const TableName name = TakeTableName(rest);
    Session& session = inShell.get_Session();
    const std::string file = Quoted(path, '\'');
    const std::string table = SqlOf(name);
    const std::string_view kind = KindOf(path);
    const bool isThere = HasRow(CursorRows(session.Select(kFind, ParametersOf(name))));
    const std::string sql = isThere ? InsertText(session, kind, file, table)
                                    : fmt::format("CREATE TABLE {} AS FROM read_{}({})", table, kind, file);
    const Session::Held held = session.Exchange({});
    try {
        std::int64_t count = session.Run(sql, CursorLocation::Server).count;
        if (!isThere) {
            CursorRows rows(session.Select(fmt::format("SELECT count(*) FROM {}", table).c_str(), nullptr));
            Row row;
            count = rows.Next(row) ? std::stoll(row.front().text) : 0;
        }
        session.Exchange(held);
        inShell.get_Answers().Changed(count);
    } catch (...) {
        session.Exchange(held);
        throw;
    }
    return CommandAnswer::Given;
}

constexpr auto kRows = std::to_array<DotCommand>({
    {"tables", "[PATTERN]", "list tables and views whose name is like PATTERN", CompleteTables, Tables},
    {"schema", "[TABLE]", "show the SQL that makes the tables and views", CompleteTables, Schema},
    {"describe", "TABLE", "list the columns of a table or view", CompleteTables, Describe},
    {"import", "FILE TABLE",
     "insert the rows of a CSV, JSON or Parquet file, making the table if it isn't there", CompleteFiles,
     Import, command_trait::kOutside},
});

} // namespace

std::span<const DotCommand> TableCommands() { return kRows; }

} // namespace orlimbara::shell
