#!/usr/bin/env python3
"""measure_sources.py: counts and shape of the sources, and how much test there is for the code.

A line counts as code where something is left of it without its comment, and as comment where nothing but a
comment is on it. Fuzzers, campaigns and scripts that test count as tests; benchmarks count on neither side.
"""

import pathlib
import re
import statistics
import subprocess

TOP = pathlib.Path(__file__).resolve().parent.parent
PRODUCT = ["host", "host_standin", "duckdb_support", "object_support", "extension", "database", "statement",
           "result", "procedures", "shell"]
TESTS = ["tests", "fuzz"]
TESTING_SCRIPTS = ["scripts/soak.sh", "scripts/test.sh"]
SOURCES = {".h", ".cpp", ".c", ".in"}
SCRIPTS = {".py", ".sh"}

CPP_TOKEN = re.compile(r'R"(?P<tag>[^(\s]*)\(.*?\)(?P=tag)"|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])+\''
                       r"|(?P<comment>//[^\n]*|/\*.*?\*/)", re.DOTALL)
SCRIPT_TOKEN = re.compile(r"(?P<comment>(?<!\S)#[^\n]*)")


def count(path):
    """(code lines, comment lines, all lines) of a file."""
    text = path.read_text()
    token = CPP_TOKEN if path.suffix in SOURCES else SCRIPT_TOKEN
    lines = text.splitlines()
    code = token.sub(lambda match: "\n" * match.group().count("\n") if match["comment"] else match.group(),
                     text).splitlines()
    code += [""] * (len(lines) - len(code))
    used = sum(1 for line in code if line.strip())
    comments = sum(1 for line, left in zip(lines, code) if line.strip() and not left.strip())
    return used, comments, len(lines)


def longest_chain(files):
    """The files of the longest chain of includes, each including the next."""
    includes = {str(file): [name for name in re.findall(r'^#include "([^"]+)"', (TOP / file).read_text(), re.M)]
                for file in files}
    known = {}

    def chain(file):
        if file not in known:
            known[file] = []  # a header that includes itself in a circle ends the chain
            below = max((chain(name) for name in includes[file] if name in includes), key=len, default=[])
            known[file] = [file, *below]
        return known[file]

    return max((chain(file) for file in includes), key=len)


def main():
    listing = subprocess.run(["git", "ls-files", "-co", "--exclude-standard"], cwd=TOP, capture_output=True,
                             text=True, check=True)
    tracked = [pathlib.Path(name) for name in listing.stdout.splitlines() if (TOP / name).is_file()]

    def files_of(folder, kinds):
        return [file for file in tracked if file.parts[0] == folder and file.suffix in kinds]

    row = "{:16} {:>6} {:>6} {:>8} {:>6} {:>5} {:>5} {:>9}".format
    print(row("folder", "files", "lines", "code", "median", "p90", "max", "comment %"))
    product, every = [], []
    for folder in PRODUCT + TESTS + ["benchmarks"]:
        counts = [count(TOP / file) for file in files_of(folder, SOURCES)]
        if counts:
            every.append((folder, counts))
    every.append(("product", [pair for folder, counts in every if folder in PRODUCT for pair in counts]))
    for folder, counts in every:
        lengths = sorted(lines for _, _, lines in counts)
        code, comments = (sum(column) for column in list(zip(*counts))[:2])
        print(row(folder, len(counts), sum(lengths), code, int(statistics.median(lengths)),
                  lengths[int(0.9 * (len(lengths) - 1))], lengths[-1],
                  f"{100 * comments / (code + comments):.0f}"))

    product = [file for folder in PRODUCT for file in files_of(folder, SOURCES)]
    chain = longest_chain(product)
    print(f"\nlongest include chain: {len(chain)} files: {' > '.join(chain)}")
    for what, is_odd in (("under 25 lines", lambda n: n < 25), ("over 400 lines", lambda n: n > 400)):
        odd = [str(file) for file in product if is_odd(count(TOP / file)[2])]
        print(f"{what}: {len(odd)} files of the product{': ' * bool(odd)}{', '.join(odd)}")

    tests = [file for folder in TESTS for file in files_of(folder, SOURCES | SCRIPTS)]
    tests += [file for file in tracked if str(file) in TESTING_SCRIPTS]
    product_lines, test_lines = (sum(count(TOP / file)[0] for file in files) for files in (product, tests))
    print(f"\ntests: {test_lines} lines of code for {product_lines} of the product: "
          f"{100 * test_lines / product_lines:.1f} per 100")


if __name__ == "__main__":
    main()
