#!/bin/bash
# coverage.sh BUILD: the branches that were taken, by folder, from gcov's counts below BUILD. Those of exceptions, and those
# that gcovr knows the compiler to have made, aren't counted. Lists the others in BUILD/coverage.txt.
source "$(dirname "$0")/common.sh"

build=${1:?usage: coverage.sh BUILD}
cd "$SOURCE_DIR"

gcovr --root . --object-directory "$build" -j "${JOBS:-$(nproc)}" \
    --exclude-throw-branches --exclude-unreachable-branches --exclude '(tests|fuzz|benchmarks|build)/' \
    --branches --txt "$build/coverage.txt" --csv "$build/coverage.csv" 2>"$build/gcovr.log" ||
    die "gcovr failed; see $build/gcovr.log"

# A header has one row for each of the links below roots/ that it was included by: the best one counts.
awk -F, -v module="object_support duckdb_support extension database statement result procedures" '
    NR == 1 { for (i = 1; i <= NF; i++) field[$i] = i; next }
    {
        name = $field["filename"]
        sub(/^build\/[^\/]*\/roots\/[^\/]*\//, "", name)
        all[name] = $field["branch_total"]
        if (best[name] < $field["branch_covered"]) best[name] = $field["branch_covered"]
    }
    END {
        for (name in all) {
            split(name, path, "/")
            total[path[1]] += all[name]; taken[path[1]] += best[name]
            if (index(" " module " ", " " path[1] " ")) { total["module"] += all[name]; taken["module"] += best[name] }
        }
        count = split(module " module host_standin shell", group, " ")
        for (i = 1; i <= count; i++)
            if (total[group[i]])
                printf "%-15s%6d of%6d branches %5.1f %%\n", group[i], taken[group[i]], total[group[i]],
                    100 * taken[group[i]] / total[group[i]]
    }' "$build/coverage.csv"
