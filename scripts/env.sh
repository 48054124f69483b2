# Sourced by the other scripts: where things outside the repository live, and how to speak to the user.
# ORVCOMTYPES_CACHE moves everything that setup.sh creates: the 32-bit half of Wine, the Wine prefix, the locales.
repo=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cache=${ORVCOMTYPES_CACHE:-${XDG_CACHE_HOME:-$HOME/.cache}/orvcomtypes}
wine_root=$cache/wine
system_wine=/usr/lib/wine
test_locales=(en_US hu_HU de_DE pl_PL)

say() { printf '[%4ds] %s\n' "$SECONDS" "$*"; }
fail() { printf '%s: %s\n' "$(basename "$0")" "$*" >&2; exit 1; }

# Runs a command silently; when it fails its last lines are shown and the script ends: quietly WHAT COMMAND...
quietly() {
    local what=$1 log
    shift
    log=$(mktemp)
    "$@" >"$log" 2>&1 </dev/null && { rm -f "$log"; return; }
    tail -n 20 "$log" >&2
    rm -f "$log"
    fail "$what failed"
}

# What every Windows program of this project runs under. Set once, so that set-up, tests and developers agree.
# Wine is silent but for what keeps a program from starting.
wine_environment() {
    export WINEPREFIX=${WINEPREFIX:-$cache/prefix} WINEDEBUG=${WINEDEBUG:--all,err+module,err+virtual}
    export WINEDLLOVERRIDES='mscoree,mshtml='
    export LOCPATH=$cache/locales LC_ALL=${LC_ALL:-C.UTF-8}
    unset DISPLAY
}

# wineserver of our prefix only; the arguments are its own (-p60 stay, -k end).
wine_server() {
    if [ -x "$system_wine/wineserver64" ]; then "$system_wine/wineserver64" "$@"; else "$system_wine/wineserver" "$@"; fi
}

# Sees to it that a server runs for the prefix, for a minute after its last program; the next one then starts in 0.1 s.
# The processes that come up with a server keep the output of the first program open, so that one is none of ours.
warm_wine() {
    (
        flock 9
        ! wine_server -p60 9>&- || "$repo/scripts/wine" cmd /c exit 0 9>&-
    ) 9>"$WINEPREFIX/.lock" >/dev/null 2>&1 </dev/null
}
