# The built program with a partner: programs that drive it, readers that close the pipe, Ctrl-C, terminals.

import os
import signal
import time
import unittest

from runner import ShellTest, answers, first_cells, json_lines, read, run_script, write

PROMPT = "memory> "
START = 0.3  # seconds, enough for a statement to begin
# A query that keeps DuckDB busy for minutes before its first row.
LONG_QUERY = "SELECT sum(sqrt(a.range + b.range)) FROM range(3000000) a, range(100000) b"
STILL_HERE = "SELECT 'still ' || 'here';\r"


class Pipes(ShellTest):
    def test_answer_each_statement_at_once(self):
        shell = self.start("-m", "jsonl")
        done = '{"kind":"done"}\n'
        self.assertEqual(first_cells(shell.ask("SELECT 1 AS a;", "\n")), "1")
        self.assertEqual(shell.ask("CREATE TABLE t(a INTEGER);INSERT INTO t VALUES (1), (2); SELECT '", "}\n"), done)
        self.assertEqual(shell.wait_for("\n"), '{"kind":"changed","count":2}\n')
        self.assertEqual(
            first_cells(shell.ask(";' AS b;\n.print hi\n.output out.txt\nSELECT 1;\n.output\n", "\n")), ";")
        self.assertEqual(shell.wait_for("\n"), '{"kind":"text","text":"hi"}\n')
        self.assertEqual(shell.wait_for("\n") + shell.wait_for("\n"), done + done)
        shell.send("SELECT 3 AS unfinished")
        status, rest = shell.wait()
        self.assertEqual((status, first_cells(rest)), (0, "3"))

    def test_a_reader_that_leaves_ends_the_run_quietly_and_a_full_disk_is_a_failure(self):
        run = run_script("{ $ORSQL -c 'SELECT * FROM range(3000000)' -c 'CREATE TABLE t(a INTEGER)' a.db; "
                         'echo "status $?" >&2; } | head -n 2')
        self.assertEqual(run.out + run.err, "range\n0\nstatus 0\n")
        for mode in "csv", "jsonl", "json", "box":
            full = run_script(f"$ORSQL -m {mode} -c 'SELECT 1' > /dev/full")
            self.assertEqual(full, (1, "", "error: can't write: No space left on device\n"), mode)
        # Past the limit for file sizes, whose signal would end the program.
        self.fits(run_script("ulimit -f 8; $ORSQL -m jsonl -c '.once out' -c 'FROM range(100000)'").out,
                  """…"class":"orsql","message":"can't write out: File too large"…""")

    def test_ctrl_c_while_rows_are_written_ends_the_line_as_valid_json(self):
        shell = self.start("-m", "jsonl", "-c", "SELECT * FROM range(20000000) t(a)", "-c", "SELECT 2")
        start = shell.wait_for("[1000]")
        shell.process.send_signal(signal.SIGINT)
        status, rest = shell.wait()
        self.assertEqual((status, len(json_lines(start + rest))), (130, 1))
        self.fits(rest[-60:], '…]],"interrupted":true}\n')
        self.assertLess(len(rest), 10_000_000)

    def test_ctrl_c_stops_the_statement_and_ends_the_run(self):
        write("long.sql", f"INSERT INTO t {LONG_QUERY};\nSELECT 3;\n")
        for mode, begin, end in (
                ("csv", "1\n1\n", "error: interrupted\n  at long.sql:1\n  at -c:1\n"),
                ("jsonl", '"count":1}\n', '…"type":"INTERRUPT"…,"interrupted":true}\n{"kind":"done"}\n')):  # of .read
            shell = self.start("-m", mode, "a.db", "-c", "CREATE OR REPLACE TABLE t(a DOUBLE)", "-c", "SELECT 1",
                               "-c", ".read long.sql", "-c", "SELECT 2")
            shell.wait_for(begin)
            time.sleep(START)
            shell.process.send_signal(signal.SIGINT)
            status, rest = shell.wait()
            self.assertEqual(status, 130)
            self.fits(rest, end)
        self.assertEqual(len(json_lines(rest)), 2)
        self.assertEqual(answers("a.db", "-c", "SELECT count(*) FROM t"), "0|")
        waiting = self.start("-m", "jsonl")
        waiting.ask("BEGIN;", "\n")
        waiting.process.send_signal(signal.SIGINT)
        self.assertEqual(waiting.wait()[0], 130)


