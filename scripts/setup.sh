#!/usr/bin/env bash
# Installs what a Debian 12 (x86-64) machine lacks to build and test OrvComTypes; does nothing where all is there.
#
#   scripts/setup.sh [part...]     parts: linux windows docs bench fuzz tidy package      default: linux windows
#
# Packages come from the machine's own package sources (root or sudo is needed only when one is missing).
# Everything else goes to $ORVCOMTYPES_CACHE, by default ~/.cache/orvcomtypes, and can be deleted at any time.
set -euo pipefail
source "$(dirname "$0")/env.sh"

# llvm: readable stacks of the sanitizers. default-jdk-headless, libh2-java: a database that executes statements.
# binutils-mingw: compiles string tables. libexpat1-dev, libxml2-utils: parsers of written
# documents. lintian: judges the packages. gdb: shows the types. libfmt-dev: formats our values. abigail-tools: compares
# interfaces.
linux_packages=(g++ clang libclang-rt-dev llvm clang-format cmake ninja-build git pkg-config libgtest-dev
    libbenchmark-dev libicu-dev unixodbc-dev libsqliteodbc locales binutils binutils-mingw-w64-x86-64 python3
    default-jdk-headless libh2-java libexpat1-dev libxml2-utils lintian libfmt-dev gdb abigail-tools)
# What the example services need and are tested with: servers, their drivers, a browser, what verifies units. Of MariaDB
# the core alone: the rest is a service.
linux_packages+=(lnav zlib1g-dev libjs-chart.js sqlite3 postgresql odbc-postgresql mariadb-server-core mariadb-client-core
    odbc-mariadb chromium systemd)
# zlib1.dll: user32 of Wine needs it. lib32gcc-s1: without it a 32-bit program dies when a thread ends;
# it also brings the 32-bit C library. clang, lld, llvm: the import library for MSVC's linker, and a program that uses it.
windows_packages=(g++-mingw-w64-i686-posix g++-mingw-w64-x86-64-posix wine wine64 libz-mingw-w64 lib32gcc-s1
    googletest cmake ninja-build locales python3 libz-mingw-w64-dev libjs-chart.js libfmt-dev
    clang lld llvm pkg-config)
# chromium: shows the site in its test.
docs_packages=(doxygen python3 chromium)
# The libraries that ours is measured beside.
bench_packages=(libbenchmark-dev libboost-dev libabsl-dev qtbase5-dev libfmt-dev libspdlog-dev libhowardhinnant-date-dev
    robin-map-dev libdouble-conversion-dev libxml2-dev gnuplot-nox)
fuzz_packages=(clang libclang-rt-dev llvm)
tidy_packages=(clang-tidy)
# A bare machine to install the packages on.
package_packages=(debootstrap)

work=$(mktemp -d)
cluster_settings= # a file of ours for the package of PostgreSQL
cleanup() {
    rm -rf "$work"
    [ -z "$cluster_settings" ] || as_root rm -f "$cluster_settings"
}
trap cleanup EXIT
log=$work/log

# Runs a command silently; when it fails its last lines are shown and the set-up ends.
quietly() {
    local what=$1
    shift
    "$@" >"$log" 2>&1 </dev/null && return
    tail -n 20 "$log" >&2
    fail "$what failed"
}

as_root() {
    if [ "$(id -u)" = 0 ]; then "$@"
    elif command -v sudo >/dev/null; then sudo -n "$@"
    else fail "packages are missing and need root or sudo: $*"
    fi
}

# The package of PostgreSQL makes and starts a cluster when it is installed, which nobody here asks for.
forbid_cluster() {
    cluster_settings=/etc/postgresql-common/createcluster.d/orvcomtypes.conf
    as_root mkdir -p "${cluster_settings%/*}"
    echo 'create_main_cluster = false' | as_root tee "$cluster_settings" >/dev/null
}

