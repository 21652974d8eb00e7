#include "result/chunk_reader.h"

#include <bit>
#include <cctype>
#include <exception>
#include <functional>
#include <limits>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "duckdb_support/handle_count.h"
#include "duckdb_support/handles.h"
#include "host/exceptions.h"
#include "host_standin/live_objects.h"
#include "result/value_conversion.h"

namespace orkit::orsql::test {
namespace {

namespace support = orlimbara::duckdb_support;

std::string Narrow(const String& inText) {
    const StFromUTF16 narrow(inText, GetConverter_UTF8());
    return {narrow.c_str(), narrow.get_Length()};
}

/// A value as kind and content, exact to the bit; or what reading it threw.
std::string Describe(const std::function<smart_ptr<I_Value>()>& inRead) {
    try {
        const smart_ptr<I_Value> value = inRead();
        if (!value) {
            return "no value";
        }
        std::string text = std::to_string(value->get_Type()) + (value->get_IsNull() ? " null " : " ");
        if (value->get_Type() == value_type::kDouble) {
            return text + std::to_string(std::bit_cast<std::uint64_t>(value->get_Double()));
        }
        if (value->get_Type() == value_type::kFloat) {
            return text + std::to_string(std::bit_cast<std::uint32_t>(value->get_Float()));
        }
        if (value->get_Type() == value_type::kString) {
            text += std::to_string(value->get_MaxLength()) + " ";
        }
        String content;
        value->get_String(content, -1);
        return text + Narrow(content);
    } catch (const xDuckDBError& error) {
        return "throws " + Narrow(*error.get_Text(0)) + ": " + Narrow(*error.get_Text(1));
    } catch (const std::exception& error) {
        return std::string("throws ") + error.what();
    }
}

/// A type and SQL expressions of its values.
struct Values {
    const char* mType;
    std::vector<const char*> mExpressions;
};

void PrintTo(const Values& inValues, std::ostream* ioStream) { *ioStream << inValues.mType; }

// Each gets a NULL besides.
const Values kValues[] = {
    {"BOOLEAN", {"true", "false"}},
    {"TINYINT", {"-128", "-1", "0", "127"}},
    {"SMALLINT", {"-32768", "0", "32767"}},
    {"INTEGER", {"-2147483648", "0", "2147483647"}},
    {"BIGINT", {"-9223372036854775808", "0", "9223372036854775807"}},
    {"HUGEINT", {"-170141183460469231731687303715884105728", "0", "170141183460469231731687303715884105727"}},
    {"UTINYINT", {"0", "255"}},
    {"USMALLINT", {"0", "65535"}},
    {"UINTEGER", {"0", "4294967295"}},
    {"UBIGINT", {"0", "18446744073709551615"}},
    {"UHUGEINT", {"0", "340282366920938463463374607431768211455"}},
    {"BIGNUM", {"'0'", "'-1'", "'123456789012345678901234567890123456789012345678901234567890'"}},
    {"FLOAT", {"'nan'", "'inf'", "'-inf'", "-0.0", "1e-45", "3.4028235e38", "1.1"}},
    {"DOUBLE", {"'nan'", "'inf'", "'-inf'", "-0.0", "5e-324", "1.7976931348623157e308", "0.1"}},
    {"DECIMAL(4,1)", {"-999.9", "0", "999.9"}},
    {"DECIMAL(9,9)", {"-0.999999999", "0.123456789"}},
    {"DECIMAL(18,3)", {"-999999999999999.999", "0.001"}},
    {"DECIMAL(38,10)", {"-9999999999999999999999999999.9999999999", "1234567890123456789.0123456789"}},
    {"DECIMAL(38,0)", {"99999999999999999999999999999999999999", "-1"}},
    {"VARCHAR",
     {"''", "'twelve bytes'", "'thirteen byte'", "'naïve ☃ 😀 \"quoted\" \\ back'", "'a' || chr(0) || 'b'",
      "chr(0)", "'a text that is long enough ' || chr(0) || ' and goes on'", "repeat('x', 100000)",
      "repeat('ä😀', 20000)"}},
    {"BLOB", {"''", "'\\x00\\xFF'", "'no longer inside the cell'", "repeat('\\x80', 5000)::BLOB"}},
    {"BIT", {"'0'", "'1010101'", "'000000000000000000000000000000000000000000000001'"}},
    {"UUID",
     {"'00000000-0000-0000-0000-000000000000'", "'ffffffff-ffff-ffff-ffff-ffffffffffff'",
      "'00112233-4455-6677-8899-aabbccddeeff'"}},
    {"DATE",
     {"'infinity'", "'-infinity'", "'5877642-06-25 (BC)'", "'5881580-07-10'", "'0044-03-15 (BC)'",
      "'12345-01-01'", "'1970-01-01'"}},
    {"TIME", {"'00:00:00'", "'23:59:59.999999'", "'24:00:00'"}},
    {"TIME_NS", {"'00:00:00'", "'12:34:56.123456789'"}},
    {"TIMETZ", {"'00:00:00+15:59:59'", "'23:59:59.999999-15:59:59'", "'24:00:00'"}},
    {"TIMESTAMP",
     {"'infinity'", "'-infinity'", "'290309-12-22 (BC) 00:00:00'", "'294247-01-10 04:00:54.775806'",
      "'0044-03-15 (BC) 12:00:00'", "'12345-01-01 00:00:00'", "'2024-02-29 12:34:56.789012'"}},
    {"TIMESTAMP_S",
     {"'infinity'", "'-infinity'", "'1969-12-31 23:59:59'", "'2024-02-29 12:34:56'",
      "'0044-03-15 (BC) 12:00:00'", "'12345-01-01 00:00:00'"}},
    {"TIMESTAMP_MS",
     {"'infinity'", "'-infinity'", "'1969-12-31 23:59:59.999'", "'2024-02-29 12:34:56.789'",
      "'0044-03-15 (BC) 12:00:00'", "'12345-01-01 00:00:00'"}},
    {"TIMESTAMP_NS",
     {"'infinity'", "'-infinity'", "'1677-09-22 00:00:00'", "'2262-04-11 23:47:16.854775806'"}},
    {"TIMESTAMPTZ",
     {"'infinity'", "'-infinity'", "'290309-12-22 (BC) 00:00:00+00'", "'2024-02-29 12:34:56.789012+05:30'",
      "'12345-01-01 00:00:00+00'"}},
    {"INTERVAL",
     {"'0 days'", "'-1 years 2 days -03:04:05.000006'", "'178956970 years'", "'1 month'",
      "'-2147483648 days'"}},
    {"ENUM('', 'red', 'a name longer than a cell holds')",
     {"''", "'red'", "'a name longer than a cell holds'"}},
    {"JSON", {"'null'", "'{\"a\": [1, \"x\"]}'", "'\"text\"'"}},
    {"GEOMETRY", {"'POINT (1 2)'", "'LINESTRING (0 0, 1 1.5)'"}},
    {"INTEGER[]", {"[]", "[1, NULL, -3]", "range(3000)"}},
    {"STRUCT(a INTEGER, \"b c\" VARCHAR)", {"{'a': 1, 'b c': 'it''s, \"so\"'}", "{'a': NULL, 'b c': NULL}"}},
    {"MAP(VARCHAR, DOUBLE)", {"MAP {}", "MAP {'k=v': 0.1, '': NULL}"}},
    {"UNION(n INTEGER, s VARCHAR)",
     {"union_value(n := 1)", "union_value(s := 'one')", "union_value(s := NULL)"}},
    {"DATE[2]", {"['infinity', NULL]", "['0044-03-15 (BC)', '12345-01-01']"}},
    {"VARIANT",
     {"1::TINYINT", "(-128)::TINYINT", "'x'", "[1, 2]", "{'a': [{'b': NULL}]}", "'a' || chr(0) || 'b'",
      "'infinity'::TIMESTAMP_MS", "'2024-02-29 12:34:56.789'::TIMESTAMP_MS",
      "'0044-03-15 (BC)'::TIMESTAMP_MS", "true", "false", "chr(31) || '\"\\'"}},
};

/// What is made of the values of each type: `x` is one of them, or NULL.
constexpr const char* kShapes[] = {
    "x",
    "[x, NULL, x]",
    "{'a': x, 'b': 'it''s'}",
    "MAP {'k': x}",
    "array_value(x, x)",
    "union_value(mine := x)",
    "[{'a': [x, NULL], 'b': x}]",
    "x::VARIANT",
    "[x, NULL]::VARIANT",
    "{'a': x, 'b': [x]}::VARIANT",
};

class ChunkReaderTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(duckdb_open(nullptr, mDatabase.Put()), DuckDBSuccess);
        ASSERT_EQ(duckdb_connect(mDatabase.Get(), mConnection.Put()), DuckDBSuccess);
        // Cells are read without the connection's settings: a zone other than UTC must not show.
        Run("SET TimeZone = 'Asia/Kolkata'");
    }
    void TearDown() override {
        mConnection.Reset();
        mDatabase.Reset();
        EXPECT_EQ(support::LiveHandleCount(), 0);
        EXPECT_EQ(standin::CountLiveObjects().get_Total(), 0);
    }

