#!/usr/bin/env bash
# Makes the Wine prefix, where it is missing, and proves it. It has no screen: the null graphics driver lets windows be
# created. Windows 10 is what we say we support.
set -euo pipefail
source "$(dirname "$0")/../env.sh"
prefix=$cache/prefix
[ ! -e "$prefix/.complete" ] || exit 0
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
WINEPREFIX=$prefix
wine_environment
wine=$repo/scripts/wine

# Programs of both kinds must run, end a thread and load user32: each failed on some half-finished set-up.
probe() {
    cat >"$work/probe.c" <<'SOURCE'
#include <windows.h>
static DWORD WINAPI Forty(void *pUnused) { return 40; }
int main(void)
{
    DWORD dwExit = 0;
    HANDLE hThread = CreateThread(0, 0, Forty, 0, 0, 0);
    WaitForSingleObject(hThread, 10000);
    GetExitCodeThread(hThread, &dwExit);
    return (int)dwExit + (LoadLibraryA("user32.dll") ? 2 : 0);
}
SOURCE
    local machine
    for machine in i686 x86_64; do
        quietly "compiling for $machine" "$machine-w64-mingw32-gcc-posix" -s -o "$work/$machine.exe" "$work/probe.c"
        quietly "running a program of $machine under Wine" \
            sh -c 'timeout 120 "$@"; status=$?; echo "status $status"; [ $status = 42 ]' - "$wine" "$work/$machine.exe"
    done
}

say "Wine prefix: creating"
rm -rf "$prefix"
quietly "wineboot" timeout 300 "$wine" wineboot.exe -i
quietly "setting the graphics driver" timeout 120 "$wine" reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d null /f
quietly "setting the Windows version" timeout 120 "$wine" winecfg -v win10
# The registry is on disk only when the server has ended.
wine_server -w
probe
: >"$prefix/.complete"
say "Wine prefix: $(du -sh "$prefix" | cut -f1) in $prefix"
