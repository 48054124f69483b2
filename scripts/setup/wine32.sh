#!/usr/bin/env bash
# Makes the 32-bit half of Wine, where it is missing: unpacked privately from the i386 packages of the archive that this
# machine uses. The ordinary way (a foreign architecture) would change the machine for all its users, and fails as a whole
# whenever the i386 and amd64 versions of any shared package differ at the archive.
set -euo pipefail
source "$(dirname "$0")/../env.sh"
[ ! -x "$system_wine/wine" ] && [ ! -e "$wine_root/.complete" ] || exit 0
work=$(mktemp -d)
new=$wine_root.new.$$
trap 'rm -rf "$work" "$new"' EXIT

fetch_packages() {
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
arrange() {
    local zlib=/usr/i686-w64-mingw32/lib/zlib1.dll
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
    chmod 755 "$new/bin/wineserver"
    : >"$new/.complete"
}

mkdir -p "$new"/{bin,lib32}
say "Wine, 32-bit half: downloading"
fetch_packages
for package in "$work"/debs/*.deb; do dpkg -x "$package" "$new"; done
arrange
rm -rf "$wine_root"
mv "$new" "$wine_root"
say "Wine, 32-bit half: $(du -sh "$wine_root" | cut -f1) in $wine_root"
