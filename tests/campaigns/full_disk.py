#!/usr/bin/env python3
# full_disk.py ORSQL SECONDS [SEED]: has the shell write, back up and restore where the space ends before it is done.
#
# Root does it in a small file system of its own, others under a limit to the size of files. Each script must do its
# work whole, or end with one error that says why, and what was there before must stay.

import atexit
import json
import pathlib
import resource
import shutil
import subprocess
import tempfile

from campaign import Campaign

ROWS = "SELECT range AS n, md5(range::VARCHAR) || md5((-range)::VARCHAR) AS s FROM range({})"
# {0} is the folder whose space ends.
SCRIPTS = {
    "write": "".join(f"INSERT INTO t FROM ({ROWS.format(500 * i)});\n" for i in range(1, 12)),
    "checkpoint": f"INSERT INTO t FROM ({ROWS.format(9000)});\nCHECKPOINT;\n",
    "backup": ".backup {0}\n",
    "restore": ".restore backup {0}/new.db\n",
    "replace": ".restore --replace backup {0}/old.db\n",
    "output": f".output {{0}}/out\n{ROWS.format(20000)};\n.output\n",
}


class FullDisk(Campaign):
    def __init__(self, folder):
        super().__init__(folder)
        self.full = pathlib.Path(tempfile.mkdtemp())
        self.is_mounted = subprocess.run(["mount", "-t", "tmpfs", "-o", "size=6m", "tmpfs", self.full],
                                         stderr=subprocess.DEVNULL).returncode == 0
        atexit.register(subprocess.run, f"umount {self.full}; rm -r {self.full}", shell=True, stderr=subprocess.DEVNULL)
        for database, rows in ("old.db", 1000), ("new.db", 9000):
            backup = self.row(database, f"CREATE TABLE t AS {ROWS.format(rows)};\n.backup .")
        (self.folder / backup[0]).rename(self.folder / "backup")

    def limited_shell(self, database, script, limit):
        return self.shell("--bail", database, input=script, restore_signals=False,
                          preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit)))

    def rows(self, database):
        return self.row(database, "SELECT count(*) FROM t")[0]

    def round(self):
        kind, space = self.chance.choice(list(SCRIPTS)), self.chance.randrange(0, 4_000_000)
        target, old, new = self.full / "old.db", self.rows("old.db"), self.rows("new.db")
        shutil.copy(self.folder / "old.db", target)
        if self.is_mounted:
            (self.full / "filler").write_bytes(bytes(max(0, shutil.disk_usage(self.full).free - space)))
        status, answers = self.limited_shell(
            target if kind in ("write", "checkpoint") else "old.db", SCRIPTS[kind].format(self.full),
            resource.RLIM_INFINITY if self.is_mounted else space)
        (self.full / "filler").unlink(missing_ok=True)
        errors = [answer["message"] for answer in answers if answer["kind"] == "error"]
        added = sum(answer["count"] for answer in answers if answer["kind"] == "changed")
        made = [path for path in self.full.iterdir() if not path.name.startswith("old.db") or "restoring" in path.name]
        clear = len(errors) == 1 and ("space" in errors[0] or "too large" in errors[0]) if status else not errors
        if kind == "backup" and not status:
            self.shell("-c", f".restore {made[0]} {self.full}/new.db")
        kept = self.rows("old.db") == old and self.rows(target) == (
            new if kind == "replace" and not status else old + added)
        if kind in ("backup", "restore") and not status:
            whole = self.rows(self.full / "new.db") == (old if kind == "backup" else new)
        elif kind == "output":
            whole = status or json.loads((self.full / "out").read_text())["count"] == 20000
        else:
            whole = not made
        for path in self.full.iterdir():
            shutil.rmtree(path) if path.is_dir() else path.unlink()
        self.counts.update([kind, f"{kind} refused"] if status else [kind])
        if not (clear and kept and whole):
            self.fail(f"{kind} in {space} bytes: status {status}, {errors}, {made}")


FullDisk.run()
