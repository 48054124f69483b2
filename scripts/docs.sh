#!/usr/bin/env bash
# Builds the documentation site into build/docs: start at build/docs/html/index.html. What Doxygen warns of is an error.
#
#   scripts/docs.sh [folder]
set -euo pipefail
source "$(dirname "$0")/env.sh"
folder=$(realpath -m "${1:-$repo/build/docs}")
cd "$repo"
command -v doxygen >/dev/null || scripts/setup.sh docs

version=$(sed -nE 's/^#define ORVCOMTYPES_VERSION_(MAJOR|MINOR|PATCH) //p' include/orvcomtypes/orvversion.h | paste -sd.)
rm -rf "$folder"/{html,input}
mkdir -p "$folder/input"
docs/site/filter.py "$folder/input" README.md docs/*.md CONTRIBUTING.md CHANGELOG.md port/README.md include/orvcomtypes/*.h
ORV_VERSION=$version ORV_SOURCE=$repo ORV_FOLDER=$folder env -C "$folder/input" doxygen "$repo/docs/site/Doxyfile"
say "site: $folder/html/index.html"
