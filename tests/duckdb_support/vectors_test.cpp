#include "support_test.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "duckdb_support/variant_column.h"
#include "duckdb_support/vector_cast.h"
#include "variant_rows.h"

namespace orlimbara::duckdb_support::test {
namespace {

std::string TextAt(const ColumnCast& inCast, idx_t inRow) {
    duckdb_string_t text = inCast.Texts()[inRow];
    return {duckdb_string_t_data(&text), duckdb_string_t_length(text)};
}

bool IsValidAt(const ColumnCast& inCast, idx_t inRow) {
    return duckdb_validity_row_is_valid(const_cast<std::uint64_t*>(inCast.Validity()), inRow);
}

/// Both ways to a cell must agree: its own value, and the column as a whole.
class Vectors : public SupportTest {
protected:
    void ExpectSameTexts(duckdb_data_chunk inChunk, idx_t inColumn, const std::string& inWhat) {
        ColumnCast cast;
        ASSERT_TRUE(cast.ToText(inChunk, inColumn)) << inWhat;
        for (idx_t row = 0; row < duckdb_data_chunk_get_size(inChunk); ++row) {
            const OwnedValue value(duckdb_data_chunk_get_value(inChunk, inColumn, row));
            const auto expected = TextOf(value.Get());
            ASSERT_EQ(IsValidAt(cast, row), expected.has_value()) << inWhat << " row " << row;
            if (expected) { // a C text ends at its first zero byte
                ASSERT_EQ(TextAt(cast, row).c_str(), *expected) << inWhat << " row " << row;
            }
        }
    }

    void ExpectSameDoubles(duckdb_data_chunk inChunk, idx_t inColumn, const std::string& inWhat) {
        ColumnCast cast;
        ASSERT_TRUE(cast.ToDouble(inChunk, inColumn)) << inWhat;
        for (idx_t row = 0; row < duckdb_data_chunk_get_size(inChunk); ++row) {
            const OwnedValue value(duckdb_data_chunk_get_value(inChunk, inColumn, row));
            ASSERT_EQ(IsValidAt(cast, row), !duckdb_is_null_value(value.Get())) << inWhat << " row " << row;
            if (IsValidAt(cast, row)) {
                const double expected = duckdb_get_double(value.Get());
                ASSERT_EQ(std::memcmp(&cast.Doubles()[row], &expected, sizeof(expected)), 0)
                    << inWhat << " row " << row;
            }
        }
    }

    void ForEachChunk(const std::string& inSql, const std::function<void(duckdb_data_chunk)>& inTest) {
        OwnedResult result = Run(inSql);
        while (const OwnedDataChunk chunk{duckdb_fetch_chunk(result.Struct())}) {
            inTest(chunk.Get());
        }
    }

