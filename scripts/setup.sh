#!/usr/bin/env bash
# Installs what a Debian 12 (x86-64) machine lacks to build and test OrvComTypes; does nothing where all is there.
#
#   scripts/setup.sh [part...]     parts: linux windows docs bench fuzz tidy package      default: linux windows
#
# Packages come from the machine's own package sources (root or sudo is needed only when one is missing).
# Everything else goes to $ORVCOMTYPES_CACHE, by default ~/.cache/orvcomtypes, and can be deleted at any time.
set -euo pipefail
source "$(dirname "$0")/env.sh"

# Wine takes its ANSI code page and file-name encoding from them.
make_locales() {
    local name
    mkdir -p "$cache/locales"
    for name in "${test_locales[@]}"; do
        [ ! -e "$cache/locales/$name.UTF-8/LC_CTYPE" ] || continue
        say "locale $name.UTF-8"
        # Status 1 means warnings only.
        quietly "localedef $name" sh -c 'localedef -i "$1" -f UTF-8 "$2" || [ $? = 1 ]' - \
            "$name" "$cache/locales/$name.UTF-8"
    done
}

[ -e /etc/debian_version ] && [ "$(uname -m)" = x86_64 ] || fail "this script knows Debian 12 on x86-64 only"
[ $# -gt 0 ] || set -- linux windows
# One set-up at a time: two would create the same prefix.
mkdir -p "$cache"
exec 9>"$cache/.lock"
flock 9

"$repo/scripts/setup/packages.sh" "$@"
make_locales
if [[ " $* " == *" windows "* ]]; then
    "$repo/scripts/setup/wine32.sh"
    "$repo/scripts/setup/prefix.sh" 9>&- # a Wine server that outlives us must not hold the lock
    setarch -R true 2>/dev/null ||
        say "windows: addresses stay random here, so one start of a 64-bit program in 5,000 fails (scripts/wine says why)"
fi
say "ready: $*"
