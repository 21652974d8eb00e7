#include "result/chunk_reader.h"

#include <bit>
#include <limits>

#include "result/value_conversion.h"
#include "tests_support/duck.h"
#include "tests_support/object_fixture.h"

namespace orkit::orsql::test {
namespace {

using Access = ChunkReader::Access;

/// A value as kind and content, exact to the bit; or what reading it threw.
std::string Describe(const std::function<Value()>& inRead) {
    Value value;
    const std::string thrown = Catch([&] { value = inRead(); });
    if (!thrown.empty()) {
        return "throws " + thrown;
    }
    const std::uint32_t type = value->get_Type();
    const std::string kind = std::to_string(type) + (value->get_IsNull() ? " null " : " ");
    return type == value_type::kDouble || type == value_type::kFloat
               ? kind + std::to_string(std::bit_cast<std::int64_t>(value->get_Double()))
           : type == value_type::kString ? kind + std::to_string(value->get_MaxLength()) + " " + Text(value)
                                         : kind + Text(value);
}

/// Types and expressions of their values beside those of `test_all_types()`; a NULL is added to each.
constexpr const char* kValues = R"(
    BIGNUM|'0'|'-1'; DECIMAL(9,9)|-0.999999999|0.123456789; DECIMAL(38,0)|99999999999999999999999999999999999999|-1
    FLOAT|'nan'|'inf'|'-inf'|-0.0|1e-45|3.4028235e38|1.1; DOUBLE|'nan'|'-inf'|-0.0|5e-324|1.7976931348623157e308|0.1
    VARCHAR|''|'twelve bytes'|'thirteen byte'|'naïve ☃ 😀 "quoted" \ back'|concat('a', chr(0), 'b')|chr(0)
    VARCHAR|concat('a text that is long enough ', chr(0), ' and goes on')|repeat('x', 20000)|repeat('ä😀', 5000)
    BLOB|''|'\x00\xFF'|'no longer inside the cell'|repeat('\x80', 5000)::BLOB
    BIT|'0'|'1010101'|'000000000000000000000000000000000000000000000001'
    DATE|'infinity'|'-infinity'|'5877642-06-25 (BC)'|'5881580-07-10'|'0044-03-15 (BC)'|'12345-01-01'|'1970-01-01'
    TIMESTAMP|'infinity'|'-infinity'|'290309-12-22 (BC) 00:00:00'|'294247-01-10 04:00:54.775806'|'12345-01-01 00:00:00'
    TIMESTAMP_S|'infinity'|'-infinity'|'1969-12-31 23:59:59'|'0044-03-15 (BC) 12:00:00'|'12345-01-01 00:00:00'
    TIMESTAMP_MS|'infinity'|'-infinity'|'1969-12-31 23:59:59.999'|'0044-03-15 (BC) 12:00:00'|'12345-01-01 00:00:00'
    TIMESTAMP_NS|'infinity'|'-infinity'|'1677-09-22 00:00:00'|'2262-04-11 23:47:16.854775806'
    TIMESTAMPTZ|'infinity'|'290309-12-22 (BC) 00:00:00+00'|'2024-02-29 12:34:56.789012+05:30'
    INTERVAL|'0 days'|'-1 years 2 days -03:04:05.000006'|'178956970 years'|'1 month'|'-2147483648 days'|'1 day'
    INTERVAL|'99:59:59.999999'|'-99:59:59.999999'|'100:00:00'|'-100:00:00'|'9999 days'|'-10000 days'|'10000 days'
    INTERVAL|'9999 years 11 months'|'-10000 years'|'10000 years'|'-9999 years -11 months -9999 days -1:02:03.4'
    ENUM('', 'red', 'a name longer than a cell holds')|''|'red'|'a name longer than a cell holds'
    INTEGER[]|[]|[1, NULL, -3]|range(3000); JSON|'null'|'{"a": [1, "x"]}'|'"text"'
    STRUCT(a INTEGER, "b c" VARCHAR)|{'a': 1, 'b c': 'it''s, "so"'}|{'a': NULL, 'b c': NULL}
    GEOMETRY|'POINT (1 2)'|'LINESTRING (0 0, 1 1.5)'; MAP(VARCHAR, DOUBLE)|MAP {}|MAP {'k=v': 0.1, '': NULL}
    UNION(n INTEGER, s VARCHAR)|union_value(n := 1)|union_value(s := 'one')|union_value(s := NULL)
    VARIANT|1::TINYINT|(-128)::TINYINT|'x'|[1, 2]|{'a': [{'b': NULL}]}|concat('a', chr(0), 'b')|true|false
    VARIANT|'infinity'::TIMESTAMP_MS|'2024-02-29 12:34:56.789'::TIMESTAMP_MS|'0044-03-15 (BC)'::TIMESTAMP_MS)";

/// Expressions over the values of each type: `x` is one of them, or NULL.
constexpr const char* kShapes = R"(x; [x, NULL, x]; {'a': x, 'b': 'it''s'}; MAP {'k': x}; array_value(x, x)
    union_value(mine := x); [{'a': [x, NULL], 'b': x}]; x::VARIANT; [x, NULL]::VARIANT; {'a': x, 'b': [x]}::VARIANT)";

