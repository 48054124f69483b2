#!/usr/bin/env bash
# Runs the soak test for a while and shows its figures: what each party did, lines written and read back, memory after
# the first minute and at the end, reports.
#
#   scripts/soak.sh [seconds [target]]     default: 900 linux; targets: linux linux-asan linux-tsan win32 win64
set -euo pipefail
source "$(dirname "$0")/env.sh"
cd "$repo"
seconds=${1:-900} target=${2:-linux}
[[ $seconds =~ ^[0-9]+$ ]] || fail "'$seconds' is no number of seconds"
part=linux program=("build/$target/bin/soak_test")
if [[ $target = win* ]]; then part=windows program=(scripts/run-wine "build/$target/bin/soak_test.exe"); fi
scripts/setup.sh "$part"
say "building"
cmake --preset "$target" >/dev/null
cmake --build --preset "$target" --target soak_test | tail -n 1
say "$seconds seconds on $target"
ORV_SOAK_SECONDS=$seconds "${program[@]}"
