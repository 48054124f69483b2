#!/usr/bin/env bash
# Builds the fuzzers with clang and runs each for a while; what they find is kept in build/fuzz/corpus.
#
#   scripts/fuzz.sh [seconds each]     default: 60
set -euo pipefail
source "$(dirname "$0")/env.sh"
cd "$repo"
scripts/setup.sh linux fuzz
say "building"
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz | tail -n 1
shopt -s nullglob
export ALLUSERSPROFILE=/dev/null # no file of reports: some inputs make one each
programs=(build/fuzz/bin/*_fuzz)
[ ${#programs[@]} -gt 0 ] || fail "there is no fuzzer"
for program in "${programs[@]}"; do
    name=$(basename "$program")
    say "$name"
    mkdir -p "build/fuzz/corpus/$name"
    seeds=("fuzz/corpus/$name"/)
    "$program" -max_total_time="${1:-60}" -print_final_stats=1 "build/fuzz/corpus/$name" "${seeds[@]}"
done