class Terminal(ShellTest):
    # A terminal in which the shell has shown its prompt, or another text.
    def session(self, *arguments, first=PROMPT):
        return self.start(*(arguments or ("-m", "csv")), first=first)

    def leave(self, shell, command=".quit\r"):
        shell.send(command)
        self.assertEqual(shell.wait()[0], 0, "also after a failure")

    def test_serves_a_session_from_start_to_end(self):
        shell = self.session("--color", "never", first=".help lists the commands")
        shell.talk(("", PROMPT),
                   (".help call\n", ".call PROCEDURE [ARG...]"),
                   (".open a.db\n", "a> "),
                   ("CREATE TABLE t AS SELECT 42 AS answer;\n", "a> "),
                   ("SELECT * FROM t;\n", "│  answer │\n│ INTEGER │\n├─────────┤\n│      42 │"),
                   ("SELECT nope\n", "...> "),
                   ("  FROM t;\n", "error: Referenced column"),
                   ("", "  SELECT nope\n         ^"),
                   ("COPY t TO 't.parquet';\n.call parquet_count t.parquet\n", "│     1 │"),
                   (".backup\n", "Backup"))
        self.leave(shell, ".exit\n")

    def test_shows_the_expected_output(self):
        write("evil.sql", 'CREATE TABLE "evil\x1b[31m\u202e"(i INTEGER);')
        many = "SELECT range AS n FROM range(60);\r"
        up = "\x1b[A\x1b[A\x1b[A"
        for editrc, *steps in (
                ("", ("SELECT 'x' AS right\x1b[1;5Dleft_\x01\x1b[1;5C 40 + 2,\r;\r", "left_right\n42,x\n")),
                ("", (".read evil.sql\rFROM \"evil\t", 'evil\\x1b[31m\\u202e"')),
                ("", ("SELECT\r1\r+ 2\r\t+ 3\r+ 4\r+ 5\r+ 6\r+ 7\r+ 8\r+ 9;\r", "\n45\n")),
                # The same ten lines, edited after a new start. The terminal takes DEL while libedit does not read.
                ("", ("\x10\b + 5;\r", "\n50\nmemory> "),
                 (up + "\b70\r", "\n113\nmemory> "),
                 (up + "\x1b[B\b80\r", "\n185\n")),
                ("bind -v\n", ("selec\t", "select"), (" 7 AS seven;\r", "seven\n7\n")),
                ("", (".pager\r", "\noff\n"),
                 (many, "\n59\n"),
                 (".pager 'sed s/^/paged:/'\r.pager\r", "\non: sed s/^/paged:/\n"),
                 (many, "paged:n\npaged:0\n"),
                 ("", "paged:59\n"),
                 ("SELECT range + 7 FROM range(2);\r", "\n7\n8\n"),
                 (".once all.csv\r", PROMPT),
                 (many, PROMPT),
                 # Pagers that end early: by themselves, by Ctrl-C, before the first row.
                 (".pager head -n 2\rSELECT * FROM range(9000000);" + STILL_HERE, "range\n0\n('still"),
                 (".pager 'cat >/dev/null; echo \"is\" here; cat </dev/tty'\r" + many, "is here\n"),
                 ("typed\r", "typed\ntyped\n"),
                 ("\x03", PROMPT),
                 (STILL_HERE, "\nstill here\n"),
                 (".pager true\rSELECT * FROM range(9000000);" + STILL_HERE, "\nstill here\n"),
                 # It gets the usual signals, though orsql ignores some.
                 (".pager 'cat >/dev/null; sh -c \"kill -PIPE \\$\\$\"; echo status $?'\r" + many, "status 141\n"),
                 (".pager missing-pager\r", PROMPT),
                 (many, "error: the pager"),
                 ("", "missing-pager: not found\nn\n0\n"),
                 ("", "\n59\n"),
                 (".pager off\r", PROMPT),
                 (many, "\n59\n"))):
            write(".editrc", editrc)
            shell = self.session()
            shell.talk(*steps)
            shell.kill()
        self.assertTrue(read("all.csv").endswith("\n59\n"))

    def test_a_resize_keeps_the_input(self):
        shell = self.session()
        shell.ask("SELECT 'before' ||", "||")
        shell.resize(24, 60)
        shell.talk(("", "memory> SELECT 'before' ||"),  # drawn again
                   (" 'after' AS a;\r", "a\nbeforeafter\n"))

    def test_ctrl_c_drops_pending_input(self):
        os.makedirs(".config/orsql")
        write(".config/orsql/orsqlrc", f".print begun\n{LONG_QUERY};\n.print not run\n")
        shell = self.session(first="begun\n")

        def check_interrupt():
            time.sleep(START)
            self.assertNotIn("not run", shell.ask("\x03", PROMPT))

        check_interrupt()
        shell.ask(f"\x1b[200~SELECT 'be' || 'gun';\r{LONG_QUERY};\rSELECT 'not ' || 'run';\r\x1b[201~", "\nbegun\n")
        check_interrupt()
        shell.ask(STILL_HERE, "\nstill here\n")
        for _ in range(2):  # the second stop isn't a second Ctrl-C
            shell.ask(f"{LONG_QUERY}; SELECT 'not ' || 'run';\n", "'run';")
            check_interrupt()
        shell.ask("SELECT * FROM range(20000000);\n", "\n1000\n")
        shell.talk(("\x03", PROMPT), (STILL_HERE, "\nstill here\n"))
        self.leave(shell)

    def test_a_second_ctrl_c_leaves(self):
        shell = self.session()
        # DuckDB doesn't stop inside a function, so the first Ctrl-C has no effect.
        shell.ask("SELECT levenshtein(repeat('a', 200000), repeat('b', 200000)) AS d;\r", "AS d;\n")
        for _ in range(2):
            time.sleep(START)
            shell.send("\x03")
        self.assertEqual(shell.wait()[0], 130)

    def test_ctrl_c_clears_the_input(self):
        shell = self.start(first=PROMPT)
        shell.talk(("SELECT 1 AS lost,\n", "...> "), ("\x03", PROMPT), ("garbage\x03", PROMPT), ("\x03", PROMPT))
        shown = shell.ask("SELECT 7 AS kept;\n", "└")
        shell.wait_for(PROMPT)  # Ctrl-D has an effect only while a line is read
        self.assertIn("kept", shown)
        self.assertNotIn("error", shown)
        self.assertEqual(shell.wait("\x04")[0], 0)

    def test_completes_existing_names(self):
        write("some_script.sql", "SELECT 'from the ' || 'file';\n")
        shell = self.session()
        # A tab followed by input counts as pasted, so wait for each completion.
        shell.talk(("CREATE TABLE flights(departure INTEGER);\n", PROMPT),
                   ("INSERT INTO fli\t", "flights"),
                   (" VALUES (12345);\n", PROMPT),
                   ("selec\t", "select"),
                   (" depart\t", "departure"),
                   (" fro\t", "from"),
                   (" flights;\n", "departure\n12345\n"),
                   ('CREATE SCHEMA s;CREATE TABLE s."Order Items"("Unit Price" INTEGER);\n', PROMPT),
                   ("SELECT regexp_extract_a\t", "regexp_extract_all"),
                   ("('a', 'a'), unit\t", '"Unit Price"'),
                   (" FROM s.\t", '"Order Items"'),
                   (";\n", "Unit Price\n"),
                   (".rea\t", ".read"),
                   (" some_\t", "some_script.sql"),
                   ("\n", "from the file"),
                   (".mode \t", "markdown"),
                   ("jsonl\n", PROMPT),
                   (".qui\t", ".quit"))
        self.leave(shell, "\n")

    def test_takes_pasted_text_unchanged(self):
        write("north-2024.csv", "")
        script = "INSERT INTO t VALUES ('left\tright'), ('north\tsouth');\r" * 500
        shell = self.session()
        shell.talk((f"\x1b[200~CREATE TABLE t(a VARCHAR);\r.print it's\r{script}\x1b[201~", ""),
                   ("\rSELECT count(*) || ' ' || min(a) || ' ' || max(a) FROM t;\r", "1000 left\tright north\tsouth"),
                   # A terminal that doesn't mark pasted text.
                   ("SELECT length('\tx'), 'unmarked';\r", "2,unmarked"))
        self.leave(shell)

    def test_sessions_share_a_history_of_whole_statements(self):
        first, second = self.session(), self.session()
        first.ask("SELECT 'one' ||\r  '!' AS a\r;\r", "a\none!\n")
        second.ask("SELECT 'two' || '!';\r", "two!\n")
        first.kill()
        second.kill()
        shell = self.session()
        shell.talk(("\x10\r", "two!\n"), ("", PROMPT), ("\x10\x10\r", "a\none!\n"))
        self.leave(shell)

    def test_shows_the_database_and_the_transaction_in_the_prompt(self):
        os.makedirs("config/orsql")
        write("config/orsql/orsqlrc", ".mode csv\nSELECT nope;\n")
        os.environ.update(XDG_CONFIG_HOME=f"{self.folder}/config", EDITOR="sed -i s/2/3/")
        shell = self.session("birds.db", first="orsqlrc:2")
        shell.talk(("", "birds> "),
                   ("BEGIN;\r", "birds*> "),
                   ("SELECT 1 / error('x');\r", "birds*> "),
                   ("ROLLBACK;\r", "birds> "),
                   ("SELECT 21 + 21 AS s;\r", "s\n42\n"),
                   (".edit\r", "s\n52\n"),
                   (".prompt 'two words'\r", "two words> "),
                   (".close\r", "orsql> "),
                   ("exit;\r", ".exit\n"))
        self.leave(shell, "")

    def test_shows_the_progress_of_a_long_backup(self):
        shell = self.session("-m", "csv", "--threads", "1")
        shell.talk(("CREATE TABLE t AS SELECT i, hash(i)::VARCHAR AS h FROM range(1000000) t(i);\n", "t(i);"),
                   ("", PROMPT))
        os.mkdir("folder")
        shell.send(".backup folder\n")
        end = time.monotonic() + 10
        while not os.listdir("folder") and time.monotonic() < end:
            time.sleep(0.001)
        for _ in range(6):
            shell.process.send_signal(signal.SIGSTOP)
            time.sleep(0.25)
            shell.process.send_signal(signal.SIGCONT)
            time.sleep(0.02)
        shell.talk(("", "backing up: "), ("", " MB written"), ("", "path,seconds\n"))
        self.leave(shell)


unittest.main()
