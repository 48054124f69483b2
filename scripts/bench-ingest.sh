#!/usr/bin/env bash
# Measures the example service on SQLite beside two peers that get the same statements in the same transactions: a
# plain ODBC program and the database's own shell, both without the library and without a log.
#
#   scripts/bench-ingest.sh [events] [rounds]     default: 100000 events, the best of 3 rounds
#
# Wall seconds and processor seconds; on a busy machine the latter compare better.
set -euo pipefail
source "$(dirname "$0")/env.sh"
events=${1:-100000} rounds=${2:-3}
cd "$repo"
cmake --preset linux >/dev/null
cmake --build --preset linux --target ingest >/dev/null
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
g++ -O2 -o "$work/plainodbc" bench/ingest/plainodbc.cpp -lodbc
awk -v n="$events" 'BEGIN { srand(1); t = 1700000000
    for (i = 0; i < n; ++i) { if (rand() < 0.3) ++t
        printf "%s status half-configured libpackage%d:amd64 2.%d-%d+deb12u1\n", strftime("%Y-%m-%d %H:%M:%S", t), rand() * 5000, i % 100, i % 7 } }' >"$work/events.log"
ingest=build/linux/bin/ingest
$ingest --dry-run --dialect sqlite --source events.log "$work/events.log" >"$work/statements.sql"

# The best of the rounds: wall and processor seconds of a command, into a new database each time.
measure() {
    local name=$1 round wall user system
    shift
    for ((round = 0; round < rounds; ++round)); do
        rm -rf "$work/db"
        mkdir "$work/db"
        $ingest --database "$work/db/a.db" --log-dir "$work/db" /dev/null >/dev/null
        { TIMEFORMAT='%R %U %S'; time "$@" >"$work/out" 2>&1 || { cat "$work/out"; fail "$name"; }; } 2>"$work/time"
        read -r wall user system < <(tail -n 1 "$work/time")
        echo "$wall $user $system"
    done | awk -v name="$name" -v n="$events" '
        !wall || $1 < wall { wall = $1 } !cpu || $2 + $3 < cpu { cpu = $2 + $3 }
        END { printf "%-34s %8.2f s %8.2f s CPU %10.0f statements/s\n", name, wall, cpu, n / wall }'
}

connect="Driver=SQLite3;Database=$work/db/a.db;Timeout=60000;JournalMode=WAL;SyncPragma=NORMAL"
run_ingest() { $ingest --database "$work/db/a.db" --log-dir "$work/db" --threads "$1" --batch "$2" "$work/events.log"; }
run_shell() { (echo "PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL; BEGIN;"
    awk -v n="$1" '{ print } /;$/ && ++i % n == 0 { print "COMMIT; BEGIN;" } END { print "COMMIT;" }' "$work/statements.sql"
    ) | sqlite3 "$work/db/a.db"; }

measure "ingest, a transaction a statement" run_ingest 2 1
for batch in 10 100 1000; do measure "ingest, batch $batch, 1 thread" run_ingest 1 $batch; done
for batch in 10 100 1000; do measure "ingest, batch $batch, 2 threads" run_ingest 2 $batch; done
measure "plain ODBC, batch 100" "$work/plainodbc" "$connect" 100 "$work/statements.sql"
measure "sqlite3 shell, batch 100" run_shell 100
