#!/usr/bin/env python3
"""compare_peers.py TIMES JSON: medians of what scripts/bench_peers.sh measured.

Each line of TIMES is "peer table seconds cells". Prints a Markdown table of nanoseconds per cell, less the bare
query, with the ratio to the module, and writes {"peer": {"table": nanoseconds}} to JSON.
"""

import collections
import json
import statistics
import sys


def main():
    seconds = collections.defaultdict(list)
    cells = {}
    for line in open(sys.argv[1], encoding="utf-8"):
        peer, table, time, count = line.split()
        seconds[peer, table].append(float(time))
        if cells.setdefault(table, count) != count:
            sys.exit(f"{peer} read {count} cells of {table}, others {cells[table]}")

    def per_cell(peer, table):
        bare = statistics.median(seconds["bare", table])
        return (statistics.median(seconds[peer, table]) - bare) * 1e9 / int(cells[table])

    peers = sorted({peer for peer, _ in seconds} - {"bare"}, key=lambda peer: (peer != "module", peer))
    result = {peer: {table: per_cell(peer, table) for table in cells} for peer in peers}
    print("| Peer |" + "".join(f" {table}, ns per cell | times the module |" for table in cells))
    print("|---|" + "---:|---:|" * len(cells))
    for peer, times in result.items():
        columns = (f" {times[table]:.1f} | {times[table] / result['module'][table]:.2f} |" for table in cells)
        print(f"| {peer} |" + "".join(columns))
    with open(sys.argv[2], "w", encoding="utf-8") as file:
        json.dump(result, file, indent=1)


if __name__ == "__main__":
    main()
