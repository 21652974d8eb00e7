#!/usr/bin/env python3
# kill_writers.py ORSQL SECONDS [SEED]: kills a shell that writes, again and again, and counts what is left.
#
# With strace, every other kill comes at one of the system calls by which a shell writes and takes its log in; the
# others, and each without strace, come at a random moment. Every row that the shell acknowledged must be there
# afterwards, every later one at most once, and a new shell must open the file. The seed is printed; with it, the same
# points and times are chosen.

import contextlib
import json
import subprocess
import time

from campaign import Campaign


class KillWriters(Campaign):
    def __init__(self, folder):
        super().__init__(folder)
        self.shell("killed.db", "-c", "CREATE TABLE t(n BIGINT)")
        self.points = self.kill_points("killed.db", "-c", "BEGIN; INSERT INTO t VALUES (1); ROLLBACK; CHECKPOINT")

    # Inserts first, first + 1, ...; gives the number that the last acknowledged row had, plus one.
    def write_until_killed(self, point, first):
        shell = self.start(point, "killed.db", stdin=subprocess.PIPE, stdout=subprocess.PIPE, bufsize=1)
        end = time.monotonic() + (60 if point else self.chance.uniform(0.02, 0.6))
        with contextlib.suppress(BrokenPipeError):
            while time.monotonic() < end:
                if first % 23 == 22:
                    print("CHECKPOINT;", file=shell.stdin)
                    shell.stdout.readline()
                print(f"INSERT INTO t VALUES ({first});", file=shell.stdin)
                answer = shell.stdout.readline()
                if not answer:
                    break
                self.need(json.loads(answer)["kind"] != "error", "row", first, answer)
                first += 1
            print(f"INSERT INTO t VALUES ({first});", file=shell.stdin)  # the kill may meet this one half done
        shell.kill()
        shell.wait()
        return first

    def round(self):
        point = self.chance.choice(self.points) if self.points and self.counts["kills"] % 2 else None
        acknowledged = self.write_until_killed(point, self.counts["rows"])
        count, distinct, top = self.row("killed.db", "SELECT count(*), count(DISTINCT n), coalesce(max(n), -1) FROM t")
        self.need(acknowledged <= count <= acknowledged + 1 and count == distinct == top + 1, "acknowledged rows",
                  acknowledged, "found", count, distinct, top)
        self.counts.update(kills=1, rows=count - self.counts["rows"])


KillWriters.run()
