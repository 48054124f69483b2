#!/usr/bin/env bash
# Builds the fuzzers with clang and runs one of them, or each, for a while; what they come upon is kept in
# build/fuzz/corpus, from where a later run goes on. Inputs that fail are left in build/fuzz.
#
#   scripts/fuzz.sh [name|all [seconds]]     name: time_fuzz and so on; default: each for a minute
#
# Ends with a line a fuzzer: seconds, inputs tried, inputs that reached something new.
set -euo pipefail
source "$(dirname "$0")/env.sh"
cd "$repo"
name=${1:-all} seconds=${2:-60}
[[ $seconds =~ ^[0-9]+$ ]] || fail "'$seconds' is no number of seconds"
scripts/setup.sh linux fuzz
say "building"
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz | tail -n 1
shopt -s nullglob
programs=(build/fuzz/bin/*_fuzz)
[ "$name" = all ] || programs=("build/fuzz/bin/$name")
[ ${#programs[@]} -gt 0 ] && [ -x "${programs[0]}" ] || fail "there is no fuzzer '$name'"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export ALLUSERSPROFILE=/dev/null # no file of reports: some inputs make one each
export ORVCOMTYPES_USER_HIVE=$work/user.reg ORVCOMTYPES_MACHINE_HIVE=$work/machine.reg TMPDIR=$work
results=() status=0
for program in "${programs[@]}"; do
    name=$(basename "$program")
    say "$name"
    corpus=build/fuzz/corpus/$name
    mkdir -p "$corpus"
    "$program" -max_total_time="$seconds" -print_final_stats=1 -artifact_prefix="build/fuzz/$name-" \
        "$corpus" "fuzz/corpus/$name" 2>&1 | tee "$work/log" || status=1
    stat() { sed -n "s/^stat::$1: *//p" "$work/log"; }
    results+=("$(printf '%-18s %5d s %12d inputs %6d new' "$name" "$seconds" "$(stat number_of_executed_units)" \
        "$(stat new_units_added)")")
done
printf '%s\n' "${results[@]}"
exit $status
