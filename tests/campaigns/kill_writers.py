#!/usr/bin/env python3
# kill_writers.py ORSQL SECONDS [SEED]: kills a shell that writes, again and again, and counts what is left.
#
# Every row that the shell acknowledged must be there afterwards, every later one at most once, and a new shell
# must open the file. The seed is printed; with it, the same times are waited for.

import json
import pathlib
import subprocess
import sys
import tempfile
import time

from campaign import start


# Inserts first, first + 1, ...; gives the number that the last acknowledged row had, plus one.
def write_until_killed(orsql, database, first, seconds):
    shell = subprocess.Popen([orsql, "-m", "jsonl", database], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                             stderr=subprocess.DEVNULL, text=True, bufsize=1)
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        if first % 97 == 96:
            print("CHECKPOINT;", file=shell.stdin)
            shell.stdout.readline()
        print(f"INSERT INTO t VALUES ({first});", file=shell.stdin)
        answer = json.loads(shell.stdout.readline())
        if answer["kind"] == "error":
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
        rows, kills = 0, 0
        while has_time():
            acknowledged = write_until_killed(orsql, database, rows, chance.uniform(0.02, 0.6))
            count, distinct, top = query("SELECT count(*), count(DISTINCT n), coalesce(max(n), -1) FROM t")[0]
            if not acknowledged <= count <= acknowledged + 1 or count != distinct or top != count - 1:
                sys.exit(f"after kill {kills + 1}: {count} rows up to {top}, {acknowledged} were acknowledged")
            rows, kills = count, kills + 1
        print(f"kill_writers: {kills} kills, {rows} rows, none lost")


main()
