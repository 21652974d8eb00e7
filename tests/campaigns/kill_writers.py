#!/usr/bin/env python3
# kill_writers.py ORSQL SECONDS [SEED]: kills a shell that writes, again and again, and counts what is left.
#
# With strace, every other kill comes at one of the system calls by which a shell writes and takes its log in; the
# others, and each without strace, come at a random moment. Every row that the shell acknowledged must be there
# afterwards, every later one at most once, and a new shell must open the file. The seed is printed; with it, the same
# points and times are chosen.

import contextlib
import json
import pathlib
import subprocess
import sys
import tempfile
import time

from campaign import kill_points, killed_at, start


# Inserts first, first + 1, ...; gives the number that the last acknowledged row had, plus one.
def write_until_killed(command, first, seconds):
    shell = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                             text=True, bufsize=1)
    end = time.monotonic() + seconds
    with contextlib.suppress(BrokenPipeError):
        while time.monotonic() < end:
            if first % 23 == 22:
                print("CHECKPOINT;", file=shell.stdin)
                shell.stdout.readline()
            print(f"INSERT INTO t VALUES ({first});", file=shell.stdin)
            answer = shell.stdout.readline()
            if not answer:
                break
            if json.loads(answer)["kind"] == "error":
                sys.exit(f"row {first}: {answer}")
            first += 1
        print(f"INSERT INTO t VALUES ({first});", file=shell.stdin)  # the kill may meet this one half done
    shell.kill()
    shell.wait()
    return first


def main():
    orsql, chance, has_time = start("kill_writers")
    with tempfile.TemporaryDirectory() as folder:
        database = str(pathlib.Path(folder, "killed.db"))

        def query(sql):
            run = subprocess.run([orsql, "-m", "jsonl", database, "-c", sql], capture_output=True, text=True)
            if run.returncode != 0:
                sys.exit(f"{sql}: {run.stdout}{run.stderr}")
            return json.loads(run.stdout.splitlines()[-1]).get("rows")

        query("CREATE TABLE t(n BIGINT)")
        command = [orsql, "--threads", "1", "-m", "jsonl", database]
        points = kill_points([*command, "-c", "BEGIN; INSERT INTO t VALUES (1); ROLLBACK; CHECKPOINT"])
        rows, kills = 0, 0
        while has_time():
            how = [*killed_at(chance.choice(points)), *command] if points and kills % 2 else command
            acknowledged = write_until_killed(how, rows, 60 if how != command else chance.uniform(0.02, 0.6))
            count, distinct, top = query("SELECT count(*), count(DISTINCT n), coalesce(max(n), -1) FROM t")[0]
            if not acknowledged <= count <= acknowledged + 1 or count != distinct or top != count - 1:
                sys.exit(f"after kill {kills + 1}: {count} rows up to {top}, {acknowledged} were acknowledged")
            rows, kills = count, kills + 1
        print(f"kill_writers: {kills} kills, {rows} rows, none lost")


main()
