#include "support_test.h"

#include <bit>

#include "duckdb_support/variant_column.h"
#include "duckdb_support/vector_cast.h"
#include "tests_support/temp_folder.h"

namespace orlimbara::duckdb_support::test {
namespace {

/// VARIANTs: the SQL, the number, the type of the payload and the payload's text. A long text lies outside of
/// a vector's own cells, a short one inside.
constexpr const char* kVariants = R"(
    true|1|BOOLEAN|true; 9223372036854775807|6|BIGINT|9223372036854775807; ''|16|VARCHAR|; '\x00\xFF'::BLOB|17|BLOB|\x00\xFF
    'häuser und noch ein langer Text'|16|VARCHAR|häuser und noch ein langer Text; (-0.001)::DECIMAL(38,3)|15|DECIMAL(38,3)|-0.001
    TIME '12:34:56.789012'|20|TIME|12:34:56.789012; '12:34:56.789012345'::TIME_NS|21|TIME_NS|12:34:56.789012345
    '10:00:00+02'::TIMETZ|26|TIME WITH TIME ZONE|10:00:00+02; []|30|JSON|[]; 'POINT (1 2)'::GEOMETRY|33|GEOMETRY|POINT (1 2)
    {'a': 1, 'b': [true, NULL], 'c': 'x"y', 'd': 1.50::DECIMAL(3,2)}|29|JSON|{"a":1,"b":[true,null],"c":"x\"y","d":1.50}
    [1::VARIANT, 'two'::VARIANT, {'three': 'inf'::DOUBLE}::VARIANT]|30|JSON|[1,"two",{"three":Infinity}])";

std::string WholeText(duckdb_string_t inText) {
    return {duckdb_string_t_data(&inText), duckdb_string_t_length(inText)};
}

class Vectors : public SupportTest {
protected:
    void SetUp() override {
        SupportTest::SetUp();
        std::string sql = "CREATE TEMP TABLE variants AS SELECT NULL::VARIANT AS v";
        for (const auto& row : Table(kVariants)) {
            sql += " UNION ALL SELECT (" + row[0] + ")::VARIANT";
        }
        mDuck->Run(sql);
    }

