#!/usr/bin/env bash
# Runs clang-tidy over the library's and the port's sources: scripts/tidy.sh [file...]
set -euo pipefail
source "$(dirname "$0")/env.sh"
cd "$repo"
scripts/setup.sh linux tidy
cmake --preset linux-asan -D CMAKE_EXPORT_COMPILE_COMMANDS=ON >/dev/null # built by clang, so its flags are known
[ $# -gt 0 ] || mapfile -t files < <(git ls-files 'src/*.cpp' 'port/src/*.cpp')
[ $# = 0 ] || files=("$@")
printf '%s\0' "${files[@]}" | xargs -0 -n 4 -P "$(nproc)" clang-tidy -p build/linux-asan --quiet
