#!/bin/bash
# windows.sh: builds DuckDB for Windows once, into .deps/duckdb-windows-VERSION, and in build/windows-linked the
# host's library, the module, orsql, the example hosts and the suites. Runs them under Wine, and compares the
# demonstration with that of the release build where there is one. docs/windows.md tells how long it takes.
source "$(dirname "$0")/common.sh"

cd "$SOURCE_DIR"
libraries="$DEPS/duckdb-windows-$DUCKDB_VERSION"
wine=$(command -v wine64 || echo /usr/lib/wine/wine64)

if [[ ! -f $libraries/libicu_extension.a ]]; then
    say "building DuckDB $DUCKDB_VERSION for Windows (about 90 minutes on one core)"
    work="$DEPS/duckdb-windows-build" # kept after a failure, so that a next call goes on
    mkdir -p "$work"
    printf 'duckdb==%s --hash=sha256:%s\n' "$DUCKDB_VERSION" "$DUCKDB_HEADERS_SHA256" >"$work/source.txt"
    [[ -f $work/duckdb-$DUCKDB_VERSION.tar.gz ]] ||
        python3 -m pip download --quiet --disable-pip-version-check --no-deps --no-binary duckdb --dest "$work" \
            -r "$work/source.txt" || die "duckdb $DUCKDB_VERSION: pip download failed"
    check_sha256 "$work/duckdb-$DUCKDB_VERSION.tar.gz" "$DUCKDB_HEADERS_SHA256" "duckdb $DUCKDB_VERSION"
    tar -xzf "$work/duckdb-$DUCKDB_VERSION.tar.gz" --no-same-owner -C "$work"
    cmake -G Ninja -S "$work/duckdb-$DUCKDB_VERSION/external/duckdb" -B "$work/build" \
        --toolchain "$SOURCE_DIR/cmake/WindowsToolchain.cmake" -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_C_FLAGS_RELEASE="-O1 -DNDEBUG" -DCMAKE_CXX_FLAGS_RELEASE="-O1 -DNDEBUG" \
        -DBUILD_SHELL=OFF -DBUILD_UNITTESTS=OFF -DENABLE_SANITIZER=OFF -DENABLE_UBSAN=OFF \
        "-DBUILD_EXTENSIONS=parquet;core_functions;json;icu" "-DOVERRIDE_GIT_DESCRIBE=v$DUCKDB_VERSION" \
        -DDUCKDB_EXPLICIT_PLATFORM=windows_amd64_mingw
    ninja -C "$work/build" -j "${JOBS:-$(nproc)}" duckdb_static duckdb_generated_extension_loader \
        parquet_extension core_functions_extension json_extension icu_extension
    mkdir -p "$work/libraries"
    find "$work/build" -name '*.a' ! -name '*.dll.a' ! -name '*dummy*' -exec cp -t "$work/libraries" {} +
    # Where DuckDB's objects ask to be exported from the DLL they end up in: the module exports two names alone.
    for library in "$work"/libraries/*.a; do
        x86_64-w64-mingw32-objcopy --remove-section .drectve "$library"
    done
    rm -rf "$libraries" # one of a former version of this script
    mv -T "$work/libraries" "$libraries"
    rm -rf "$work"
fi

build=build/windows-linked
say "building $build"
cmake --preset windows -B "$build" -DORLIMBARA_DEPS="$DEPS" -DORLIMBARA_WINDOWS_DUCKDB="$libraries" >/dev/null
cmake --build "$build" --parallel "${JOBS:-$(nproc)}"
for library in libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll; do
    file=$(x86_64-w64-mingw32-g++-posix -print-file-name="$library")
    [[ -f $file ]] || file="/usr/x86_64-w64-mingw32/lib/$library"
    cp "$file" "$build/bin"
done

say "exports of the module"
x86_64-w64-mingw32-objdump -p "$build/bin/orlimbara_duckdb.dll" | sed -n '/Ordinal\/Name Pointer/,/^$/p' | grep '\[.*\] [a-z]'
[[ -x $wine ]] || die "wine64 is not installed: nothing was run"
export WINEDEBUG=-all WINEDLLOVERRIDES=winedbg.exe=d # a crash ends with a failure
cp "$DEPS/data/flights-3m.parquet" "$build/bin"
for host in 1_smallest_host 2_values_and_variant 3_threads 4_c_host; do
    say "$host"
    arguments=(orlimbara_duckdb.dll)
    [[ $host != 4_c_host ]] || arguments+=(flights-3m.parquet)
    (cd "$build/bin" && timeout 120 "$wine" "$host.exe" "${arguments[@]}") || die "$host failed under Wine"
done

say "the demonstration"
printf '#!/bin/sh\nexec "%s" "%s" "$@"\n' "$wine" "$PWD/$build/bin/orsql.exe" >"$build/orsql"
chmod +x "$build/orsql"
scripts/run_demo.sh "$build/orsql" >"$build/demo.txt" 2>&1 || die "the demonstration failed under Wine: $build/demo.txt"
if [[ -x build/release/bin/orsql ]]; then
    # But for times, the temporary folder, and the widths of boxes that show its path.
    plain() { sed -E 's/^time: .*//; s|Z:||; s|/tmp\.[A-Za-z0-9]+/|/|; s/(─| )+/ /g'; }
    scripts/run_demo.sh 2>&1 | plain | diff - <(plain <"$build/demo.txt") || die "it prints something else than on Linux"
    say "its output is that of the Linux build"
fi

say "the suites"
ctest --test-dir "$build" --output-on-failure