    /// Both ways to a cell must agree: its own value, and the column as a whole, of which some rows are cast.
    static void ExpectAgreement(duckdb_data_chunk inChunk, idx_t inColumn, idx_t inFirst = 0,
                                idx_t inCount = ~idx_t{0}) {
        const OwnedLogicalType type(
            duckdb_vector_get_column_type(duckdb_data_chunk_get_vector(inChunk, inColumn)));
        const bool isDecimal = duckdb_get_type_id(type.Get()) == DUCKDB_TYPE_DECIMAL;
        const bool isVariant = duckdb_get_type_id(type.Get()) == kVariantId;
        ColumnCast cast;
        ASSERT_TRUE(isDecimal ? cast.ToDouble(inChunk, inColumn, inFirst, inCount)
                              : cast.ToText(inChunk, inColumn, inFirst, inCount));
        VariantColumn variants;
        ASSERT_EQ(variants.Load(inChunk, inColumn), isVariant);
        const idx_t size = duckdb_data_chunk_get_size(inChunk);
        const idx_t end = inCount < size - inFirst ? inFirst + inCount : size;
        for (idx_t row = inFirst; row < end; ++row) {
            const OwnedValue value(duckdb_data_chunk_get_value(inChunk, inColumn, row));
            const bool isNull = duckdb_is_null_value(value.Get());
            const idx_t index = row - inFirst;
            ASSERT_EQ(!isNull,
                      duckdb_validity_row_is_valid(const_cast<std::uint64_t*>(cast.Validity()), index));
            if (!isNull && isDecimal) {
                ASSERT_EQ(std::bit_cast<std::uint64_t>(cast.Doubles()[index]),
                          std::bit_cast<std::uint64_t>(duckdb_get_double(value.Get())));
            } else if (!isNull) { // a C text ends at its first zero byte
                ASSERT_EQ(WholeText(cast.Texts()[index]).c_str(), TextOf(value));
            }
            if (isVariant) {
                const std::int32_t number = duckdb_value_variant_type(value.Get());
                ASSERT_EQ(variants.Number(row), number);
                const OwnedValue child(duckdb_value_variant_child(value.Get()));
                const OwnedValue payload = variants.Payload(row);
                ASSERT_EQ(TypeOf(payload) + TextOf(payload), TypeOf(child) + TextOf(child));
                std::string_view json;
                if (number == 29 || number == 30) {
                    ASSERT_TRUE(variants.ReadJson(row, json, inFirst, inCount));
                    ASSERT_EQ(json, TextOf(child));
                }
            }
        }
    }
};

TEST_F(Vectors, ColumnsGiveWhatTheirCellsGive) {
    mDuck->Run("SET TimeZone = 'Asia/Kathmandu'"); // the settings of a session must not show
    for (
        const char* const sql :
        {"FROM test_all_types()", "SELECT v, [v] AS list, {'a': v} AS object FROM variants, range(60)",
         R"(SELECT CASE WHEN i % 3 > 0 THEN i END AS i, i::VARCHAR || repeat('x', i % 20) AS t, [('[' || i || ']')::JSON],
             ((i * 37 - 5000) % 999)::DECIMAL(4,1), CASE WHEN i % 7 > 0 THEN (i * 7.001)::DECIMAL(9,4) END,
             (i * 123456.000000001)::DECIMAL(18,9), (i::HUGEINT * 12345678901234567890)::DECIMAL(38,10)
             FROM range(3000) r(i))",
         R"(SELECT [NULL, '', 'null', 'NULL', ' x', 'a,b', 'q''uote', '"', '\', '[x]'] AS texts, 'a' || chr(0) || 'b',
             MAP {'k=': [TIMESTAMPTZ '2024-01-01 00:00:00+02']} AS m, union_value(x := 'y''z') AS u, NULL AS nothing)"}) {
        const OwnedResult result = mDuck->Run(sql);
        while (const OwnedDataChunk chunk{duckdb_fetch_chunk(result.Struct())}) {
            for (idx_t column = 0; column < duckdb_data_chunk_get_column_count(chunk.Get()); ++column) {
                SCOPED_TRACE(std::string(sql) + " column " + std::to_string(column));
                ExpectAgreement(chunk.Get(), column);
                if (duckdb_data_chunk_get_size(chunk.Get()) > 2) {
                    ExpectAgreement(chunk.Get(), column, 1, 1);
                    ExpectAgreement(chunk.Get(), column, 2, 700);
                }
            }
        }
    }
}

TEST_F(Vectors, TheFormOfAVectorDoesNotShow) {
    const OwnedDataChunk all = FirstChunk("SELECT t.*, v FROM test_all_types() t POSITIONAL JOIN "
                                          "(SELECT {'a': i}::VARIANT AS v FROM range(3) r(i))");
    for (idx_t column = 0; column < duckdb_data_chunk_get_column_count(all.Get()); ++column) {
        SCOPED_TRACE(column);
        const duckdb_vector original = duckdb_data_chunk_get_vector(all.Get(), column);
        const OwnedLogicalType type(duckdb_vector_get_column_type(original));
        duckdb_logical_type raw_type = type.Get();
        const OwnedDataChunk constant(duckdb_create_data_chunk(&raw_type, 1));
        duckdb_vector_reference_value(duckdb_data_chunk_get_vector(constant.Get(), 0),
                                      CellOf(all, column, 2).Get());
        duckdb_data_chunk_set_size(constant.Get(), 100);
        ExpectAgreement(constant.Get(), 0);
        const OwnedDataChunk sliced(duckdb_create_data_chunk(&raw_type, 1));
        const duckdb_vector dictionary = duckdb_data_chunk_get_vector(sliced.Get(), 0);
        duckdb_vector_reference_vector(dictionary, original);
        duckdb_selection_vector selection = duckdb_create_selection_vector(5);
        constexpr sel_t rows[] = {2, 0, 1, 1, 0};
        std::ranges::copy(rows, duckdb_selection_vector_get_data_ptr(selection));
        duckdb_slice_vector(dictionary, selection, 5);
        duckdb_destroy_selection_vector(selection);
        duckdb_data_chunk_set_size(sliced.Get(), 5);
        ExpectAgreement(sliced.Get(), 0);
        ExpectAgreement(sliced.Get(), 0, 1, 2);
    }
}