/// The chunks of a result, and their cells of the first column as ReadCell gives them.
class Cells {
public:
    explicit Cells(support::OwnedResult inResult) : mColumns(inResult.Get()) {
        while (support::OwnedDataChunk chunk{duckdb_fetch_chunk(inResult.Struct())}) {
            mChunks.push_back(std::move(chunk));
        }
    }
    const std::vector<std::string>& Expect() {
        for (const auto& chunk : mChunks) {
            for (idx_t row = 0; row < duckdb_data_chunk_get_size(chunk.Get()); ++row) {
                const auto read = [&] { return ReadCell(chunk.Get(), 0, row, mColumns[0].mType); };
                mExpected.push_back(Describe(read));
            }
        }
        return mExpected;
    }
    /// Reads every `inStep`th row of all chunks, and says whether the cells are as expected.
    void Compare(std::size_t inStep = 1) const {
        for (const Access access : {Access::EveryCell, Access::AnyCell}) {
            ChunkReader reader(mColumns, access);
            std::size_t first = 0; // row of the result with which the chunk begins
            std::size_t cell = 0;
            for (const auto& chunk : mChunks) {
                reader.Bind(chunk.Get());
                const std::size_t end = first + duckdb_data_chunk_get_size(chunk.Get());
                for (; cell < end; cell += inStep) {
                    const std::string actual = Describe([&] { return reader.Read(0, cell - first); });
                    ASSERT_TRUE(actual == mExpected[cell]) << "row " << cell << ": " << actual.substr(0, 200)
                                                           << " for " << mExpected[cell].substr(0, 200);
                }
                first = end;
            }
            EXPECT_GE(cell, mExpected.size());
        }
    }

    const ColumnList mColumns;
    std::vector<support::OwnedDataChunk> mChunks;

private:
    std::vector<std::string> mExpected;
};

class ChunkReaderTest : public ObjectTest {
protected:
    // Cells are read without the connection's settings: a time zone other than UTC must not matter.
    ChunkReaderTest() { mDuck.Run("SET TimeZone = 'Asia/Kolkata'"); }

    /// Checks the cells of a query, read whole and in steps.
    void ExpectSame(const std::string& inSql, std::size_t inCount,
                    std::initializer_list<std::size_t> inSteps = {1}) const {
        SCOPED_TRACE(inSql);
        Cells cells(mDuck.Run(inSql));
        EXPECT_EQ(cells.Expect().size(), inCount);
        for (const std::size_t step : inSteps) {
            cells.Compare(step);
        }
    }

    const tests_support::Duck mDuck;
};

TEST_F(ChunkReaderTest, GivesTheValuesOfTheReferencePathInEveryShape) {
    for (const auto& column : mDuck.Texts("SELECT column_name FROM (DESCRIBE FROM test_all_types())")) {
        SCOPED_TRACE(column);
        mDuck.Run("CREATE OR REPLACE TABLE t AS SELECT \"" + column + "\" AS x FROM test_all_types()");
        for (const auto& shape : Table(kShapes)) {
            ExpectSame("SELECT " + shape[0] + " FROM t, range(7)", 21);
        }
    }
    for (const auto& row : Table(kValues)) {
        mDuck.Run("CREATE OR REPLACE TABLE t (x " + row[0] + ")");
        for (std::size_t value = 1; value < row.size(); ++value) {
            mDuck.Run("INSERT INTO t VALUES (" + row[value] + "), (NULL)");
        }
        for (const auto& shape : Table(kShapes)) {
            SCOPED_TRACE(row[0]);
            ExpectSame("SELECT " + shape[0] + " FROM t, range(7)", 14 * (row.size() - 1));
        }
    }
}

