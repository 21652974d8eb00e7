#include "support_test.h"

#include <array>

#include "variant_rows.h"

namespace orlimbara::duckdb_support::test {
namespace {

class Values : public SupportTest {};

TEST_F(Values, CellsOfEveryTypeAreWhatTheyAreInSql) {
    // Left out: SQL's own text of the last TIMESTAMPTZ is a millisecond off.
    const std::string source = "SELECT * EXCLUDE (timestamp_tz) FROM test_all_types()";
    const OwnedDataChunk chunk = FirstChunk(source);
    OwnedResult texts = Run("SELECT CAST(COLUMNS(*) AS VARCHAR) FROM (" + source + ")");
    OwnedResult types = Run("SELECT column_type FROM (DESCRIBE " + source + ")");
    const OwnedDataChunk text_chunk(duckdb_fetch_chunk(texts.Struct()));
    const OwnedDataChunk type_chunk(duckdb_fetch_chunk(types.Struct()));
    ASSERT_GT(duckdb_data_chunk_get_column_count(chunk.Get()), 50);
    ASSERT_EQ(duckdb_data_chunk_get_size(chunk.Get()), 3);
    for (idx_t column = 0; column < duckdb_data_chunk_get_column_count(chunk.Get()); ++column) {
        const OwnedValue type(duckdb_data_chunk_get_value(type_chunk.Get(), 0, column));
        for (idx_t row = 0; row < 3; ++row) {
            const OwnedValue value(duckdb_data_chunk_get_value(chunk.Get(), column, row));
            const OwnedValue text(duckdb_data_chunk_get_value(text_chunk.Get(), column, row));
            ASSERT_TRUE(value);
            EXPECT_EQ(TextOf(value.Get()), TextOf(text.Get())) << *TextOf(type.Get()) << " row " << row;
            EXPECT_EQ(TypeOf(value.Get()), TextOf(type.Get()));
        }
    }
    EXPECT_EQ(duckdb_data_chunk_get_value(chunk.Get(), 0, 3), nullptr);
    EXPECT_EQ(duckdb_data_chunk_get_value(chunk.Get(), 1000, 0), nullptr);
}

TEST_F(Values, NullHandlesAreSafe) {
    EXPECT_EQ(duckdb_data_chunk_get_value(nullptr, 0, 0), nullptr);
    EXPECT_EQ(duckdb_value_variant_type(nullptr), -1);
    EXPECT_EQ(duckdb_value_variant_child(nullptr), nullptr);
    EXPECT_EQ(duckdb_logical_type_to_string(nullptr), nullptr);
}

TEST_F(Values, SqlNullHoldsNothingAndOtherTypesAreNoVariants) {
    for (const char* expression : {"NULL", "NULL::VARIANT", "NULL::INTEGER", "'null'::JSON::VARIANT"}) {
        const OwnedValue value = ValueOf(expression);
        EXPECT_EQ(duckdb_value_variant_type(value.Get()), 0) << expression;
        const OwnedValue child(duckdb_value_variant_child(value.Get()));
        EXPECT_TRUE(duckdb_is_null_value(child.Get())) << expression;
    }
    const OwnedValue number = ValueOf("42");
    EXPECT_EQ(duckdb_value_variant_type(number.Get()), -1);
    EXPECT_EQ(duckdb_value_variant_child(number.Get()), nullptr);
}

TEST_F(Values, VariantsGiveTheirNumberAndAPayloadOfItsType) {
    std::array<bool, 34> seen = {true}; // number 0 has a test of its own
    for (const VariantRow& row : gVariantRows) {
        SCOPED_TRACE(row.mSql);
        const OwnedValue value = ValueOf("(" + std::string(row.mSql) + ")::VARIANT");
        ASSERT_EQ(duckdb_get_type_id(duckdb_get_value_type(value.Get())), kVariantId);
        ASSERT_EQ(duckdb_value_variant_type(value.Get()), row.mNumber);
        const OwnedValue child(duckdb_value_variant_child(value.Get()));
        ASSERT_TRUE(child);
        EXPECT_EQ(TypeOf(child.Get()), row.mType);
        EXPECT_EQ(TextOf(child.Get()), row.mText);
        seen[static_cast<std::size_t>(row.mNumber)] = true;
    }
    for (std::size_t number = 0; number < seen.size(); ++number) {
        EXPECT_TRUE(seen[number]) << "no case for number " << number;
    }
}

TEST_F(Values, NestedPayloadsReadBackAsTheVariantTheyCameFrom) {
    const OwnedLogicalType json = MakeJsonType();
    const OwnedLogicalType variant = MakeType(kVariantId);
    for (const char* sql : {"{'a': 1.5::DOUBLE, 'b': {'c': ['x', 'tab\there', NULL]}}", "['ü', '', '\"\\']",
                            "'[[[]], [{}], 1e300]'::JSON"}) {
        const OwnedValue value = ValueOf("(" + std::string(sql) + ")::VARIANT");
        const OwnedValue child(duckdb_value_variant_child(value.Get()));
        const OwnedValue text = MakeText(TextOf(child.Get()).value());
        OwnedValue as_json;
        OwnedValue back;
        ASSERT_EQ(duckdb_cast_value(text.Get(), json.Get(), as_json.Put(), nullptr), DuckDBSuccess) << sql;
        ASSERT_EQ(duckdb_cast_value(as_json.Get(), variant.Get(), back.Put(), nullptr), DuckDBSuccess) << sql;
        EXPECT_EQ(duckdb_value_variant_type(back.Get()), duckdb_value_variant_type(value.Get()));
        const OwnedValue again(duckdb_value_variant_child(back.Get()));
        EXPECT_EQ(TextOf(again.Get()), TextOf(child.Get())) << sql;
    }
}

TEST_F(Values, TypesAreWrittenAsSqlWritesThem) {
    const OwnedLogicalType decimal(duckdb_create_decimal_type(18, 3));
    const OwnedLogicalType list(duckdb_create_list_type(decimal.Get()));
    const OwnedLogicalType json = MakeJsonType();
    const OwnedText decimal_text(duckdb_logical_type_to_string(decimal.Get()));
    const OwnedText list_text(duckdb_logical_type_to_string(list.Get()));
    const OwnedText json_text(duckdb_logical_type_to_string(json.Get()));
    EXPECT_EQ(ViewOf(decimal_text), "DECIMAL(18,3)");
    EXPECT_EQ(ViewOf(list_text), "DECIMAL(18,3)[]");
    EXPECT_EQ(ViewOf(json_text), "JSON");
}

} // namespace
} // namespace orlimbara::duckdb_support::test
