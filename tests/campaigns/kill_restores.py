#!/usr/bin/env python3
"""kill_restores.py ORSQL SECONDS [SEED]: kills a shell that backs up or restores, and looks at what is left.

With strace, the kill comes as the n-th system call that writes, renames or removes a file begins; in every third
round, and without strace, at a random moment. A backup must be whole or refused, and its source unchanged; where a
restore was to replace a database there must be all of the old one or all of the new one, and the next restore must
work and remove what the killed one left. The seed is printed; with it, the same kills are tried.
"""

import json
import pathlib
import random
import shutil
import subprocess
import sys
import tempfile
import time

CALLS = {  # by what is killed; each thread counts each call by itself, up to the number
    "backup": ("write,pwrite64", 5),
    "restore": ("rename,renameat,renameat2,unlink,unlinkat,rmdir", 3),
    "restore, any": ("write,pwrite64,ftruncate,fsync,fdatasync", 8),
}
COUNT = "SELECT (SELECT count(*) FROM t), (SELECT count(*) FROM u), (SELECT sum(n)::BIGINT FROM t)"
OLD, NEW = [1001, 0, 500500], [3000, 2000, 4498500]


class Campaign:
    def __init__(self, orsql, folder, chance):
        self.orsql, self.folder, self.chance, self.has_strace = orsql, folder, chance, shutil.which("strace")
        self.counts = dict.fromkeys([*CALLS, "killed", "old", "new", "refused backups", "whole backups",
                                      "leftovers"], 0)

    def run(self, *arguments):
        run = subprocess.run([self.orsql, "-m", "jsonl", *arguments], capture_output=True, text=True, cwd=self.folder)
        return run.returncode, [json.loads(line) for line in run.stdout.splitlines()], run.stderr

    def rows(self, database):
        status, answers, errors = self.run(database, "-c", COUNT)
        return answers[-1]["rows"][0] if status == 0 else (status, answers, errors)

    def kill(self, kind, *arguments):
        """How the kill was brought about; counts the runs that didn't end before it."""
        command = [self.orsql, "-m", "jsonl", *arguments]
        if self.has_strace and self.counts[kind] % 3:
            calls, top = CALLS[kind]
            how, wait = f"inject={calls}:signal=KILL:when={self.chance.randint(1, top)}", None
            command = ["strace", "-f", "-o", "/dev/null", "-e", how, *command]
        else:
            wait = self.chance.uniform(0.01, 0.12)
            how = f"{wait:.3f} s"
        shell = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, cwd=self.folder)
        try:
            shell.wait(wait)
        except subprocess.TimeoutExpired:
            shell.kill()
        self.counts["killed"] += shell.wait() != 0
        self.counts[kind] += 1
        return how

    def need(self, holds, *what):
        if not holds:
            sys.exit(f"kill_restores: {what}; after {self.counts}, files: {sorted(map(str, self.folder.rglob('*')))}")

    def count(self, what, number=1):
        self.counts[what] += number

    def backup(self):
        folder = self.folder / "backups"
        folder.mkdir()
        how = self.kill("backup", "source.db", "-c", ".backup backups")
        self.need(self.rows("source.db") == NEW, "source", how)
        for made in folder.iterdir():
            status, answers, _ = self.run("-c", f".restore {made} again.db")
            whole = status == 0 and self.rows("again.db") == NEW
            self.need(whole or (status == 1 and not (self.folder / "again.db").exists()), "backup", how, answers)
            self.count("whole backups" if whole else "refused backups")
            (self.folder / "again.db").unlink(missing_ok=True)
        shutil.rmtree(folder)

    def restore(self, kind, backup):
        target = self.folder / "target.db"
        for ending in ("", ".wal"):  # a database with a row that only its log has
            shutil.copy(self.folder / ("old.db" + ending), str(target) + ending)
        how = self.kill(kind, "-c", f".restore --replace {backup} target.db")
        self.count("leftovers", len(list(self.folder.glob("target.db.restoring*"))))
        # Sometimes the next restore comes before any other look.
        rows = self.rows("target.db") if self.chance.random() < 0.7 else None
        self.need(rows in (None, OLD, NEW), "target", how, rows)
        if rows:
            self.count("old" if rows == OLD else "new")
        status, answers, _ = self.run("-c", f".restore --replace {backup} target.db")
        self.need(status == 0 and self.rows("target.db") == NEW, "next restore", how, answers)
        left = [str(path) for path in self.folder.glob("target.db?*")]
        self.need(not left, "left behind", how, left)
        target.unlink()


def main():
    orsql, seconds = str(pathlib.Path(sys.argv[1]).resolve()), float(sys.argv[2])
    seed = int(sys.argv[3]) if len(sys.argv) > 3 else random.randrange(1 << 32)
    print(f"kill_restores: seed {seed}", flush=True)
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        campaign = Campaign(orsql, folder, random.Random(seed))
        campaign.run("source.db", "-c", "CREATE TABLE t AS SELECT range AS n FROM range(3000);"
                     "CREATE TABLE u AS FROM range(2000)")
        campaign.run("old.db", "-c", "CREATE TABLE t AS SELECT range AS n FROM range(1000);"
                     "CREATE TABLE u(a INTEGER)")
        shell = subprocess.Popen([orsql, "-m", "jsonl", folder / "old.db"], stdin=subprocess.PIPE,
                                 stdout=subprocess.PIPE, text=True, bufsize=1)
        print("INSERT INTO t VALUES (1000);", file=shell.stdin)
        shell.stdout.readline()
        shell.kill()
        shell.wait()
        (folder / "whole").mkdir()
        backup = campaign.run("source.db", "-c", f".backup {folder}/whole")[1][-1]["rows"][0][0]
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            campaign.backup()
            campaign.restore("restore", backup)
            campaign.restore("restore, any", backup)
        print("kill_restores:", ", ".join(f"{kind} {n}" for kind, n in campaign.counts.items()))


if __name__ == "__main__":
    main()
