# Runs of the built program from the command line: statuses, order, forms of output, answers.

import os
import pathlib
import re
import unittest

from runner import ShellTest, answers, read, run_jsonl, run_script, run_shell, table, write

SOURCES = pathlib.Path(__file__).resolve().parents[2]


class Orsql(ShellTest):
    def test_exits_with_the_status_of_what_happened(self):
        text = "this is no database, whatever it is called"
        write("text.txt", text)
        for arguments, status in table("""
                --help|0; -c 'SELECT nope' -c .quit|1; -c '.quit now'|1; -f missing.sql|1; -m xml|2; --nope|2
                a.db b.db|2; --threads many|2; --max-rows -1|2; --storage-version "v1'" x.db|2
                --block-size 16384|2; --storage-version v1.2.0 :memory:|2; --block-size 16384 Memory.db|2
                --block-size 16384 --no-external-access x.db|2; --input jsonl -m csv|2; --null= x.db|0
                --module missing.so -c 'SELECT 1'|3; --module text.txt -c 'SELECT 1'|3; text.txt -c 'SELECT 1'|3
                no/such/folder/x.db -c 'SELECT 1'|3; --readonly missing.db -c 'SELECT 1'|3"""):
            run = run_script("$ORSQL " + arguments)
            self.assertEqual(str(run.status), status, arguments + run.err)
            self.assertEqual(run.err == "", run.status == 0, run.err)
            self.assertTrue(run.status < 2 or run.out == "", run.out)
        self.assertEqual(read("text.txt"), text)
        line, = run_jsonl("text.txt", "-c", "SELECT 1")
        self.fits(line, '{"kind":"error","class":"xException","code":626688,"message":"…')
        self.fits(run_shell("--version").out, "orsql …\nDuckDB v…\n")

    def test_runs_commands_and_files_in_order(self):
        write("2.sql", "SELECT 2 AS c;\n.print two\n")
        run = run_script("$ORSQL --no-header -c 'SELECT 1' -f 2.sql -c 'SELECT 3; SELECT 4' -f - -c 'SELECT 6' "
                         "-c '-- nothing' -c '' --timer", given="SELECT 5\n")
        self.assertEqual(run.out, "1\n2\ntwo\n3\n4\n5\n6\n")
        self.assertEqual(run.status, 0)
        self.fits(run.err, "time: …")
        self.assertEqual(run_shell("--no-header", given="SELECT 1;\n.print two\nSELECT 3").out, "1\ntwo\n3\n")

    def test_writes_every_form(self):
        query = "SELECT 1 AS n, E'日e\u0301a,\"|\nb' AS \"t|s\" UNION ALL SELECT -20, NULL ORDER BY n DESC;"
        script = "".join(f"{command}\n{query}\n" for command in (
            ".mode box", ".mode csv", ".null '-,-'", ".mode line", ".mode markdown", ".mode jsonl", ".mode json"))
        for cursor in "server", "client":
            run = run_shell("--cursor", cursor, given=script + ".mode csv\nSELECT 4 AS d")
            self.assertEqual(run.out, """\
┌─────────┬────────────┐
│       n │ t|s        │
│ INTEGER │ VARCHAR    │
├─────────┼────────────┤
│       1 │ 日e\u0301a,"|\\nb │
│     -20 │ NULL       │
└─────────┴────────────┘
n,t|s\n1,"日e\u0301a,""|\nb"\n-20,
n,t|s\n1,"日e\u0301a,""|\nb"\n-20,"-,-"
  n = 1\nt|s = 日e\u0301a,"|\nb\n\n  n = -20\nt|s = -,-
| n | t\\|s |\n|---:|---|\n| 1 | 日e\u0301a,"\\|<br>b |\n| -20 | -,- |
{"kind":"rows","columns":[{"name":"n","type":"INTEGER","id":4},{"name":"t|s","type":"VARCHAR","id":17}],\
"rows":[[1,"日e\u0301a,\\"|\\nb"],[-20,null]],"count":2}
{"kind":"done"}
[
  {
    "kind": "rows",
    "columns": [
      {"name":"n","type":"INTEGER","id":4},
      {"name":"t|s","type":"VARCHAR","id":17}
    ],
    "rows": [
      [1,"日e\u0301a,\\"|\\nb"],
      [-20,null]
    ],
    "count": 2
  },
  {
    "kind": "done"
  }
]
d
4
""")
        self.assertEqual(run_shell("-m", "json").out, "[]\n")
        self.assertIn("\x1b", run_shell("-m", "box", "--color", "always", "-c", "SELECT 1").out)
        # SQL is never cut: a box that is too wide, here by one, becomes lines.
        self.assertEqual(run_shell("-m", "box", given="CREATE TABLE t(i INTEGER);\n.maxwidth 29\n.schema\n"
                                                      ".maxwidth 30\n.schema\n").out, """\
sql = CREATE TABLE t(i INTEGER);
┌────────────────────────────┐
│ sql                        │
├────────────────────────────┤
│ CREATE TABLE t(i INTEGER); │
└────────────────────────────┘
""")

    def test_writes_each_kind_of_cell(self):
        cells = table(r"""
            NULL|null; true|true; 9223372036854775807|9223372036854775807; 2::DOUBLE|2.0; 0.1::FLOAT|0.1
            18446744073709551615::UBIGINT|18446744073709551615; 1e300::DOUBLE|1e+300
            170141183460469231731687303715884105727::HUGEINT|"170141183460469231731687303715884105727"
            12.50::DECIMAL(5,2)|12.5; 'nan'::DOUBLE|{"double":"NaN"}; '-inf'::DOUBLE|{"double":"-Infinity"}
            'inf'::FLOAT|{"double":"Infinity"}; '\xCA\xFE'::BLOB|{"binary":"CAFE"}; ''::BLOB|{"binary":""}
            E'a"b\\\n\x01é'|"a\"b\\\n\u0001é"; DATE '2024-01-31'|"2024-01-31"; [1, 2]|"[1, 2]"
            DATE '2024-01-31'::VARIANT|{"date":"2024-01-31"}
            TIMESTAMP_MS '2024-01-31 12:30:00.25'::VARIANT|{"datetime":"2024-01-31T12:30:00.250"}
            5::TINYINT::VARIANT|{"json":"{\"duckdb_variant\":true,\"variant_type\":\"INT8\",\"value\":\"5\"}"}""")
        line, = run_jsonl("-c", "SELECT " + ",".join(given for given, _ in cells))
        self.fits(line, '{"kind":"rows",…"rows":[[' + ",".join(shown for _, shown in cells) + ']],"count":1}')
        # Other forms show the inner value of the objects.
        query = "SELECT 'nan'::DOUBLE, '\\xCA'::BLOB, DATE '-0044-03-15'::VARIANT, DATE '12345-03-15'::VARIANT, ''"
        self.assertEqual(run_shell("--no-header", "-c", query).out, 'NaN,CA,-0044-03-15,+12345-03-15,""\n')

    def test_continues_after_a_failure_unless_told_to_stop(self):
        command = "$ORSQL --no-header -c 'SELECT 1; SELECT nope; SELECT 2' -c 'SELECT 3'"
        run = run_script(command)
        self.assertEqual(run.out, "1\n2\n3\n")
        self.fits(run.err, 'error: Referenced column "nope" was not found because the FROM clause is missing\n'
                           "  type: Binder, position: 7\n  at -c:1\n…")
        self.assertEqual(run_script(command + " --bail").out, "1\n")
        # The text before the zero byte would delete every row.
        zero = run_shell("--no-header", given="CREATE TABLE t AS FROM range(3); DELETE FROM t\0 WHERE range = 1;\n"
                                              ".print \0x\nSELECT count(*) FROM t")
        self.assertEqual(zero.out, "3\n")
        self.assertEqual(zero.err, "error: the text holds a zero byte\n  at -:1\n"
                                   "error: the text holds a zero byte\n  at -:2\n")

    def test_leaves_a_failed_transaction_aborted(self):
        self.assertEqual(
            answers("x.db", "-c", "CREATE TABLE t(a INTEGER PRIMARY KEY); BEGIN; INSERT INTO t VALUES (1);", "-c",
                    "INSERT INTO t VALUES (1); SELECT 1; ROLLBACK; SELECT count(*) FROM t; BEGIN; DROP TABLE t"),
            "done|done|changed|error|error|done|0|done|done|")
        self.assertEqual(answers("x.db", "-c", "SELECT count(*) FROM t"), "0|", "left without a commit")
        self.assertEqual(answers("-c", "BEGIN; CREATE TABLE t AS SELECT 8 AS i; SELECT nope; COMMIT; FROM t"),
                         "done|done|error|done|8|", "DuckDB goes on after what can't be prepared")
        # DuckDB expands an import into several statements; the second fails, and everything is rolled back.
        os.mkdir("made")
        write("made/schema.sql", "CREATE TABLE t(a INTEGER);")
        write("made/load.sql", "COPY t FROM 'made/missing.csv';")
        self.assertEqual(
            answers("-c", "IMPORT DATABASE 'made'; SELECT count(*) FROM duckdb_tables(); BEGIN; "
                          "CREATE TABLE u(a INTEGER); IMPORT DATABASE 'made'; SELECT 1; ROLLBACK; SELECT 2; "
                          "PIVOT (VALUES ('a', 1), ('b', 2)) v(k, n) ON k USING sum(n)"),
            "error|0|done|done|error|error|done|2|1|")

    def test_passes_settings_to_duckdb(self):
        settings = "threads max_memory temp_directory home_directory secret_directory extension_directory"
        query = ", ".join(f"current_setting('{name}')" for name in settings.split() + ["enable_external_access"])
        self.assertEqual(run_script("$ORSQL --no-header --threads 3 --max-memory 1000 --temp-directory tmp "
                                    "--home-directory home --secret-directory secret --extension-directory ext "
                                    f'--no-external-access -c "SELECT {query}"').out,
                         "3,953.6 MiB,tmp,home,secret,ext,false\n")
        query = ("SELECT block_size, tags['storage_version'] "
                 "FROM pragma_database_size() JOIN duckdb_databases() USING (database_name)")
        for options in "--block-size 16384 --storage-version v1.2.0", "":
            self.assertEqual(run_script(f'$ORSQL --no-header x.db {options} -c "{query}"').out, "16384,v1.2.0+\n")
        self.fits(run_shell("--readonly", "x.db", "-c", "CREATE TABLE t(a INTEGER)").err, "…read-only…")

    # The examples run unchanged, show this output in this order, and leave no files.
    def test_runs_the_examples(self):
        for command, shown in (
                ("$ORSQL books.db -f {}/1_first_database.sql",
                 "…│ A Field Guide to Clouds    │      96 │ NULL       │…read_on = (not yet)…main,books,table…"
                 "CREATE TABLE books(…books\n3\n"),
                ("sh {}/2_parquet_procedures.sh",
                 "…│ fetch_duckdb     │…│       3 │ value │ DECIMAL     │ DOUBLE       │…│  1000 │…│   100 │…"
                 "│ 903 │ reading 903 │…│ 1000 │ reading 1000 │ 500.0 │…"),
                ("$ORSQL -f {}/3_parameters_and_variant.sql",
                 "…│ harbour │ 2024-01-31 12:30:00.25 │    -3.5 │…│ UUID    │ 1b671a64-40d5-491e-99b0-da01ff1f3341 │…"
                 r'[[{"date":"2024-01-31"},{"json":"{\"duckdb_variant\":true,…["DECIMAL(3,2)",1.25]…'),
                ("sh {}/4_backup_and_restore.sh", "…ships.parquet…ships_in_copy\n3\n…ship 1\nship 2\nship 3\n…")):
            run = run_script(command.format(f"'{SOURCES}/examples'"))
            self.assertEqual((run.status, run.err), (0, ""), command)
            self.fits(run.out, shown)
        self.assertEqual(os.listdir(), [])

    def test_documents_and_completion_know_every_option_and_command(self):
        completion = read(SOURCES / "shell/completion/orsql.bash")
        guide = read(SOURCES / "docs/orsql.md")
        manual = read(SOURCES / "docs/orsql.1").replace("\\-", "-")
        options = re.findall("--[a-z-]+", run_shell("--help").out)
        commands = re.findall(r"^\.[a-z]+", run_shell("-c", ".help").out, re.MULTILINE)
        self.assertGreater(min(len(options), len(commands)), 20)
        self.assertEqual([name for name in options + commands if name not in manual], [])
        self.assertEqual([name for name in options if name not in completion], [])
        self.assertEqual([name for name in commands if f"`{name}" not in guide], [])
        self.assertEqual(run_script(f"bash -c '. \"{SOURCES}/shell/completion/orsql.bash\"; "
                                    "COMP_WORDS=(orsql --mode js); COMP_CWORD=2; _orsql; echo ${COMPREPLY[@]}'").out,
                         "json jsonl\n")


unittest.main()
