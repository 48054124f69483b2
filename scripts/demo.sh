#!/usr/bin/env bash
# The library at its main job: stores the events of a package manager's log in a database, a statement each, and logs
# what became of every statement. Then it reads the log again, which stores nothing twice, and a log with one event
# that the database refuses and one that tries to break out of its statement.
#
#   scripts/demo.sh [log file]     default: the sample in examples/ingest
#
# What it made stays in build/demo until the next run.
set -euo pipefail
source "$(dirname "$0")/env.sh"
[ -e "$repo/examples/ingest/CMakeLists.txt" ] || fail "examples/ingest is missing from this tree"
tolerated=$(($# > 0)) # a log of the user's own may have odd lines
sample=$(realpath -e -- "${1:-$repo/examples/ingest/dpkg-sample.log}")
cd "$repo"
export LC_ALL=C.UTF-8
scripts/setup.sh linux
demo=build/demo
rm -rf "$demo"
mkdir -p "$demo"

say "building"
cmake --preset linux >"$demo/build.log" 2>&1 || { cat "$demo/build.log"; fail "configuring failed"; }
cmake --build --preset linux --target ingest >"$demo/build.log" 2>&1 ||
    { tail -n 40 "$demo/build.log"; fail "building failed"; }

# The first argument is the greatest status that is no failure: 1 says that some lines could not be stored.
ingest() {
    local most=$1 status=0
    shift
    build/linux/bin/ingest --database "$demo/packages.db" --log-dir "$demo/log" "$@" || status=$?
    [ $status -le "$most" ] || fail "ingest ended with status $status"
}

show_log() { cut -c1-160 "$demo"/log/* | tail -n "$1"; }

say "first run: $(wc -l <"$sample") lines of $sample"
ingest "$tolerated" "$sample"
printf '\nThe end of the log:\n'
show_log 6

say "second run: every event is stored already"
ingest "$tolerated" "$sample"

printf '%s\n' "2025-06-25 09:00:00 install :amd64 <none> 1.0" \
    "2025-06-25 09:00:00 install x',(SELECT--'ħ\\:amd64 <none> 1.0\\" >"$demo/hostile.log"
say "third run: a package without a name, and one that would like to be SQL"
ingest 1 "$demo/hostile.log"
printf '\nThe log tells of the refused statement, and of the harmless one:\n'
show_log 6
grep -q 'SQL FAILED' "$demo"/log/* || fail "the log has no line SQL FAILED"
say "done; the database is $demo/packages.db, the statements are logged in $(echo "$demo"/log/*)"