    support::OwnedResult Run(const std::string& inSql) {
        support::OwnedResult result;
        EXPECT_EQ(duckdb_query(mConnection.Get(), inSql.c_str(), result.Put()), DuckDBSuccess)
            << inSql << "\n"
            << duckdb_result_error(result.Get());
        return result;
    }

    static std::vector<support::OwnedDataChunk> Chunks(const support::OwnedResult& inResult) {
        std::vector<support::OwnedDataChunk> chunks;
        while (support::OwnedDataChunk chunk{duckdb_fetch_chunk(inResult.Struct())}) {
            chunks.push_back(std::move(chunk));
        }
        return chunks;
    }

    support::OwnedDatabase mDatabase;
    support::OwnedConnection mConnection;
};

/// The values of all cells of a column, described; by ReadCell.
std::vector<std::string> Expected(const std::vector<support::OwnedDataChunk>& inChunks, duckdb_type inType) {
    std::vector<std::string> cells;
    for (const support::OwnedDataChunk& chunk : inChunks) {
        for (idx_t row = 0; row < duckdb_data_chunk_get_size(chunk.Get()); ++row) {
            cells.push_back(Describe([&] { return ReadCell(chunk.Get(), 0, row, inType); }));
        }
    }
    return cells;
}

/// Reads every `inStep`th row of all chunks by a ChunkReader. @return the number of cells read.
std::size_t Compare(const std::vector<std::string>& inExpected,
                    const std::vector<support::OwnedDataChunk>& inChunks, const ColumnList& inColumns,
                    ChunkReader::Access inAccess, std::size_t inStep) {
    ChunkReader reader(inColumns, inAccess);
    std::size_t first = 0; // row of the result with which the chunk begins
    std::size_t compared = 0;
    for (const support::OwnedDataChunk& chunk : inChunks) {
        const idx_t size = duckdb_data_chunk_get_size(chunk.Get());
        reader.Bind(chunk.Get());
        for (std::size_t cell = (first + inStep - 1) / inStep * inStep; cell < first + size; cell += inStep) {
            const std::string actual = Describe([&] { return reader.Read(0, cell - first); });
            EXPECT_EQ(actual.substr(0, 200), inExpected[cell].substr(0, 200)) << "row " << cell;
            EXPECT_TRUE(actual == inExpected[cell]) << "row " << cell;
            ++compared;
            if (::testing::Test::HasFailure()) {
                return compared;
            }
        }
        first += size;
    }
    reader.Bind(nullptr);
    return compared;
}

