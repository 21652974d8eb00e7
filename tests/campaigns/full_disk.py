#!/usr/bin/env python3
# full_disk.py ORSQL SECONDS [SEED]: has the shell write, back up and restore where the space ends before it is done.
#
# Root does it in a small file system of its own, others under a limit to the size of files. Each script must do its
# work whole, or end with one error that says why, and what was there before must stay.

import collections
import json
import pathlib
import resource
import shutil
import subprocess
import sys
import tempfile

from campaign import start

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


class Campaign:
    def __init__(self, orsql, folder):
        self.orsql, self.folder, self.full = orsql, folder, folder / "full"
        self.full.mkdir()
        self.is_mounted = subprocess.run(["mount", "-t", "tmpfs", "-o", "size=6m", "tmpfs", self.full],
                                         stderr=subprocess.DEVNULL).returncode == 0

    def run(self, database, script, limit=resource.RLIM_INFINITY):
        run = subprocess.run([self.orsql, "--bail", "-m", "jsonl", database], input=script, cwd=self.folder, text=True,
                             capture_output=True, restore_signals=False,
                             preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (limit, limit)))
        return run.returncode, [json.loads(line) for line in run.stdout.splitlines()]

    def rows(self, database):
        return self.run(database, "SELECT count(*) FROM t;\n")[1][-1].get("rows", [[]])[0]

    def round(self, kind, space):
        target, old, new = self.full / "old.db", self.rows("old.db"), self.rows("new.db")
        shutil.copy(self.folder / "old.db", target)
        if self.is_mounted:
            (self.full / "filler").write_bytes(bytes(max(0, shutil.disk_usage(self.full).free - space)))
        status, answers = self.run(target if kind in ("write", "checkpoint") else "old.db", SCRIPTS[kind].format("full"),
                                   resource.RLIM_INFINITY if self.is_mounted else space)
        (self.full / "filler").unlink(missing_ok=True)
        errors = [answer["message"] for answer in answers if answer["kind"] == "error"]
        added = sum(answer["count"] for answer in answers if answer["kind"] == "changed")
        made = [path for path in self.full.iterdir() if not path.name.startswith("old.db") or "restoring" in path.name]
        clear = len(errors) == 1 and ("space" in errors[0] or "too large" in errors[0]) if status else not errors
        if kind == "backup" and not status:
            self.run("old.db", f".restore {made[0]} full/new.db\n")
        kept = self.rows("old.db") == old and self.rows(target) == (
            [old[0] + added] if added else new if kind == "replace" and not status else old)
        whole = not made if status and kind != "output" else (
            self.rows("full/new.db") == (old if kind == "backup" else new) if kind in ("backup", "restore")
            else status or json.loads((self.full / "out").read_text())["count"] == 20000 if kind == "output" else not made)
        for path in self.full.iterdir():
            shutil.rmtree(path) if path.is_dir() else path.unlink()
        return clear and kept and whole, status, errors, made


def main():
    orsql, chance, has_time = start("full_disk")
    counts = collections.Counter(failures=0)
    with tempfile.TemporaryDirectory() as name:
        campaign = Campaign(orsql, pathlib.Path(name))
        (campaign.folder / "made").mkdir()
        for database, rows in ("old.db", 1000), ("new.db", 9000):
            answers = campaign.run(database, f"CREATE TABLE t AS {ROWS.format(rows)};\n.backup made\n")[1]
        shutil.move(answers[-1]["rows"][0][0], campaign.folder / "backup")
        try:
            while has_time():
                kind, space = chance.choice(list(SCRIPTS)), chance.randrange(0, 4_000_000)
                is_good, status, *what = campaign.round(kind, space)
                counts.update([kind, f"{kind} refused"] if status else [kind])
                if not is_good:
                    counts["failures"] += 1
                    print(f"full_disk: {kind} in {space} bytes: status {status}, {what}", flush=True)
        finally:
            if campaign.is_mounted:
                subprocess.run(["umount", campaign.full], check=True)
    print("full_disk:", ", ".join(f"{what} {n}" for what, n in sorted(counts.items())))
    sys.exit(counts["failures"] > 0)


main()
