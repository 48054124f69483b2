#include "time/localetext.h"

#include "orvcomtypes/orvtime.h"

#include <windows.h>

namespace
{

/// Advances behind a written text; \p nResult is what the platform says that it wrote, with the terminator.
WCHAR* EndOf(WCHAR* p, int nResult) noexcept
{
    return nResult > 0 ? p + nResult - 1 : p;
}

int RoomAt(const WCHAR* p, const WCHAR (&text)[OCT::kLocaleTextRoom]) noexcept
{
    return static_cast<int>(text + OCT::kLocaleTextRoom - p);
}

} // namespace

void OCT::FormatForLocale(const WCHAR* sLocale, const SYSTEMTIME& st, unsigned uiFlags,
                          WCHAR (&text)[kLocaleTextRoom]) noexcept
{
    const bool bDate = (uiFlags & COrvTime::Date_Mask) != 0;
    const bool bTime = (uiFlags & COrvTime::Time_Mask) != 0;
    const bool bTimeFirst = (uiFlags & COrvTime::Ext_TimeFirst) != 0;
    const DWORD dwDate = (uiFlags & COrvTime::Date_Long) != 0 ? DATE_LONGDATE : DATE_SHORTDATE;
    const DWORD dwTime = (uiFlags & COrvTime::Time_Long) != 0 ? 0 : TIME_NOSECONDS;
    WCHAR* p = text;
    for (const bool bTimePart : {bTimeFirst, !bTimeFirst})
    {
        if (!(bTimePart ? bTime : bDate))
            continue;
        if (p != text)
            *p++ = ' ';
        const int nRoom = RoomAt(p, text);
        p = EndOf(p, bTimePart ? GetTimeFormatEx(sLocale, dwTime, &st, nullptr, p, nRoom)
                               : GetDateFormatEx(sLocale, dwDate, &st, nullptr, p, nRoom, nullptr));
    }
    *p = 0;
}
