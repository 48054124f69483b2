// The keys "SOFTWARE\Microsoft\Windows NT\CurrentVersion\Time Zones\<name>" of the machine's hive, made from
// ICU's zone data. The registry serves them where no hive file has the key.
#pragma once

#include "orvport/types.h"

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

struct ZoneKeyValues
{
    std::u16string m_sStd; ///< "Std", the name of standard time
    std::u16string m_sDlt; ///< "Dlt", the name of daylight-saving time
    ZoneKeyRules m_rules;  ///< "TZI", with the rules of the current year
};

/// The values of the zone of that Windows name ("Central Europe Standard Time"), compared as key names are:
/// without regard to the case of letters. Nothing when ICU knows no such zone.
std::optional<ZoneKeyValues> FindZoneKey(std::u16string_view sZoneName);
