#include "procedures/result_transfer.h"

#include <limits>
#include <random>

#include "procedure_test.h"
#include "procedures/cell_values.h"

namespace orlimbara::procedures::test {

namespace {

class ResultTransferTest : public ProcedureTest {};

struct TypeCase {
    const char* expression;
    int host_type;
    std::string text;
};

/// One value of each DuckDB type, extremes where a type has some that could go wrong.
const std::vector<TypeCase>& ValueOfEachType() {
    static const std::vector<TypeCase> cases = {
        {"true", HOST_TYPE_BOOL, "true"},
        {"false", HOST_TYPE_BOOL, "false"},
        {"(-128)::TINYINT", HOST_TYPE_INT64, "-128"},
        {"(-32768)::SMALLINT", HOST_TYPE_INT64, "-32768"},
        {"(-2147483648)::INTEGER", HOST_TYPE_INT64, "-2147483648"},
        {"(-9223372036854775808)::BIGINT", HOST_TYPE_INT64, "-9223372036854775808"},
        {"9223372036854775807::BIGINT", HOST_TYPE_INT64, "9223372036854775807"},
        {"255::UTINYINT", HOST_TYPE_UINT64, "255"},
        {"65535::USMALLINT", HOST_TYPE_UINT64, "65535"},
        {"4294967295::UINTEGER", HOST_TYPE_UINT64, "4294967295"},
        {"18446744073709551615::UBIGINT", HOST_TYPE_UINT64, "18446744073709551615"},
        {"0.1::FLOAT", HOST_TYPE_DOUBLE, "0.10000000149011612"},
        {"'nan'::FLOAT", HOST_TYPE_DOUBLE, "nan"},
        {"(-1e308)::DOUBLE", HOST_TYPE_DOUBLE, "-1e+308"},
        {"'-inf'::DOUBLE", HOST_TYPE_DOUBLE, "-inf"},
        {"123.456::DECIMAL(9, 3)", HOST_TYPE_DOUBLE, "123.456"},
        {"(-99999999999999999999999999999999999999)::DECIMAL(38, 0)", HOST_TYPE_DOUBLE, "-1e+38"},
        {"TIMESTAMP '2024-02-29 23:59:59.999999'", HOST_TYPE_DATETIME, "2024-02-29 23:59:59.999"},
        {"TIMESTAMP '1969-12-31 23:59:59.999999'", HOST_TYPE_DATETIME, "1969-12-31 23:59:59.999"},
        {"TIMESTAMP '0001-01-01 00:00:00'", HOST_TYPE_DATETIME, "0001-01-01 00:00:00.000"},
        {"TIMESTAMP '294246-12-31 00:00:00'", HOST_TYPE_DATETIME, "294246-12-31 00:00:00.000"},
        {"TIMESTAMP_S '2024-01-02 03:04:05'", HOST_TYPE_DATETIME, "2024-01-02 03:04:05.000"},
        {"TIMESTAMP_MS '2024-01-02 03:04:05.678'", HOST_TYPE_DATETIME, "2024-01-02 03:04:05.678"},
        {"TIMESTAMP_NS '2024-01-02 03:04:05.678999999'", HOST_TYPE_DATETIME, "2024-01-02 03:04:05.678"},
        {"DATE '9999-12-31'", HOST_TYPE_DATE, "9999-12-31"},
        {"DATE '0044-03-15 (BC)'", HOST_TYPE_DATE, "-043-03-15"},
        {"TIME '00:00:00.000999'", HOST_TYPE_TIME, "00:00:00.000"},
        {"TIME '23:59:59.999999'", HOST_TYPE_TIME, "23:59:59.999"},
        {"TIME '24:00:00'", HOST_TYPE_TIME, "24:00:00.000"},
        {"'12:34:56.789+02:00'::TIMETZ", HOST_TYPE_TIME, "12:34:56.789"},
        {"'12:34:56.789123456'::TIME_NS", HOST_TYPE_TIME, "12:34:56.789"},
        {"'text'", HOST_TYPE_TEXT, "text"},
        {"''", HOST_TYPE_TEXT, ""},
        {"'long enough to lie outside of the cell'", HOST_TYPE_TEXT,
         "long enough to lie outside of the cell"},
        {"'a' || chr(0) || 'b'", HOST_TYPE_TEXT, std::string("a\0b", 3)},
        {"'\\x00\\xFF'::BLOB", HOST_TYPE_BINARY, std::string("\0\xFF", 2)},
        {"repeat('long', 10)::BLOB", HOST_TYPE_BINARY, "longlonglonglonglonglonglonglonglonglong"},
        {"INTERVAL '1 year 2 days'", HOST_TYPE_TEXT, "1 year 2 days"},
        {"(-170141183460469231731687303715884105728)::HUGEINT", HOST_TYPE_TEXT,
         "-170141183460469231731687303715884105728"},
        {"340282366920938463463374607431768211455::UHUGEINT", HOST_TYPE_TEXT,
         "340282366920938463463374607431768211455"},
        {"'123456789012345678901234567890123456789012'::BIGNUM", HOST_TYPE_TEXT,
         "123456789012345678901234567890123456789012"},
        {"'00000000-0000-0000-0000-0000000000ff'::UUID", HOST_TYPE_TEXT,
         "00000000-0000-0000-0000-0000000000ff"},
        {"'b'::ENUM('a', 'b')", HOST_TYPE_TEXT, "b"},
        {"[1, NULL, 3]", HOST_TYPE_TEXT, "[1, NULL, 3]"},
        {"[1, 2]::INTEGER[2]", HOST_TYPE_TEXT, "[1, 2]"},
        {"{'a': 1, 'b': [{'c': 'x'}]}", HOST_TYPE_TEXT, "{'a': 1, 'b': [{'c': x}]}"},
        {"MAP {'k': 1}", HOST_TYPE_TEXT, "{k=1}"},
        {"union_value(num := 2)", HOST_TYPE_TEXT, "2"},
        {"'0101'::BIT", HOST_TYPE_TEXT, "0101"},
        {"'{\"a\": 1}'::JSON", HOST_TYPE_TEXT, "{\"a\": 1}"},
        {"'POINT (1 2)'::GEOMETRY", HOST_TYPE_TEXT, "POINT (1 2)"},
        {"42::VARIANT", HOST_TYPE_TEXT, "42"},
    };
    return cases;
}

TEST_F(ResultTransferTest, BringsAValueAndANullOfEachTypeToTheHost) {
    std::string values;
    std::string nulls;
    for (std::size_t index = 0; index < ValueOfEachType().size(); ++index) {
        const std::string name = " AS c" + std::to_string(index);
        const std::string expression = ValueOfEachType()[index].expression;
        values += (index == 0 ? "" : ", ") + expression + name;
        nulls += (index == 0 ? "" : ", ") + ("CASE WHEN false THEN " + expression + " END") + name;
    }
    // The view's columns of the second row are NULL, those around it are not.
    const std::string path =
        WriteDatabase("types.db", "CREATE VIEW v AS SELECT " + values + " UNION ALL SELECT " + nulls +
                                      " UNION ALL SELECT " + values);
    ProcedureCursor cursor = Open("fetch_duckdb", {Text(path), Text("v")});
    ASSERT_EQ(cursor.get_ColumnCount(), ValueOfEachType().size());
    const std::vector<Row> rows = RowsOf(cursor);
    ASSERT_EQ(rows.size(), 3U);
    for (std::size_t column = 0; column < ValueOfEachType().size(); ++column) {
        const TypeCase& each = ValueOfEachType()[column];
        EXPECT_EQ(cursor.get_ColumnName(column), "c" + std::to_string(column));
        EXPECT_EQ(cursor.get_ColumnType(column), each.host_type) << each.expression;
        EXPECT_EQ(rows[0][column].get_Type(), each.host_type) << each.expression;
        EXPECT_EQ(rows[0][column].AsText(), each.text) << each.expression;
        EXPECT_TRUE(rows[1][column].IsNull()) << each.expression;
        EXPECT_EQ(rows[2][column], rows[0][column]) << each.expression;
    }
}

TEST_F(ResultTransferTest, BringsTheTypesThatParquetKeeps) {
    // A Parquet file turns some types into others: 128-bit numbers into doubles, UNION is refused.
    struct ParquetCase {
        const char* expression;
        int host_type;
        const char* text;
    };
    constexpr ParquetCase cases[] = {
        {"true", HOST_TYPE_BOOL, "true"},
        {"(-1)::TINYINT", HOST_TYPE_INT64, "-1"},
        {"65535::USMALLINT", HOST_TYPE_UINT64, "65535"},
        {"18446744073709551615::UBIGINT", HOST_TYPE_UINT64, "18446744073709551615"},
        {"1.5::DECIMAL(18, 1)", HOST_TYPE_DOUBLE, "1.5"},
        {"0.25::FLOAT", HOST_TYPE_DOUBLE, "0.25"},
        {"DATE '2024-02-29'", HOST_TYPE_DATE, "2024-02-29"},
        {"TIME '12:34:56.789'", HOST_TYPE_TIME, "12:34:56.789"},
        {"TIMESTAMP '2024-02-29 23:59:59.999999'", HOST_TYPE_DATETIME, "2024-02-29 23:59:59.999"},
        {"TIMESTAMP_NS '2024-02-29 23:59:59.999999999'", HOST_TYPE_DATETIME, "2024-02-29 23:59:59.999"},
        {"'\\x00a'::BLOB", HOST_TYPE_BINARY, nullptr},
        {"'00000000-0000-0000-0000-0000000000ff'::UUID", HOST_TYPE_TEXT,
         "00000000-0000-0000-0000-0000000000ff"},
        {"INTERVAL '3 days'", HOST_TYPE_TEXT, "3 days"},
        {"'b'::ENUM('a', 'b')", HOST_TYPE_TEXT, "b"},
        {"12::HUGEINT", HOST_TYPE_DOUBLE, "12"},
        {"[{'a': [1, 2]}, NULL]", HOST_TYPE_TEXT, "[{'a': [1, 2]}, NULL]"},
        {"MAP {'k': {'x': 1}}", HOST_TYPE_TEXT, "{k={'x': 1}}"},
    };
    std::string select = "SELECT ";
    for (const ParquetCase& each : cases) {
        select += std::string(each.expression) + " AS \"" + std::to_string(&each - cases) + "\", ";
    }
    ProcedureCursor cursor = Open("fetch_parquet", {Text(WriteParquet("types.parquet", select))});
    const std::vector<Row> rows = RowsOf(cursor);
    ASSERT_EQ(rows.size(), 1U);
    for (std::size_t column = 0; column < std::size(cases); ++column) {
        const ParquetCase& each = cases[column];
        EXPECT_EQ(cursor.get_ColumnType(column), each.host_type) << each.expression;
        EXPECT_EQ(rows[0][column].AsText(), each.text != nullptr ? each.text : std::string("\0a", 2))
            << each.expression;
    }
}

TEST_F(ResultTransferTest, CastsATimestampWithZoneAsDuckDBDoes) {
    Duck duck;
    const std::vector<std::string> local = duck.Texts(
        "SELECT strftime(TIMESTAMPTZ '2024-07-01 12:00:00.5+02'::TIMESTAMP, '%Y-%m-%d %H:%M:%S.%g')");
    const std::string path =
        WriteParquet("tz.parquet", "SELECT TIMESTAMPTZ '2024-07-01 12:00:00.5+02' AS at");
    ProcedureCursor cursor = Open("fetch_parquet", {Text(path)});
    EXPECT_EQ(cursor.get_ColumnType(0), HOST_TYPE_DATETIME);
    ASSERT_TRUE(cursor.NextRow());
    EXPECT_EQ(cursor.ReadValue(0).AsText(), local.at(0));
}

TEST_F(ResultTransferTest, GivesNullForATimestampOfInfinity) {
    const std::string path = WriteParquet(
        "infinity.parquet", "SELECT unnest(['-infinity', '2024-01-01', 'infinity'])::TIMESTAMP AS at");
    const std::vector<Row> rows = Fetch("fetch_parquet", {Text(path)});
    ASSERT_EQ(rows.size(), 3U);
    EXPECT_TRUE(rows[0][0].IsNull());
    EXPECT_EQ(rows[1][0].AsText(), "2024-01-01 00:00:00.000");
    EXPECT_TRUE(rows[2][0].IsNull());
}

/// For each of the types that are read as memory: a value of `i`, and the text that the host has for it.
struct GeneratedColumn {
    const char* value;
    const char* text; // of `v`
};
constexpr GeneratedColumn gGenerated[] = {
    {"i % 2 = 0", "v::VARCHAR"},
    {"(i % 255 - 127)::TINYINT", "v::VARCHAR"},
    {"(i * 6 - 30000)::SMALLINT", "v::VARCHAR"},
    {"(hash(i)::HUGEINT % 4000000000 - 2000000000)::INTEGER", "v::VARCHAR"},
    {"(hash(i)::HUGEINT - 9223372036854775808)::BIGINT", "v::VARCHAR"},
    {"(i % 256)::UTINYINT", "v::VARCHAR"},
    {"(i * 7)::USMALLINT", "v::VARCHAR"},
    {"(hash(i) % 4294967296)::UINTEGER", "v::VARCHAR"},
    {"hash(i)", "v::VARCHAR"},
    {"make_timestamp((hash(i) // 4)::BIGINT // 100 - 20000000000000000)",
     "strftime(v, '%Y-%m-%d %H:%M:%S.%g')"},
    {"DATE '0001-01-01' + (hash(i) % 3600000)::INTEGER", "strftime(v, '%Y-%m-%d')"},
    {"(TIMESTAMP '2000-01-01' + to_microseconds((hash(i) % 86400000000)::BIGINT))::TIME",
     "strftime(DATE '2000-01-01' + v, '%H:%M:%S.%g')"},
    {"repeat(chr((97 + i % 26)::INTEGER), (i % 40)::INTEGER)", "v"},
    {"[i, NULL]", "v::VARCHAR"},
};

TEST_F(ResultTransferTest, MatchesDuckDBsOwnTextInEveryCellOfManyRowGroups) {
    std::string select = "SELECT ";
    for (const GeneratedColumn& each : gGenerated) {
        const std::string index = std::to_string(&each - gGenerated);
        select += "CASE WHEN hash(i + " + index + ") % 5 > 0 THEN " + each.value + " END AS c" + index + ", ";
    }
    const std::string path =
        WriteParquet("many.parquet", select + "FROM range(9000) AS t(i)", ", ROW_GROUP_SIZE 2048");
    ProcedureCursor cursor = Open("fetch_parquet", {Text(path)});
    const std::vector<Row> rows = RowsOf(cursor);
    ASSERT_EQ(rows.size(), 9000U);
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
    const std::string path = WriteParquet("seek.parquet",
                                          "SELECT i, 'row ' || i AS t FROM range(20000) AS r(i)"
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
    const std::string path = WriteParquet("t.parquet", "SELECT range AS n FROM range(5000)");
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
    const std::string path = WriteParquet("t.parquet", "SELECT range AS n FROM range(5000)");
    ProcedureCursor cursor = Open("fetch_parquet", {Text(path)});
    auto& result = *static_cast<ProcedureResult*>(cursor.get_Descriptor()->state);
    ASSERT_TRUE(cursor.SeekRow(4999));
    duckdb_support::OwnedResult kept = std::move(result.result);
    EXPECT_FALSE(cursor.SeekRow(0));
    EXPECT_TRUE(cursor.ReadValue(0).IsNull());
    result.result = std::move(kept);
    ASSERT_TRUE(cursor.NextRow());
    EXPECT_EQ(cursor.ReadValue(0), Int(0));
}

TEST_F(ResultTransferTest, ProjectsEachTypeByItsNumber) {
    struct ProjectionCase {
        int type;
        const char* expected;
    };
    for (const ProjectionCase& each : {
             ProjectionCase{4, R"("a""b")"},
             {18, R"("a""b")"},
             {19, R"(CAST("a""b" AS DOUBLE) AS "a""b")"},
             {22, R"(CAST("a""b" AS TIMESTAMP) AS "a""b")"},
             {31, R"(CAST("a""b" AS TIMESTAMP) AS "a""b")"},
             {30, R"(CAST("a""b" AS TIME) AS "a""b")"},
             {16, R"(CAST("a""b" AS VARCHAR) AS "a""b")"},
             {41, R"(CAST("a""b" AS VARCHAR) AS "a""b")"},
         }) {
        EXPECT_EQ(ColumnProjection("a\"b", static_cast<duckdb_type>(each.type)), each.expected);
    }
    const std::vector<ProcedureColumn> columns = {{"a", DUCKDB_TYPE_INTEGER, DUCKDB_TYPE_INTEGER, 7},
                                                  {"b", DUCKDB_TYPE_UUID, DUCKDB_TYPE_VARCHAR, 10}};
    EXPECT_EQ(BuildProjectionSelect("FROM t", columns, ""),
              R"(SELECT "a", CAST("b" AS VARCHAR) AS "b" FROM (FROM t) AS parquet_source)");
    EXPECT_EQ(BuildProjectionSelect("FROM t", columns, "0"),
              R"(SELECT "a", CAST("b" AS VARCHAR) AS "b" FROM (FROM t) AS parquet_source LIMIT 0)");
}

TEST_F(ResultTransferTest, RefusesRowsThatAreNotWhatTheProbeTold) {
    // A predicate that closes the subquery brings statements of its own. These replace the file behind the
    // probe's back, as another process could: the memory of a text must not be read as that of a number.
    const std::string path = WriteParquet("t.parquet", "SELECT 1::BIGINT AS n");
    const std::string replacing = "true) AS x; COPY (SELECT 'text' AS n) TO '" + path +
                                  "' (FORMAT parquet); SELECT n FROM (SELECT 1 AS n";
    EXPECT_EQ(ErrorOf("fetch_parquet", {Text(path), Text("n"), Text(replacing)}),
              "The columns of the DuckDB result have changed.");
}

TEST(CellValues, PackWhatTheHostUnpacks) {
    using namespace orkit::standin;
    struct PackCase {
        duckdb_timestamp_struct timestamp;
        ProcedureDateTime expected;
    };
    for (const PackCase& each : {
             PackCase{{{2024, 2, 29}, {23, 59, 59, 999999}}, {{2024, 2, 29}, {23, 59, 59, 999}}},
             {{{-290307, 12, 1}, {0, 0, 0, 999}}, {{-290307, 12, 1}, {0, 0, 0, 0}}},
             {{{0, 1, 31}, {24, 0, 0, 0}}, {{0, 1, 31}, {24, 0, 0, 0}}},
         }) {
        EXPECT_EQ(UnpackDateTime(PackDateTime(each.timestamp)), each.expected);
        EXPECT_EQ(PackDateTime(each.timestamp), orkit::standin::PackDateTime(each.expected));
    }
    EXPECT_EQ(procedures::PackDate({1, 2, 3}), 1U << 9 | 2U << 5 | 3U);
    EXPECT_EQ(procedures::PackTime({1, 2, 3, 4567}), 1U << 27 | 2U << 21 | 3U << 15 | 4U);
}

} // namespace

} // namespace orlimbara::procedures::test
