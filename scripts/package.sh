#!/usr/bin/env bash
# Builds with full optimisation and packs: Debian packages, and zip files for Windows, into build/package-TARGET/packages.
# The same commit gives the same bytes.
#
#   scripts/package.sh [--check] [target...]     targets: linux win32 win64      default: all
#
# --check holds what was packed to what is promised, which takes minutes a target: it builds the commit once more, from
# a clone in another folder and without a compiler's cache, and compares the bytes; on Linux it also installs the packages on
# a bare Debian 12 and runs README's program there (bare.sh), and builds a program that has the library as a part of itself.
set -euo pipefail
source "$(dirname "$0")/env.sh"
cd "$repo"

# Times in the packages are those of the commit, paths those of the tree.
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
export SOURCE_DATE_EPOCH TZ=UTC LC_ALL=C.UTF-8

pack() {
    local target=$1 folder=build/package-$1
    case $target in
        linux) scripts/setup.sh linux ;;
        win32 | win64) scripts/setup.sh windows ;;
    esac
    say "$target: building"
    # At this level gcc suspects more than is true; the tests' builds stop at warnings.
    cmake --preset "$target" -B "$folder" -D CMAKE_BUILD_TYPE=Release \
        -D CMAKE_CXX_FLAGS_RELEASE="-O3 -DNDEBUG -g -ffile-prefix-map=$repo=." \
        -D ORVCOMTYPES_WARNINGS_ARE_ERRORS=OFF -D ORVCOMTYPES_BUILD_TESTS=OFF -D ORVCOMTYPES_BUILD_EXAMPLES=OFF >/dev/null
    quietly "$target: building" cmake --build "$folder"
    say "$target: packing"
    rm -rf "$folder"/{packages,_CPack_Packages}
    quietly "$target: packing" env -C "$folder" cpack
    (cd "$folder/packages" && shopt -s nullglob && ls -l -- *.deb *.zip | awk '{ print "    " $5 "  " $NF }')
}

# The clone stands elsewhere, and deeper.
check_bytes() {
    local target=$1 packages=build/package-$1/packages clone=$work/a/clone/of/it
    say "$target: building once more, in another folder"
    [ -d "$clone" ] || git clone -q . "$clone"
    quietly "$target: building once more" env CCACHE_DISABLE=1 "$clone/scripts/package.sh" "$target"
    local ours theirs
    ours=$(cd "$packages" && sha256sum -- *.deb *.zip 2>/dev/null || true)
    theirs=$(cd "$clone/$packages" && sha256sum -- *.deb *.zip 2>/dev/null || true)
    [ -n "$ours" ] || fail "$target: no packages"
    diff <(echo "$ours") <(echo "$theirs") || fail "$target: two builds differ"
    say "$target: the bytes are the same"
}

check_installed() {
    say "linux: a bare Debian 12"
    scripts/setup.sh package
    local as_root=()
    [ "$(id -u)" = 0 ] || as_root=(sudo -n)
    "${as_root[@]}" unshare --mount tests/package/bare.sh "$work/bare" README.md \
        build/package-linux/packages/{liborvcomtypes3,liborvcomtypes-dev}_*.deb
    "${as_root[@]}" rm -rf --one-file-system "$work/bare"
}

# As FetchContent and add_subdirectory do it.
check_subproject() {
    say "linux: a program that has the library as a part of itself"
    quietly "configuring tests/package" cmake -G Ninja -S tests/package -B "$work/subproject" -D SOURCES="$repo"
    quietly "building tests/package" cmake --build "$work/subproject"
    (cd "$work" && subproject/consumer)
}

checked=
[ "${1:-}" != --check ] || { checked=1; shift; }
targets=("$@")
[ $# -gt 0 ] || targets=(linux win32 win64)
for target in "${targets[@]}"; do
    [[ " linux win32 win64 " == *" $target "* ]] || fail "unknown target '$target'"
done
[ -z "$checked" ] || [ -z "$(git status --porcelain)" ] || fail "what is not committed is not in the other build"
work=$(mktemp -d)
trap 'rm -rf --one-file-system "$work"' EXIT
for target in "${targets[@]}"; do
    pack "$target"
    [ -n "$checked" ] || continue
    check_bytes "$target"
    if [ "$target" = linux ]; then
        check_installed
        check_subproject
    fi
done
