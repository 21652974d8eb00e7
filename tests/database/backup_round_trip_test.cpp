// What DuckDB's export brings back, what it changes, and what it refuses. docs/backup.md tells the same.

#include <array>
#include <sstream>

#include "backup_fixture.h"

namespace orkit::orsql::test {
namespace {

class RoundTrip : public BackupTest {
protected:
    /// What a database holds: each object's definition, and the count and hash of each table's rows.
    static std::vector<std::string> Describe(const smart_ptr<I_DuckDBDatabase>& inDatabase) {
        static constexpr std::array kCatalog = {
            "SELECT schema_name FROM duckdb_schemas() WHERE NOT internal",
            "SELECT schema_name, table_name, column_name, data_type, is_nullable, column_default "
            "FROM duckdb_columns() WHERE NOT internal",
            "SELECT schema_name, table_name, constraint_type, constraint_text FROM duckdb_constraints()",
            "SELECT schema_name, table_name, index_name, is_unique, expressions FROM duckdb_indexes()",
            "SELECT schema_name, sequence_name, start_value, min_value, max_value, increment_by, cycle "
            "FROM duckdb_sequences()",
            "SELECT schema_name, view_name, sql FROM duckdb_views() WHERE NOT internal",
            "SELECT schema_name, function_name, function_type, parameters::VARCHAR, macro_definition "
            "FROM duckdb_functions() WHERE NOT internal",
            "SELECT schema_name, type_name, logical_type, labels::VARCHAR FROM duckdb_types() WHERE NOT "
            "internal",
        };
        std::vector<std::string> facts;
        const auto add = [&](std::string_view inWhat, const std::string& inSql) {
            for (const std::vector<std::string>& row : Select(inDatabase, inSql)) {
                std::ostringstream fact;
                fact << inWhat;
                for (const std::string& cell : row) {
                    fact << " | " << cell;
                }
                facts.push_back(fact.str());
            }
        };
        for (const char* sql : kCatalog) {
            add("", std::string(sql) + " ORDER BY ALL");
        }
        for (const std::vector<std::string>& row :
             Select(inDatabase, "SELECT format('{}.{}', '\"' || replace(schema_name, '\"', '\"\"') || '\"', "
                                "'\"' || replace(table_name, '\"', '\"\"') || '\"') "
                                "FROM duckdb_tables() WHERE NOT internal ORDER BY ALL")) {
            add(row[0], "SELECT count(*), sum(hash(\"a row\")), sum(hash(\"a row\"::VARCHAR)) FROM " +
                            row[0] + " AS \"a row\"");
        }
        return facts;
    }

    /// A new database made by a script.
    smart_ptr<I_DuckDBDatabase> MakeSource(const std::string& inScript) const {
        const smart_ptr<I_DuckDBDatabase> database = CreateDatabase("source.duckdb");
        Execute(database, inScript);
        return database;
    }
    smart_ptr<I_DuckDBDatabase> BackupAndRestore(const smart_ptr<I_DuckDBDatabase>& inDatabase) const {
        smart_ptr<I_DuckDBDatabase> restored = Restore("restored.duckdb", Backup(inDatabase));
        restored->Open();
        return restored;
    }

