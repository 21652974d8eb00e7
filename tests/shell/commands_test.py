# The dot commands of the built program.

import os
import unittest

from runner import ShellTest, answers, first_cells, json_lines, run_jsonl, run_script, run_shell, table, write


# The begin of an answer with rows of these columns.
def rows(*columns):
    return '{"kind":"rows","columns":[' + ",".join(f'{{"name":"{name}"}}' for name in columns) + '],"rows":['


ERROR, DONE = '{"kind":"error","class":', '{"kind":"done"}'


class Commands(ShellTest):
    def test_each_gives_one_line(self):
        self.check_answers(
            ".help\n.help open\n.help .open\n.print a b\n.timer on\n.timer off\n.null x\n.maxrows 3\n.cursor client\n"
            ".mode jsonl\n.procedures\n.close\n.tables\n.nope\n.help nope\n.mode x\n.maxrows x\n.open\n.quit\n"
            ".print not reached\n",
            "text|text|text|text|done|done|done|done|done|done|fetch_parquet parquet_schema parquet_metadata "
            "parquet_count fetch_duckdb|done|error|error|error|error|error|error|done|")
        self.assertEqual(run_shell(given=".mode\n.cursor client\n.cursor\n.timer\n.maxrows\n").out,
                         "csv\nclient\noff\n40\n")
        self.assertLessEqual(max(map(len, run_shell("-c", ".help").out.encode().split(b"\n"))), 80)

    def test_answer_in_lines_of_json_as_statements_do(self):
        a, b = f"{self.folder}/a.db", f"{self.folder}/b.db"
        info = f'{rows("name", "value")}["path","{a}"],["name","a"],["open",%s],["read_only",false],["connections",%d]…'
        failure = ERROR + '"xDuckDBError","code":468225,"context":"a","message":'
        exchanges = [
            (".info", info % ("true", 1)),
            (".print  it's \"so\" ;", r"""{"kind":"text","text":" it's \"so\" ;"}"""),
            (".nope",
             ERROR + '"orsql","message":"there is no command .nope; .help lists them","source":"-c","line":1}'),
            (".info x", ERROR + '"orsql","message":"too many arguments; use: .info…'),
            (".restore missing c.db", ERROR + '"xDBError","code":417792,"message":""…'),
            (".open b.db", DONE),
            (".open a.db", DONE),
            (".databases", rows("path", "connections") + f'["{a}",1],["{b}",0]],"count":2}}'),
            ("CREATE SCHEMA s", DONE),
            ("CREATE TABLE s.books(a INTEGER)", DONE),
            ("INSERT INTO s.books VALUES (1), (2);", '{"kind":"changed","count":2}'),
            ("INSERT INTO s.books VALUES (3) RETURNING a -- only a comment;",
             '{"kind":"rows","columns":[{"name":"a","type":"INTEGER","id":4}],"rows":[[3]],"count":1}'),
            ("UPDATE s.books SET a = a + 1; ;", '{"kind":"changed","count":3}'),
            ("\nSELECT nope FROM s.books",
             failure + r'"{\"exception_type\":\"Binder\",…"type":"Binder","position":7,"source":"-c","line":2}'),
            ("SELEC 1", failure + '"Parser Error: {…"type":"Parser","position":0,"source":"-c","line":1}'),
            ("CREATE TEMP TABLE tt(b INTEGER)", DONE),
            ("CREATE VIEW v AS SELECT 1 AS one", DONE),
            (".tables", rows("schema", "name", "type") +
             '["main","tt","table"],["main","v","view"],["s","books","table"]],"count":3}'),
            (".tables b%", rows("schema", "name", "type") + '["s","books","table"]],…'),
            (".schema", rows("sql") + '["CREATE TEMP TABLE tt(b INTEGER);"],["CREATE TABLE s.books(a INTEGER);"],'
             '["CREATE VIEW v AS SELECT 1 AS one;"]],…'),
            (".schema BOOKS", rows("sql") + '["CREATE TABLE s.books(a INTEGER);"]],…'),
            (".schema nope", rows("sql") + "],…"),
            ("COPY (SELECT i AS a, 'x' || i AS b FROM range(5) t(i)) TO 'p.parquet'", '{"kind":"changed"…'),
            (".call fetch_parquet p.parquet [b] 'a > 1' 2",
             '{"kind":"rows","columns":[{"name":"b","host_type":"text"}],"rows":[["x2"],["x3"]],"count":2}'),
            (".call parquet_count missing.parquet", ERROR + '"procedure","message":"IO Error: …'),
            (".call parquet_count",
             ERROR + '"orsql","message":"parquet_count takes 1 to 2 arguments (uri [, where]), not 0"…'),
            (".call parquet_count a b c", ERROR + '"orsql","message":"parquet_count takes 1 to 2 …'),
            (".call nope 1", ERROR + '"orsql"…'),
            (".call", ERROR + '"orsql"…'),
            (".close", DONE),
            (".info", info % ("false", 0)),
            (".call parquet_count p.parquet",
             '{"kind":"rows","columns":[{"name":"count","host_type":"int64"}],"rows":[[5]],"count":1}')]
        self.lines_fit(run_jsonl("a.db", *(word for given, _ in exchanges for word in ("-c", given))), exchanges)

    def test_open_close_and_drop_the_database(self):
        self.check_answers(
            "SELECT 1;\n.open a.db\nCREATE TABLE t AS SELECT 42 AS a;\n.close\nSELECT 1;\n.open a.db\nFROM t;\n"
            ".open --readonly 'a.db'\nFROM t;\nDROP TABLE t;\n.open no/folder/a.db\nSELECT 1;\n.drop\n"
            ".open a.db\n.drop\nSELECT 1;\n.drop\n",
            "1|done|done|done|error|done|42|done|42|error|error|error|error|done|done|error|error|")
        self.assertFalse(os.path.exists("a.db"))

    def test_bind_holds_values_of_its_types_until_they_are_cleared(self):
        self.check_answers(
            ".bind 7 'it''s' NULL\nSELECT $1;\nSELECT $1, $2, $3;\nSELECT $2 || '!', $1, $3;\n.bind\nSELECT 1;\n"
            "SELECT $1;\n.bind 'open\n.bind 18446744073709551616\n", "done|error|7|it's!|done|1|error|error|error|")
        bindings = table(r"""
            1|INTEGER 1; 3000000000|BIGINT 3000000000; 18446744073709551615|UBIGINT 18446744073709551615
            1.5|DOUBLE 1.5; true|BOOLEAN true; word|VARCHAR word; x'CAFE'|BLOB \xCA\xFE
            date '2024-01-31'|DATE 2024-01-31; time '12:30:00.250'|TIME 12:30:00.25
            datetime '2024-01-31 12:30:00.250'|TIMESTAMP_MS 2024-01-31 12:30:00.25
            [1, NULL, 3]|INTEGER[] [1, NULL, 3]; []|VARCHAR[] []""")
        query = "SELECT typeof(p) || ' ' || p::VARCHAR FROM (SELECT $1 AS p);"
        self.check_answers("".join(f".bind {literal}\n{query}\n" for literal, _ in bindings),
                           "".join(f"done|{bound}|" for _, bound in bindings))

    def test_rows_run_a_statement_once_per_row(self):
        write("rows.csv", "1,one\n2,\n3,\"\"\n")
        write("twice.csv", "8,x\n1,again\n9,y\n")
        write("broken.csv", "1,\"x\n")
        self.check_answers(
            "CREATE TABLE t(a INTEGER PRIMARY KEY, b VARCHAR);\n.rows rows.csv\nINSERT INTO t VALUES (?, ?);\n"
            "SELECT ?::INTEGER, ?;\n.bind\nSELECT coalesce(b, 'none') FROM t ORDER BY a;\n.rows twice.csv\n"
            "INSERT INTO t VALUES (?, ?);\n.bind\nSELECT a FROM t ORDER BY a;\n.rows missing.csv\n.rows broken.csv\n",
            "done|done|changed|3|done|one none |done|error|done|1 2 3 8|error|error|")

    def test_backup_and_restore_bring_a_database_back(self):
        line = run_jsonl("a.db", "-c", "CREATE TABLE t AS SELECT 42 AS a", "-c", ".backup", "-c", ".backup .")[1]
        backup = first_cells(line)
        self.fits(line, '…[{"name":"path"},{"name":"seconds"}],"rows":[["…/Backup/…",0.…]],"count":1}')
        self.assertTrue(os.path.exists(f"{backup}/load.sql"), backup)
        run_script("rm 2*/*.parquet && mv 2* broken && echo not a database at all > text.txt")
        select = "\nSELECT a FROM t;\n"
        restore, replace = f".restore '{backup}' ", f".restore --replace '{backup}' "
        self.check_answers(f"{restore}b.db{select}UPDATE t SET a = 1;\n{restore}b.db{select}{replace}b.db{select}"
                           f"{replace}text.txt\n.restore missing c.db\n.restore missing b.db\n{restore}:memory:{select}"
                           ".restore --replace broken a.db\nSELECT 1;\n",
                           "done|42|changed|error|1|done|42|error|error|error|error|42|error|1|")
        self.check_answers(f"{select}.restore --replace broken a.db{select}", "42|error|42|", "a.db")
        self.assertEqual(run_script("cat text.txt; ls").out,
                         "not a database at all\nBackup\na.db\nb.db\nbroken\nscript.sql\ntext.txt\n")
        self.assertEqual(answers("b.db", "-c", "SELECT a FROM t"), "42|")

    def test_a_replacing_restore_loses_nothing(self):
        # A log that the next Open needs, a killed restore's leftovers, and a live process's files.
        leave_log = "$ORSQL a.db -c 'PRAGMA disable_checkpoint_on_shutdown; INSERT INTO t VALUES (7)' > /dev/null\n"
        restore = "$ORSQL -c '.restore --replace backup a.db' -c 'SELECT a FROM t'\n"
        self.assertEqual(run_script("$ORSQL a.db -c 'CREATE TABLE t AS SELECT 42 AS a' -c '.backup .' > /dev/null\n"
                                    "mv 2* backup\nfor pid in 99999999-0 99999999-0.wal 1-0; do\n"
                                    f"echo x > a.db.restoring-$pid; done\n{leave_log}{restore}ls").out,
                         "a\n42\na.db\na.db.restoring-1-0\nbackup\n")
        # One that can't be opened any more.
        damage = "dd if=/dev/zero of=a.db bs=4096 seek=1 count=2 conv=notrunc status=none\n"
        run = run_script(f"{leave_log}{damage}{restore}ls a.db.wal*")
        self.assertEqual(run.out, "a\n42\na.db.wal.kept-0\n")
        self.fits(run.err, "…/a.db.wal.kept-0.…")

    def test_import_matches_columns_all_or_nothing(self):
        write("named.csv", "B,a\n007,1\n,2\n")
        write("plain.csv", "3,x\n4,y\n")
        write("extra.csv", "a,other\n5,z\n")
        write("broken.csv", "a,b\n6,z\nsix,z\n")
        write("data", "{\"a\":8}\n")
        self.check_answers(
            ".bind 1\n.import named.csv new\n.bind\nSELECT count(*) FROM new;\n"
            "CREATE SCHEMA s;\nCREATE TABLE s.\"My t\"(a INTEGER, b VARCHAR DEFAULT 'd');\n"
            ".import named.csv s.\"My t\"\n.import plain.csv s.\"my T\"\n.import extra.csv s.\"My t\"\n"
            ".import broken.csv s.\"My t\"\n.import data memory.s.\"My t\"\n.import missing.csv s.\"My t\"\n"
            "SELECT a || coalesce(b, 'null') FROM s.\"My t\" ORDER BY a;\n.describe s.\"My t\"\n.describe nope\n"
            ".schema s.\"My t\"\nATTACH ':memory:' AS o;\nCREATE TABLE o.u(i INTEGER);\n.tables u\n",
            "done|changed|done|2|done|done|changed|changed|error|error|changed|error|1007 2null 3x 4y 8d|a b|error|"
            "CREATE TABLE s.\"My t\"(a INTEGER, b VARCHAR DEFAULT('d'));|done|done|o.main|")

    def test_output_and_once_go_to_files(self):
        write("inner.sql", "SELECT 2 AS b;\nSELECT 3 AS c;\n")
        write("once.sql", ".once 1.txt\nSELECT 1 AS a;\n.once 2.txt\n.read inner.sql\n.once 3.txt\nSELECT nope;\n"
                          ".once /dev/full\nSELECT 4 AS d;\n.once no/folder/x\nSELECT 5 AS e;\n")
        write("output.sql", ".output out.txt\nSELECT 1 AS a;\n.print text\n.output\nSELECT 2 AS b;\n")
        self.assertEqual(run_shell("-f", "once.sql", "-f", "output.sql").out, "e\n5\nb\n2\n")
        self.assertEqual(run_script("cat 1.txt 2.txt 3.txt out.txt").out, "a\n1\nb\n2\nc\n3\na\n1\ntext\n")
        # In lines of JSON the commands themselves are answered where the reader waits.
        self.assertEqual(answers("-f", "once.sql", "-f", "output.sql"),
                         "done|done|done|error|done|error|error|5|done|done|2|")
        self.assertEqual(len(json_lines(run_script("cat 1.txt 2.txt 3.txt out.txt").out)), 6)
        self.check_answers(".output no/folder/x\nSELECT 1;\n.output /dev/full\nSELECT 2;\nSELECT 3;\n",
                           "error|1|done|error|3|")

    def test_report_why_and_where_they_fail(self):
        write("inner.sql", "\uFEFF.print first\n\n-- a comment\nSELECT\n  1,\n  nope;\n")
        write("outer.sql", "/* two\nlines */ SELECT 1; SELECT\n2;\n.read inner.sql\n.nope\n")
        write("loop.sql", ".read loop.sql\n")
        for arguments, error in (
                ("a.db -c \"CREATE TABLE t AS SELECT INTERVAL '-1 day' AS i\" -c .backup -c '.backup .' "
                 "-c '.backup missing'", "…  there is no folder missing\n…"),
                ("-c .backup", "….backup DIR…"),
                ("-c '.restore missing b.db'", "error: there is no backup in missing\n…"),
                ("-c '.bind 1' -c 'SELECT 5'", "….bind alone clears them…"),
                ("-c .pri -c .c", "…error: .c is ambiguous: .close, .call, .cursor\n…"),
                ("-c .dro", "error: there is no command .dro;…"),
                ("-c .", "error: there is no command .;…"),
                ("-f loop.sql", "…loop.sql:1\n"),  # ends
                ("-f outer.sql", "error: …\n  at inner.sql:6\n  at outer.sql:4\n"
                                 "error: there is no command .nope; .help lists them\n  at outer.sql:5\n")):
            run = run_script("$ORSQL " + arguments)
            self.fits(run.err, error)
            self.assertEqual(run.status, 1, arguments)
        self.assertEqual(run_script("ls").out, "a.db\ninner.sql\nloop.sql\nouter.sql\n", "no failed backup's folder")
        self.assertEqual(run_shell(given=".pri one\n.t\n.mode\n.q\n.print 2\n").out, "one\ncsv\n")
        self.assertEqual(answers("-f", "outer.sql", "-c", ".read missing.sql"), "1|2|text|error|done|error|error|")
        self.fits(run_jsonl("-f", "outer.sql")[3],
                  '…"position":14,"source":"inner.sql","line":6,"from":[{"source":"outer.sql","line":4}]}')

    def test_without_external_access_nothing_outside_is_touched(self):
        write("x.sql", "SELECT 1;\n")
        commands = (".call parquet_count x", ".open x.db", ".restore a b", ".output x", ".once x", ".read x.sql",
                    ".import x t", ".edit", ".rows x.sql", ".pager less")
        run = run_shell("--no-external-access", "--no-header", "-f", "x.sql", "-c", ".output", "-f", "-",
                        given="\n".join(commands))
        self.assertEqual(run.out, "1\n")
        self.fits(run.err, "".join(
            f"error: {line.split()[0]} is refused: orsql runs with --no-external-access\n…" for line in commands))
        self.assertEqual(run_script("ls").out, "x.sql\n")

    def test_requests_give_one_line_each(self):
        refused = '{"kind":"error","class":"orsql"…'
        requests = [
            (r'{"sql":"SELECT $1 + $2","values":[1,2],"id":7}', '{"kind":"rows","id":7,"columns"…[[3]]…'),
            (r'{ "id" : {"a":[1e30, 1.50]} , "sql":"/* nothing */" }', '{"kind":"done","id":{"a":[1e30, 1.50]}}'),
            (r'{"sql":"CREATE TABLE t(a INTEGER, b VARCHAR);"}', '{"kind":"done"}'),
            (r'''{"sql":"INSERT INTO t VALUES (?, ?)","rows":[[1,"a'\n"],[2,null]]}''', '{"kind":"changed"…'),
            (r'{"sql":"SELECT $1, $2, $3, $4, $5",'
             r'"values":[{"date":"2024-01-31"},{"binary":"CAFE"},true,1.5,{"double":"-Infinity"}]}',
             '…"rows":[["2024-01-31",{"binary":"CAFE"},true,1.5,{"double":"-Infinity"}]]…'),
            (r'{"sql":"SELECT 5 AS not_held"}', '…"rows":[[5]]…'),
            (r'{"sql":"SELECT 1; SELECT 2","id":null}', '…"id":null,"class":"orsql"…'),
            (r'{"sql":"SELECT\n nope","id":"x"}', '…"position":8,"source":"-","line":8}'),
            ('{"id":3,"sql":"SELECT \'',
             '{"kind":"error","id":3,"class":"orsql",…"column":24,"source":"-","line":9}'),
            (r'''{"sql":"SELECT '1e999\"', $1, $2","values":[0.1E+2,123456789.5],"id":[-1e200,0]}''',
             r'…"id":[-1e200,0],…"rows":[["1e999\"",10.0,123456789.5]]…'),
            (r'{"sql":"SELECT $1","values":[1e400],"id":5}',
             '…"id":5,…"message":"1e400 is beyond the numbers of a double","source":"-","line":11}'),
            (r'{"sql":"SELECT $1","values":[1.e5]}', '…"column":32,…'),
            (r'["sql"]', refused),
            (r'{"sql":"SELECT 1","command":".info"}', refused),
            (r'{"id":1}', '{"kind":"error","id":1,"class":"orsql"…'),
            (r'{"command":".info","values":[]}', refused),
            (r'{"sql":"SELECT 1","sql":"SELECT 2"}', refused),
            (r'{"sql":"SELECT 1","valves":[]}', refused),
            (r'{"sql":"SELECT $1","values":[{"date":"x"}]}', refused),
            (r'{"sql":"SELECT $1","values":[{"binary":"CA","date":"2024-01-31"}]}', refused),
            (r'{"sql":1}', refused),
            (r'{"command":".pager off"}', '…"message":".pager is refused with --input jsonl"…'),
            (r'{"command":".mode csv","id":2}', '…"message":".mode is refused with --input jsonl"…'),
            (r'''{"command":".print it's","id":[ ]}''', r'''{"kind":"text","id":[ ],"text":"it's"}'''),
            (r'{"command":".quit","id":-0}', '{"kind":"done","id":-0}')]
        run = run_shell("--input", "jsonl", given="".join(request + "\r\n" for request, _ in requests) +
                        """{"sql":"SELECT 'not reached'"}""")
        self.lines_fit(json_lines(run.out), requests)
        self.assertEqual(run.status, 1)


unittest.main()
