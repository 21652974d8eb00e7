# What the campaigns share: their arguments ORSQL SECONDS [SEED], and a shell that is killed with a log to take in.

import collections
import pathlib
import random
import re
import shutil
import subprocess
import sys
import time


# The shell's path, a seeded chance, and a function that says whether there is time left.
def start(name):
    seed = int(sys.argv[3]) if len(sys.argv) > 3 else random.randrange(1 << 32)
    print(f"{name}: seed {seed}", flush=True)
    end = time.monotonic() + float(sys.argv[2])
    return str(pathlib.Path(sys.argv[1]).resolve()), random.Random(seed), lambda: time.monotonic() < end


def leave_log(orsql, database, *statements):
    shell = subprocess.Popen([orsql, "-m", "jsonl", database], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                             text=True, bufsize=1)
    for sql in statements:
        print(sql, file=shell.stdin)
        assert '"error"' not in shell.stdout.readline()
    shell.kill()
    shell.wait()
    assert pathlib.Path(f"{database}.wal").stat().st_size > 0


CALLS = "openat,write,pwrite64,ftruncate,fsync,fdatasync,rename,renameat,renameat2,unlink,unlinkat,rmdir,mkdir,mkdirat"


# The system calls by which a command changes files, as (call, number): each thread counts each call by itself.
# Nothing without strace.
def kill_points(command, **options):
    if not shutil.which("strace"):
        return []
    log = subprocess.run(["strace", "-f", "-qq", "-o", "/dev/stderr", "-e", f"trace={CALLS}", *command],
                         stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True, check=True, **options).stderr
    counts, points = collections.Counter(), set()
    for thread, call, arguments in re.findall(r"^(\d+) +(\w+)\((.*)", log, re.M):
        counts[thread, call] += 1
        if call != "openat" or re.search("O_WRONLY|O_RDWR", arguments):
            points.add((call, counts[thread, call]))
    return sorted(points)


# What a command is killed by as it begins such a call.
def killed_at(point):
    return ["strace", "-f", "-qq", "-o", "/dev/null", "-e", f"inject={point[0]}:signal=KILL:when={point[1]}"]
