#!/usr/bin/env python3
"""damage_files.py ORSQL SECONDS [SEED]: flips bytes in Parquet files, databases and logs and has orsql read them.

Damage may be refused or go unseen, but the shell must end by itself, with one of its ordinary statuses, within
20 seconds. What ends otherwise is kept, with the command that repeats it.
"""

import pathlib
import random
import resource
import shutil
import subprocess
import sys
import tempfile
import time

ROWS = """SELECT i::INTEGER AS i, 'text ' || i AS s, [i, NULL, i * 2] AS l, {'a': i, 'b': i::VARCHAR} AS st,
    (i / 7)::DECIMAL(18,3) AS d, TIMESTAMP '2024-01-01' + to_minutes(i) AS ts, i % 3 = 0 AS b,
    md5(i::VARCHAR)::BLOB AS x, MAP {i: i::HUGEINT} AS m FROM range(1000) r(i)"""
READ = "SELECT count(*), min(s), max(l), max(st), sum(d), max(ts), max(x), max(m) FROM t;"
SCRIPTS = {  # by kind of file; {0} is the file
    "parquet": ".call parquet_schema '{0}'\n.call parquet_metadata '{0}'\n.call parquet_count '{0}'\n"
               ".call fetch_parquet '{0}'\n.call fetch_parquet '{0}' 's,m' 'i > 700 AND b'\n",
    "database": ".open '{0}'\n" + READ + "\nCHECKPOINT;\nINSERT INTO t FROM t LIMIT 3;\n.close\n"
                ".call fetch_duckdb '{0}' t\n",
    "log": ".open '{0}'\n" + READ + "\nCHECKPOINT;\n" + READ,
}


def make_originals(orsql, folder):
    """A file of each kind; the log's database was killed before it could take the log in."""
    subprocess.run([orsql, folder / "database", "-c",
                    f"CREATE TABLE t AS {ROWS}; CREATE INDEX n ON t(i);"
                    f"COPY t TO '{folder}/parquet' (FORMAT parquet)"],
                   check=True)
    shutil.copy(folder / "database", folder / "log")
    shell = subprocess.Popen([orsql, "-m", "jsonl", folder / "log"], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                             text=True, bufsize=1)
    for sql in ("INSERT INTO t FROM t LIMIT 500;", "UPDATE t SET s = 'new' WHERE i < 50;", "CREATE TABLE u(a INT);"):
        print(sql, file=shell.stdin)
        shell.stdout.readline()
    shell.kill()
    shell.wait()
    assert (folder / "log.wal").stat().st_size > 1000


def damage(path, chance):
    content = bytearray(path.read_bytes())
    size = len(content)
    first = chance.choice([0, 0, max(0, size - 3000)])  # what describes a file is at its begin or its end
    last = chance.choice([size, min(size, first + 14000)])
    for _ in range(chance.choice([1, 1, 2, 8, 40])):
        content[chance.randrange(first, last)] ^= chance.randrange(1, 256)
    path.write_bytes(content[:chance.randrange(size)] if chance.random() < 0.05 else content)


def read(orsql, script, folder):
    """The exit status; "hang" after 20 seconds. Memory is limited, for sizes are damaged too."""
    try:
        return subprocess.run([orsql, "-m", "jsonl"], input=script.encode(), stdout=subprocess.DEVNULL,
                              stderr=open(folder / "stderr", "w"), timeout=20, cwd=folder,
                              preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, (1 << 33, 1 << 33))).returncode
    except subprocess.TimeoutExpired:
        return "hang"


def main():
    orsql, seconds = str(pathlib.Path(sys.argv[1]).resolve()), float(sys.argv[2])
    seed = int(sys.argv[3]) if len(sys.argv) > 3 else random.randrange(1 << 32)
    print(f"damage_files: seed {seed}", flush=True)
    chance, counts, failures = random.Random(seed), {kind: [0, 0] for kind in SCRIPTS}, 0
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        make_originals(orsql, folder)
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            kind = chance.choices(list(SCRIPTS), [5, 2, 1])[0]
            case = pathlib.Path(tempfile.mkdtemp(prefix="damaged-"))
            shutil.copy(folder / kind, case / kind)
            if kind == "log":
                shutil.copy(folder / "log.wal", case / "log.wal")
            damage(case / ("log.wal" if kind == "log" else kind), chance)
            shutil.copytree(case, case / "kept")  # reading may change the files
            script = SCRIPTS[kind].format(case / kind)
            status = read(orsql, script, case)
            counts[kind][0] += 1
            counts[kind][1] += status != 0
            if status in (0, 1, 3):
                shutil.rmtree(case)
                continue
            failures += 1
            (case / "script").write_text(script)
            print(f"damage_files: {kind} {sum(n for n, _ in counts.values())}: status {status}; to repeat: "
                  f"cp {case}/kept/* {case} && {orsql} -m jsonl < {case}/script", flush=True)
    print("damage_files:", ", ".join(f"{n} {kind}s ({bad} refused)" for kind, (n, bad) in counts.items()),
          f"- {failures} failures")
    sys.exit(failures > 0)


if __name__ == "__main__":
    main()
