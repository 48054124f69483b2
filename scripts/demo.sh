#!/usr/bin/env bash
# The library at its main job: reads a package manager's log, executes a statement a line on a database through ODBC,
# and logs what became of each; then does it again, which the database refuses.
#
#   scripts/demo.sh [log file]     default: the sample in examples/ingest
set -euo pipefail
source "$(dirname "$0")/env.sh"
[ -e "$repo/examples/ingest/CMakeLists.txt" ] || fail "examples/ingest is missing from this tree"
sample=$(realpath -e -- "${1:-$repo/examples/ingest/dpkg-sample.log}")
cd "$repo"
scripts/setup.sh linux
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

say "building"
cmake --preset linux >"$work/log" 2>&1 || { cat "$work/log"; fail "configuring failed"; }
cmake --build --preset linux --target ingest >"$work/log" 2>&1 || { tail -n 40 "$work/log"; fail "building failed"; }

# Status 1 says that some lines could not be executed, which the second run is meant to show.
ingest() {
    local status=0
    build/linux/bin/ingest --database "$work/packages.db" --log-dir "$work/log-files" "$sample" || status=$?
    [ $status -le "$1" ] || fail "ingest ended with status $status"
}

last_lines() { cut -c1-160 "$work"/log-files/* | grep -F -- "$1" | tail -n 5; }

mkdir "$work/log-files"
say "first run: $(wc -l <"$sample") lines of $sample"
ingest 0
printf '\nThe end of the log:\n'
cut -c1-160 "$work"/log-files/* | tail -n 8

say "second run into the same database: every key exists already"
ingest 1
printf '\nThe log now tells of refused statements:\n'
last_lines 'SQL FAILED' || fail "the log has no line SQL FAILED"
say "done"
