#!/usr/bin/env bash
# Builds the benchmarks and prints one table, ours beside the best peer, and what is slower than one. With a name: runs
# that one as Google Benchmark does.
#
#   scripts/bench.sh                      the table
#   scripts/bench.sh --write              also puts it into docs/benchmarks.md, and draws how cost grows beside it
#   scripts/bench.sh name [option...]     name: string_bench and so on; options: Google Benchmark's
set -euo pipefail
source "$(dirname "$0")/env.sh"
cd "$repo"
document=docs/benchmarks.md
scripts/setup.sh linux bench >&2
say "building" >&2
cmake --preset bench >/dev/null
cmake --build --preset bench | tail -n 1 >&2
if [ $# -gt 0 ] && [ "$1" != --write ]; then
    name=$1
    shift
    exec "build/bench/bin/$name" "$@"
fi
pictures=()
[ $# = 0 ] || pictures=(--pictures docs/benchmarks)
table=$(mktemp)
trap 'rm -f "$table"' EXIT
{
    printf 'Made of commit %s on %s processors (%s), %s, at a load of %s.\n' "$(git rev-parse --short HEAD)" "$(nproc)" \
        "$(sed -n 's/^model name.*: //p' /proc/cpuinfo | head -n 1)" "$(c++ --version | head -n 1)" \
        "$(cut -d' ' -f1 /proc/loadavg)"
    scripts/bench_table.py build/bench/bin/*_bench "${pictures[@]}"
} | tee "$table"
if [ $# -gt 0 ]; then
    head=$(sed '/^<!-- made /q' "$document")
    { printf '%s\n\n' "$head" && cat "$table"; } >"$document.new"
    mv "$document.new" "$document"
fi
