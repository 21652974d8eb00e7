#!/usr/bin/env python3
"""merge_benchmarks.py FOLDER OUTPUT: merges the Google Benchmark results in FOLDER/*.json into one file.

Each benchmark is given its program's name; the context is that of the first program, with what others add.
"""

import json
import pathlib
import sys


def merge(folder):
    merged = {"context": None, "benchmarks": []}
    for path in sorted(folder.glob("*.json")):
        text = path.read_text(encoding="utf-8")
        if not text.strip():  # a filter that matches nothing leaves an empty file
            continue
        result = json.loads(text)
        merged["context"] = {**result["context"], **(merged["context"] or {})}
        merged["benchmarks"] += [{"program": path.stem, **entry} for entry in result["benchmarks"]]
    return merged


def main():
    folder, output = map(pathlib.Path, sys.argv[1:])
    output.write_text(json.dumps(merge(folder), indent=1) + "\n", encoding="utf-8")


if __name__ == "__main__":
    main()
