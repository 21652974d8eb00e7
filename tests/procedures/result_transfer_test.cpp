#include <cstdint>
#include <random>

#include "duckdb_support/times.h"
#include "procedure_test.h"
#include "procedures/cell_values.h"
#include "procedures/type_names.h"

namespace orlimbara::procedures::test {

namespace {

class ResultTransferTest : public ProcedureTest {};

/// Values, their host type and text; NULL for values that the host can't represent.
constexpr const char* kValues = R"(
    true|bool|true; false|bool|false; (-128)::TINYINT|int64|-128; (-32768)::SMALLINT|int64|-32768
    (-2147483648)::INTEGER|int64|-2147483648; (-9223372036854775808)::BIGINT|int64|-9223372036854775808
    255::UTINYINT|uint64|255; 65535::USMALLINT|uint64|65535; 4294967295::UINTEGER|uint64|4294967295
    18446744073709551615::UBIGINT|uint64|18446744073709551615; 0.1::FLOAT|double|0.10000000149011612
    '-inf'::DOUBLE|double|-inf; 123.456::DECIMAL(9, 3)|double|123.456
    TIMESTAMP '1969-12-31 23:59:59.999999'|datetime|1969-12-31 23:59:59.999
    TIMESTAMP '294246-12-31 00:00:00'|datetime|+294246-12-31 00:00:00.000
    'infinity'::TIMESTAMP|datetime|NULL; '-infinity'::TIMESTAMP|datetime|NULL
    TIMESTAMP_S '2024-01-02 03:04:05'|datetime|2024-01-02 03:04:05.000
    TIMESTAMP_MS '2024-01-02 03:04:05.678'|datetime|2024-01-02 03:04:05.678
    TIMESTAMP_NS '2024-01-02 03:04:05.678999999'|datetime|2024-01-02 03:04:05.678
    TIMESTAMPTZ '2024-07-01 12:00:00.5+02'|datetime|2024-07-01 06:00:00.500
    DATE '0044-03-15 (BC)'|date|-00043-03-15; DATE '4194303-01-01'|date|+4194303-01-01
    DATE '4194304-01-01'|date|-4194304-01-01
    TIME '24:00:00'|time|24:00:00.000; '12:34:56.789+02:00'::TIMETZ|time|12:34:56.789
    '12:34:56.789123456'::TIME_NS|time|12:34:56.789
    ''|text|; 'long enough to lie outside'|text|long enough to lie outside
    repeat('long', 5)::BLOB|binary|longlonglonglonglong
    INTERVAL '1 year 2 days'|text|1 year 2 days
    (-170141183460469231731687303715884105728)::HUGEINT|text|-170141183460469231731687303715884105728
    340282366920938463463374607431768211455::UHUGEINT|text|340282366920938463463374607431768211455
    '123456789012345678901234567890'::BIGNUM|text|123456789012345678901234567890
    '00000000-0000-0000-0000-0000000000ff'::UUID|text|00000000-0000-0000-0000-0000000000ff
    'b'::ENUM('a', 'b')|text|b; [1, NULL, 3]|text|[1, NULL, 3]; [1, 2]::INTEGER[2]|text|[1, 2]
    {'a': 1, 'b': [{'c': 'x'}]}|text|{'a': 1, 'b': [{'c': x}]}; MAP {'k': 1}|text|{k=1}
    union_value(num := 2)|text|2; '0101'::BIT|text|0101; 'POINT (1 2)'::GEOMETRY|text|POINT (1 2)
    42::VARIANT|text|42)";

TEST_F(ResultTransferTest, BringsAValueAndANullOfEachTypeToTheHost) {
    tests_support::Rows cases = Table(kValues);
    cases.push_back({"'\\x00\\xFF'::BLOB", "binary", std::string("\0\xFF", 2)});
    cases.push_back({"'a' || chr(0) || 'b'", "text", std::string("a\0b", 3)});
    std::string values;
    std::string nulls;
    for (const auto& row : cases) {
        values += row[0] + " AS \"c\"\"\", ";
        nulls += "CASE WHEN false THEN " + row[0] + " END, ";
    }
    // The view's columns of the second row are NULL, those around it are not.
    const std::string path = WriteDatabase("CREATE VIEW v AS SELECT " + values + " UNION ALL SELECT " +
                                           nulls + " UNION ALL SELECT " + values);
    ProcedureCursor cursor = Open("fetch_duckdb", {path, "v"});
    ASSERT_EQ(cursor.get_ColumnCount(), cases.size());
    const std::vector<Row> rows = RowsOf(cursor);
    ASSERT_EQ(rows.size(), 3U);
    for (std::size_t column = 0; column < cases.size(); ++column) {
        const Value& value = rows[0][column];
        EXPECT_EQ(std::vector({cases[column][0], std::string(HostTypeName(cursor.get_ColumnType(column))),
                               value.IsNull() ? "NULL" : value.AsText()}),
                  cases[column]);
        EXPECT_TRUE(value.IsNull() || value.get_Type() == cursor.get_ColumnType(column)) << cases[column][0];
        EXPECT_TRUE(rows[1][column].IsNull()) << cases[column][0];
        EXPECT_EQ(rows[2][column], value) << cases[column][0];
    }
    EXPECT_STREQ(cursor.get_ColumnName(0), "c\"");
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

/// Values of `i` in many row groups, with the host's text of each as `v`.
constexpr const char* kGenerated = R"(
    i % 2 = 0|v::VARCHAR; (hash(i)::HUGEINT - 9223372036854775808)::BIGINT|v::VARCHAR; (i * 7)::USMALLINT|v::VARCHAR
    make_timestamp((hash(i) // 4)::BIGINT // 100 - 20000000000000000)|strftime(v, '%Y-%m-%d %H:%M:%S.%g')
    DATE '0001-01-01' + (hash(i) % 3600000)::INTEGER|strftime(v, '%Y-%m-%d')
    (TIMESTAMP '2000-01-01' + to_microseconds((hash(i) % 86400000000)::BIGINT))::TIME|strftime(DATE '2000-01-01' + v, '%H:%M:%S.%g')
    repeat(chr((97 + i % 26)::INTEGER), (i % 40)::INTEGER)|v; [i, NULL]|v::VARCHAR)";

TEST_F(ResultTransferTest, WalksAndSeeksMatchDuckDBsOwnTextInManyRowGroups) {
    const auto cases = Table(kGenerated);
    std::string select = "SELECT i, ";
    for (std::size_t column = 0; column < cases.size(); ++column) {
        const std::string index = std::to_string(column);
        select +=
            "CASE WHEN hash(i + " + index + ") % 5 > 0 THEN " + cases[column][0] + " END AS c" + index + ", ";
    }
    const std::string path = WriteParquet(select + "FROM range(5000) AS t(i)", ", ROW_GROUP_SIZE 2048");
    ProcedureCursor cursor = Open("fetch_parquet", {path, nullptr, "i % 3 > 0"}); // chunks of many sizes
    const std::vector<Row> rows = RowsOf(cursor);
    for (std::size_t column = 0; column < cases.size(); ++column) {
        std::vector<std::string> got;
        for (const Row& row : rows) {
            got.push_back(row[column + 1].IsNull() ? "NULL" : row[column + 1].AsText());
        }
        EXPECT_EQ(got, Duck().Texts("SELECT " + cases[column][1] + " FROM (SELECT c" +
                                    std::to_string(column) + " AS v FROM '" + path + "' WHERE i % 3 > 0)"))
            << cases[column][0];
    }
    std::mt19937 random(5489);
    std::uniform_int_distribution<std::size_t> any_row(0, rows.size() - 1);
    for (int round = 0; round < 2000; ++round) {
        const std::size_t row = any_row(random);
        ASSERT_TRUE(cursor.SeekRow(static_cast<std::int64_t>(row)));
        ASSERT_EQ(cursor.ReadValue(0), rows[row][0]);
        ASSERT_EQ(cursor.ReadValue(7), rows[row][7]);
        const bool has_next = row + 1 < rows.size();
        ASSERT_EQ(cursor.NextRow(), has_next);
        ASSERT_EQ(cursor.ReadValue(7), rows[has_next ? row + 1 : row][7]);
    }
}

TEST_F(ResultTransferTest, KeepsItsPositionWhenAStepFails) {
    const std::string path = WriteParquet("SELECT range AS n FROM range(5000)");
    ProcedureCursor cursor = Open("fetch_parquet", {path});
    const auto expect_at = [&cursor](const Value& expected) {
        for (const std::int64_t row : std::initializer_list<std::int64_t>{5000, -1, INT64_MAX, INT64_MIN}) {
            EXPECT_FALSE(cursor.SeekRow(row));
        }
        EXPECT_EQ(Value(cursor.ReadValue(0)), expected);
    };
    expect_at({}); // before the first row
    ASSERT_TRUE(cursor.NextRow());
    expect_at(0);
    ASSERT_TRUE(cursor.SeekRow(3000));
    expect_at(3000);
    ASSERT_TRUE(cursor.NextRow());
    expect_at(3001);
    ASSERT_TRUE(cursor.SeekRow(4999));
    EXPECT_FALSE(cursor.NextRow());
    EXPECT_FALSE(cursor.NextRow());
    expect_at(4999); // there is no position past the end
    for (const std::int32_t column : {-1, 1, INT32_MIN, 1 << 30}) {
        EXPECT_TRUE(cursor.ReadValue(column).IsNull()) << column;
    }
    gFailingFunction = "duckdb_result_get_chunk";
    EXPECT_THROW(cursor.SeekRow(0), std::runtime_error);
    gFailingFunction.clear();
    expect_at({}); // back to the start if a chunk can't be fetched
    ASSERT_TRUE(cursor.NextRow());
    expect_at(0);
}

// Bindings accept any number as a time, and DuckDB's functions that convert it to text crash for most.
TEST_F(ResultTransferTest, RefusesTimesOutsideTheirRangeAtAnyDepth) {
    const auto cases = Table(R"(
        a|24:00:00.000; n|24:00:00.000; z|24:00:00.000; [NULL, a]|[NULL, '24:00:00']
        [n, NULL]::TIME_NS[2]|[24:00:00, NULL]; {'x': [z]}|{'x': ['24:00:00+00']}; MAP {a: 1}|{'24:00:00'=1}
        union_value(u := n)|24:00:00; z::VARIANT|24:00:00+00; [{'v': n}::VARIANT]|[{'v': '24:00:00'}]
        [a]::VARIANT|['24:00:00'])");
    const std::string path = WriteDatabase("CREATE TABLE t (id INTEGER, a TIME, n TIME_NS, z TIMETZ)");
    using duckdb_support::OwnedValue;
    for (const std::int64_t excess : {0, 1}) { // over the last time in range
        const std::int64_t micros = 86'400'000'000 + excess;
        const OwnedValue times[] = {
            OwnedValue(duckdb_create_time({micros})),
            OwnedValue(duckdb_create_time_ns({1000 * 86'400'000'000 + excess})),
            OwnedValue(duckdb_create_time_tz_value(duckdb_create_time_tz(micros, 0)))};
        const Duck duck(path);
        const std::string id = std::to_string(excess);
        duckdb_support::OwnedPreparedStatement insert;
        duckdb_prepare(duck.Connection(), ("INSERT INTO t VALUES (" + id + ", $1, $2, $3)").c_str(),
                       insert.Put());
        for (const OwnedValue& time : times) {
            duckdb_bind_value(insert.Get(), static_cast<idx_t>(&time - times) + 1, time.Get());
        }
        ASSERT_EQ(duckdb_execute_prepared(insert.Get(), nullptr), DuckDBSuccess);
        for (const auto& row : cases) {
            duck.Run("CREATE VIEW \"" + id + row[0] + "\" AS SELECT " + row[0] + " FROM t WHERE id = " + id);
        }
    }
    for (const auto& row : cases) {
        EXPECT_EQ(Fetch("fetch_duckdb", {path, "\"0" + row[0] + "\""}).at(0).at(0).AsText(), row[1]);
        EXPECT_EQ(OutcomeOf("fetch_duckdb", {path, "\"1" + row[0] + "\""}),
                  std::string("Invalid Input Error: ") + duckdb_support::kTimeOutOfRange);
    }
}

TEST_F(ResultTransferTest, RefusesRowsOfOtherTypesThanTheProbes) {
    // A predicate that closes the subquery adds its own statements. These replace the file after the probe,
    // as another process could: the memory of a text must not be read as a number.
    const std::string path = WriteParquet("SELECT 1::BIGINT AS n");
    const std::string replacing = "true) AS x; COPY (SELECT 'text' AS n) TO '" + path +
                                  "' (FORMAT parquet); SELECT n FROM (SELECT 1 AS n";
    EXPECT_EQ(OutcomeOf("fetch_parquet", {path, "n", replacing}),
              "The columns of the DuckDB result have changed.");
}

} // namespace

} // namespace orlimbara::procedures::test