class EveryType : public ChunkReaderTest, public ::testing::WithParamInterface<Values> {};

TEST_P(EveryType, GivesTheValuesOfTheReferencePathInEveryShape) {
    Run(std::string("CREATE TABLE t (x ") + GetParam().mType + ")");
    for (const char* const expression : GetParam().mExpressions) {
        Run(std::string("INSERT INTO t VALUES (") + expression + "), (NULL)");
    }
    for (const char* const shape : kShapes) {
        SCOPED_TRACE(std::string(GetParam().mType) + " as " + shape);
        support::OwnedResult result = Run(std::string("SELECT ") + shape + " FROM t, range(7)");
        ASSERT_FALSE(HasFailure());
        const ColumnList columns(result.Get());
        const std::vector<support::OwnedDataChunk> chunks = Chunks(result);
        const std::vector<std::string> expected = Expected(chunks, columns[0].mType);
        ASSERT_GE(expected.size(), 14u);
        EXPECT_EQ(Compare(expected, chunks, columns, ChunkReader::Access::EveryCell, 1), expected.size());
        EXPECT_EQ(Compare(expected, chunks, columns, ChunkReader::Access::AnyCell, 1), expected.size());
        ASSERT_FALSE(HasFailure());
    }
}

INSTANTIATE_TEST_SUITE_P(Types, EveryType, ::testing::ValuesIn(kValues), [](const auto& inInfo) {
    std::string name(inInfo.param.mType);
    for (char& character : name) {
        if (!std::isalnum(static_cast<unsigned char>(character))) {
            character = '_';
        }
    }
    return name;
});

