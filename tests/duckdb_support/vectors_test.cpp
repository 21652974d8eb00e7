#include "support_test.h"

#include "duckdb_support/variant_column.h"
#include "duckdb_support/vector_cast.h"

namespace orlimbara::duckdb_support::test {
namespace {

/// VARIANTs: the SQL, the number, the type of the payload and the payload's text. A long text is stored
/// outside a vector's cells, a short one inside.
constexpr const char* kVariants = R"(
    true|1|BOOLEAN|true; 9223372036854775807|6|BIGINT|9223372036854775807; ''|16|VARCHAR|; '\x00\xFF'::BLOB|17|BLOB|\x00\xFF
    'häuser und noch ein langer Text'|16|VARCHAR|häuser und noch ein langer Text; (-0.001)::DECIMAL(38,3)|15|DECIMAL(38,3)|-0.001
    {'a': 1, 'b': [true, NULL], 'c': 'x"y', 'd': 1.50::DECIMAL(3,2)}|29|JSON|{"a":1,"b":[true,null],"c":"x\"y","d":1.50}
    [1::VARIANT, 'two'::VARIANT, {'three': 'inf'::DOUBLE}::VARIANT]|30|JSON|[1,"two",{"three":Infinity}]; []|30|JSON|[])";

class Vectors : public SupportTest {};

TEST_F(Vectors, VariantsGiveTheirNumberAndAPayloadOfItsType) {
    for (const auto& row : Table(kVariants)) {
        const OwnedDataChunk chunk = FirstChunk("SELECT (" + row[0] + ")::VARIANT");
        const OwnedValue value(duckdb_data_chunk_get_value(chunk.Get(), 0, 0));
        const OwnedValue child(duckdb_value_variant_child(value.Get()));
        EXPECT_EQ((std::vector{row[0], std::to_string(duckdb_value_variant_type(value.Get())), TypeOf(child),
                               TextOf(child)}),
                  row);
        VariantColumn column;
        column.Load(chunk.Get(), 0);
        EXPECT_EQ(column.Number(0), std::stoi(row[1]));
        EXPECT_EQ(TypeOf(column.Payload(0)) + TextOf(column.Payload(0)), row[2] + row[3]);
        std::string_view json;
        EXPECT_TRUE(row[2] != "JSON" || (column.ReadJson(0, json, 0, 1) && json == row[3])) << json;
        EXPECT_TRUE(row[1] != "16" || column.Bytes(0) == row[3]);
        EXPECT_TRUE(row[1] != "6" || std::to_string(column.Fixed<std::int64_t>(0)) == row[3]);
    }
    for (const char* sql : {"NULL", "NULL::VARIANT", "NULL::INTEGER", "'null'::JSON::VARIANT"}) {
        const OwnedValue value = FirstCell(std::string("SELECT ") + sql);
        EXPECT_EQ(duckdb_value_variant_type(value.Get()), 0) << sql;
        EXPECT_EQ(TextOf(OwnedValue(duckdb_value_variant_child(value.Get()))), "NULL") << sql;
    }
    for (const OwnedValue& value : {FirstCell("SELECT 42"), OwnedValue()}) {
        EXPECT_EQ(duckdb_value_variant_type(value.Get()), -1);
        EXPECT_EQ(duckdb_value_variant_child(value.Get()), nullptr);
    }
}

TEST_F(Vectors, MissingColumnsAndFailingCastsAreRefused) {
    const OwnedDataChunk chunk = FirstChunk("SELECT unnest(['1', 'abc a text that is longer than a cell'])");
    ColumnCast cast;
    for (const auto& [handle, column] :
         {std::pair{chunk.Get(), idx_t{1}}, {duckdb_data_chunk(nullptr), idx_t{0}}}) {
        EXPECT_FALSE(cast.ToText(handle, column));
        EXPECT_EQ(duckdb_data_chunk_get_value(handle, column, 0), nullptr);
    }
    EXPECT_EQ(duckdb_data_chunk_get_value(chunk.Get(), 0, 2), nullptr);
    EXPECT_FALSE(cast.ToDouble(chunk.Get(), 0));
    EXPECT_FALSE(cast.Texts() || cast.Doubles() || cast.Validity()) << "a failed cast holds nothing";
    ASSERT_TRUE(cast.ToText(chunk.Get(), 0, 1));
    EXPECT_EQ(duckdb_string_t_length(cast.Texts()[0]), 37) << "the second row";
    EXPECT_EQ(cast.Doubles(), nullptr);
    ASSERT_TRUE(cast.ToDouble(chunk.Get(), 0, 0, 1));
    EXPECT_EQ(cast.Texts(), nullptr);
    for (const auto& row :
         Table("'a text that is longer than a cell'; '\"also longer than a cell\"'::JSON")) {
        ASSERT_TRUE(cast.ToText(FirstChunk("SELECT " + row[0]).Get(), 0));
        duckdb_string_t text = cast.Texts()[0];
        const std::string_view whole(duckdb_string_t_data(&text), duckdb_string_t_length(text));
        EXPECT_NE(whole.find("longer than a cell"), whole.npos) << "it outlives its chunk";
    }
}

} // namespace
} // namespace orlimbara::duckdb_support::test
