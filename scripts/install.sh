#!/bin/bash
# install.sh [BUILD]: installs BUILD (build/release) below DESTDIR and PREFIX (/usr/local unless told), and writes
# down in LIBDIR/orlimbara/manifest.txt what it made, for uninstall.sh.
source "$(dirname "$0")/common.sh"

build=$(realpath "${1:-$SOURCE_DIR/build/release}")
[[ -f $build/cmake_install.cmake ]] || die "nothing is built in $build"

prefix=${PREFIX:-/usr/local}
[[ $prefix == /* ]] || die "PREFIX must be an absolute path, not '$prefix'"
root="${DESTDIR:-}$prefix"

# The folder, or the nearest one above it that is there, must let us write.
folder=$root
while [[ ! -e $folder ]]; do folder=$(dirname "$folder"); done
[[ -d $folder ]] || die "can't install into $root: $folder is not a folder"
[[ -w $folder ]] || die "can't install into $root: $folder can't be written"

stage=$(mktemp -d "$build/stage.XXXXXX")
trap 'rm -rf "$stage"' EXIT
log="$stage.log"
run_cmake() {
    env -u DESTDIR cmake --install "$build" --prefix "$1" >"$log" 2>&1 ||
        die "can't install into $1: $(sed -n '/^CMake Error/,/^$/{/^CMake Error/!p}' "$log" | xargs echo)"
    rm -f "$log"
}

# A first run aside tells which files and folders there will be.
run_cmake "$stage"
library=$(cd "$stage" && find . -name orlimbara_duckdb.so -printf '%P\n')
manifest="$(dirname "$library")/manifest.txt"
{
    (cd "$stage" && find . ! -type d -printf '%P\n')
    printf '%s\n' "$manifest"
    (cd "$stage" && find . -mindepth 1 -type d -printf '%P/\n') | while IFS= read -r made; do
        [[ -d $root/$made ]] || printf '%s\n' "$made"
    done
    # What an earlier installation made is still ours.
    [[ ! -f $root/$manifest ]] || cat "$root/$manifest"
} | LC_ALL=C sort -u >"$stage/list"

run_cmake "$root"
cp "$stage/list" "$root/$manifest" || die "can't write $root/$manifest"
say "installed into $root"