TEST_F(Vectors, VariantsGiveTheirNumberAndAPayloadOfItsType) {
    for (const auto& row : Table(kVariants)) {
        const OwnedDataChunk chunk = FirstChunk("SELECT (" + row[0] + ")::VARIANT");
        const OwnedValue value = CellOf(chunk);
        const OwnedValue child(duckdb_value_variant_child(value.Get()));
        EXPECT_EQ((std::vector{row[0], std::to_string(duckdb_value_variant_type(value.Get())), TypeOf(child),
                               TextOf(child)}),
                  row);
        VariantColumn column;
        ASSERT_TRUE(column.Load(chunk.Get(), 0));
        if (row[1] == "16") {
            EXPECT_EQ(column.Bytes(0), row[3]);
        } else if (row[1] == "6") {
            EXPECT_EQ(std::to_string(column.Fixed<std::int64_t>(0)), row[3]);
        }
    }
    for (const char* sql : {"NULL", "NULL::VARIANT", "NULL::INTEGER", "'null'::JSON::VARIANT"}) {
        const OwnedValue value = CellOf(FirstChunk(std::string("SELECT ") + sql));
        EXPECT_EQ(duckdb_value_variant_type(value.Get()), 0) << sql;
        EXPECT_EQ(TextOf(OwnedValue(duckdb_value_variant_child(value.Get()))), "NULL") << sql;
    }
    for (const OwnedValue& value : {CellOf(FirstChunk("SELECT 42")), OwnedValue()}) {
        EXPECT_EQ(duckdb_value_variant_type(value.Get()), -1);
        EXPECT_EQ(duckdb_value_variant_child(value.Get()), nullptr);
    }
}

TEST_F(Vectors, WhatIsNotThereOrCannotBeCastIsRefused) {
    const OwnedDataChunk chunk = FirstChunk("SELECT unnest(['1', 'abc a text that is longer than a cell'])");
    ColumnCast cast;
    VariantColumn variants;
    for (const auto& [handle, column] :
         {std::pair{chunk.Get(), idx_t{1}}, {duckdb_data_chunk(nullptr), idx_t{0}}}) {
        EXPECT_FALSE(cast.ToText(handle, column));
        EXPECT_FALSE(variants.Load(handle, column));
        EXPECT_EQ(duckdb_data_chunk_get_value(handle, column, 0), nullptr);
    }
    EXPECT_EQ(duckdb_data_chunk_get_value(chunk.Get(), 0, 2), nullptr);
    EXPECT_FALSE(cast.ToDouble(chunk.Get(), 0));
    EXPECT_FALSE(cast.Texts() || cast.Doubles()) << "a failed cast holds nothing";
    ASSERT_TRUE(cast.ToText(chunk.Get(), 0));
    EXPECT_EQ(cast.Doubles(), nullptr);
    ASSERT_TRUE(cast.ToDouble(chunk.Get(), 0, 0, 1));
    EXPECT_EQ(cast.Texts(), nullptr);
    for (const auto& row :
         Table("'a text that is longer than a cell'; '\"also longer than a cell\"'::JSON")) {
        ASSERT_TRUE(cast.ToText(FirstChunk("SELECT " + row[0]).Get(), 0));
        EXPECT_NE(WholeText(cast.Texts()[0]).find("longer than a cell"), std::string::npos)
            << "it outlives its chunk";
    }
}

TEST_F(Vectors, VariantsOfATableOnDiskAreReadTheSame) {
    // A checkpoint shreds variants into typed columns; the chunk must hold them whole again.
    const tests_support::TempFolder folder;
    mDuck->Run(
        "SET variant_minimum_shredding_size = 0; ATTACH '" + (folder / "v.duckdb") +
        "' AS disk (STORAGE_VERSION 'v1.5.0'); CREATE TABLE disk.t AS SELECT {'a': i, 'b': 'text ' || "
        "i}::VARIANT AS v FROM range(5000) r(i) UNION ALL FROM variants; CHECKPOINT disk; DETACH disk");
    mDuck->Run("ATTACH '" + (folder / "v.duckdb") + "' AS disk");
    const OwnedResult result = mDuck->Run("FROM disk.t");
    for (bool isFirst = true; const OwnedDataChunk chunk{duckdb_fetch_chunk(result.Struct())};
         isFirst = false) {
        ExpectAgreement(chunk.Get(), 0);
        EXPECT_TRUE(!isFirst || TextOf(CellOf(chunk, 0, 7)) == "{'a': 7, 'b': text 7}");
    }
}

} // namespace
} // namespace orlimbara::duckdb_support::test
