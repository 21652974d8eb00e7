#!/usr/bin/env python3
# kill_restores.py ORSQL SECONDS [SEED]: kills a shell that backs up or restores, and looks at what is left.
#
# With strace, the kill comes as the n-th system call that writes, renames or removes a file begins; in every third
# round, and without strace, at a random moment. A backup must be whole or refused, and its source unchanged; where a
# restore was to replace a database there must be all of the old one or all of the new one, and the next restore must
# work and remove what the killed one left. The seed is printed; with it, the same kills are tried.

import collections
import contextlib
import json
import pathlib
import shutil
import subprocess
import sys
import tempfile

from campaign import leave_log, start

# By what is killed; each thread counts each call by itself, up to the number.
CALLS = {"backup": ("write,pwrite64", 5), "restore": ("rename,renameat,renameat2,unlink,unlinkat,rmdir", 3),
         "writing restore": ("write,pwrite64,ftruncate,fsync,fdatasync", 8)}
MAKE = "CREATE TABLE t AS SELECT range AS n FROM range({}); CREATE TABLE u AS FROM range({})"
COUNT = "SELECT (SELECT count(*) FROM t), (SELECT count(*) FROM u), (SELECT sum(n)::BIGINT FROM t)"
OLD, NEW = [1001, 0, 500500], [3000, 2000, 4498500]


class Campaign:
    def __init__(self, orsql, folder, chance):
        self.orsql, self.folder, self.chance = orsql, folder, chance
        self.counts = collections.Counter()

    def run(self, *arguments):
        run = subprocess.run([self.orsql, "-m", "jsonl", *arguments], capture_output=True, text=True, cwd=self.folder)
        return run.returncode, [json.loads(line) for line in run.stdout.splitlines()], run.stderr

    def rows(self, database):
        status, answers, errors = self.run(database, "-c", COUNT)
        return answers[-1]["rows"][0] if status == 0 else (status, answers, errors)

    # How the kill was brought about; counts the runs that didn't end before it.
    def kill(self, kind, *arguments):
        command, wait = [self.orsql, "-m", "jsonl", *arguments], None
        if shutil.which("strace") and self.counts[kind] % 3:
            calls, top = CALLS[kind]
            how = f"inject={calls}:signal=KILL:when={self.chance.randint(1, top)}"
            command = ["strace", "-f", "-o", "/dev/null", "-e", how, *command]
        else:
            how = wait = self.chance.uniform(0.01, 0.12)
        shell = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, cwd=self.folder)
        with contextlib.suppress(subprocess.TimeoutExpired):
            shell.wait(wait)
        shell.kill()
        self.counts["killed"] += shell.wait() != 0
        self.counts[kind] += 1
        return how

    def need(self, holds, *what):
        if not holds:
            sys.exit(f"kill_restores: {what}; {self.counts}, files: {sorted(map(str, self.folder.rglob('*')))}")

    def backup(self):
        folder, again = self.folder / "backups", self.folder / "again.db"
        folder.mkdir()
        how = self.kill("backup", "source.db", "-c", ".backup backups")
        self.need(self.rows("source.db") == NEW, "source", how)
        for made in folder.iterdir():
            status, answers, _ = self.run("-c", f".restore {made} again.db")
            whole = status == 0 and self.rows("again.db") == NEW
            self.need(whole or (status == 1 and not again.exists()), "backup", how, answers)
            self.counts["whole backups" if whole else "refused backups"] += 1
            again.unlink(missing_ok=True)
        shutil.rmtree(folder)

    def restore(self, kind, backup):
        for ending in ("", ".wal"):  # a database with a row that only its log has
            shutil.copy(self.folder / f"old.db{ending}", self.folder / f"target.db{ending}")
        command = "-c", f".restore --replace {backup} target.db"
        how = self.kill(kind, *command)
        self.counts["leftovers"] += len(list(self.folder.glob("target.db.restoring*")))
        if self.chance.random() < 0.7:  # else the next restore comes before any other look
            rows = self.rows("target.db")
            self.need(rows in (OLD, NEW), "target", how, rows)
            self.counts["old" if rows == OLD else "new"] += 1
        status, answers, _ = self.run(*command)
        self.need(status == 0 and self.rows("target.db") == NEW, "next restore", how, answers)
        self.need(not list(self.folder.glob("target.db?*")), "left behind", how)
        (self.folder / "target.db").unlink()


def main():
    orsql, chance, has_time = start("kill_restores")
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        campaign = Campaign(orsql, folder, chance)
        campaign.run("source.db", "-c", MAKE.format(3000, 2000))
        campaign.run("old.db", "-c", MAKE.format(1000, 0))
        leave_log(orsql, folder / "old.db", "INSERT INTO t VALUES (1000);")
        backup = campaign.run("source.db", "-c", ".backup")[1][-1]["rows"][0][0]
        while has_time():
            campaign.backup()
            campaign.restore("restore", backup)
            campaign.restore("writing restore", backup)
        print("kill_restores:", ", ".join(f"{kind} {n}" for kind, n in sorted(campaign.counts.items())))


main()
