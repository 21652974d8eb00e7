#!/bin/bash
# install_test.sh BUILD FLIGHTS: installs BUILD, moves the tree, and uses it from there as people do.
set -euo pipefail
build=$(realpath "$1")
flights=$2
source=$(realpath "$(dirname "$0")/../..")

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

expect() {
    [[ $2 == "$3" ]] || { printf 'FAILED: %s: "%s", not "%s"\n' "$1" "$2" "$3"; exit 1; }
}

# A prefix that was there before: what was in it stays, and the folder of another's manual pages too.
mkdir -p "$folder/root/a prefix/share/man/man1"
touch "$folder/root/a prefix/share/man/man1/other.1"
DESTDIR="$folder/root" PREFIX="/a prefix" "$source/scripts/install.sh" "$build"
prefix="$folder/moved here"
mv "$folder/root/a prefix" "$prefix"
expect "files that name the build's folders" "$(grep -rlF -e "$source" -e "$build" "$prefix" || true)" ""

cd "$folder"
expect "orsql finds the module" "$("$prefix/bin/orsql" -c 'SELECT 42 AS n')" $'n\n42'
ln -s "$prefix/bin/orsql" link
expect "orsql through a link" "$(./link --no-header -c 'SELECT 42')" 42
mv "$prefix/lib/orlimbara/libduckdb.so" kept
reason=$("$prefix/bin/orsql" -c 'SELECT 1' 2>&1) && expect "a missing library" "no failure" "a failure"
expect "a missing library is told in one line" "${reason%%:*} $(wc -l <<<"$reason")" "error 1"
mv kept "$prefix/lib/orlimbara/libduckdb.so"

cp -R "$prefix/share/doc/orlimbara-duckdb/examples/host" hosts
cmake -G Ninja -S hosts -B hosts/build -DCMAKE_PREFIX_PATH="$prefix" -DPARQUET_FILE="$flights" >log || { cat log; exit 1; }
cmake --build hosts/build >log || { cat log; exit 1; }
(cd hosts/build && ctest --output-on-failure)

export PKG_CONFIG_PATH="$prefix/lib/pkgconfig"
eval "c++ -std=c++20 hosts/1_smallest_host.cpp -o with_pkg_config $(pkg-config --cflags --libs orlimbara_duckdb) -ldl"
module=$(pkg-config --variable=module orlimbara_duckdb)
expect "a host built with pkg-config" "$(./with_pkg_config "${module//\\/}" | tail -n 1)" "3 squared is 9"

PREFIX="$prefix" "$source/scripts/uninstall.sh"
expect "what is left" "$(find "$prefix" ! -type d -printf '%P\n')" "share/man/man1/other.1"
expect "a folder that isn't ours" "$(find "$prefix" -type d -printf '%P\n' | sort | xargs)" "share share/man share/man/man1"
expect "a second time" "$(PREFIX="$prefix" "$source/scripts/uninstall.sh" 2>&1 | cut -c1-25)" "error: nothing to remove:"

if [[ $(id -u) -ne 0 ]]; then
    expect "no right to write" "$(PREFIX=/usr "$source/scripts/install.sh" "$build" 2>&1)" \
        "error: can't install into /usr: /usr can't be written"
fi
expect "a file in the way" "$(PREFIX=/etc/passwd/x "$source/scripts/install.sh" "$build" 2>&1)" \
    "error: can't install into /etc/passwd/x: /etc/passwd is not a folder"
