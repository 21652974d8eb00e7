#include <limits>
#include <random>

#include "duckdb_faults.h"
#include "duckdb_support/times.h"
#include "procedure_test.h"
#include "procedures/cell_values.h"
#include "procedures/type_names.h"

namespace orlimbara::procedures::test {

namespace {

class ResultTransferTest : public ProcedureTest {};

struct TypeCase {
    const char* expression;
    int host_type;
    std::string text; // "NULL" for what no value of the host can tell
};

TEST_F(ResultTransferTest, BringsAValueAndANullOfEachTypeToTheHost) {
    const std::vector<TypeCase> cases = {
        {"true", HOST_TYPE_BOOL, "true"},
        {"false", HOST_TYPE_BOOL, "false"},
        {"(-128)::TINYINT", HOST_TYPE_INT64, "-128"},
        {"(-32768)::SMALLINT", HOST_TYPE_INT64, "-32768"},
        {"(-2147483648)::INTEGER", HOST_TYPE_INT64, "-2147483648"},
        {"(-9223372036854775808)::BIGINT", HOST_TYPE_INT64, "-9223372036854775808"},
        {"255::UTINYINT", HOST_TYPE_UINT64, "255"},
        {"65535::USMALLINT", HOST_TYPE_UINT64, "65535"},
        {"4294967295::UINTEGER", HOST_TYPE_UINT64, "4294967295"},
        {"18446744073709551615::UBIGINT", HOST_TYPE_UINT64, "18446744073709551615"},
        {"0.1::FLOAT", HOST_TYPE_DOUBLE, "0.10000000149011612"},
        {"'-inf'::DOUBLE", HOST_TYPE_DOUBLE, "-inf"},
        {"123.456::DECIMAL(9, 3)", HOST_TYPE_DOUBLE, "123.456"},
        {"TIMESTAMP '1969-12-31 23:59:59.999999'", HOST_TYPE_DATETIME, "1969-12-31 23:59:59.999"},
        {"TIMESTAMP '294246-12-31 00:00:00'", HOST_TYPE_DATETIME, "+294246-12-31 00:00:00.000"},
        {"'infinity'::TIMESTAMP", HOST_TYPE_DATETIME, "NULL"},
        {"'-infinity'::TIMESTAMP", HOST_TYPE_DATETIME, "NULL"},
        {"TIMESTAMP_S '2024-01-02 03:04:05'", HOST_TYPE_DATETIME, "2024-01-02 03:04:05.000"},
        {"TIMESTAMP_MS '2024-01-02 03:04:05.678'", HOST_TYPE_DATETIME, "2024-01-02 03:04:05.678"},
        {"TIMESTAMP_NS '2024-01-02 03:04:05.678999999'", HOST_TYPE_DATETIME, "2024-01-02 03:04:05.678"},
        {"TIMESTAMPTZ '2024-07-01 12:00:00.5+02'", HOST_TYPE_DATETIME, "2024-07-01 06:00:00.500"}, // local
        {"DATE '0044-03-15 (BC)'", HOST_TYPE_DATE, "-00043-03-15"},
        {"DATE '4194303-01-01'", HOST_TYPE_DATE, "+4194303-01-01"},
        {"DATE '4194304-01-01'", HOST_TYPE_DATE, "-4194304-01-01"}, // wraps around
        {"TIME '24:00:00'", HOST_TYPE_TIME, "24:00:00.000"},
        {"'12:34:56.789+02:00'::TIMETZ", HOST_TYPE_TIME, "12:34:56.789"},
        {"'12:34:56.789123456'::TIME_NS", HOST_TYPE_TIME, "12:34:56.789"},
        {"''", HOST_TYPE_TEXT, ""},
        {"'a' || chr(0) || 'b'", HOST_TYPE_TEXT, std::string("a\0b", 3)},
        {"'long enough to lie outside of the cell'", HOST_TYPE_TEXT,
         "long enough to lie outside of the cell"},
        {"'\\x00\\xFF'::BLOB", HOST_TYPE_BINARY, std::string("\0\xFF", 2)},
        {"repeat('long', 5)::BLOB", HOST_TYPE_BINARY, "longlonglonglonglong"},
        {"INTERVAL '1 year 2 days'", HOST_TYPE_TEXT, "1 year 2 days"},
        {"(-170141183460469231731687303715884105728)::HUGEINT", HOST_TYPE_TEXT,
         "-170141183460469231731687303715884105728"},
        {"340282366920938463463374607431768211455::UHUGEINT", HOST_TYPE_TEXT,
         "340282366920938463463374607431768211455"},
        {"'123456789012345678901234567890'::BIGNUM", HOST_TYPE_TEXT, "123456789012345678901234567890"},
        {"'00000000-0000-0000-0000-0000000000ff'::UUID", HOST_TYPE_TEXT,
         "00000000-0000-0000-0000-0000000000ff"},
        {"'b'::ENUM('a', 'b')", HOST_TYPE_TEXT, "b"},
        {"[1, NULL, 3]", HOST_TYPE_TEXT, "[1, NULL, 3]"},
        {"[1, 2]::INTEGER[2]", HOST_TYPE_TEXT, "[1, 2]"},
        {"{'a': 1, 'b': [{'c': 'x'}]}", HOST_TYPE_TEXT, "{'a': 1, 'b': [{'c': x}]}"},
        {"MAP {'k': 1}", HOST_TYPE_TEXT, "{k=1}"},
        {"union_value(num := 2)", HOST_TYPE_TEXT, "2"},
        {"'0101'::BIT", HOST_TYPE_TEXT, "0101"},
        {"'POINT (1 2)'::GEOMETRY", HOST_TYPE_TEXT, "POINT (1 2)"},
        {"42::VARIANT", HOST_TYPE_TEXT, "42"},
    };
    std::string values;
    std::string nulls;
    for (std::size_t index = 0; index < cases.size(); ++index) {
        const std::string expression = cases[index].expression;
        const std::string name = " AS \"c\"\"" + std::to_string(index) + "\", ";
        values += expression + name;
        nulls += "CASE WHEN false THEN " + expression + " END" + name;
    }
    // The view's columns of the second row are NULL, those around it are not.
    const std::string path = WriteDatabase("CREATE VIEW v AS SELECT " + values + " UNION ALL SELECT " +
                                           nulls + " UNION ALL SELECT " + values);
    ProcedureCursor cursor = Open("fetch_duckdb", {Text(path), Text("v")});
    ASSERT_EQ(cursor.get_ColumnCount(), cases.size());
    const std::vector<Row> rows = RowsOf(cursor);
    ASSERT_EQ(rows.size(), 3U);
    for (std::size_t column = 0; column < cases.size(); ++column) {
        const auto& [expression, host_type, text] = cases[column];
        const ProcedureValue& value = rows[0][column];
        EXPECT_EQ(cursor.get_ColumnName(column), "c\"" + std::to_string(column));
        EXPECT_EQ(cursor.get_ColumnType(column), host_type) << expression;
        EXPECT_EQ(value.IsNull() ? "NULL" : value.AsText(), text) << expression;
        EXPECT_TRUE(value.IsNull() || value.get_Type() == host_type) << expression;
        EXPECT_TRUE(rows[1][column].IsNull()) << expression;
        EXPECT_EQ(rows[2][column], value) << expression;
    }
}

TEST_F(ResultTransferTest, PacksTheBitsOfDatesAndTimes) {
    EXPECT_EQ(PackDate({1, 2, 3}), 1U << 9 | 2U << 5 | 3U);
    EXPECT_EQ(PackTime({1, 2, 3, 4567}), 1U << 27 | 2U << 21 | 3U << 15 | 4U);
    EXPECT_EQ(PackDateTime({{1, 2, 3}, {0, 0, 0, 5999}}), std::uint64_t{1U << 9 | 2U << 5 | 3U} << 32 | 5U);
}

TEST_F(ResultTransferTest, NamesTypesOfLaterVersionsUnknown) {
    for (const std::uint32_t number : {40U, 41U, 0xFFFFFFFFU}) {
        EXPECT_STREQ(DuckDBTypeName(number), "UNKNOWN");
        EXPECT_EQ(RuntimeType(number), DUCKDB_TYPE_VARCHAR);
    }
    for (const std::int32_t number : {-1, 0, 14}) {
        EXPECT_STREQ(HostTypeName(number), "unknown");
    }
    EXPECT_STREQ(HostTypeName(13), "variant");
}

/// For each of the types that are read as memory: a value of `i`, and the text that the host has for it.
struct GeneratedColumn {
    const char* value;
    const char* text = "v::VARCHAR";
};
constexpr GeneratedColumn gGenerated[] = {
    {"i % 2 = 0"},
    {"(i % 255 - 127)::TINYINT"},
    {"(i * 6 - 30000)::SMALLINT"},
    {"(hash(i)::HUGEINT % 4000000000 - 2000000000)::INTEGER"},
    {"(hash(i)::HUGEINT - 9223372036854775808)::BIGINT"},
    {"(i % 256)::UTINYINT"},
    {"(i * 7)::USMALLINT"},
    {"(hash(i) % 4294967296)::UINTEGER"},
    {"hash(i)"},
    {"make_timestamp((hash(i) // 4)::BIGINT // 100 - 20000000000000000)",
     "strftime(v, '%Y-%m-%d %H:%M:%S.%g')"},
    {"DATE '0001-01-01' + (hash(i) % 3600000)::INTEGER", "strftime(v, '%Y-%m-%d')"},
    {"(TIMESTAMP '2000-01-01' + to_microseconds((hash(i) % 86400000000)::BIGINT))::TIME",
     "strftime(DATE '2000-01-01' + v, '%H:%M:%S.%g')"},
    {"repeat(chr((97 + i % 26)::INTEGER), (i % 40)::INTEGER)", "v"},
    {"[i, NULL]"},
};

TEST_F(ResultTransferTest, MatchesDuckDBsOwnTextInEveryCellOfManyRowGroups) {
    std::string select = "SELECT ";
    for (const GeneratedColumn& each : gGenerated) {
        const std::string index = std::to_string(&each - gGenerated);
        select += "CASE WHEN hash(i + " + index + ") % 5 > 0 THEN " + each.value + " END AS c" + index + ", ";
    }
    const std::string path = WriteParquet(select + "FROM range(5000) AS t(i)", ", ROW_GROUP_SIZE 2048");
    ProcedureCursor cursor = Open("fetch_parquet", {Text(path)});
    const std::vector<Row> rows = RowsOf(cursor);
    ASSERT_EQ(rows.size(), 5000U);
    Duck duck;
    for (std::size_t column = 0; column < std::size(gGenerated); ++column) {
        std::vector<std::string> got;
        for (const Row& row : rows) {
            got.push_back(row[column].IsNull() ? "NULL" : row[column].AsText());
        }
        const std::string text = gGenerated[column].text;
        const std::vector<std::string> expected = duck.Texts(
            "SELECT " + text + " FROM (SELECT c" + std::to_string(column) + " AS v FROM '" + path + "')");
        EXPECT_EQ(got, expected) << gGenerated[column].value;
    }
}

TEST_F(ResultTransferTest, SeeksToTheRowsThatAWalkReads) {
    const std::string path = WriteParquet("SELECT i, 'row ' || i AS t FROM range(20000) AS r(i)"
                                          " WHERE i % 3 > 0",
                                          ", ROW_GROUP_SIZE 2048");
    const std::vector<Row> walked = Fetch("fetch_parquet", {Text(path)});
    ProcedureCursor cursor = Open("fetch_parquet", {Text(path)});
    std::mt19937 random(5489);
    std::uniform_int_distribution<std::size_t> any_row(0, walked.size() - 1);
    for (int round = 0; round < 2000; ++round) {
        const std::size_t row = any_row(random);
        ASSERT_TRUE(cursor.SeekRow(static_cast<std::int64_t>(row)));
        ASSERT_EQ(cursor.ReadValue(0), walked[row][0]);
        ASSERT_EQ(cursor.ReadValue(1), walked[row][1]);
        const bool has_next = row + 1 < walked.size();
        ASSERT_EQ(cursor.NextRow(), has_next);
        ASSERT_EQ(cursor.ReadValue(1), walked[has_next ? row + 1 : row][1]);
    }
}

TEST_F(ResultTransferTest, KeepsItsPlaceWhenAStepFails) {
    const std::string path = WriteParquet("SELECT range AS n FROM range(5000)");
    ProcedureCursor cursor = Open("fetch_parquet", {Text(path)});
    const auto value = [&] { return cursor.ReadValue(0); };
    EXPECT_TRUE(value().IsNull()); // before the first row
    EXPECT_FALSE(cursor.SeekRow(5000));
    EXPECT_TRUE(value().IsNull());
    ASSERT_TRUE(cursor.NextRow());
    EXPECT_EQ(value(), Int(0));
    ASSERT_TRUE(cursor.SeekRow(3000));
    EXPECT_FALSE(cursor.SeekRow(-1));
    EXPECT_FALSE(cursor.SeekRow(std::numeric_limits<std::int64_t>::max()));
    EXPECT_FALSE(cursor.SeekRow(std::numeric_limits<std::int64_t>::min()));
    EXPECT_EQ(value(), Int(3000));
    ASSERT_TRUE(cursor.NextRow());
    EXPECT_EQ(value(), Int(3001));
    ASSERT_TRUE(cursor.SeekRow(4999));
    EXPECT_FALSE(cursor.NextRow());
    EXPECT_FALSE(cursor.NextRow());
    EXPECT_EQ(value(), Int(4999)); // there is no place past the end
    for (const std::int32_t column : {-1, 1, std::numeric_limits<std::int32_t>::min(), 1 << 30}) {
        EXPECT_TRUE(cursor.ReadValue(column).IsNull()) << column;
    }
}

TEST_F(ResultTransferTest, StartsAnewWhenAChunkCannotBeFetched) {
    const std::string path = WriteParquet("SELECT range AS n FROM range(5000)");
    ProcedureCursor cursor = Open("fetch_parquet", {Text(path)});
    ASSERT_TRUE(cursor.SeekRow(4999));
    {
        const FailingFunction failing("duckdb_result_get_chunk");
        EXPECT_THROW(cursor.SeekRow(0), std::runtime_error);
    }
    EXPECT_TRUE(cursor.ReadValue(0).IsNull());
    ASSERT_TRUE(cursor.NextRow());
    EXPECT_EQ(cursor.ReadValue(0), Int(0));
}

// Bindings hand DuckDB any number as a time, and its functions that make text of one crash for most.
TEST_F(ResultTransferTest, RefusesTimesOutsideTheirRangeAtAnyDepth) {
    struct Times {
        std::int64_t micros;
        std::int64_t nanos;
        std::uint64_t time_tz;
    };
    constexpr std::uint64_t kUtc = 57599; // the bits of an offset of 0
    constexpr Times kRows[] = {
        {86'400'000'000, 86'400'000'000'000, (86'400'000'000ULL << 24) + kUtc}, // the last in range
        {86'400'000'001, 86'400'000'000'001, 2 * kUtc + 1},
        {std::numeric_limits<std::int64_t>::min(), -1, ~0ULL},
    };
    constexpr std::pair<const char*, const char*> kCases[] = {
        {"a", "24:00:00.000"},
        {"n", "24:00:00.000"},
        {"z", "24:00:00.000"},
        {"[NULL, a]", "[NULL, '24:00:00']"},
        {"[n, NULL]::TIME_NS[2]", "[24:00:00, NULL]"},
        {"{'x': [z]}", "{'x': ['24:00:00+00']}"},
        {"MAP {a: 1}", "{'24:00:00'=1}"},
        {"union_value(u := n)", "24:00:00"},
        {"z::VARIANT", "24:00:00+00"},
        {"[{'v': n}::VARIANT]", "[{'v': '24:00:00'}]"},
        {"[a]::VARIANT", "['24:00:00']"},
    };
    const std::string path = WriteDatabase("CREATE TABLE t (id INTEGER, a TIME, n TIME_NS, z TIMETZ)");
    {
        using duckdb_support::OwnedValue;
        const Duck duck(path);
        for (const Times& each : kRows) {
            const std::string id = std::to_string(&each - kRows);
            duckdb_support::OwnedPreparedStatement insert;
            const std::string sql = "INSERT INTO t VALUES (" + id + ", $1, $2, $3)";
            ASSERT_EQ(duckdb_prepare(duck.Connection(), sql.c_str(), insert.Put()), DuckDBSuccess);
            duckdb_bind_value(insert.Get(), 1, OwnedValue(duckdb_create_time({each.micros})).Get());
            duckdb_bind_value(insert.Get(), 2, OwnedValue(duckdb_create_time_ns({each.nanos})).Get());
            duckdb_bind_value(insert.Get(), 3, OwnedValue(duckdb_create_time_tz_value({each.time_tz})).Get());
            ASSERT_EQ(duckdb_execute_prepared(insert.Get(), nullptr), DuckDBSuccess);
            for (const auto& [expression, text] : kCases) {
                duck.Run("CREATE VIEW \"" + id + expression + "\" AS SELECT " + expression +
                         " FROM t WHERE id = " + id);
            }
        }
    }
    for (const auto& [expression, text] : kCases) {
        const auto view = [expression = expression](const char* id) {
            return Text(std::string("\"") + id + expression + "\"");
        };
        EXPECT_EQ(Fetch("fetch_duckdb", {Text(path), view("0")}).at(0).at(0).AsText(), text) << expression;
        for (const char* id : {"1", "2"}) {
            EXPECT_EQ(ErrorOf("fetch_duckdb", {Text(path), view(id)}),
                      std::string("Invalid Input Error: ") + duckdb_support::kTimeOutOfRange)
                << id << expression;
        }
    }
}

TEST_F(ResultTransferTest, RefusesRowsThatAreNotWhatTheProbeTold) {
    // A predicate that closes the subquery brings statements of its own. These replace the file behind the
    // probe's back, as another process could: the memory of a text must not be read as that of a number.
    const std::string path = WriteParquet("SELECT 1::BIGINT AS n");
    const std::string replacing = "true) AS x; COPY (SELECT 'text' AS n) TO '" + path +
                                  "' (FORMAT parquet); SELECT n FROM (SELECT 1 AS n";
    EXPECT_EQ(ErrorOf("fetch_parquet", {Text(path), Text("n"), Text(replacing)}),
              "The columns of the DuckDB result have changed.");
}

} // namespace

} // namespace orlimbara::procedures::test
