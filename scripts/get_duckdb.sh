#!/bin/bash
# Puts the pinned DuckDB into .deps/duckdb-VERSION/{include,lib}: the library prebuilt (on AArch64 linked from
# prebuilt parts), the headers from the source distribution. Does nothing where it is there, or where DUCKDB_ROOT names another one.
source "$(dirname "$0")/common.sh"

[[ -z ${DUCKDB_ROOT:-} ]] || exit 0
target="$DEPS/duckdb-$DUCKDB_VERSION"
[[ ! -e $target ]] || exit 0

system="$(uname -s)-$(uname -m)"
[[ $system == Linux-x86_64 || $system == Linux-aarch64 ]] ||
    die "there is no package of DuckDB for $(uname -s) on $(uname -m): set DUCKDB_ROOT to a folder with include/ and lib/ of DuckDB $DUCKDB_VERSION"

say "fetching DuckDB $DUCKDB_VERSION"
make_scratch
mkdir -p "$scratch/duckdb/lib" "$scratch/duckdb/include"

if [[ $system == Linux-x86_64 ]]; then
    fetch_npm "$DUCKDB_LIBRARY_PACKAGE" "$DUCKDB_LIBRARY_VERSION" "$DUCKDB_LIBRARY_SHA256" library.tgz
    tar -xzf "$scratch/library.tgz" --no-same-owner -C "$scratch/duckdb/lib" \
        --strip-components=1 package/libduckdb.so
else
    # No package of this version holds the library itself. This one holds the archives that it is made of.
    name="$DUCKDB_ARM64_MODULE $DUCKDB_ARM64_VERSION" log="$scratch/go.log"
    (cd "$scratch" && GOMODCACHE="$scratch/go" GOFLAGS=-modcacherw \
        go mod download "$DUCKDB_ARM64_MODULE@$DUCKDB_ARM64_VERSION") >"$log" 2>&1 </dev/null ||
        die "$name: go mod download failed: $(tail -n 1 "$log")"
    check_sha256 "$scratch/go/cache/download/$DUCKDB_ARM64_MODULE/@v/$DUCKDB_ARM64_VERSION.zip" \
        "$DUCKDB_ARM64_SHA256" "$name"
    parts="$scratch/go/$DUCKDB_ARM64_MODULE@$DUCKDB_ARM64_VERSION"
    g++ -shared -o "$scratch/duckdb/lib/libduckdb.so" -Wl,-soname,libduckdb.so \
        -Wl,--whole-archive "$parts"/libduckdb_{static,generated_extension_loader}.a -Wl,--no-whole-archive \
        -Wl,--start-group "$parts"/*.a -Wl,--end-group >"$log" 2>&1 ||
        die "$name: linking libduckdb.so failed: $(tail -n 1 "$log")"
fi

# pip compares the checksum before it looks into the archive.
printf 'duckdb==%s --hash=sha256:%s\n' "$DUCKDB_VERSION" "$DUCKDB_HEADERS_SHA256" >"$scratch/headers.txt"
log="$scratch/pip.log"
if ! python3 -m pip download --quiet --disable-pip-version-check --no-deps --no-binary duckdb \
    --dest "$scratch" -r "$scratch/headers.txt" >"$log" 2>&1 </dev/null; then
    found=$(sed -n 's/^ *Got *\([0-9a-f]\{64\}\)$/\1/p' "$log" | head -n 1)
    [[ -z $found ]] ||
        die "duckdb $DUCKDB_VERSION (headers): the archive's SHA-256 is $found, but $DUCKDB_HEADERS_SHA256 is pinned"
    die "duckdb $DUCKDB_VERSION (headers): pip download failed: $(grep -m 1 -i error "$log" || tail -n 1 "$log")"
fi
archive="$scratch/duckdb-$DUCKDB_VERSION.tar.gz"
check_sha256 "$archive" "$DUCKDB_HEADERS_SHA256" "duckdb $DUCKDB_VERSION (headers)"
tar -xzf "$archive" --no-same-owner -C "$scratch/duckdb/include" --strip-components=5 \
    "duckdb-$DUCKDB_VERSION/external/duckdb/src/include"

mv -T "$scratch/duckdb" "$target"
