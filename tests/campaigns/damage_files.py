#!/usr/bin/env python3
# damage_files.py ORSQL SECONDS [SEED]: flips bytes in Parquet files, databases and logs and has orsql read them.
#
# Damage may be refused or go unseen, but the shell must end by itself, with one of its ordinary statuses, within
# 20 seconds of work. What ends otherwise is kept, with the command that repeats it.

import pathlib
import shutil
import subprocess
import tempfile

from campaign import Campaign

ROWS = """SELECT i::INTEGER AS i, 'text ' || i AS s, [i, NULL, i * 2] AS l, {'a': i, 'b': i::VARCHAR} AS st,
    (i / 7)::DECIMAL(18,3) AS d, TIMESTAMP '2024-01-01' + to_minutes(i) AS ts, i % 3 = 0 AS b,
    md5(i::VARCHAR)::BLOB AS x, MAP {i: i::HUGEINT} AS m FROM range(1000) r(i)"""
# Memory is limited, for sizes are damaged too.
RUN = "ulimit -v 8388608 -t 20; timeout -s KILL 300 {orsql} -m jsonl < {case}/script > {case}/output 2>&1"
READ = "SELECT count(*), min(s), max(l), max(st), sum(d), max(ts), max(x), max(m) FROM t;"
SCRIPTS = {  # by kind of file; {0} is the file
    "parquet": ".call parquet_schema '{0}'\n.call parquet_metadata '{0}'\n.call parquet_count '{0}'\n"
               ".call fetch_parquet '{0}'\n.call fetch_parquet '{0}' 's,m' 'i > 700 AND b'\n",
    "database": ".open '{0}'\n" + READ + "\nCHECKPOINT;\nINSERT INTO t FROM t LIMIT 3;\n.close\n"
                ".call fetch_duckdb '{0}' t\n",
    "log": ".open '{0}'\n" + READ + "\nCHECKPOINT;\n" + READ,
}


class DamageFiles(Campaign):
    # Makes a file of each kind; the log's database was killed before it could take the log in.
    def __init__(self, folder):
        super().__init__(folder)
        for kind in SCRIPTS:
            (self.folder / kind).mkdir()
        self.shell("database/file", "-c", f"CREATE TABLE t AS {ROWS}; CREATE INDEX n ON t(i);"
                                          "COPY t TO 'parquet/file' (FORMAT parquet)")
        shutil.copy(self.folder / "database/file", self.folder / "log/file")
        self.leave_log("log/file", "INSERT INTO t FROM t LIMIT 500;", "UPDATE t SET s = 'new' WHERE i < 50;")

    def damage(self, path):
        content, chance = bytearray(path.read_bytes()), self.chance
        first = chance.choice([0, 0, max(0, len(content) - 3000)])  # what describes a file is at its begin or its end
        last = chance.choice([len(content), min(len(content), first + 14000)])
        for _ in range(chance.choice([1, 1, 2, 8, 40])):
            content[chance.randrange(first, last)] ^= chance.randrange(1, 256)
        path.write_bytes(content[:chance.randrange(len(content))] if chance.random() < 0.05 else content)

    def round(self):
        kind = self.chance.choices(list(SCRIPTS), [16, 3, 1])[0]
        case = pathlib.Path(tempfile.mkdtemp(prefix="damaged-"))
        kept = shutil.copytree(self.folder / kind, case / "kept")  # reading may change the files
        self.damage(max(kept.iterdir()))  # the log, where there is one
        shutil.copytree(kept, case, dirs_exist_ok=True)
        (case / "script").write_text(SCRIPTS[kind].format(case / "file"))
        run = RUN.format(orsql=self.orsql, case=case)
        status = subprocess.run(["sh", "-c", run], stderr=subprocess.DEVNULL).returncode
        self.counts.update([kind, f"{kind} refused"] if status in (1, 3) else [kind])
        if status in (0, 1, 3):
            shutil.rmtree(case)
        else:
            self.fail(f"{kind}: status {status}; to repeat: cp {kept}/* {case}; {run}")


DamageFiles.run()
