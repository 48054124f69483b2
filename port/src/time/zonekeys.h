// The keys "SOFTWARE\Microsoft\Windows NT\CurrentVersion\Time Zones\<name>" of the machine's hive: names and
// their identifiers in the tz database from ICU, the rules from the machine's zone files, or from ICU's own
// data where a zone has no file. The registry serves the keys where no hive file has them.
#pragma once

#include "orvport/types.h"

#include <chrono> // IWYU pragma: keep (dates)
#include <optional>
#include <string>
#include <string_view>

/// The binary value "TZI": minutes west of UTC, and the two changes of the year.
struct ZoneKeyRules
{
    LONG m_nBias = 0;
    LONG m_nStandardBias = 0;
    LONG m_nDaylightBias = 0;
    SYSTEMTIME m_standardDate = {};
    SYSTEMTIME m_daylightDate = {};
};
static_assert(sizeof(ZoneKeyRules) == 44);

/// How many of the following years decide about the form of a rule.
inline constexpr std::chrono::years ZONE_KEY_YEARS(8);

/// "TZI" has one pair of rules. It is exact in the current year when that has one change forward and one
/// back; of the forms that a rule may then have (the fourth or the last weekday) it has the one that is right
/// in the most of the years that follow. In a year with any other changes the zone keeps the offset that it
/// has at the end of the year.
struct ZoneKeyValues
{
    std::u16string m_sStd; ///< "Std", the name of standard time
    std::u16string m_sDlt; ///< "Dlt", the name of daylight-saving time
    ZoneKeyRules m_rules;  ///< "TZI"
};

/// The values of the zone of that Windows name ("Central Europe Standard Time") or identifier
/// ("Europe/Budapest"), compared as key names are: without regard to the case of letters. Nothing when there
/// is no such zone.
std::optional<ZoneKeyValues> FindZoneKey(std::u16string_view sZoneName);
