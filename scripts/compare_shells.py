#!/usr/bin/env python3
"""compare_shells.py ORSQL DUCKDB PARQUET ROUNDS JSON: both shells write a Parquet file's rows, in turns.

Prints a Markdown table of the median processor time of each whole process, with the ratio to DuckDB's shell, and
writes {"form": {"orsql": seconds, "duckdb": seconds}} to JSON.
"""

import json
import os
import statistics
import sys

# orsql's mode, and the option of DuckDB's shell
FORMS = {"csv": "-csv", "jsonl": "-jsonlines", "line": "-line", "box": "-box"}


def run(words):
    """Runs a program with its output to nowhere. Returns its processor time in seconds."""
    nowhere = [(os.POSIX_SPAWN_OPEN, 1, os.devnull, os.O_WRONLY, 0)]
    process = os.posix_spawn(words[0], words, os.environ, file_actions=nowhere)
    _, status, usage = os.wait4(process, 0)
    if status != 0:
        sys.exit(f"{words} failed")
    return usage.ru_utime + usage.ru_stime


def main():
    orsql, duckdb, parquet, rounds, output = sys.argv[1:]
    sql = f"FROM read_parquet('{parquet}')"
    result = {}
    print("| Form | orsql, s | DuckDB's shell, s | ratio |\n|---|---:|---:|---:|")
    for mode, option in FORMS.items():
        times = {"orsql": [], "duckdb": []}
        for _ in range(int(rounds)):
            times["orsql"].append(run([orsql, "-m", mode, "-c", sql]))
            times["duckdb"].append(run([duckdb, "-no-init", option, "-c", sql]))
        median = {shell: statistics.median(seconds) for shell, seconds in times.items()}
        result[mode] = median
        ratio = median["orsql"] / median["duckdb"]
        print(f"| {mode} | {median['orsql']:.2f} | {median['duckdb']:.2f} | {ratio:.2f} |", flush=True)
    with open(output, "w", encoding="utf-8") as file:
        json.dump(result, file, indent=1)


if __name__ == "__main__":
    main()
