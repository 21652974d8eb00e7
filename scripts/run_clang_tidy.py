#!/usr/bin/env python3
"""run_clang_tidy.py BUILD_DIR FOLDER...: runs clang-tidy over the sources of the folders, and fails on any
finding.

A source that had none is checked again only after it, a header that it includes, its compile command, or
.clang-tidy changed; build/tidy/ remembers.
"""

import hashlib
import json
import os
import pathlib
import shlex
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor

TOP = pathlib.Path(__file__).resolve().parent.parent
TIDY, COMPILER = "clang-tidy-14", "clang++-14"
CLEAN = TOP / "build" / "tidy"


def key_of(entry):
    """A hash of everything that the findings on a source depend on; None where it can't be preprocessed."""
    command = shlex.split(entry["command"])
    arguments = command[next(i for i, word in enumerate(command) if "++" in word or word.endswith("cc")) + 1:]
    output = arguments.index("-o")
    del arguments[output:output + 2]
    listing = subprocess.run([COMPILER, "-w", "-MM", *arguments], cwd=entry["directory"],
                             capture_output=True, text=True)
    if listing.returncode != 0:
        return None
    digest = hashlib.sha256(" ".join(arguments).encode())
    files = shlex.split(listing.stdout.split(":", 1)[1].replace("\\\n", " "))
    for file in [TOP / ".clang-tidy", *(pathlib.Path(entry["directory"], name) for name in files)]:
        digest.update(hashlib.sha256(file.read_bytes()).digest())
    return digest.hexdigest()


def check(build, entry):
    key = key_of(entry)
    if key and (CLEAN / key).exists():
        return ""
    run = subprocess.run([TIDY, "--quiet", "-p", build, "--warnings-as-errors=*",
                          "--extra-arg=-Wno-unknown-warning-option", entry["file"]],
                         capture_output=True, text=True)
    if run.returncode == 0 and key:
        (CLEAN / key).touch()
    return "" if run.returncode == 0 else run.stdout or run.stderr


def main():
    build, *folders = sys.argv[1:]
    entries = [entry for entry in json.loads(pathlib.Path(build, "compile_commands.json").read_text())
               if entry["file"].endswith(".cpp")]
    inside = tuple(f"{TOP / folder}/" for folder in folders)
    entries = [entry for entry in entries if entry["file"].startswith(inside)]
    # A source that several targets compile is checked once.
    entries = list({entry["file"]: entry for entry in entries}.values())
    CLEAN.mkdir(parents=True, exist_ok=True)
    jobs = int(os.environ.get("JOBS") or os.cpu_count())
    with ThreadPoolExecutor(jobs) as pool:
        count = 0
        for findings in pool.map(lambda entry: check(build, entry), entries):
            if findings:
                count += 1
                print(findings, flush=True)
    print(f"clang-tidy: {len(entries)} sources, {count} with findings")
    return 1 if count else 0


if __name__ == "__main__":
    sys.exit(main())
