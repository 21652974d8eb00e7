#!/bin/bash
# soak.sh SECONDS [CAMPAIGN...]: builds and runs campaigns one after the other, all without names, each with the same
# part of the time. SEED sets their seed.
source "$(dirname "$0")/common.sh"

seconds=${1:?usage: soak.sh SECONDS [CAMPAIGN...]}
shift
[[ $# -gt 0 ]] || set -- kill_writers kill_restores damage_files full_disk memory lifetimes races fuzz_envelope fuzz_splitter
cd "$SOURCE_DIR"
scripts/get_packages.sh soak
seed=${SEED:-$((RANDOM * 32768 + RANDOM))}
share=$((seconds / $#))
export TSAN_OPTIONS=ignore_noninstrumented_modules=1

status=0
for campaign in "$@"; do
    case $campaign in
    memory) build=(release objects) run=(objects "$campaign" "$share") ;; # tries all, from the first
    lifetimes) build=(asan objects) run=(objects "$campaign" "$share" "$seed") ;;
    races) build=(tsan objects) run=(objects "$campaign" "$share" "$seed") ;;
    fuzz_*)
        mkdir -p "build/fuzz/found/$campaign"
        build=(fuzz "$campaign")
        run=("$campaign" -seed="$seed" -max_total_time="$share" -verbosity=0 -print_final_stats=1
            -artifact_prefix="build/fuzz/found/" "build/fuzz/found/$campaign" "fuzz/corpus/$campaign")
        ;;
    *) build=(release orsql orlimbara_duckdb) run=() ;;
    esac
    scripts/build.sh "${build[@]}"
    if [[ ${#run[@]} -eq 0 ]]; then
        "tests/campaigns/$campaign.py" build/release/bin/orsql "$share" "$seed" || status=1
    else
        say "${run[*]}"
        setarch "$(uname -m)" -R "build/${build[0]}/bin/${run[0]}" "${run[@]:1}" || status=1
    fi
done
exit "$status"