TEST_F(ChunkReaderTest, TheOrderAndNumberOfReadsChangeNothing) {
    for (const auto& column :
         Table(R"(CASE WHEN i % 7 = 0 THEN NULL ELSE DATE '2000-01-01' + i::INTEGER END; (i / 8)::DECIMAL(9,3)
                  CASE WHEN i < 2500 THEN [i, i + 1] ELSE NULL END; repeat(i::VARCHAR, (i % 9)::INTEGER)
                  CASE i % 4 WHEN 0 THEN i::VARIANT WHEN 1 THEN [i]::VARIANT WHEN 2 THEN 'text'::VARIANT END
                  CASE WHEN i % 50 = 0 THEN {'a': i} END; NULL; [NULL]; {'a': NULL})")) {
        ExpectSame("SELECT " + column[0] + " FROM range(7000) t(i) ORDER BY i", 7000, {1, 2, 9, 100, 5000});
    }
    Cells cells(mDuck.Run("SELECT INTERVAL (i) DAY FROM range(1000) t(i) ORDER BY i"));
    const std::vector<std::string>& expected = cells.Expect();
    ChunkReader reader(cells.mColumns, Access::AnyCell);
    reader.Bind(cells.mChunks[0].Get());
    for (const idx_t row : {5, 5, 6, 4, 999, 0, 1, 2, 3, 500, 7, 7, 998}) { // in any order and twice
        EXPECT_EQ(Describe([&] { return reader.Read(0, row); }), expected[row]);
    }
}

