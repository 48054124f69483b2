#!/usr/bin/env bash
# Holds the library, the port and the tools to .clang-tidy: bugs, performance, and that files include what they use and
# nothing else. It takes two minutes; what has not changed since it was clean is not looked at again.
#
#   scripts/tidy.sh [file...]
set -euo pipefail
source "$(dirname "$0")/env.sh"
cd "$repo"
scripts/setup.sh linux tidy
cmake --preset linux-asan -D CMAKE_EXPORT_COMPILE_COMMANDS=ON >/dev/null # built by clang, so its flags are known
exec scripts/tidy.py build/linux-asan "$cache/tidy" "$@"