    std::string AllVariants() {
        std::string sql = "(SELECT NULL::VARIANT AS v";
        for (const VariantRow& row : gVariantRows) {
            sql += " UNION ALL SELECT (" + std::string(row.mSql) + ")::VARIANT";
        }
        return sql + ")";
    }
};

TEST_F(Vectors, TextsOfWholeColumnsAreThoseOfTheirCells) {
    Run("SET TimeZone = 'Asia/Kathmandu'"); // the settings of a session must not show
    const std::string sources[] = {
        "FROM test_all_types()",
        "SELECT * FROM test_all_types(), range(1000)", // several chunks
        "SELECT v, [v] AS list, {'a': v} AS object FROM " + AllVariants(),
        "SELECT CASE WHEN i % 3 = 0 THEN NULL ELSE i END AS i, i::VARCHAR || repeat('x', i % 20) AS t, "
        "'[' || i || ']' AS j, ('{\"a\":' || i || '}')::JSON AS json, [('[' || i || ']')::JSON] AS jsons, "
        "i::DOUBLE / 7 AS d, ((i - 1500) * 1.23)::FLOAT AS f FROM range(3000) r(i)",
        R"(SELECT [NULL, '', 'null', 'NULL', ' x', 'a,b', 'q''uote', '"', '\', '[x]'] AS texts,
                  {'a b': 1, 'c': [DATE '2024-01-01', NULL]} AS named, row(1, 'x') AS unnamed,
                  MAP {'k=': [TIMESTAMPTZ '2024-01-01 00:00:00+02']} AS m, 'a' || chr(0) || 'b' AS zero,
                  union_value(x := 'y''z') AS u, 'v'::ENUM('v', 'w') AS e, 'POINT Z (1 2 3)'::GEOMETRY AS g,
                  '12:00:00.123456789'::TIME_NS AS n, 'infinity'::TIMESTAMPTZ AS inf, NULL AS nothing)"};
    for (const std::string& source : sources) {
        ForEachChunk(source, [&](duckdb_data_chunk inChunk) {
            for (idx_t column = 0; column < duckdb_data_chunk_get_column_count(inChunk); ++column) {
                ExpectSameTexts(inChunk, column, source.substr(0, 60) + " column " + std::to_string(column));
            }
        });
    }
}

TEST_F(Vectors, DecimalsOfEveryWidthAreTheDoublesOfTheirCells) {
    ForEachChunk("SELECT ((i * 37 - 5000) % 999)::DECIMAL(4,1) AS w4_1, CASE WHEN i % 7 > 0 THEN (i - "
                 "1500)::DECIMAL(4,0) "
                 "END AS w4, (i * 7.001)::DECIMAL(9,4) AS w9, (i * 123456.000000001)::DECIMAL(18,9) AS w18, "
                 "(i::HUGEINT * 12345678901234567890)::DECIMAL(38,10) AS w38, "
                 "-99999999999999999999999999999999999999::DECIMAL(38,0) + i AS edge FROM range(3000) r(i)",
                 [&](duckdb_data_chunk inChunk) {
                     for (idx_t column = 0; column < 6; ++column) {
                         ExpectSameDoubles(inChunk, column, "column " + std::to_string(column));
                     }
                 });
}

TEST_F(Vectors, TheFormOfAVectorDoesNotShow) {
    const OwnedDataChunk all =
        FirstChunk("SELECT *, (SELECT {'a': [1]}::VARIANT) AS v FROM test_all_types()");
    for (idx_t column = 0; column < duckdb_data_chunk_get_column_count(all.Get()); ++column) {
        const OwnedLogicalType type(
            duckdb_vector_get_column_type(duckdb_data_chunk_get_vector(all.Get(), column)));
        duckdb_logical_type raw_type = type.Get();
        const std::string what = "column " + std::to_string(column);
        for (idx_t row = 0; row < 3; ++row) {
            const OwnedValue value(duckdb_data_chunk_get_value(all.Get(), column, row));
            const OwnedDataChunk constant(duckdb_create_data_chunk(&raw_type, 1));
            duckdb_vector_reference_value(duckdb_data_chunk_get_vector(constant.Get(), 0), value.Get());
            duckdb_data_chunk_set_size(constant.Get(), 100);
            ExpectSameTexts(constant.Get(), 0, what + " as a constant");
        }
        const OwnedDataChunk sliced(duckdb_create_data_chunk(&raw_type, 1));
        const duckdb_vector vector = duckdb_data_chunk_get_vector(sliced.Get(), 0);
        duckdb_vector_reference_vector(vector, duckdb_data_chunk_get_vector(all.Get(), column));
        duckdb_selection_vector selection = duckdb_create_selection_vector(5);
        constexpr sel_t rows[] = {2, 0, 1, 1, 0};
        std::ranges::copy(rows, duckdb_selection_vector_get_data_ptr(selection));
        duckdb_slice_vector(vector, selection, 5);
        duckdb_destroy_selection_vector(selection);
        duckdb_data_chunk_set_size(sliced.Get(), 5);
        ExpectSameTexts(sliced.Get(), 0, what + " as a dictionary");
    }
}

TEST_F(Vectors, ColumnsThatCannotBeCastSaySo) {
    const OwnedDataChunk chunk = FirstChunk("SELECT unnest(['1', 'abc']) AS t");
    ColumnCast cast;
    ASSERT_TRUE(cast.ToText(chunk.Get(), 0));
    EXPECT_FALSE(cast.ToDouble(chunk.Get(), 0));
    EXPECT_EQ(cast.Texts(), nullptr) << "a failed cast holds nothing";
    EXPECT_EQ(cast.Doubles(), nullptr);
    EXPECT_FALSE(cast.ToText(chunk.Get(), 1));
    EXPECT_FALSE(cast.ToText(nullptr, 0));
}

TEST_F(Vectors, TextsOutliveTheirChunk) {
    for (const char* sql :
         {"SELECT 'a text that is longer than a cell'", "SELECT '\"also longer than a cell\"'::JSON"}) {
        ColumnCast cast;
        {
            const OwnedDataChunk chunk = FirstChunk(sql);
            ASSERT_TRUE(cast.ToText(chunk.Get(), 0));
        }
        EXPECT_NE(TextAt(cast, 0).find("longer than a cell"), std::string::npos);
    }
}

TEST_F(Vectors, VariantColumnsGiveWhatTheirCellsGive) {
    // Several chunks, with the kinds in turn, so that a wrong row shows.
    const std::string sql = "SELECT v FROM " + AllVariants() + ", range(200)";
    ForEachChunk(sql, [](duckdb_data_chunk inChunk) {
        VariantColumn column;
        ASSERT_TRUE(column.Load(inChunk, 0));
        for (idx_t row = 0; row < duckdb_data_chunk_get_size(inChunk); ++row) {
            const OwnedValue value(duckdb_data_chunk_get_value(inChunk, 0, row));
            const OwnedValue child(duckdb_value_variant_child(value.Get()));
            const std::int32_t number = duckdb_value_variant_type(value.Get());
            ASSERT_EQ(column.Number(row), number);
            const OwnedValue payload = column.Payload(row);
            ASSERT_EQ(TypeOf(payload.Get()), TypeOf(child.Get()));
            ASSERT_EQ(TextOf(payload.Get()), TextOf(child.Get()));
            std::string_view json;
            if (number == 29 || number == 30) {
                ASSERT_TRUE(column.ReadJson(row, json));
                ASSERT_EQ(json, *TextOf(child.Get()));
            }
        }
    });
}

TEST_F(Vectors, VariantColumnsGiveTheirPayloadsUnpacked) {
    for (const VariantRow& row : gVariantRows) {
        SCOPED_TRACE(row.mSql);
        const OwnedDataChunk chunk = FirstChunk("SELECT (" + std::string(row.mSql) + ")::VARIANT");
        VariantColumn column;
        ASSERT_TRUE(column.Load(chunk.Get(), 0));
        const OwnedValue payload = column.Payload(0);
        const duckdb_value value = payload.Get();
        // clang-format off
        switch (row.mNumber) {
        case 3: EXPECT_EQ(column.Fixed<std::int8_t>(0), duckdb_get_int8(value)); break;
        case 4: EXPECT_EQ(column.Fixed<std::int16_t>(0), duckdb_get_int16(value)); break;
        case 5: EXPECT_EQ(column.Fixed<std::int32_t>(0), duckdb_get_int32(value)); break;
        case 6: EXPECT_EQ(column.Fixed<std::int64_t>(0), duckdb_get_int64(value)); break;
        case 7: EXPECT_EQ(column.Fixed<duckdb_hugeint>(0).upper, duckdb_get_hugeint(value).upper); break;
        case 8: EXPECT_EQ(column.Fixed<std::uint8_t>(0), duckdb_get_uint8(value)); break;
        case 9: EXPECT_EQ(column.Fixed<std::uint16_t>(0), duckdb_get_uint16(value)); break;
        case 10: EXPECT_EQ(column.Fixed<std::uint32_t>(0), duckdb_get_uint32(value)); break;
        case 11: EXPECT_EQ(column.Fixed<std::uint64_t>(0), duckdb_get_uint64(value)); break;
        case 13: EXPECT_EQ(column.Fixed<float>(0), duckdb_get_float(value)); break;
        case 14: EXPECT_TRUE(std::isnan(column.Fixed<double>(0))); break;
        case 16: EXPECT_EQ(column.Bytes(0), row.mText); break;
        case 17: EXPECT_EQ(column.Bytes(0), std::string_view("\0\xFF", 2)); break;
        case 19: EXPECT_EQ(column.Fixed<std::int32_t>(0), duckdb_get_date(value).days); break;
        case 22: EXPECT_EQ(column.Fixed<std::int64_t>(0), duckdb_get_timestamp_s(value).seconds); break;
        case 23: EXPECT_EQ(column.Fixed<std::int64_t>(0), duckdb_get_timestamp_ms(value).millis); break;
        case 24: EXPECT_EQ(column.Fixed<std::int64_t>(0), duckdb_get_timestamp(value).micros); break;
        case 25: EXPECT_EQ(column.Fixed<std::int64_t>(0), duckdb_get_timestamp_ns(value).nanos); break;
        case 27: EXPECT_EQ(column.Fixed<std::int64_t>(0), duckdb_get_timestamp_tz(value).micros); break;
        default: break;
        }
        // clang-format on
    }
}

TEST_F(Vectors, OtherColumnsAreNoVariants) {
    const OwnedDataChunk chunk = FirstChunk("SELECT 1");
    VariantColumn column;
    EXPECT_FALSE(column.Load(chunk.Get(), 0));
    EXPECT_FALSE(column.Load(chunk.Get(), 1));
    EXPECT_FALSE(column.Load(nullptr, 0));
}

TEST_F(Vectors, VariantsOfATableOnDiskAreReadTheSame) {
    // A checkpoint shreds variants into typed columns; the chunk must hold them whole again.
    Run("CREATE TABLE t AS SELECT {'a': i, 'b': 'text ' || i}::VARIANT AS v FROM range(5000) r(i)");
    Run("CHECKPOINT");
    idx_t total = 0;
    ForEachChunk("SELECT v FROM t", [&](duckdb_data_chunk inChunk) {
        VariantColumn column;
        ASSERT_TRUE(column.Load(inChunk, 0));
        for (idx_t row = 0; row < duckdb_data_chunk_get_size(inChunk); ++row, ++total) {
            std::string_view json;
            ASSERT_TRUE(column.ReadJson(row, json));
            const std::string number = std::to_string(total);
            ASSERT_EQ(json, "{\"a\":" + number + ",\"b\":\"text " + number + "\"}");
        }
    });
    EXPECT_EQ(total, 5000);
}

} // namespace
} // namespace orlimbara::duckdb_support::test
