#include "support_test.h"

#include <cstdlib>
#include <thread>

namespace orlimbara::duckdb_support::test {
namespace {

class CastValue : public SupportTest {
protected:
    OwnedLogicalType Type(const std::string& inName) const {
        const OwnedDataChunk chunk = FirstChunk("SELECT NULL::" + inName);
        return OwnedLogicalType(duckdb_vector_get_column_type(duckdb_data_chunk_get_vector(chunk.Get(), 0)));
    }
    struct Outcome {
        OwnedValue mValue;
        std::string mText; ///< the value's, or the error after an exclamation mark
    };
    static Outcome Cast(const OwnedValue& inValue, const OwnedLogicalType& inType) {
        OwnedValue value;
        OwnedValue again;
        OwnedText error;
        const duckdb_state state = duckdb_cast_value(inValue.Get(), inType.Get(), value.Put(), error.Put());
        EXPECT_EQ(state == DuckDBSuccess, static_cast<bool>(value));
        EXPECT_TRUE(!error || !value);
        EXPECT_EQ(duckdb_cast_value(inValue.Get(), inType.Get(), again.Put(), nullptr), state);
        const std::string text = value ? TextOf(value) : "!" + std::string(ViewOf(error));
        return {std::move(value), text};
    }
    static std::string CastText(const std::string& inText, const OwnedLogicalType& inType) {
        return Cast(MakeText(inText), inType).mText;
    }
};

/// A type, a text, and the text of its value or the beginning of the error.
constexpr const char* kCasts = R"(
    TIMETZ|12:00:00+02|12:00:00+02; TIMESTAMPTZ|2024-06-01 00:00:00+02|2024-05-31 22:00:00+00; VARIANT|text|text
    TIMESTAMPTZ|2024-06-01 00:00:00|2024-06-01 00:00:00+00; DECIMAL(5,2)|123.45|123.45; STRUCT(a INTEGER)|1|!
    TINYINT|300|!Could not convert string '300' to INT8; DATE|2024-02-30|!date; GEOMETRY|nowhere|!Failed to 
    JSON|{"a": [1, {"b": null}]}|{"a": [1, {"b": null}]}; JSON|"\u00e4"|"\u00e4"; JSON|null|null; JSON|{bad|!Malformed JSON
    JSON|[1,2|!Malformed JSON; JSON||!Malformed JSON; JSON|[1]x|!Malformed JSON; JSON[]|[1, {}]|[1, '{}'])";

TEST_F(CastValue, TextsAreCastTheSameInAnyTimeZone) {
    for (const char* zone : {"UTC", "Asia/Kathmandu"}) {
        setenv("TZ", zone, 1);
        for (const auto& row : Table(kCasts)) {
            const std::string cast = CastText(row[1], Type(row[0]));
            EXPECT_EQ(row[2][0] == '!' ? cast.substr(0, row[2].size()) : cast, row[2]) << row[0];
        }
    }
    unsetenv("TZ");
    EXPECT_EQ(CastText(" 12 ", Type("JSON")), " 12 ");
    // Types that no value has.
    for (const duckdb_type type : {DUCKDB_TYPE_INVALID, DUCKDB_TYPE_ANY, DUCKDB_TYPE_STRING_LITERAL}) {
        const OwnedLogicalType none(duckdb_create_logical_type(type));
        EXPECT_EQ(CastText("1", none).find("!Cannot cast a value to the type"), 0) << type;
    }
    EXPECT_EQ(CastText("1", OwnedLogicalType(duckdb_create_logical_type(DUCKDB_TYPE_STRUCT)))[0], '!');
    EXPECT_EQ(CastText("1", OwnedLogicalType()), "!");
    const OwnedLogicalType integer = Type("INTEGER");
    const OwnedValue null(duckdb_create_null_value());
    EXPECT_EQ(Cast(OwnedValue(), integer).mText, "!");
    EXPECT_EQ(Cast(null, integer).mText, "NULL");
    EXPECT_EQ(duckdb_cast_value(null.Get(), integer.Get(), nullptr, nullptr), DuckDBError);
    EXPECT_EQ(Cast(Cast(null, Type("JSON")).mValue, integer).mText, "NULL");
}

TEST_F(CastValue, JsonIsCheckedOnEveryThread) {
    std::vector<std::jthread> threads; // joined by their destructors
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([json = Type("JSON")] {
            for (int turn = 0; turn < 25; ++turn) {
                EXPECT_EQ(CastText("[" + std::to_string(turn) + "]", json), "[" + std::to_string(turn) + "]");
                EXPECT_EQ(CastText("[", json)[0], '!');
            }
        });
    }
}

/// JSON texts, and the number of their VARIANT or the error. Brackets inside texts don't nest, not even after
/// an escaped quote; those after the text do.
constexpr const char* kNested = R"(
    '{"a":1}'|29; '7'|11; 'null'|0; '[[],{},[]]'|30; concat('[', repeat('[],', 1001), '1]')|30
    concat(repeat('[', 1000), repeat(']', 1000))|30; concat('["\"', repeat('[', 1001), '\""]')|30
    concat(repeat('[', 1001), repeat(']', 1001))|!JSON is nested deeper than 1000 levels
    concat('["\"", ', repeat('[', 1001), repeat(']', 1001), ']')|!JSON is nested deeper than 1000 levels)";

TEST_F(CastValue, JsonBecomesAVariantUnlessItIsTooDeep) {
    const OwnedLogicalType json = Type("JSON");
    const OwnedLogicalType variant(duckdb_create_logical_type(DUCKDB_TYPE_VARIANT)); // without its fields
    for (const auto& row : Table(kNested)) {
        const auto [value, text] = Cast(Cast(FirstCell("SELECT " + row[0]), json).mValue, variant);
        EXPECT_EQ(value ? std::to_string(duckdb_value_variant_type(value.Get())) : text, row[1]) << row[0];
    }
    const OwnedLogicalType list(duckdb_create_list_type(variant.Get()));
    const OwnedValue value = Cast(FirstCell("SELECT [1, 2]"), list).mValue;
    const OwnedValue first(duckdb_get_list_child(value.Get(), 0));
    EXPECT_EQ(duckdb_value_variant_type(first.Get()), 5);
    EXPECT_EQ(TextOf(duckdb_logical_type_to_string(list.Get())), "VARIANT[]");
    EXPECT_EQ(TextOf(duckdb_logical_type_to_string(json.Get())), "JSON");
    EXPECT_EQ(duckdb_logical_type_to_string(nullptr), nullptr);
}

class ExtractedStatements : public SupportTest {
protected:
    OwnedExtractedStatements Extract(const std::string& inSql) {
        OwnedExtractedStatements statements;
        mCount = duckdb_extract_statements(mDuck.Connection(), inSql.c_str(), statements.Put());
        return statements;
    }
    static std::string SqlOf(const OwnedExtractedStatements& inStatements, idx_t inIndex) {
        return TextOf(duckdb_extracted_statement_sql(inStatements.Get(), inIndex));
    }
    /// The beginnings of the statements' texts, and of the one after the last.
    std::string TextsOf(const std::string& inScript, std::size_t inLength) {
        const OwnedExtractedStatements statements = Extract(inScript);
        std::string texts;
        for (idx_t index = 0; index <= mCount; ++index) {
            texts += SqlOf(statements, index).substr(0, inLength) + "|";
        }
        return texts;
    }
    duckdb_state Prepare(const OwnedExtractedStatements& inStatements, idx_t inIndex,
                         OwnedPreparedStatement& outPrepared) {
        return prepare_extracted_copy(mDuck.Connection(), inStatements.Get(), inIndex, outPrepared.Put());
    }

