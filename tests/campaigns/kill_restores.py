#!/usr/bin/env python3
# kill_restores.py ORSQL SECONDS [SEED]: kills a shell that backs up or restores, and checks what is left.
#
# With strace, the kill comes in turn at each system call that opens for writing, writes, renames or removes a file;
# every third one, and each without strace, at a random moment. A backup must be whole or refused, and its source
# unchanged; a restore that replaces a database must leave all of the old one or all of the new one, and the next
# restore must work and remove what the killed one left. The seed is printed; with it, the same kills are tried.

import collections
import contextlib
import json
import pathlib
import shutil
import subprocess
import sys
import tempfile

from campaign import kill_points, killed_at, leave_log, start

MAKE = "CREATE TABLE t AS SELECT range AS n FROM range({}); CREATE TABLE u AS FROM range({})"
COUNT = "SELECT (SELECT count(*) FROM t), (SELECT count(*) FROM u), (SELECT sum(n)::BIGINT FROM t)"
OLD, NEW = [1001, 0, 500500], [3000, 2000, 4498500]


class Campaign:
    def __init__(self, orsql, folder, chance):
        self.orsql, self.folder, self.chance = orsql, folder, chance
        self.counts, self.points = collections.Counter(), {}

    def run(self, *arguments):
        run = subprocess.run([self.orsql, "-m", "jsonl", *arguments], capture_output=True, text=True, cwd=self.folder)
        return run.returncode, [json.loads(line) for line in run.stdout.splitlines()], run.stderr

    def rows(self, database):
        status, answers, errors = self.run(database, "-c", COUNT)
        return answers[-1]["rows"][0] if status == 0 else (status, answers, errors)

    # How the kill was brought about; counts the runs that didn't end before it.
    def kill(self, kind, *arguments):
        command, how = [self.orsql, "--threads", "1", "-m", "jsonl", *arguments], None
        if kind not in self.points:
            self.points[kind] = kill_points(command, cwd=self.folder)
            return "not at all"
        self.counts[kind] += 1
        points = self.points[kind]
        if points and self.counts[kind] % 3:
            how = points[(self.counts[kind] - self.counts[kind] // 3 - 1) % len(points)]
            command, wait = [*killed_at(how), *command], None
        else:
            how = wait = self.chance.uniform(0.01, 0.12)
        shell = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, cwd=self.folder)
        with contextlib.suppress(subprocess.TimeoutExpired):
            shell.wait(wait)
        shell.kill()
        self.counts[f"{kind} killed"] += shell.wait() != 0
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

    def restore(self, backup):
        for ending in ("", ".wal"):  # a database with a row that only its log has
            shutil.copy(self.folder / f"old.db{ending}", self.folder / f"target.db{ending}")
        command = "-c", f".restore --replace {backup} target.db"
        how = self.kill("restore", *command)
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
            campaign.restore(backup)
            campaign.restore(backup)
        campaign.counts.update({f"{kind} points": len(points) for kind, points in campaign.points.items()})
        print("kill_restores:", ", ".join(f"{kind} {n}" for kind, n in sorted(campaign.counts.items())))


main()
