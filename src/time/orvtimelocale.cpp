#include "orvcomtypes/orvstr.h"
#include "orvcomtypes/orvtime.h"
#include "time/localetext.h"
#include "time/localzone.h"
#include "time/orvtimeutil.h"

#include <windows.h>

COrvStr COrvTime::FormatLocal(unsigned uiFlags) const noexcept
{
    const bool bTimeFirst = (uiFlags & Ext_TimeFirst) == Ext_TimeFirst;
    if (bTimeFirst && ((uiFlags & Date_Mask) == 0 || (uiFlags & Time_Mask) == 0))
        ORVTIME_REPORT("COrvTime::FormatLocal", "(uiFlags & Ext_TimeFirst) == Ext_TimeFirst && "
                                                "((uiFlags & Date_Mask) == 0 || (uiFlags & Time_Mask) == 0)");
    SYSTEMTIME st;
    if (!IsValid() || !OCT::CLocalZone().GetFields(m_iTime, st))
        return COrvStr();
    WCHAR text[OCT::kLocaleTextRoom];
    OCT::FormatForLocale(LOCALE_NAME_USER_DEFAULT, st, uiFlags, text);
    try
    {
        return COrvStr(text);
    }
    catch (...) // no memory
    {
        return COrvStr();
    }
}

bool COrvTime::ParseLocal(const WCHAR* src, unsigned uiFlags) noexcept
{
    if (src == nullptr)
    {
        ORVTIME_REPORT("COrvTime::ParseLocal", "src == nullptr");
        return false;
    }
    try
    {
        return (uiFlags & (Date_Mask | Time_Mask)) != 0 && InternalParseLocal(src, uiFlags);
    }
    catch (...) // no memory
    {
        return false;
    }
}

bool COrvTime::InternalParseLocal(const WCHAR* src, unsigned uiFlags)
{
    const OCT::CLocalZone zone;
    SYSTEMTIME st = {};
    if ((uiFlags & Date_Mask) == 0 && !zone.GetFields((IsValid() ? *this : Now()).m_iTime, st))
        return false;
    st.wHour = st.wMinute = st.wSecond = 0;
    if (!OCT::ParseForLocale(*OCT::UserLocaleForms(), src, uiFlags, st))
        return false;
    LONG t = 0;
    const bool bDone = zone.FromFields(st, t);
    m_iTime = static_cast<int>(t);
    return bDone;
}