    idx_t mCount = 0;
};

TEST_F(ExtractedStatements, EachHasItsOwnTextOfTheScript) {
    EXPECT_EQ(TextsOf("SELECT 1;\n-- two\nSELECT ';' AS ä ; ; CREATE TABLE t(a INTEGER)", 99),
              "SELECT 1|\n-- two\nSELECT ';' AS ä | CREATE TABLE t(a INTEGER)|null|");
    EXPECT_EQ(SqlOf(OwnedExtractedStatements(), 0), "null");
    // Statements that DuckDB expands from one have their own texts.
    mDuck.Run("CREATE TABLE t(a INTEGER, b INTEGER)");
    EXPECT_EQ(TextsOf("PIVOT t ON a USING sum(b); ALTER TABLE t ADD COLUMN q DOUBLE DEFAULT random()", 5),
              "CREAT|SELEC|BEGIN|ALTER|UPDAT|ALTER|COMMI|null|");
}

TEST_F(ExtractedStatements, ThatWereRemovedOrDontExistCantBePrepared) {
    const OwnedExtractedStatements statements = Extract("SELECT 1; SELECT 2");
    OwnedPreparedStatement taken;
    OwnedPreparedStatement again;
    ASSERT_EQ(duckdb_prepare_extracted_statement(mDuck.Connection(), statements.Get(), 0, taken.Put()),
              DuckDBSuccess);
    EXPECT_EQ(SqlOf(statements, 0), "null");
    EXPECT_EQ(Prepare(statements, 0, again), DuckDBError);
    EXPECT_EQ(Prepare(statements, 2, again), DuckDBError);
    EXPECT_EQ(Prepare(OwnedExtractedStatements(), 1, again), DuckDBError);
    EXPECT_EQ(prepare_extracted_copy(nullptr, statements.Get(), 1, again.Put()), DuckDBError);
    EXPECT_EQ(prepare_extracted_copy(mDuck.Connection(), statements.Get(), 1, nullptr), DuckDBError);
    EXPECT_FALSE(again);
}

TEST_F(ExtractedStatements, CopiesPrepareLikeTheStatements) {
    const auto describe = [](duckdb_state inState, const OwnedPreparedStatement& inPrepared) {
        if (inState != DuckDBSuccess) {
            return std::string("error: ") + duckdb_prepare_error(inPrepared.Get());
        }
        std::string text = "type " + std::to_string(duckdb_prepared_statement_type(inPrepared.Get()));
        for (idx_t index = 1; index <= duckdb_nparams(inPrepared.Get()); ++index) {
            text += " " + TextOf(const_cast<char*>(duckdb_parameter_name(inPrepared.Get(), index)));
        }
        return text;
    };
    mDuck.Run("CREATE TABLE t(a INTEGER, b INTEGER)");
    for (const auto& script :
         Table(R"(SELECT $x, $y, $x; INSERT INTO t VALUES (?, $2) RETURNING a; UPDATE t SET a = ? WHERE b = ?
        EXPLAIN SELECT ?; COPY (SELECT ?) TO 'unused.csv'; PREPARE x AS SELECT $1; EXECUTE nothing; CREATE MACRO m(a) AS a
        SET VARIABLE a = ?; PRAGMA table_info('t'); PIVOT t ON a USING sum(b); DROP TABLE t; BEGIN; SUMMARIZE t)")) {
        const OwnedExtractedStatements statements = Extract(script[0]);
        ASSERT_GT(mCount, 0) << script[0];
        for (idx_t index = 0; index < mCount; ++index) {
            OwnedPreparedStatement copy;
            OwnedPreparedStatement original;
            const duckdb_state copied = Prepare(statements, index, copy);
            const duckdb_state taken = duckdb_prepare_extracted_statement(
                mDuck.Connection(), statements.Get(), index, original.Put());
            EXPECT_EQ(describe(copied, copy), describe(taken, original)) << script[0];
        }
    }
}

} // namespace
} // namespace orlimbara::duckdb_support::test
