#!/usr/bin/env bash
# Builds with full optimisation and packs: Debian packages, and zip files for Windows, into build/package-TARGET/packages.
# The same commit gives the same bytes.
#
#   scripts/package.sh [target...]     targets: linux win32 win64      default: all
set -euo pipefail
source "$(dirname "$0")/env.sh"
cd "$repo"

# Times in the packages are those of the commit, paths those of the tree.
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
export SOURCE_DATE_EPOCH TZ=UTC LC_ALL=C.UTF-8
targets=("$@")
[ $# -gt 0 ] || targets=(linux win32 win64)
for target in "${targets[@]}"; do
    case $target in
        linux) scripts/setup.sh linux ;;
        win32 | win64) scripts/setup.sh windows ;;
        *) fail "unknown target '$target'" ;;
    esac
    folder=build/package-$target
    say "$target: building"
    cmake --preset "$target" -B "$folder" -D CMAKE_BUILD_TYPE=Release \
        -D CMAKE_CXX_FLAGS_RELEASE="-O3 -DNDEBUG -g -ffile-prefix-map=$repo=." \
        -D ORVCOMTYPES_BUILD_TESTS=OFF -D ORVCOMTYPES_BUILD_EXAMPLES=OFF >/dev/null
    cmake --build "$folder" | tail -n 1
    say "$target: packing"
    rm -rf "$folder"/{packages,_CPack_Packages}
    (cd "$folder" && cpack >"$repo/$folder/packing.log" 2>&1) || { tail -n 20 "$repo/$folder/packing.log" >&2; fail "$target: packing failed"; }
    (cd "$folder/packages" && ls -l -- *.deb *.zip 2>/dev/null | awk '{ print "    " $5 "  " $NF }')
done
