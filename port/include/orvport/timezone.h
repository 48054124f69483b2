// Zone conversions and OLE dates.
#pragma once

#include "orvport/error.h"
#include "orvport/types.h"

typedef struct _TIME_ZONE_INFORMATION
{
    LONG Bias;
    WCHAR StandardName[32];
    SYSTEMTIME StandardDate;
    LONG StandardBias;
    WCHAR DaylightName[32];
    SYSTEMTIME DaylightDate;
    LONG DaylightBias;
} TIME_ZONE_INFORMATION, *PTIME_ZONE_INFORMATION, *LPTIME_ZONE_INFORMATION;

BOOL SystemTimeToTzSpecificLocalTime(const TIME_ZONE_INFORMATION* lpTimeZoneInformation,
                                     const SYSTEMTIME* lpUniversalTime, LPSYSTEMTIME lpLocalTime) noexcept;
BOOL TzSpecificLocalTimeToSystemTime(const TIME_ZONE_INFORMATION* lpTimeZoneInformation,
                                     const SYSTEMTIME* lpLocalTime, LPSYSTEMTIME lpUniversalTime) noexcept;

INT VariantTimeToSystemTime(DOUBLE vtime, LPSYSTEMTIME lpSystemTime) noexcept;