install_packages() {
    local missing=()
    mapfile -t missing < <(comm -13 <(dpkg-query -W -f '${db:Status-Status} ${Package}\n' | sed -n 's/^installed //p' | sort -u) \
        <(printf '%s\n' "$@" | sort -u))
    [ ${#missing[@]} -gt 0 ] || return 0
    say "packages: ${missing[*]}"
    [[ " ${missing[*]} " != *" postgresql "* ]] || forbid_cluster
    local install=(env DEBIAN_FRONTEND=noninteractive apt-get -q -y -o DPkg::Lock::Timeout=600
        -o Acquire::Retries=3 install --no-install-recommends "${missing[@]}")
    # The package index may be absent or old: then it is read again, once.
    as_root "${install[@]}" >"$log" 2>&1 </dev/null && return
    say "package index: reading it again"
    as_root apt-get -q -o Acquire::Retries=3 update >"$log" 2>&1 </dev/null || true
    quietly "installing packages" as_root "${install[@]}"
}

# Locales are compiled into the cache: Wine takes its ANSI code page and file-name encoding from them.
make_locales() {
    local name
    mkdir -p "$cache/locales"
    for name in "${test_locales[@]}"; do
        [ ! -e "$cache/locales/$name.UTF-8/LC_CTYPE" ] || continue
        say "locale $name.UTF-8"
        # Status 1 means warnings only.
        localedef -i "$name" -f UTF-8 "$cache/locales/$name.UTF-8" >"$log" 2>&1 || [ $? = 1 ] ||
            quietly "localedef $name" localedef -i "$name" -f UTF-8 "$cache/locales/$name.UTF-8"
    done
}

# The 32-bit half of Wine, unpacked privately from the i386 packages of the archive that this machine uses.
# The ordinary way (a foreign architecture) would change the machine for all its users, and fails as a whole whenever
# the i386 and amd64 versions of any shared package differ at the archive.
make_wine_root() {
    [ ! -x "$system_wine/wine" ] && [ ! -e "$wine_root/.complete" ] || return 0
    local new=$wine_root.new.$$
    rm -rf "$new"
    mkdir -p "$new"/{bin,lib32}
    say "Wine, 32-bit half: downloading"
    fetch_wine_packages
    local package
    for package in "$work"/debs/*.deb; do dpkg -x "$package" "$new"; done
    arrange_wine_root "$new"
    rm -rf "$wine_root"
    mv "$new" "$wine_root"
    say "Wine, 32-bit half: $(du -sh "$wine_root" | cut -f1) in $wine_root"
}

fetch_wine_packages() {
    mkdir -p "$work"/{lists,debs}/partial
    : >"$work/status"
    local archive version
    archive=$(apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' | grep -m1 -E '/debian/?$') ||
        fail "no Debian main archive among the configured package sources"
    echo "deb [arch=i386 signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] $archive bookworm main" >"$work/sources"
    local options=(-q -o Acquire::Retries=3 -o APT::Architecture=i386 -o APT::Architectures=i386
        -o Dir::Etc::sourcelist="$work/sources" -o Dir::Etc::sourceparts=- -o Dir::State::lists="$work/lists"
        -o Dir::State::status="$work/status" -o Dir::Cache::archives="$work/debs" -o Dir::Cache::pkgcache=
        -o Dir::Cache::srcpkgcache= -o APT::Sandbox::User=)
    quietly "reading the i386 package index" apt-get "${options[@]}" update
    # Both halves must be of one version. Freetype alone gives a prefix in which user32 is dead: fontconfig too.
    version=$(dpkg-query -W -f '${Version}' libwine:amd64)
    (cd "$work/debs" && quietly "downloading the i386 packages" apt-get "${options[@]}" download "wine32=$version" \
        "libwine=$version" libfreetype6 libpng16-16 zlib1g libbrotli1 libfontconfig1 libexpat1 libuuid1)
}

# Joins the unpacked 32-bit half with the installed 64-bit one. Wine finds its folders from its own executable's
# place, so the loader is copied and the rest linked.
arrange_wine_root() {
    local new=$1 zlib=/usr/i686-w64-mingw32/lib/zlib1.dll
    find "$new/lib" "$new/usr/lib/i386-linux-gnu" -maxdepth 2 -name '*.so.*' ! -path '*/wine/*' \
        -exec cp -a -t "$new/lib32" {} +
    cp -p "$system_wine/wine64" "$new/usr/lib/wine/"
    mkdir -p "$new/usr/lib/x86_64-linux-gnu"
    ln -s /usr/lib/x86_64-linux-gnu/wine "$new/usr/lib/x86_64-linux-gnu/wine"
    rm -rf "$new/usr/share/wine" "$new/usr/lib/wine/wineserver32"
    ln -s /usr/share/wine "$new/usr/share/wine"
    # user32 loads zlib1.dll only when its stub says that it is Wine's own.
    { head -c 64 "$zlib"; printf 'Wine builtin DLL'; head -c 16 /dev/zero; tail -c +97 "$zlib"; } \
        >"$new/usr/lib/i386-linux-gnu/wine/i386-windows/zlib1.dll"
    printf '#!/bin/sh\nexec %s/wineserver64 "$@"\n' "$system_wine" >"$new/bin/wineserver"
    ln -sf ../../../bin/wineserver "$new/usr/lib/wine/wineserver"
    cat >"$new/bin/wine" <<SCRIPT
#!/bin/sh
export LD_LIBRARY_PATH="$wine_root/lib32\${LD_LIBRARY_PATH:+:\$LD_LIBRARY_PATH}" WINESERVER="$wine_root/bin/wineserver"
unset WINELOADER
exec "$wine_root/usr/lib/wine/wine" "\$@"
SCRIPT
    chmod 755 "$new"/bin/*
    : >"$new/.complete"
}

# A prefix without a screen: the null graphics driver lets windows be created, Windows 10 is what we say we support.
make_prefix() {
    [ ! -e "$cache/prefix/.complete" ] || return 0
    say "Wine prefix: creating"
    rm -rf "$cache/prefix"
    (
        WINEPREFIX=$cache/prefix
        wine_environment
        wine=$(wine_command)
        quietly "wineboot" timeout 300 "$wine" wineboot.exe -i
        quietly "setting the graphics driver" timeout 120 \
            "$wine" reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d null /f
        quietly "setting the Windows version" timeout 120 "$wine" winecfg -v win10
        # The registry is on disk only when the server has ended.
        wine_server -w
    )
    probe_prefix
    : >"$cache/prefix/.complete"
    say "Wine prefix: $(du -sh "$cache/prefix" | cut -f1) in $cache/prefix"
}

# Programs of both kinds must run, end a thread and load user32: each failed on some half-finished set-up.
probe_prefix() {
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
    local machine status
    for machine in i686 x86_64; do
        quietly "compiling for $machine" "$machine-w64-mingw32-gcc-posix" -s -o "$work/$machine.exe" "$work/probe.c"
        status=0
        (
            WINEPREFIX=$cache/prefix
            wine_environment
            timeout 120 "$(wine_command)" "$work/$machine.exe"
        ) >"$log" 2>&1 </dev/null || status=$?
        [ $status = 42 ] || { tail -n 20 "$log" >&2; fail "Wine does not run $machine programs (status $status)"; }
    done
}

[ -e /etc/debian_version ] && [ "$(uname -m)" = x86_64 ] || fail "this script knows Debian 12 on x86-64 only"
[ $# -gt 0 ] || set -- linux windows
packages=()
for part in "$@"; do
    case $part in
        linux) packages+=("${linux_packages[@]}") ;;
        windows) packages+=("${windows_packages[@]}") ;;
        docs) packages+=("${docs_packages[@]}") ;;
        bench) packages+=("${bench_packages[@]}") ;;
        fuzz) packages+=("${fuzz_packages[@]}") ;;
        tidy) packages+=("${tidy_packages[@]}") ;;
        package) packages+=("${package_packages[@]}") ;;
        *) fail "unknown part '$part' (linux windows docs bench fuzz tidy package)" ;;
    esac
done

# One set-up at a time: two would create the same prefix.
mkdir -p "$cache"
exec 9>"$cache/.lock"
flock 9
install_packages "${packages[@]}"
make_locales
if [[ " $* " == *" windows "* ]]; then
    make_wine_root
    make_prefix 9>&-    # a Wine server that outlives us must not hold the lock
fi
say "ready: $*"