    void ExpectSameAfterRestore(const std::vector<const char*>& inScripts) const {
        const smart_ptr<I_DuckDBDatabase> source = CreateDatabase("source.duckdb");
        for (const char* script : inScripts) {
            SCOPED_TRACE(script);
            EXPECT_EQ(Catch([&] { Execute(source, script); }).mMessage.value_or(""), "");
        }
        const std::vector<std::string> before = Describe(source);
        EXPECT_GE(before.size(), inScripts.size());
        EXPECT_EQ(Describe(BackupAndRestore(source)), before);
        EXPECT_EQ(Describe(source), before);
    }
};

TEST_F(RoundTrip, BringsBackValuesOfAllTypes) {
    ExpectSameAfterRestore({
        // DuckDB's own collection of extremes, without the columns of the tables of losses below.
        R"(CREATE TABLE everything AS
           SELECT * EXCLUDE (time_tz, interval, struct_of_fixed_array) FROM test_all_types())",
        R"(CREATE TABLE floats AS FROM (VALUES
           ('nan'::FLOAT, 'nan'::DOUBLE), ('-inf', '-inf'), ('-0.0', '-0.0'), (1e-45, 5e-324)))",
        // Beyond what a double holds exactly.
        R"(CREATE TABLE wide AS FROM (VALUES (9007199254740993::HUGEINT, 9007199254740993::UHUGEINT,
           repeat('9', 100)::BIGNUM, repeat('9', 38)::DECIMAL(38,0))))",
        R"(CREATE TABLE texts AS FROM (VALUES
           ('a' || chr(0) || 'b', '\x00\xFF''"'::BLOB, repeat('10', 99)::BIT), ('', '', '0'),
           ('😀漢' || chr(10) || '''', NULL, '0001')))",
        R"(CREATE TABLE times AS FROM (VALUES ('24:00:00'::TIME, '23:59:59.999999999'::TIME_NS)))",
        R"(CREATE TABLE infinities AS FROM (VALUES ('infinity'::DATE, 'infinity'::TIMESTAMP,
           'infinity'::TIMESTAMPTZ, 'infinity'::TIMESTAMP_MS, 'infinity'::TIMESTAMP_NS),
           ('-infinity', '-infinity', '-infinity', '-infinity', '-infinity')))",
        R"(CREATE TABLE spans AS FROM (VALUES (INTERVAL '1 month 2 days 00:00:03.004'),
           (to_months(2147483647)), (to_days(2147483647)), (to_milliseconds(4294967295)), (NULL)))",
        R"(CREATE TABLE shapes (g GEOMETRY);
           INSERT INTO shapes VALUES ('POINT EMPTY'), ('LINESTRING Z (0 0 1, 1 1 2)'), (NULL))",
        R"(CREATE TYPE mood AS ENUM ('a,b', 'c"d', '', 'ä');
           CREATE TABLE moods AS SELECT unnest(enum_range(NULL::mood)) AS m, 'x'::ENUM('it''s', 'x') AS own)",
        R"(CREATE TYPE pair AS STRUCT("a""b" INTEGER, m mood);
           CREATE TABLE nested (p pair, l pair[], m MAP(VARCHAR, INTEGER[]), u UNION(n INTEGER, s VARCHAR),
                                ul UNION(n INTEGER, s VARCHAR)[], a INTEGER[2][], j JSON);
           INSERT INTO nested VALUES
           (row(1, ''), [row(2, 'ä'), NULL], MAP {'k': [1, NULL]}, 'text',
            [1::UNION(n INTEGER, s VARCHAR), 'two'::UNION(n INTEGER, s VARCHAR)], [[1, 2], NULL], '{"a": 1.50}'),
           (NULL, [], MAP {}, NULL, NULL, NULL, 'null'))",
        R"(CREATE TABLE big AS SELECT i, repeat('x', 100000) AS s FROM range(20) r(i))",
        R"(CREATE TABLE many AS SELECT i, i % 7 = 0 AS b FROM range(250000) r(i))",
        R"(CREATE TABLE changed AS SELECT i, 'old' AS s FROM range(5000) r(i);
           DELETE FROM changed WHERE i % 2 = 0; UPDATE changed SET s = 'new' WHERE i % 3 = 0)",
        R"(CREATE TABLE empty (i INTEGER))",
    });
}

TEST_F(RoundTrip, BringsBackSchemasAndWhatHangsOnThem) {
    ExpectSameAfterRestore({
        R"(CREATE TABLE parent (i INTEGER PRIMARY KEY, k INTEGER CHECK (k > 0),
                                n VARCHAR NOT NULL DEFAULT 'it''s', UNIQUE (k, n));
           INSERT INTO parent VALUES (1, 1, 'a'), (2, 1, 'b');
           CREATE TABLE a_child (i INTEGER REFERENCES parent (i)); INSERT INTO a_child VALUES (2))",
        R"(CREATE SEQUENCE q START 5 INCREMENT 2 MAXVALUE 100 CYCLE;
           CREATE TABLE numbered (i INTEGER DEFAULT nextval('q'), d DATE DEFAULT current_date))",
        R"(CREATE INDEX plain ON numbered (i);
           CREATE UNIQUE INDEX "quoted "" one" ON numbered ((i + 1), d))",
        R"(CREATE TABLE made (i INTEGER, g INTEGER GENERATED ALWAYS AS (i * 2) VIRTUAL, j INTEGER);
           INSERT INTO made VALUES (1, 5))",
        R"(CREATE VIEW a AS SELECT g FROM made;
           CREATE VIEW b AS WITH c AS (SELECT 'it''s' AS "x y") SELECT * FROM a, c)",
        R"(CREATE MACRO inc(x, y := 1) AS x + y;
           CREATE MACRO rows_of(n) AS TABLE SELECT inc(range) AS r FROM range(n);
           CREATE VIEW with_macro AS SELECT * FROM rows_of(3);
           CREATE TABLE by_macro (i INTEGER CHECK (inc(i) > 0), g AS (inc(i))))",
        R"(CREATE SCHEMA empty_one; CREATE SCHEMA "s "" 1";
           CREATE TABLE "s "" 1"."t ' 2/3" ("c "" 4" INTEGER, "select" VARCHAR COLLATE NOCASE);
           INSERT INTO "s "" 1"."t ' 2/3" VALUES (1, 'a'))",
        R"(CREATE TYPE "s "" 1"."a type" AS ENUM ('x'); CREATE TABLE "uses 漢" (t "s "" 1"."a type"))",
        // Names that could become the same file name.
        R"(CREATE TABLE "a b" AS SELECT 1 AS i; CREATE TABLE a_b AS SELECT 2 AS i;
           CREATE TABLE "a/b" AS SELECT 3 AS i; CREATE SCHEMA s; CREATE TABLE s.t AS SELECT 4 AS i;
           CREATE TABLE s_t AS SELECT 5 AS i)",
    });
}

TEST_F(RoundTrip, LetsSequencesGoOnWhereTheyWere) {
    const smart_ptr<I_DuckDBDatabase> source =
        MakeSource("CREATE SEQUENCE up START 5 INCREMENT 2; CREATE SEQUENCE down START 10 INCREMENT -1 "
                   "MINVALUE 1 MAXVALUE 20; "
                   "SELECT nextval('up'), nextval('down') FROM range(3)");
    const smart_ptr<I_DuckDBDatabase> restored = BackupAndRestore(source);
    for (const smart_ptr<I_DuckDBDatabase>& database : {source, restored}) {
        EXPECT_EQ(Select(database, "SELECT nextval('up'), nextval('down')"), (Rows{{"11", "7"}}));
    }
    // But the place to start from is another one now.
    EXPECT_EQ(SelectOne(source, "SELECT start_value FROM duckdb_sequences() WHERE sequence_name = 'up'"),
              "5");
    EXPECT_EQ(SelectOne(restored, "SELECT start_value FROM duckdb_sequences() WHERE sequence_name = 'up'"),
              "11");
}

TEST_F(RoundTrip, LosesInSilenceWhatTheFormatCannotHold) {
    struct Loss {
        const char* mScript;
        const char* mQuery;
        const char* mBefore;
        const char* mAfter;
    };
    static constexpr std::array kLosses = {
        Loss{"CREATE TABLE zoned AS SELECT '12:00:00+02'::TIMETZ AS t", "SELECT t::VARCHAR FROM zoned",
             "12:00:00+02", "10:00:00+00"},
        Loss{"CREATE TABLE fine AS SELECT INTERVAL '1.234567 seconds' AS d", "SELECT d::VARCHAR FROM fine",
             "00:00:01.234567", "00:00:01.234"},
        Loss{"CREATE TABLE long AS SELECT to_hours(1194) AS d", "SELECT d::VARCHAR FROM long", "1194:00:00",
             "00:57:12.704"},
        Loss{"CREATE TABLE tree (i INTEGER PRIMARY KEY, p INTEGER REFERENCES tree (i))",
             "SELECT count(*) FROM duckdb_constraints() WHERE constraint_type = 'FOREIGN KEY'", "1", "0"},
        Loss{"CREATE TABLE noted (i INTEGER); COMMENT ON TABLE noted IS 'note'",
             "SELECT comment FROM duckdb_tables() WHERE table_name = 'noted'", "note", "NULL"},
        Loss{"CREATE TEMP SEQUENCE passing", "SELECT count(*) FROM duckdb_sequences()", "1", "0"},
        Loss{"SET default_null_order = 'nulls_first'", "SELECT current_setting('default_null_order')",
             "NULLS_FIRST", "NULLS_LAST"},
    };
    const smart_ptr<I_DuckDBDatabase> source = CreateDatabase("source.duckdb");
    for (const Loss& loss : kLosses) {
        Execute(source, loss.mScript);
    }
    const smart_ptr<I_DuckDBDatabase> restored = BackupAndRestore(source);
    for (const Loss& loss : kLosses) {
        EXPECT_EQ(SelectOne(source, loss.mQuery), loss.mBefore);
        EXPECT_EQ(SelectOne(restored, loss.mQuery), loss.mAfter);
    }
}

TEST_F(RoundTrip, TakesRowsOfATemporaryTableForThoseOfTheTableItHides) {
    const smart_ptr<I_DuckDBDatabase> restored = BackupAndRestore(
        MakeSource("CREATE TABLE t AS SELECT 1 AS i; CREATE TEMP TABLE t AS SELECT 99 AS i"));
    EXPECT_EQ(Select(restored, "SELECT i FROM t"), (Rows{{"99"}, {"99"}}));
}

TEST_F(RoundTrip, ExportsTheDatabaseInUse) {
    const smart_ptr<I_DuckDBDatabase> restored =
        BackupAndRestore(MakeSource("CREATE TABLE mine (i INTEGER); ATTACH ':memory:' AS other; CREATE TABLE "
                                    "other.theirs (i INTEGER); USE other"));
    EXPECT_EQ(Select(restored, "SELECT table_name FROM duckdb_tables()"), (Rows{{"theirs"}}));
}

struct Refusal {
    const char* mScript;
    const char* mMessage; // a part of it
};

TEST_F(RoundTrip, RefusesToExport) {
    const smart_ptr<I_DuckDBDatabase> source = CreateDatabase(); // VARIANT is at home in memory
    for (const Refusal& refusal : {
             Refusal{"CREATE TABLE t AS SELECT INTERVAL '-1 day' AS d", "do not support negative intervals"},
             Refusal{"CREATE TABLE t AS SELECT 'infinity'::TIMESTAMP_S AS d",
                     "Could not convert Timestamp(S) to Timestamp(US)"},
             Refusal{"CREATE TABLE t AS SELECT {'v': 1::VARIANT} AS d",
                     "requires a transform, but is not a root column"},
             Refusal{"CREATE TABLE t AS SELECT [1::VARIANT] AS d",
                     "requires a transform, but is not a root column"},
             Refusal{"CREATE TABLE t AS SELECT 18446744073709551615::UBIGINT::VARIANT AS v",
                     "out of range for the destination type INT64"},
             Refusal{"CREATE TABLE t AS SELECT (INTERVAL '1 day')::VARIANT AS v",
                     "Can't convert VARIANT of type 'INTERVAL' to Parquet VARIANT"},
         }) {
        SCOPED_TRACE(refusal.mScript);
        Execute(source, refusal.mScript);
        ExpectDuckDBErrorWith([&] { Backup(source); }, ":memory:", refusal.mMessage);
        EXPECT_EQ(SelectOne(source, "SELECT 42"), "42");
        Execute(source, "DROP TABLE t");
    }
    Backup(source);
}

TEST_F(RoundTrip, RefusesToImport) {
    for (const Refusal& refusal : {
             Refusal{"CREATE TABLE t AS SELECT {'a': [1, 2]::INTEGER[2]} AS d",
                     "Can't remap type INTEGER[2]"},
             Refusal{"CREATE TABLE t AS SELECT {'u': 1::UNION(n INTEGER, s VARCHAR)} AS d",
                     "Can't remap type UNION(n INTEGER, s VARCHAR)"},
             Refusal{"CREATE TABLE t (d UNION(n INTEGER[2], s VARCHAR)); INSERT INTO t VALUES ([1, 2])",
                     "can't be cast as UNION"},
             Refusal{"CREATE TABLE t AS SELECT ['POINT (1 2)'::GEOMETRY] AS d",
                     "Unimplemented type for cast (BLOB -> GEOMETRY)"},
             Refusal{"CREATE TYPE mood AS ENUM ('it''s')", "syntax error at or near"},
             Refusal{"CREATE VIEW z AS SELECT 1 AS i; CREATE VIEW a AS FROM z",
                     "Table with name z does not exist"},
             Refusal{"CREATE VIEW v AS SELECT 1 AS i; CREATE MACRO m() AS TABLE FROM v",
                     "Table with name v does not exist"},
             Refusal{
                 "CREATE MACRO b(x) AS x; CREATE MACRO a(x) AS b(x); CREATE TABLE t (i INTEGER DEFAULT a(1))",
                 "Scalar Function with name b does not exist"},
             Refusal{"CREATE TABLE t (i INTEGER); CREATE VIEW v AS FROM t; DROP TABLE t",
                     "Table with name t does not exist"},
             Refusal{"CREATE SCHEMA s; CREATE TABLE s.t (i INTEGER); USE s; CREATE VIEW main.v AS FROM t",
                     "Table with name t does not exist"},
             Refusal{"CREATE SEQUENCE q MAXVALUE 2; SELECT nextval('q') FROM range(2)",
                     "START value (3) cannot be greater than MAXVALUE (2)"},
             Refusal{"CREATE TEMP TABLE passing AS SELECT 1 AS i", "Table with name passing does not exist"},
             Refusal{"CREATE SCHEMA restored; CREATE TABLE restored.t (i INTEGER)",
                     "Ambiguous reference to catalog or schema"},
         }) {
        SCOPED_TRACE(refusal.mScript);
        const smart_ptr<I_Location> backup = Backup(MakeSource(refusal.mScript));
        ExpectDuckDBErrorWith([&] { Restore("restored.duckdb", backup); }, "restored", refusal.mMessage);
        // An import is one transaction.
        const smart_ptr<I_DuckDBDatabase> left = MakeDatabase("restored.duckdb");
        left->Open();
        EXPECT_EQ(Describe(left), std::vector<std::string>());
    }
}

TEST_F(RoundTrip, NeedsANewerFileForVariants) {
    const smart_ptr<I_DuckDBDatabase> source = CreateDatabase();
    Execute(source, "CREATE TABLE t AS SELECT 1.5::DECIMAL(4,1)::VARIANT AS v; "
                    "INSERT INTO t VALUES (2.5::DECIMAL(5,1)::VARIANT), (1::UTINYINT::VARIANT), ({'a': [1, "
                    "NULL]}::VARIANT)");
    const smart_ptr<I_Location> backup = Backup(source);
    ExpectDuckDBErrorWith([&] { Restore("restored.duckdb", backup); }, "restored",
                          "VARIANT columns are not supported in storage versions prior to v1.5.0");

    const smart_ptr<I_DuckDBDatabase> byHand = MakeDatabase("by_hand.duckdb");
    byHand->put_StorageVersion("v1.5.0");
    byHand->Create();
    Execute(byHand, "IMPORT DATABASE '" + PathOf(backup).string() + "'");
    EXPECT_EQ(Select(byHand, "SELECT v::VARCHAR, variant_typeof(v) FROM t"),
              (Rows{{"1.5", "DECIMAL(2, 1)"},
                    {"2.5", "DECIMAL(2, 1)"},
                    {"1", "INT16"},
                    {"{'a': [1, NULL]}", "OBJECT(a)"}}));
}

TEST_F(RoundTrip, AFatalExportIsHealedByOpeningAnew) {
    const smart_ptr<I_DuckDBDatabase> source =
        MakeSource("CREATE TABLE kept AS SELECT 42 AS i; CREATE TABLE t (d STRUCT(h HUGEINT, b BIT))");
    ExpectDuckDBErrorWith([&] { Backup(source); }, "source", R"(Unsupported type \"BIT\" in Parquet writer)");
    ExpectDuckDBErrorWith([&] { Execute(source, "SELECT 1"); }, "source", "database has been invalidated");
    source->Open();
    EXPECT_EQ(SelectOne(source, "SELECT i FROM kept"), "42");
}

} // namespace
} // namespace orkit::orsql::test
