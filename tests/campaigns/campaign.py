# What the campaigns share: their arguments ORSQL SECONDS [SEED], and a shell that is killed with a log to take in.

import pathlib
import random
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
