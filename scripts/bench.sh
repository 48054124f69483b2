#!/usr/bin/env bash
# Builds and runs the benchmarks beside their peers.
#
#   scripts/bench.sh [name [option...]]    name: string_bench and so on, default: all; options: Google Benchmark's
set -euo pipefail
source "$(dirname "$0")/env.sh"
cd "$repo"
scripts/setup.sh linux bench
say "building"
cmake --preset bench >/dev/null
cmake --build --preset bench | tail -n 1
if [ $# -gt 0 ]; then
    name=$1
    shift
    exec "build/bench/bin/$name" "$@"
fi
for program in build/bench/bin/*_bench; do
    say "$(basename "$program")"
    "$program"
done
