#!/usr/bin/env python3
"""coverage.py BUILD: the branches that were taken, by folder, from gcov's counts below BUILD.

Lists those that weren't in BUILD/coverage.txt. Doesn't count branches that only an exception takes, nor those on a
line without code, which the compiler made for destructors. The copies of a template or an inline function count as one.
"""

import collections
import concurrent.futures
import json
import os
import pathlib
import subprocess
import sys

TOP = pathlib.Path(__file__).resolve().parent.parent
MODULE = ["object_support", "duckdb_support", "extension", "database", "statement", "result", "procedures"]
PRODUCT = [*MODULE, "host", "host_standin", "shell"]


def branches_of(notes):
    """(file, line, count of each branch) for each line of the product with branches that an object file has."""
    counts = notes.with_suffix(".gcda")
    output = subprocess.run(["gcov", "--json-format", "--branch-probabilities", "--stdout",
                             counts if counts.exists() else notes], capture_output=True, check=True).stdout
    for document in output.splitlines():
        report = json.loads(document)
        for file in report["files"]:
            path = pathlib.Path(os.path.realpath(os.path.join(report["current_working_directory"], file["file"])))
            name = path.relative_to(TOP) if path.is_relative_to(TOP) else None
            if name and name.parts[0] in PRODUCT:
                for line in file["lines"]:
                    taken = [branch["count"] for branch in line["branches"] if not branch["throw"]]
                    if taken:
                        yield name, line["line_number"], taken


def main():
    build = pathlib.Path(sys.argv[1])
    counts = collections.defaultdict(list)
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for found in pool.map(lambda notes: list(branches_of(notes)), build.rglob("*.gcno")):
            for name, line, taken in found:
                known = counts[name, line]
                known.extend([0] * (len(taken) - len(known)))
                for index, count in enumerate(taken):
                    known[index] += count

    totals = collections.Counter()
    sources = {name: (TOP / name).read_text().splitlines() for name, _ in counts}
    with open(build / "coverage.txt", "w", encoding="utf-8") as listing:
        for (name, line), known in sorted(counts.items()):
            source = sources[name][line - 1].strip()
            if source.strip("{}();") == "":
                continue
            groups = [name.parts[0], "the product"] + ["the module"] * (name.parts[0] in MODULE)
            for group in groups:
                totals[group, "all"] += len(known)
                totals[group, "taken"] += len(known) - known.count(0)
            if 0 in known:
                print(f"{name}:{line}: {known.count(0)} of {len(known)} not taken: {source}", file=listing)
    for group in [*PRODUCT, "the module", "the product"]:
        taken, count = totals[group, "taken"], totals[group, "all"]
        print(f"{group:15}{taken:6} of{count:6} branches {100 * taken / max(count, 1):5.1f} %")


if __name__ == "__main__":
    main()