TEST_F(ChunkReaderTest, WhereAndHowOftenCellsAreReadChangesNothing) {
    constexpr const char* kColumns[] = {
        "CASE WHEN i % 7 = 0 THEN NULL ELSE DATE '2000-01-01' + i::INTEGER END",
        "(i / 8)::DECIMAL(9,3)",
        "CASE WHEN i < 2500 THEN [i, i + 1] ELSE NULL END",
        "repeat(i::VARCHAR, (i % 9)::INTEGER)",
        "CASE i % 4 WHEN 0 THEN i::VARIANT WHEN 1 THEN [i]::VARIANT WHEN 2 THEN 'text'::VARIANT END",
        "CASE WHEN i % 50 = 0 THEN {'a': i} END",
    };
    for (const char* const column : kColumns) {
        SCOPED_TRACE(column);
        support::OwnedResult result =
            Run(std::string("SELECT ") + column + " FROM range(7000) t(i) ORDER BY i");
        const ColumnList columns(result.Get());
        const std::vector<support::OwnedDataChunk> chunks = Chunks(result);
        ASSERT_GE(chunks.size(), 4u);
        const std::vector<std::string> expected = Expected(chunks, columns[0].mType);
        for (const std::size_t step : {1, 2, 9, 100, 5000}) {
            for (const auto access : {ChunkReader::Access::EveryCell, ChunkReader::Access::AnyCell}) {
                EXPECT_EQ(Compare(expected, chunks, columns, access, step),
                          (expected.size() + step - 1) / step);
            }
        }
        ASSERT_FALSE(HasFailure());
    }
}

TEST_F(ChunkReaderTest, RowsCanBeReadInAnyOrderAndTwice) {
    support::OwnedResult result = Run("SELECT INTERVAL (i) DAY FROM range(1000) t(i) ORDER BY i");
    const ColumnList columns(result.Get());
    const std::vector<support::OwnedDataChunk> chunks = Chunks(result);
    const std::vector<std::string> expected = Expected(chunks, columns[0].mType);
    ChunkReader reader(columns, ChunkReader::Access::AnyCell);
    reader.Bind(chunks[0].Get());
    for (const idx_t row : {5, 5, 6, 4, 999, 0, 1, 2, 3, 500, 7, 7, 998}) {
        EXPECT_EQ(Describe([&] { return reader.Read(0, row); }), expected[row]);
    }
}

