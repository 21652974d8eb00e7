#!/bin/bash
# test.sh PRESET...: builds and tests each preset; goes on after a failure and fails at the end.
source "$(dirname "$0")/common.sh"

[[ $# -gt 0 ]] || die "usage: test.sh PRESET..."
cd "$SOURCE_DIR"

# Where address space is laid out at random over many bits, the sanitizers' fixed shadow can collide with it.
fixed_layout=()
if setarch "$(uname -m)" -R true 2>/dev/null; then
    fixed_layout=(setarch "$(uname -m)" -R)
fi

summary=()
status=0
for preset in "$@"; do
    if ! scripts/build.sh "$preset"; then
        summary+=("$preset: the build failed")
        status=1
        continue
    fi
    say "testing $preset"
    launch=()
    [[ $preset == release ]] || launch=("${fixed_layout[@]}")
    log="build/$preset/test.log"
    if "${launch[@]}" ctest --preset "$preset" --parallel "${JOBS:-$(nproc)}" </dev/null 2>&1 | tee "$log"; then
        verdict=passed
    else
        verdict=FAILED
        status=1
    fi
    counts=$(grep -E '^[0-9]+% tests passed' "$log" || echo "no test was run")
    summary+=("$preset: $verdict ($counts)")
done

say "summary"
printf '   %s\n' "${summary[@]}"
exit "$status"
