#!/usr/bin/env bash
# Holds the tree to the rules that a compiler does not know. Prints a line for each rule; status 1 when one is broken.
set -uo pipefail
source "$(dirname "$0")/env.sh"
cd "$repo" || exit 1

passed=0 failures=0

# Runs the rule's function; it prints the places that break the rule, nothing when it holds.
rule() {
    local places
    places=$("$2" 2>&1)
    if [ -z "$places" ]; then
        printf 'ok     %s\n' "$1"
        passed=$((passed + 1))
    else
        printf 'FAILED %s\n' "$1"
        sed 's/^/       /' <<<"$places"
        failures=$((failures + 1))
    fi
}

sources() { git ls-files -z --cached --others --exclude-standard -- "$@"; }

# Differences between platforms belong into the port.
platform_conditionals() {
    sources 'src/*.cpp' 'src/*.h' 'include/*.h' ':!include/orvcomtypes/orvexport.h' | xargs -0 -r grep -nHE \
        '^\s*#\s*(if|ifdef|ifndef|elif)\b.*\b(_WIN(32|64)|WIN32|__(linux|unix|APPLE|GNUC|clang|MINGW|i386|x86_64|SIZEOF|WCHAR)\w*|_MSC_VER|_M_\w+)'
}

# L"x" and u"x" have the right type on one target only; ORVTEXT("x") has it on all. Texts and comments are blanked
# before looking.
literal_prefixes() {
    sources 'src/*.cpp' 'src/*.h' 'include/*.h' 'tests/*.cpp' 'tests/*.h' ':!tests/support/windows' ':!tests/support/posix' |
        xargs -0 -r awk '
            { text = $0
              gsub(/\\./, "", text); gsub(/"[^"]*"/, "\"\"", text); gsub(/\047[^\047]*\047/, "\047\047", text)
              sub(/\/\/.*/, "", text) }
            text ~ /(^|[^A-Za-z0-9_])(L|u|U)(""|\047\047)/ { print FILENAME ":" FNR ": " $0 }'
}

# A windows.h without NOMINMAX makes macros of these names; they take no argument list in parentheses.
bare_min_max() {
    sources 'include/*.h' | xargs -0 -r grep -nHE '(std::(min|max)\b[^)]*|::(min|max))\(' | grep -vE '\((std::(min|max)(<[^>]*>)?|[^()]*::(min|max))\)\('
}

# The list is reviewed as a list: sorted within each section, no name twice.
definition_order() {
    local LC_ALL=C
    awk '/^; ---/ { section = $0; last = ""; next }
        /^;/ || /^EXPORTS$/ { next }
        seen[$0]++ { print "src/OrvComTypes.def:" NR ": twice: " $0 }
        $0 < last { print "src/OrvComTypes.def:" NR ": " $0 " after " last }
        { last = $0 }' src/OrvComTypes.def
}

# What C declares: every plain function, or its name among those that are left out.
c_names() {
    local name
    while IFS= read -r name; do
        grep -qw "$name" include/orvcomtypes/orvcapi.h include/orvcomtypes/orvversion.h || echo "orvcapi.h lacks $name"
    done < <(grep -vE '^(;|EXPORTS)' src/OrvComTypes.def)
}

# orvcomtypes.h lists the headers from the lowest up; each includes only those above it there, so there is no cycle.
# stdbridge.h is left out there, as it includes much of the standard library, and stands above them all; so is orvcapi.h,
# which is for C.
header_order() {
    local header used order=' orvexport.h '
    while IFS= read -r header; do order+="$header "; done < <(includes_of include/orvcomtypes/orvcomtypes.h)
    order+='stdbridge.h orvcapi.h '
    for header in include/orvcomtypes/*.h; do
        header=${header##*/}
        [ "$header" != orvcomtypes.h ] || continue
        [[ $order == *" $header "* ]] || { echo "$header is not in orvcomtypes.h"; continue; }
        while IFS= read -r used; do
            [[ ${order%% "$header" *} == *" $used"* ]] || echo "$header includes $used"
        done < <(includes_of "include/orvcomtypes/$header")
    done
}

includes_of() { sed -n 's/^#include "orvcomtypes\/\(.*\)"$/\1/p' "$1"; }

# A file of a room includes nothing of a room above. A public header belongs to the room that has the source of its
# name; of those without one the order of headers is enough. lqthrow.h is how the lower rooms throw.
room_order() {
    local rooms=' core strings containers time settings log resources messages errors builders ' file used room
    local -A room_of
    for file in src/*/*.cpp; do
        used=${file##*/} room=${file#src/}
        room_of[orvcomtypes/${used%.cpp}.h]=${room%/*}
    done
    while IFS=: read -r file used; do
        room=${file#src/} room=${room%/*} used=${used#*\"} used=${used%\"*}
        [[ $used == orvcomtypes/lqthrow.h || $rooms != *" $room "*" ${room_of[$used]:-${used%/*}} "* ]] ||
            echo "$file includes $used"
    done < <(sources 'src/*/*.cpp' 'src/*/*.h' | xargs -0 -r grep -H '^#include "')
}

format() { sources '*.cpp' '*.h' | xargs -0 -r clang-format --dry-run -Werror 2>&1 | grep -E 'error:' | sort -u -t: -k1,1; }

# clang-format leaves comments alone.
line_length() { sources '*.cpp' '*.h' | LC_ALL=C.UTF-8 xargs -0 -r grep -nHE '^.{111,}' | cut -c1-100; }

# std::latch, std::barrier, std::counting_semaphore and std::atomic::wait lose wake-ups where the C++ library has no
# futex, as in MinGW's: wait by the platform's events. (A condition variable's wait takes its lock.)
lost_wakeups() {
    sources '*.cpp' '*.h' ':!tests/support/meeting.h' | xargs -0 -r grep -nHE \
        '<(latch|barrier|semaphore)>|std::(latch|barrier|\w+_semaphore|atomic\w*_(wait|notify)\w*)\b|\.wait\([^l)]'
}

# What is fixed when compiled is named kName, whatever its scope; small locals may have plain names. The dates are the
# interface's.
constant_names() {
    sources '*.cpp' '*.h' ':!port/include' ':!include/orvcomtypes/orvtime.h' | xargs -0 -r grep -nHE \
        '\bconstexpr\b[^()=;{]*[ &*]([cgs]_\w+|[A-Z][A-Z0-9_]+)(\[[^]]*\])*( =|\{|;)'
}

shell_syntax() {
    local script
    for script in $(git ls-files '*.sh' scripts/run-wine .ci/run); do bash -n "$script"; done
}

rule "no conditional on platform or compiler in src/ and include/" platform_conditionals
rule "text literals are written with ORVTEXT" literal_prefixes
rule "min and max stand in parentheses in include/" bare_min_max
rule "OrvComTypes.def is sorted" definition_order
rule "C knows every plain function" c_names
rule "public headers include only lower ones" header_order
rule "sources include nothing of a room above" room_order
rule "sources are formatted" format
rule "no line is longer than 110 characters" line_length
rule "threads wait by the platform's events" lost_wakeups
rule "constants are named kName" constant_names
rule "scripts are well-formed" shell_syntax
printf '%d passed, %d failed\n' "$passed" "$failures"
[ "$failures" = 0 ]