TEST_F(ChunkReaderTest, VariantsOfATableOnDiskAreReadTheSame) {
    // A checkpoint shreds variants into typed columns; the chunk must have them complete again.
    const std::string attach =
        "ATTACH '" + (Folder() / "v").string() + "' AS disk (STORAGE_VERSION 'v1.5.0')";
    mDuck.Run("SET variant_minimum_shredding_size = 0; " + attach);
    mDuck.Run(
        "CREATE TABLE disk.t AS SELECT CASE i % 3 WHEN 0 THEN {'a': i, 'b': 'text ' || i}::VARIANT WHEN 1 "
        "THEN [i]::VARIANT ELSE i::VARIANT END FROM range(5000) r(i); CHECKPOINT disk; DETACH disk");
    mDuck.Run(attach);
    Cells cells(mDuck.Run("FROM disk.t"));
    EXPECT_TRUE(cells.Expect()[6].ends_with(R"("{\"a\":6,\"b\":\"text 6\"}"})")) << cells.Expect()[6];
    cells.Compare();
}

TEST_F(ChunkReaderTest, OnlyACellThatCantBeCastThrowsAndAsOnTheReferencePath) {
    Cells cells(mDuck.Run("SELECT TIMESTAMP_S '2000-01-01 00:00:00' FROM range(100)"));
    // Seconds without a text, which SQL can't write.
    const duckdb_vector vector = duckdb_data_chunk_get_vector(cells.mChunks[0].Get(), 0);
    static_cast<std::int64_t*>(duckdb_vector_get_data(vector))[40] = std::int64_t{1} << 62;
    const std::vector<std::string>& expected = cells.Expect();
    EXPECT_EQ(expected[40].substr(0, 7), "throws ");
    EXPECT_EQ(expected[41], "20 40 2000-01-01 00:00:00");
    cells.Compare();
}

/// Of `u`, a hash that loses a bit from row to row, so that small numbers and zeros at the end occur as well.
constexpr const char* kPlainTexts = R"(
    DATE '0000-01-01' + i; DATE '1890-01-01' + 5 * i; DATE '9990-01-01' + i; DATE '2000-01-01' + (u % 4000000)::INTEGER
    (TIME '00:00:00' + INTERVAL (t) MICROSECOND)::TIME; (TIME '00:00:00' + INTERVAL (t // 1000) MILLISECOND)::TIME
    make_timestamp((u >> 1)::BIGINT - 4611686018427387904); make_timestamp(-62135596800000000 + (i - 5000) * 77777777::BIGINT)
    make_timestamp((u >> 8)::BIGINT * 10)::TIMESTAMPTZ; make_timestamp(-((u >> 8)::BIGINT))::TIMESTAMPTZ
    make_timestamp((u >> 8)::BIGINT)::TIMESTAMP_S; make_timestamp(-((u >> 8)::BIGINT))::TIMESTAMP_MS
    make_timestamp_ns((u >> 1)::BIGINT - 4611686018427387904); make_timestamp_ns(-((u >> 2)::BIGINT))
    concat(TIME '00:00:00' + to_microseconds(t::BIGINT), (['-', '+'])[1 + i % 2], strftime(TIMESTAMP '2000-01-01' + to_seconds((u % 960 * 60 + i % 9 // 8)::BIGINT), '%H:%M:%S'))::TIMETZ
    to_microseconds((u >> 26)::BIGINT - 137438953472) + to_days((u % 2001 - 1000)::INTEGER % (i % 3000)); to_months(i % 5000 - 2500)
    (u % 256)::UTINYINT::BIT; right(u::UBIGINT::BIT::VARCHAR, i % 64 + 1)::BIT; concat(u::UBIGINT::BIT, i % 2)::BIT
    i::VARCHAR::few; (6 * i + 9999)::VARCHAR::many
    concat('12:34:56.', lpad((u % 1000000000)::VARCHAR, 9, '0'))::TIME_NS; md5(i::VARCHAR)::UUID
    (u >> 1)::HUGEINT * (i - 5000) * 922337203685477; (1::HUGEINT << i % 127) - i // 127
    ((i - 5000) % 9999 / 10)::DECIMAL(4,1); (u % 100000)::DECIMAL(9,4); ((u >> 9)::BIGINT * 16 + i)::DECIMAL(18,0)
    900719925474.0993::DECIMAL(18,4) + (i - 5000) // 100; (u / 1e20)::DECIMAL(38,37); -(u::DECIMAL(38,10))
    -(1::HUGEINT << i % 127) + i // 127 - 50; (u % 18446744073709551616)::UHUGEINT * (i::UHUGEINT + 1) * 7777777777777)";

TEST_F(ChunkReaderTest, PlainTextsAreThoseOfTheCastOverTheWholeRange) {
    mDuck.Run("CREATE TABLE t AS SELECT i::INTEGER AS i, hash(i) >> i % 64 AS u, hash(i) % 86400000001 AS t "
              "FROM range(10000) r(i)");
    mDuck.Run("CREATE TYPE few AS ENUM (SELECT range::VARCHAR FROM range(10000))");  // two bytes a cell
    mDuck.Run("CREATE TYPE many AS ENUM (SELECT range::VARCHAR FROM range(70000))"); // four
    for (const auto& column : Table(kPlainTexts)) {
        ExpectSame("SELECT " + column[0] + " FROM t", 10000);
    }
}

TEST_F(ChunkReaderTest, ATimeOutOfRangeIsRefusedInEveryShape) {
    constexpr std::int64_t kDay = 86'400'000'000;
    constexpr std::int64_t kLowest = std::numeric_limits<std::int64_t>::min();
    const std::tuple<std::string, duckdb_value, bool> kTimes[] = {
        {"TIME", duckdb_create_time({kDay}), true},
        {"TIME", duckdb_create_time({kDay + 1}), false},
        {"TIME", duckdb_create_time({kLowest}), false},
        {"TIME_NS", duckdb_create_time_ns({1000 * kDay}), true},
        {"TIME_NS", duckdb_create_time_ns({1000 * kDay + 1}), false},
        {"TIME_NS", duckdb_create_time_ns({-1}), false},
        {"TIMETZ", duckdb_create_time_tz_value(duckdb_create_time_tz(kDay, -57599)), true},
        {"TIMETZ", duckdb_create_time_tz_value(duckdb_create_time_tz(kDay + 1, 0)), false},
        {"TIMETZ", duckdb_create_time_tz_value(duckdb_create_time_tz(0, -57600)), false},
        {"TIMETZ", duckdb_create_time_tz_value({~std::uint64_t{0}}), false},
    };
    for (const auto& [type, handle, isInRange] : kTimes) {
        const support::OwnedValue value(handle);
        mDuck.Run("CREATE OR REPLACE TABLE t AS SELECT 0 AS i, '12:00:00'::" + type + " AS x");
        support::OwnedPreparedStatement insert;
        duckdb_prepare(mDuck.Connection(), "INSERT INTO t VALUES (1, $1)", insert.Put());
        duckdb_bind_value(insert.Get(), 1, value.Get());
        ASSERT_EQ(duckdb_execute_prepared(insert.Get(), nullptr), DuckDBSuccess);
        for (const auto& shape : Table(kShapes)) {
            SCOPED_TRACE(type + " as " + shape[0]);
            Cells cells(mDuck.Run("SELECT " + shape[0] + " FROM t, range(5) ORDER BY i"));
            const std::vector<std::string>& expected = cells.Expect();
            ASSERT_EQ(expected.size(), 10u);
            EXPECT_NE(expected[4].find("12:00:00"), std::string::npos);
            EXPECT_NE(expected[5].ends_with("|A time of day lies outside the range of its type"), isInRange);
            cells.Compare();
        }
    }
}

} // namespace
} // namespace orkit::orsql::test
