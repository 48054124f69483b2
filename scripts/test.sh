#!/usr/bin/env bash
# Sets up, builds and passes all tests.
#
#   scripts/test.sh [target...]    targets: check tidy linux linux-asan linux-tsan win32 win64      default: all
#
# A target that fails does not stop the others. The last line says how many tests passed, failed and were skipped.
# read_reports.py says which tests count as which.
set -uo pipefail
source "$(dirname "$0")/env.sh"
cd "$repo" || exit 1
# Tests choose their locales themselves; what the user has set must not make a difference.
unset LANG LANGUAGE
export LC_ALL=C.UTF-8

passed=0 failures=() skips=() broken_parts=' ' run_prefix=

# A line of the summary for something that went wrong: where, what.
failed() {
    failures+=("$1: $2")
    say "$1: FAILED $2"
}

# The test run has a Wine prefix of its own, so that runs do not meet in the registry and its server can be ended
# without ending somebody else's. The files are links: Wine only reads them.
make_run_prefix() {
    [ -z "$run_prefix" ] || return 0
    run_prefix=$cache/run.$$
    mkdir -p "$run_prefix" && cp -al "$cache/prefix/drive_c" "$run_prefix/" &&
        cp -a "$cache"/prefix/{*.reg,.update-timestamp,dosdevices} "$run_prefix/"
}

remove_run_prefix() {
    [ -n "$run_prefix" ] || return 0
    WINEPREFIX=$run_prefix wine_server -k >/dev/null 2>&1
    WINEPREFIX=$run_prefix wine_server -w >/dev/null 2>&1
    rm -rf "$run_prefix"
}
trap remove_run_prefix EXIT
trap 'exit 130' INT TERM

# Shows ninja's progress in tenths and everything else as it comes.
show_progress() {
    local line tenth last=0
    while IFS= read -r line; do
        if [[ $line =~ ^\[([0-9]+)/([0-9]+)\] ]]; then
            tenth=$((10 * BASH_REMATCH[1] / BASH_REMATCH[2]))
            [ $tenth = $last ] || say "    ${BASH_REMATCH[0]}"
            last=$tenth
        else
            printf '%s\n' "$line"
        fi
    done
}

# Counts what became of the target's tests; the file holds what ctest printed.
count_target() {
    local target=$1 kind name reason outcomes
    outcomes=$(scripts/read_reports.py "build/$target" "$2") || { failed "$target" "reading the reports"; return; }
    while IFS=$'\t' read -r kind name reason; do
        case $kind in
            passed) passed=$((passed + 1)) ;;
            skipped) skips+=("$target: $name: $reason") ;;
            failed) failed "$target" "$name${reason:+: $reason}" ;;
        esac
    done <<<"$outcomes"
}

# Configures, builds and runs a preset.
run_preset() {
    local target=$1
    say "$target: configuring"
    cmake --preset "$target" >"$log" 2>&1 || { tail -n 30 "$log"; failed "$target" "configuring"; return; }
    say "$target: building"
    # What does not build must not hide the rest.
    local goals=(all)
    [ "$target" != linux ] || goals+=(all_verify_interface_header_sets) # every public header compiles alone
    cmake --build --preset "$target" --target "${goals[@]}" -- -k 0 2>&1 | show_progress ||
        failed "$target" "building"
    if [[ $target = win* ]]; then
        make_run_prefix || { failed "$target" "making a Wine prefix"; return; }
        export WINEPREFIX=$run_prefix
    fi
    say "$target: testing"
    rm -rf "build/$target/reports"
    mkdir -p "build/$target/reports"
    # One more than processors, as tests also wait: for threads, a browser, Wine's start.
    ctest --test-dir "build/$target" -j $(($(nproc) + 1)) --output-on-failure --no-tests=error </dev/null 2>&1 | tee "$log"
    count_target "$target" "$log"
}

# Runs check.sh or tidy.sh, which read the tree and count what they find.
run_reader() {
    local target=$1 output
    say "$target: reading the tree"
    output=$("scripts/$target.sh" 2>&1)
    printf '%s\n' "$output"
    if [[ ${output##*$'\n'} =~ ^([0-9]+)\ passed,\ ([0-9]+)\ failed$ ]]; then
        passed=$((passed + BASH_REMATCH[1]))
        while IFS= read -r line; do failed "$target" "${line#FAILED }"; done < <(grep '^FAILED ' <<<"$output")
    else
        failed "$target" "$target.sh did not come to its end"
    fi
}

# The part of the set-up that a target needs.
part_of() {
    case $1 in
        win*) echo windows ;;
        tidy) echo tidy ;;
        *) echo linux ;;
    esac
}

targets=("$@")
[ $# -gt 0 ] || targets=(check tidy linux linux-asan linux-tsan win32 win64)
for target in "${targets[@]}"; do
    [[ " check tidy linux linux-asan linux-tsan win32 win64 " == *" $target "* ]] || fail "unknown target '$target'"
done
log=$(mktemp)
# The documentation is a test of linux, which fails by itself without its part.
for part in $(for target in "${targets[@]}"; do part_of "$target"; [ "$target" != linux ] || echo docs; done | sort -u); do
    scripts/setup.sh "$part" || broken_parts+="$part "
done
for target in "${targets[@]}"; do
    if [[ $broken_parts = *" $(part_of "$target") "* ]]; then failed "$target" "set-up"
    elif [[ $target = check || $target = tidy ]]; then run_reader "$target"
    else run_preset "$target"
    fi
done
rm -f "$log"

print_list() {
    local title=$1
    shift
    [ $# = 0 ] || printf '\n%s:\n' "$title"
    [ $# = 0 ] || printf '    %s\n' "$@"
}
print_list Skipped "${skips[@]}"
print_list Failed "${failures[@]}"
printf '\n%d passed, %d failed' "$passed" "${#failures[@]}"
[ ${#skips[@]} = 0 ] || printf ', %d skipped' "${#skips[@]}"
printf '\n'
[ ${#failures[@]} = 0 ] && [ "$passed" -gt 0 ]
