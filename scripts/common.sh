# shellcheck shell=bash
# Shared by the scripts here: where things are, the pins, and how to speak. Sourced, not run.

set -euo pipefail

SOURCE_DIR=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# Where fetched things go; an absolute path, because CMake gets it too.
DEPS=$(realpath -m "${ORLIMBARA_DEPS:-$SOURCE_DIR/.deps}")

source "$SOURCE_DIR/scripts/pins.env"

say() {
    printf '== %s\n' "$*"
}

die() {
    printf 'error: %s\n' "$*" >&2
    exit 1
}

# A scratch folder inside $DEPS, so that a finished part can be moved into place in one step and a
# failure leaves nothing behind. Sets $scratch.
make_scratch() {
    mkdir -p "$DEPS"
    scratch=$(mktemp -d "$DEPS/.fetch.XXXXXX")
    trap 'rm -rf "$scratch"' EXIT
}

# check_sha256 FILE SUM NAME: stops with one line where FILE is not what was pinned.
check_sha256() {
    local found
    found=$(sha256sum "$1" | cut -d' ' -f1)
    [[ $found == "$2" ]] || die "$3: the archive's SHA-256 is $found, but $2 is pinned"
}

# fetch_npm PACKAGE VERSION SHA256 FILE: puts one package's archive, checked, at $scratch/FILE.
fetch_npm() {
    local name="$1 $2" log="$scratch/npm.log" archives
    mkdir "$scratch/npm"
    if ! npm pack --loglevel=error --ignore-scripts --pack-destination "$scratch/npm" "$1@$2" \
        >"$log" 2>&1 </dev/null; then
        die "$name: npm pack failed: $(grep '^npm' "$log" | grep -m 1 -vE ' (code|errno|syscall) ' || tail -n 1 "$log")"
    fi
    archives=("$scratch"/npm/*.tgz)
    [[ -f ${archives[0]} ]] || die "$name: npm pack gave no archive"
    check_sha256 "${archives[0]}" "$3" "$name"
    mv "${archives[0]}" "$scratch/$4"
    rmdir "$scratch/npm"
}
