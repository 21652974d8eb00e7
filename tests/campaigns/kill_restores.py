#!/usr/bin/env python3
# kill_restores.py ORSQL SECONDS [SEED]: kills a shell that backs up or restores, and checks what is left.
#
# With strace, the kill comes in turn at each system call that opens for writing, writes, renames or removes a file;
# every third one, and each without strace, at a random moment. A backup must be whole or refused, and its source
# unchanged; a restore that replaces a database must leave all of the old one or all of the new one, and the next
# restore must work and remove what the killed one left. The seed is printed; with it, the same kills are tried.

import contextlib
import shutil
import subprocess

from campaign import Campaign

MAKE = "CREATE TABLE t AS SELECT range AS n FROM range({}); CREATE TABLE u AS FROM range({})"
COUNT = "SELECT (SELECT count(*) FROM t), (SELECT count(*) FROM u), (SELECT sum(n)::BIGINT FROM t)"
OLD, NEW = [1001, 0, 500500], [3000, 2000, 4498500]


class KillRestores(Campaign):
    def __init__(self, folder):
        super().__init__(folder)
        self.points = {}
        self.shell("source.db", "-c", MAKE.format(3000, 2000))
        self.shell("old.db", "-c", MAKE.format(1000, 0))
        self.leave_log("old.db", "INSERT INTO t VALUES (1000);")
        self.made = self.row("source.db", ".backup")[0]

    def round(self):
        self.backup()
        self.restore()
        self.restore()

    # How the kill was brought about; counts the runs that didn't end before it.
    def kill(self, kind, *arguments):
        if kind not in self.points:
            self.points[kind] = self.kill_points(*arguments)
            self.counts[f"{kind} points"] = len(self.points[kind])
            return "not at all"
        self.counts[kind] += 1
        point, wait, points = None, None, self.points[kind]
        if points and self.counts[kind] % 3:
            point = points[(self.counts[kind] - self.counts[kind] // 3 - 1) % len(points)]
        else:
            wait = self.chance.uniform(0.01, 0.12)
        shell = self.start(point, *arguments, stdout=subprocess.DEVNULL)
        with contextlib.suppress(subprocess.TimeoutExpired):
            shell.wait(wait)
        shell.kill()
        self.counts[f"{kind} killed"] += shell.wait() != 0
        return point or wait

    def backup(self):
        folder, again = self.folder / "backups", self.folder / "again.db"
        folder.mkdir()
        how = self.kill("backup", "source.db", "-c", ".backup backups")
        self.need(self.row("source.db", COUNT) == NEW, "source", how)
        for made in folder.iterdir():
            status, answers = self.shell("-c", f".restore {made} again.db")
            whole = status == 0 and self.row("again.db", COUNT) == NEW
            self.need(whole or (status == 1 and not again.exists()), "backup", how, answers)
            self.counts["whole backups" if whole else "refused backups"] += 1
            again.unlink(missing_ok=True)
        shutil.rmtree(folder)

    def restore(self):
        for ending in "", ".wal":  # a database with a row that only its log has
            shutil.copy(self.folder / f"old.db{ending}", self.folder / f"target.db{ending}")
        command = "-c", f".restore --replace {self.made} target.db"
        how = self.kill("restore", *command)
        self.counts["leftovers"] += len(list(self.folder.glob("target.db.restoring*")))
        if self.chance.random() < 0.7:  # else the next restore comes before any other look
            row = self.row("target.db", COUNT)
            self.need(row in (OLD, NEW), "target", how, row)
            self.counts["old" if row == OLD else "new"] += 1
        status, answers = self.shell(*command)
        self.need(status == 0 and self.row("target.db", COUNT) == NEW, "next restore", how, answers)
        self.need(not list(self.folder.glob("target.db?*")), "left behind", how)
        (self.folder / "target.db").unlink()


KillRestores.run()
