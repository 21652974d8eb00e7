#include "support_test.h"

namespace orlimbara::duckdb_support::test {
namespace {

class ExtractedStatements : public SupportTest {
protected:
    OwnedExtractedStatements Extract(const char* inSql) {
        OwnedExtractedStatements statements;
        mCount = duckdb_extract_statements(mConnection.Get(), inSql, statements.Put());
        return statements;
    }

    static std::optional<std::string> SqlOf(const OwnedExtractedStatements& inStatements, idx_t inIndex) {
        const OwnedText text(duckdb_extracted_statement_sql(inStatements.Get(), inIndex));
        return text ? std::optional(std::string(ViewOf(text))) : std::nullopt;
    }

    idx_t mCount = 0;
};

TEST_F(ExtractedStatements, EachGivesItsOwnTextOfTheScript) {
    const OwnedExtractedStatements statements =
        Extract("SELECT 1;\n-- two\nSELECT ';' AS ä ; ; CREATE TABLE t(a INTEGER)");
    ASSERT_EQ(mCount, 3);
    EXPECT_EQ(SqlOf(statements, 0), "SELECT 1");
    EXPECT_EQ(SqlOf(statements, 1), "\n-- two\nSELECT ';' AS ä ");
    EXPECT_EQ(SqlOf(statements, 2), " CREATE TABLE t(a INTEGER)");
    EXPECT_EQ(SqlOf(statements, 3), std::nullopt);
    EXPECT_EQ(SqlOf(OwnedExtractedStatements(), 0), std::nullopt);
}

TEST_F(ExtractedStatements, StatementsThatDuckDbMakesOfOneHaveTextsOfTheirOwn) {
    Run("CREATE TABLE t(a INTEGER, b INTEGER)");
    const OwnedExtractedStatements statements =
        Extract("PIVOT t ON a USING sum(b); ALTER TABLE t ADD COLUMN q DOUBLE DEFAULT random()");
    ASSERT_EQ(mCount, 7);
    const char* const beginnings[] = {"CREATE ", "SELECT ", "BEGIN", "ALTER ", "UPDATE ", "ALTER ", "COMMIT"};
    for (idx_t index = 0; index < mCount; ++index) {
        EXPECT_EQ(SqlOf(statements, index).value_or("").find(beginnings[index]), 0) << index;
    }
}

TEST_F(ExtractedStatements, TakenStatementsHaveNoTextAndCannotBePrepared) {
    const OwnedExtractedStatements statements = Extract("SELECT * FROM missing; SELECT 2");
    OwnedPreparedStatement taken;
    EXPECT_EQ(duckdb_prepare_extracted_statement(mConnection.Get(), statements.Get(), 0, taken.Put()),
              DuckDBError);
    EXPECT_EQ(SqlOf(statements, 0), std::nullopt);
    EXPECT_EQ(SqlOf(statements, 1), " SELECT 2");
    OwnedPreparedStatement again;
    EXPECT_EQ(prepare_extracted_copy(mConnection.Get(), statements.Get(), 0, again.Put()), DuckDBError);
    EXPECT_FALSE(again);
}

TEST_F(ExtractedStatements, AFailedPreparationCanBeTriedAgain) {
    const OwnedExtractedStatements statements = Extract("SELECT a FROM late");
    for (int turn = 0; turn < 2; ++turn) {
        OwnedPreparedStatement failed;
        ASSERT_EQ(prepare_extracted_copy(mConnection.Get(), statements.Get(), 0, failed.Put()), DuckDBError);
        ASSERT_TRUE(failed);
        EXPECT_NE(std::string(duckdb_prepare_error(failed.Get())).find("late does not exist"),
                  std::string::npos);
    }
    EXPECT_EQ(SqlOf(statements, 0), "SELECT a FROM late");
    Run("CREATE TABLE late AS SELECT 42 AS a");
    OwnedPreparedStatement prepared;
    ASSERT_EQ(prepare_extracted_copy(mConnection.Get(), statements.Get(), 0, prepared.Put()), DuckDBSuccess);
    OwnedResult result;
    ASSERT_EQ(duckdb_execute_prepared(prepared.Get(), result.Put()), DuckDBSuccess);
    const OwnedDataChunk chunk(duckdb_fetch_chunk(result.Struct()));
    EXPECT_EQ(*static_cast<int32_t*>(duckdb_vector_get_data(duckdb_data_chunk_get_vector(chunk.Get(), 0))),
              42);
}

std::string Describe(duckdb_state inState, const OwnedPreparedStatement& inPrepared) {
    if (inState != DuckDBSuccess) {
        return std::string("error: ") + duckdb_prepare_error(inPrepared.Get());
    }
    std::string text = "type " + std::to_string(duckdb_prepared_statement_type(inPrepared.Get()));
    for (idx_t index = 1; index <= duckdb_nparams(inPrepared.Get()); ++index) {
        const OwnedText name(const_cast<char*>(duckdb_parameter_name(inPrepared.Get(), index)));
        text += " ";
        text += ViewOf(name);
    }
    return text;
}

TEST_F(ExtractedStatements, CopiesPrepareAsTheStatementsThemselves) {
    Run("CREATE TABLE t(a INTEGER, b INTEGER)");
    constexpr const char* scripts[] = {
        "SELECT $x, $y, $x",
        "INSERT INTO t VALUES (?, $2) RETURNING a",
        "UPDATE t SET a = ? WHERE b = ?",
        "DELETE FROM t WHERE a = ?",
        "CREATE TABLE z AS SELECT ? AS q",
        "CREATE VIEW v AS SELECT 1",
        "CREATE TYPE mood AS ENUM ('a')",
        "CREATE MACRO m(a) AS a + 1",
        "CREATE INDEX i ON t(a)",
        "EXPLAIN SELECT ?",
        "CALL range(?)",
        "COPY (SELECT ?) TO 'unused.csv'",
        "MERGE INTO t USING (SELECT ? AS a) s ON t.a = s.a WHEN MATCHED THEN UPDATE SET b = ?",
        "PREPARE x AS SELECT $1",
        "EXECUTE nothing",
        "DEALLOCATE x",
        "SET threads = ?",
        "SET VARIABLE a = ?",
        "RESET threads",
        "PRAGMA table_info('t')",
        "VALUES (?)",
        "FROM t WHERE a = ?",
        "SUMMARIZE t",
        "PIVOT t ON a USING sum(b)",
        "WITH c AS (SELECT ? AS a) SELECT * FROM c UNION ALL SELECT ?",
        "ALTER TABLE t ADD COLUMN q INTEGER DEFAULT 3",
        "DROP TABLE t",
        "COMMENT ON TABLE t IS 'x'",
        "BEGIN",
        "ATTACH ':memory:' AS y",
        "DETACH y",
        "USE memory",
        "CHECKPOINT",
        "VACUUM",
        "COPY FROM DATABASE memory TO y",
        "LOAD json"};
    for (const char* script : scripts) {
        const OwnedExtractedStatements statements = Extract(script);
        ASSERT_GT(mCount, 0) << script;
        for (idx_t index = 0; index < mCount; ++index) {
            OwnedPreparedStatement copy;
            OwnedPreparedStatement original;
            const duckdb_state copied =
                prepare_extracted_copy(mConnection.Get(), statements.Get(), index, copy.Put());
            const duckdb_state taken = duckdb_prepare_extracted_statement(mConnection.Get(), statements.Get(),
                                                                          index, original.Put());
            EXPECT_EQ(Describe(copied, copy), Describe(taken, original)) << script;
        }
    }
}

TEST_F(ExtractedStatements, PreparingBearsNullArguments) {
    const OwnedExtractedStatements statements = Extract("SELECT 1");
    OwnedPreparedStatement prepared;
    EXPECT_EQ(prepare_extracted_copy(nullptr, statements.Get(), 0, prepared.Put()), DuckDBError);
    EXPECT_EQ(prepare_extracted_copy(mConnection.Get(), nullptr, 0, prepared.Put()), DuckDBError);
    EXPECT_EQ(prepare_extracted_copy(mConnection.Get(), statements.Get(), 1, prepared.Put()), DuckDBError);
    EXPECT_EQ(prepare_extracted_copy(mConnection.Get(), statements.Get(), 0, nullptr), DuckDBError);
    EXPECT_FALSE(prepared);
}

} // namespace
} // namespace orlimbara::duckdb_support::test
