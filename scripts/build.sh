#!/bin/bash
# build.sh PRESET [TARGET...]: configures build/PRESET where that was not done yet, or was done with
# another DUCKDB_ROOT, and builds the targets (without any, what the preset names).
source "$(dirname "$0")/common.sh"

preset=${1:?usage: build.sh PRESET [TARGET...]}
shift
cd "$SOURCE_DIR"

build="build/$preset"
settings="DUCKDB_ROOT=${DUCKDB_ROOT:-} ORLIMBARA_DEPS=${ORLIMBARA_DEPS:+$DEPS}"
if [[ ! -f $build/build.ninja || ! -f $build/.settings || $(<"$build/.settings") != "$settings" ]]; then
    say "configuring $build"
    cmake --preset "$preset" -DDUCKDB_ROOT="${DUCKDB_ROOT:-}" -DORLIMBARA_DEPS="${ORLIMBARA_DEPS:+$DEPS}" \
        >/dev/null
    printf '%s\n' "$settings" >"$build/.settings"
fi

say "building $build"
targets=()
[[ $# -eq 0 ]] || targets=(--target "$@")
cmake --build --preset "$preset" --parallel "${JOBS:-$(nproc)}" "${targets[@]}"