TEST_F(ChunkReaderTest, ACellThatCantBeCastThrowsAloneAndAsOnTheReferencePath) {
    support::OwnedResult result = Run("SELECT TIMESTAMP_S '2000-01-01 00:00:00' FROM range(100)");
    const ColumnList columns(result.Get());
    const std::vector<support::OwnedDataChunk> chunks = Chunks(result);
    const idx_t badRow = 40;
    // Seconds that no text can be made of, which SQL lets nobody write.
    const duckdb_vector vector = duckdb_data_chunk_get_vector(chunks[0].Get(), 0);
    static_cast<std::int64_t*>(duckdb_vector_get_data(vector))[badRow] = std::int64_t{1} << 62;
    const std::vector<std::string> expected = Expected(chunks, columns[0].mType);
    EXPECT_EQ(expected[badRow].substr(0, 7), "throws ");
    EXPECT_EQ(expected[badRow + 1], "20 40 2000-01-01 00:00:00");
    for (const auto access : {ChunkReader::Access::EveryCell, ChunkReader::Access::AnyCell}) {
        EXPECT_EQ(Compare(expected, chunks, columns, access, 1), 100u);
    }
}

TEST_F(ChunkReaderTest, ATimeOutOfRangeIsRefusedInEveryShape) {
    constexpr std::int64_t kDay = 86'400'000'000;
    constexpr std::int64_t kLowest = std::numeric_limits<std::int64_t>::min();
    struct Time {
        const char* mType;
        duckdb_value mValue;
        bool mIsInRange;
    };
    const Time times[] = {
        {"TIME", duckdb_create_time({kDay}), true},
        {"TIME", duckdb_create_time({kDay + 1}), false},
        {"TIME", duckdb_create_time({-1}), false},
        {"TIME", duckdb_create_time({kLowest}), false},
        {"TIME_NS", duckdb_create_time_ns({1000 * kDay}), true},
        {"TIME_NS", duckdb_create_time_ns({1000 * kDay + 1}), false},
        {"TIME_NS", duckdb_create_time_ns({kLowest}), false},
        {"TIMETZ", duckdb_create_time_tz_value(duckdb_create_time_tz(kDay, -57599)), true},
        {"TIMETZ", duckdb_create_time_tz_value(duckdb_create_time_tz(kDay + 1, 0)), false},
        {"TIMETZ", duckdb_create_time_tz_value(duckdb_create_time_tz(0, -57600)), false},
        {"TIMETZ", duckdb_create_time_tz_value({~std::uint64_t{0}}), false},
    };
    for (const Time& time : times) {
        const support::OwnedValue value(time.mValue);
        for (const char* const shape : kShapes) {
            SCOPED_TRACE(std::string(time.mType) + " as " + shape);
            support::OwnedPreparedStatement statement;
            const std::string sql = std::string("WITH t AS (SELECT 1 AS i, $1::") + time.mType +
                                    " AS x UNION ALL SELECT 0, '12:00:00'::" + time.mType + ") SELECT " +
                                    shape + " FROM t, range(5) ORDER BY i";
            ASSERT_EQ(duckdb_prepare(mConnection.Get(), sql.c_str(), statement.Put()), DuckDBSuccess)
                << duckdb_prepare_error(statement.Get());
            ASSERT_EQ(duckdb_bind_value(statement.Get(), 1, value.Get()), DuckDBSuccess);
            support::OwnedResult result;
            ASSERT_EQ(duckdb_execute_prepared(statement.Get(), result.Put()), DuckDBSuccess)
                << duckdb_result_error(result.Get());
            const ColumnList columns(result.Get());
            const std::vector<support::OwnedDataChunk> chunks = Chunks(result);
            const std::vector<std::string> expected = Expected(chunks, columns[0].mType);
            ASSERT_EQ(expected.size(), 10u);
            EXPECT_NE(expected[4].find("12:00:00"), std::string::npos);
            EXPECT_EQ(expected[5] == "throws value: A time of day lies outside the range of its type",
                      !time.mIsInRange)
                << expected[5];
            EXPECT_EQ(Compare(expected, chunks, columns, ChunkReader::Access::EveryCell, 1), 10u);
        }
    }
}

} // namespace
} // namespace orkit::orsql::test
