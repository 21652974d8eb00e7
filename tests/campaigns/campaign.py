# What the campaigns share: their arguments ORSQL SECONDS [SEED], runs of the shell, and what kills it.

import collections
import json
import pathlib
import random
import re
import shutil
import subprocess
import sys
import tempfile
import time

CALLS = "openat,write,pwrite64,ftruncate,fsync,fdatasync,rename,renameat,renameat2,unlink,unlinkat,rmdir,mkdir,mkdirat"
SLOWLY = "--threads", "1", "-m", "jsonl"  # a shell that is to be killed


# A campaign prepares in its __init__ and counts what happens in each `round`, which has a folder and a seeded chance.
class Campaign:
    def __init__(self, folder):
        self.name, self.orsql = pathlib.Path(sys.argv[0]).stem, str(pathlib.Path(sys.argv[1]).resolve())
        seed = int(sys.argv[3]) if len(sys.argv) > 3 else random.randrange(1 << 32)
        print(f"{self.name}: seed {seed}", flush=True)
        self.folder, self.chance, self.counts = pathlib.Path(folder), random.Random(seed), collections.Counter(failures=0)

    @classmethod
    def run(cls):
        end = time.monotonic() + float(sys.argv[2])
        with tempfile.TemporaryDirectory() as folder:
            campaign = cls(folder)
            while time.monotonic() < end:
                campaign.round()
        print(f"{campaign.name}:", ", ".join(f"{what} {n}" for what, n in sorted(campaign.counts.items())))
        sys.exit(campaign.counts["failures"] > 0)

    def fail(self, *what):
        self.counts["failures"] += 1
        print(f"{self.name}:", *what, flush=True)

    def need(self, holds, *what):
        if not holds:
            sys.exit(f"{self.name}: {what}; {self.counts}, files: {sorted(map(str, self.folder.rglob('*')))}")

    # The status and the answers of a run of the shell in the folder.
    def shell(self, *arguments, **options):
        run = subprocess.run([self.orsql, "-m", "jsonl", *arguments], cwd=self.folder, text=True,
                             capture_output=True, **options)
        return run.returncode, [json.loads(line) for line in run.stdout.splitlines()]

    # The first row of a query's answer; another list after a failure.
    def row(self, database, sql):
        status, answers = self.shell(database, "-c", sql)
        return answers[-1]["rows"][0] if status == 0 else [status, answers]

    # Leaves statements in a log that a shell couldn't take in.
    def leave_log(self, database, *statements):
        shell = subprocess.Popen([self.orsql, "-m", "jsonl", database], cwd=self.folder, stdin=subprocess.PIPE,
                                 stdout=subprocess.PIPE, text=True, bufsize=1)
        for sql in statements:
            print(sql, file=shell.stdin)
            assert '"error"' not in shell.stdout.readline()
        shell.kill()
        shell.wait()
        assert (self.folder / f"{database}.wal").stat().st_size > 0

    # The system calls by which a command changes files, as (call, number): each thread counts each call by itself.
    # Nothing without strace.
    def kill_points(self, *arguments):
        if not shutil.which("strace"):
            return []
        trace = ["strace", "-f", "-qq", "-o", "/dev/stderr", "-e", f"trace={CALLS}", self.orsql, *SLOWLY, *arguments]
        log = subprocess.run(trace, cwd=self.folder, capture_output=True, text=True, check=True).stderr
        counts, points = collections.Counter(), set()
        for thread, call, rest in re.findall(r"^(\d+) +(\w+)\((.*)", log, re.M):
            counts[thread, call] += 1
            if call != "openat" or re.search("O_WRONLY|O_RDWR", rest):
                points.add((call, counts[thread, call]))
        return sorted(points)

    # Starts a shell, which is killed as it begins such a call if one is given.
    def start(self, point, *arguments, **options):
        inject = point and f"inject={point[0]}:signal=KILL:when={point[1]}"
        strace = ["strace", "-f", "-qq", "-o", "/dev/null", "-e", inject] if point else []
        return subprocess.Popen([*strace, self.orsql, *SLOWLY, *arguments], cwd=self.folder,
                                stderr=subprocess.DEVNULL, text=True, **options)
