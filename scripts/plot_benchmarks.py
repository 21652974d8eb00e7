#!/usr/bin/env python3
"""plot_benchmarks.py [BENCH_JSON [MEMORY_JSON]]: brings docs/performance.md and its picture up to date.

Reads what scripts/run_benchmarks.sh wrote (build/bench.json, build/bench-memory.json), writes
docs/performance.svg, and replaces the tables between the marks in docs/performance.md. Types whose
measurement is missing are left out.
"""

import json
import math
import pathlib
import sys
from xml.sax.saxutils import escape

ROOT = pathlib.Path(__file__).resolve().parent.parent
PAGE = ROOT / "docs" / "performance.md"
PICTURE = ROOT / "docs" / "performance.svg"

# Subject, colour, what the picture calls it. Drawn in this order, so that the floor lies below the cursors.
SERIES = [
    ("Reference", "#c2410c", "one DuckDB value a cell"),
    ("FloorKept", "#9ca3af", "plain loop, values kept"),
    ("Floor", "#374151", "plain loop, values dropped"),
    ("Client", "#16a34a", "client cursor"),
    ("Server", "#2563eb", "server cursor"),
]


def read_cells(path):
    """Nanoseconds a cell, by type and subject, and the context of the run."""
    result = json.loads(path.read_text(encoding="utf-8"))
    cells = {}
    for entry in result["benchmarks"]:
        subject, _, kind = entry["name"].partition("/")
        if entry.get("program", "bench_cells") == "bench_cells" and kind:
            cells.setdefault(kind, {})[subject] = 1e9 / entry["items_per_second"]
    needed = {name for name, _, _ in SERIES}
    return {kind: times for kind, times in cells.items() if needed <= times.keys()}, result["context"]


def table(head, rows):
    lines = ["| " + " | ".join(head) + " |", "|---" + "|---:" * (len(head) - 1) + "|"]
    return "\n".join(lines + ["| " + " | ".join(row) + " |" for row in rows])


def number(value):
    return f"{value:,.0f}" if value >= 99.5 else f"{value:.1f}"


def cell_table(cells):
    def row(kind, t):
        return [
            kind,
            *(number(t[name]) for name in ("Floor", "Server")),
            f"{t['Server'] / t['Floor']:.2f}",
            *(number(t[name]) for name in ("FloorKept", "Client")),
            f"{t['Client'] / t['FloorKept']:.2f}",
            number(t["Reference"]),
            f"{t['Reference'] / t['Server']:.1f}",
        ]

    head = ["Type", "Floor", "Server", "ratio", "Floor, kept", "Client", "ratio", "Reference", "times Server"]
    return table(head, [row(kind, times) for kind, times in cells.items()])


def first_table(cells):
    names = ("FirstRow", "FirstRowReference", "FirstPage", "FirstPageReference", "Server")
    head = ["Type", "First row", "by reference", "First 50 rows", "by reference", "All rows"]
    rows = [[kind, *(number(t[name]) for name in names)] for kind, t in cells.items() if set(names) <= t.keys()]
    return table(head, rows)


def machine(context):
    cpu = context.get("cpu", "an unnamed processor")
    facts = [f"{cpu}, {context['num_cpus']} logical processors"]
    facts += [context[key] for key in ("duckdb", "compiler") if key in context]
    facts.append("run on " + context["date"][:10])
    return "; ".join(facts) + "."


def memory_table(path):
    peak = json.loads(path.read_text(encoding="utf-8"))

    def row(name, prefix):
        server, floor = peak[prefix + "server"], peak[prefix + "floor"]
        return [name, f"{floor / 2**20:.1f}", f"{server / 2**20:.1f}", f"{server / floor:.3f}"]

    return table(
        ["Peak resident memory, MiB", "Floor", "Server", "ratio"],
        [row("BIGINT, text and DATE", ""), row("long lists", "lists_")],
    ) + f"\n\nA client cursor of ten million BIGINT cells adds {peak['client_bytes_per_cell']} bytes per cell."


def replace(page, mark, text):
    begin, end = f"<!-- {mark} -->\n", f"\n<!-- end of {mark} -->"
    head, found, rest = page.partition(begin)
    _, found_end, tail = rest.partition(end)
    if not found or not found_end:
        raise SystemExit(f"{PAGE}: no marks for {mark}")
    return head + begin + text + end + tail


def picture(cells):
    left, right, top, step = 130, 24, 74, 19
    width, height = 900, top + step * len(cells) + 46
    times = [times[name] for times in cells.values() for name, _, _ in SERIES]
    low, high = math.log10(min(times)) - 0.05, math.log10(max(times)) + 0.05

    def x_of(value):
        return left + (math.log10(value) - low) / (high - low) * (width - left - right)

    out = [
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" width="{width}" height="{height}"'
        ' font-family="Helvetica, Arial, sans-serif" font-size="12" fill="#111827">',
        f'<rect width="{width}" height="{height}" fill="#ffffff"/>',
        f'<text x="{left}" y="22" font-size="15" font-weight="bold">Nanoseconds a cell, by type (logarithmic)</text>',
    ]
    x = left
    for name, colour, title in reversed(SERIES):
        out.append(f'<circle cx="{x + 5}" cy="42" r="5" fill="{colour}"/>')
        out.append(f'<text x="{x + 15}" y="46">{escape(title)}</text>')
        x += 32 + 6.2 * len(title)

    bottom = top + step * len(cells)
    for power in range(math.floor(low), math.ceil(high) + 1):
        for digit in (1, 2, 5):
            value = digit * 10.0**power
            if low <= math.log10(value) <= high:
                shade = "#d1d5db" if digit == 1 else "#eef0f3"
                at = f"{x_of(value):.1f}"
                out.append(f'<line x1="{at}" y1="{top - 8}" x2="{at}" y2="{bottom}" stroke="{shade}"/>')
                out.append(f'<text x="{at}" y="{bottom + 18}" text-anchor="middle">{value:,.0f}</text>')
    for index, (kind, t) in enumerate(cells.items()):
        y = top + step * index + step / 2
        ends = [x_of(t["Floor"]), x_of(t["Reference"])]
        out.append(f'<text x="{left - 10}" y="{y + 4}" text-anchor="end">{escape(kind)}</text>')
        out.append(
            f'<line x1="{min(ends):.1f}" y1="{y}" x2="{max(ends):.1f}" y2="{y}" stroke="#e5e7eb" stroke-width="3"/>'
        )
        for name, colour, _ in SERIES:
            out.append(f'<circle cx="{x_of(t[name]):.1f}" cy="{y}" r="5" fill="{colour}" fill-opacity="0.85"/>')
    out.append("</svg>\n")
    return "\n".join(out)


def main():
    arguments = [pathlib.Path(argument) for argument in sys.argv[1:]]
    bench = arguments[0] if arguments else ROOT / "build" / "bench.json"
    memory = arguments[1] if len(arguments) > 1 else ROOT / "build" / "bench-memory.json"
    cells, context = read_cells(bench)
    PICTURE.write_text(picture(cells), encoding="utf-8")
    page = PAGE.read_text(encoding="utf-8")
    page = replace(page, "machine", machine(context))
    page = replace(page, "cells", cell_table(cells))
    page = replace(page, "first rows", first_table(cells))
    page = replace(page, "memory", memory_table(memory))
    PAGE.write_text(page, encoding="utf-8")


if __name__ == "__main__":
    main()
