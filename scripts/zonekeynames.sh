#!/usr/bin/env bash
# Writes port/windows/zonekeynames.inc: for each Windows name of a time zone the identifiers of the tz database that
# mean it, as this machine's ICU maps them (CLDR), and the newer names that this machine's tzdata links to those.
set -euo pipefail
source "$(dirname "$0")/env.sh"
cd "$repo"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cat >"$work/list.cpp" <<'PROGRAM'
#include <iostream>
#include <memory>
#include <string>
#include <unicode/strenum.h>
#include <unicode/timezone.h>

int main()
{
    UErrorCode error = U_ZERO_ERROR;
    const std::unique_ptr<icu::StringEnumeration> ids(
        icu::TimeZone::createTimeZoneIDEnumeration(UCAL_ZONE_TYPE_ANY, nullptr, nullptr, error));
    while (const icu::UnicodeString* pId = U_SUCCESS(error) ? ids->snext(error) : nullptr)
    {
        icu::UnicodeString name;
        icu::TimeZone::getWindowsID(*pId, name, error);
        std::string sName, sId;
        if (!name.isEmpty())
            std::cout << name.toUTF8String(sName) << '\t' << pId->toUTF8String(sId) << '\n';
    }
    return U_FAILURE(error);
}
PROGRAM
${CXX:-c++} -std=c++20 "$work/list.cpp" -o "$work/list" $(pkg-config --cflags --libs icu-i18n)
"$work/list" >"$work/names"
zones=/usr/share/zoneinfo/tzdata.zi
{
    echo "// Written by scripts/zonekeynames.sh from ICU $(pkg-config --modversion icu-i18n) and tzdata$(sed -n '1s/# version//p' "$zones")."
    # A link "L target name" of a target that has a Windows name, when the name itself is new; links of links too.
    awk 'BEGIN { FS = "\t" }
        NR == FNR { name[$2] = $1; next }
        { split($0, word, " ") }
        word[1] == "L" { target[word[3]] = word[2] }
        END {
            for (link in target) {
                for (to = target[link]; !(to in name) && to in target;) to = target[to]
                if (!(link in name) && to in name) name[link] = name[to]
            }
            for (id in name) print name[id] "\t" id
        }' "$work/names" "$zones" | LC_ALL=C sort | awk -F'\t' '
        $1 != last { if (last != "") print "\"},"; printf "{ORVTEXT(\"%s\"),\n \"", $1; last = $1; room = 105 }
        length($2) + 1 > room { printf "\"\n \""; room = 105 }
        { printf "%s ", $2; room -= length($2) + 1 }
        END { print "\"}," }'
} >port/windows/zonekeynames.inc
