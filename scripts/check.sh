#!/bin/bash
# check.sh [PART...]: checks the sources without running them; all parts (format, scripts, tidy) if none is named.
# "check.sh fix" formats the sources instead.
source "$(dirname "$0")/common.sh"

cd "$SOURCE_DIR"

# files PATTERN...: the project's files, also those that aren't committed yet, each ended by a zero byte.
files() {
    local file
    git ls-files -z -co --exclude-standard -- "$@" | while IFS= read -r -d '' file; do
        [[ ! -f $file ]] || printf '%s\0' "$file"
    done
}

check() {
    case $1 in
    fix) files '*.h' '*.cpp' '*.c' | xargs -0 clang-format-14 -i ;;
    format) files '*.h' '*.cpp' '*.c' | xargs -0 clang-format-14 --dry-run --Werror ;;
    scripts) files '*.sh' .ci/run | xargs -0 shellcheck -x -P SCRIPTDIR ;;
    # This target brings the compile commands up to date, and what CMake generates.
    tidy)
        scripts/build.sh check build.ninja >/dev/null
        scripts/run_clang_tidy.py build/check host_standin duckdb_support object_support extension database \
            statement result procedures shell benchmarks fuzz
        ;;
    *) die "usage: check.sh [format] [scripts] [tidy], or check.sh fix" ;;
    esac
}

[[ $# -gt 0 ]] || set -- format scripts tidy
status=0
for part in "$@"; do
    say "$part"
    check "$part" || status=1
done
exit "$status"
