#include "orvcomtypes/orvtime.h"
#include "orvcomtypes/timeutils.h"
#include "time/civil.h"
#include "time/orvtimeutil.h"

#include <windows.h>
#include <oledb.h>

#include <cstdint>

namespace
{

bool IsGettable(const char* sFunction, const COrvTime& t) noexcept
{
    if (t.IsValid())
        return true;
    ORVTIME_REPORT(sFunction, "!IsValid()");
    return false;
}

} // namespace

// ---- OLE dates ----

bool COrvTime::CheckDATE(double d, const char* sFunction) noexcept
{
    if (d >= BASEORVTIME_INDATE && d <= MAXORVTIME_INDATE)
        return true;
    ORVTIME_REPORT(sFunction, "d < BASEORVTIME_INDATE || d > MAXORVTIME_INDATE");
    return false;
}

bool COrvTime::SetDATE(double d) noexcept
{
    if (d < MINSETDATE)
    {
        Reset();
        return true;
    }
    if (!CheckDATE(d, "COrvTime::SetDATE"))
        return false;
    m_iTime = OCT::Nearest((d - BASEORVTIME_INDATE) * SECONDSPERDAY_INDATE);
    return true;
}

COrvTime COrvTime::FromDATE(double d) noexcept
{
    COrvTime t;
    t.SetDATE(d);
    return t;
}

double COrvTime::GetDATE() const noexcept
{
    return IsValid() ? m_iTime / SECONDSPERDAY_INDATE + BASEORVTIME_INDATE : 0.0;
}

bool COrvTime::SetLocalDATE(double d) noexcept
{
    if (d < MINSETDATE)
    {
        Reset();
        return true;
    }
    if (!CheckDATE(d, "COrvTime::SetLocalDATE"))
        return false;
    SYSTEMTIME st;
    if (!VariantTimeToSystemTime(d, &st))
    {
        ORVTIME_REPORT("COrvTime::SetLocalDATE", "::VariantTimeToSystemTime(d, &st)");
        return false;
    }
    SetLocalSystemTime(st);
    return true;
}

COrvTime COrvTime::FromLocalDATE(double d) noexcept
{
    COrvTime t;
    t.SetLocalDATE(d);
    return t;
}

double COrvTime::GetLocalDATE() const noexcept
{
    double d = 0.0;
    return IsValid() && Timet2LocalDATE(m_iTime, &d) ? d : 0.0;
}

// ---- SYSTEMTIME and DBTIMESTAMP ----

bool COrvTime::GetSystemTime(SYSTEMTIME& st) const noexcept
{
    return IsGettable("COrvTime::GetSystemTime", *this) && Timet2SystemTime(m_iTime, &st);
}

bool COrvTime::GetLocalSystemTime(SYSTEMTIME& st) const noexcept
{
    return IsGettable("COrvTime::GetLocalSystemTime", *this) && Timet2LocalSystemTime(m_iTime, &st);
}

bool COrvTime::SetSystemTime(const SYSTEMTIME& st) noexcept
{
    return SetYMD(st.wYear, st.wMonth, st.wDay, st.wHour, st.wMinute, st.wSecond);
}

bool COrvTime::SetLocalSystemTime(const SYSTEMTIME& st) noexcept
{
    return SetLocalYMD(st.wYear, st.wMonth, st.wDay, st.wHour, st.wMinute, st.wSecond);
}

COrvTime COrvTime::FromSystemTime(const SYSTEMTIME& st) noexcept
{
    COrvTime t;
    t.SetSystemTime(st);
    return t;
}

COrvTime COrvTime::FromLocalSystemTime(const SYSTEMTIME& st) noexcept
{
    COrvTime t;
    t.SetLocalSystemTime(st);
    return t;
}

bool COrvTime::GetDBTypeStamp(DBTIMESTAMP& ts) const noexcept
{
    // Reports as GetSystemTime, deliberately.
    if (!IsGettable("COrvTime::GetSystemTime", *this))
        return false;
    const SYSTEMTIME st = OCT::FieldsOf(m_iTime);
    ts.year = static_cast<SHORT>(st.wYear);
    ts.month = st.wMonth;
    ts.day = st.wDay;
    ts.hour = st.wHour;
    ts.minute = st.wMinute;
    ts.second = st.wSecond;
    ts.fraction = 0;
    return true;
}

bool COrvTime::SetDBTypeStamp(const DBTIMESTAMP& ts) noexcept
{
    return SetYMD(ts.year, ts.month, ts.day, ts.hour, ts.minute, ts.second);
}

COrvTime COrvTime::FromDBTypeStamp(const DBTIMESTAMP& ts) noexcept
{
    COrvTime t;
    t.SetDBTypeStamp(ts);
    return t;
}

// ---- Fields ----

bool COrvTime::GetYMD(WORD* year, WORD* month, WORD* day, WORD* hour, WORD* minute,
                      WORD* second) const noexcept
{
    return IsGettable("COrvTime::GetYMD", *this) &&
           Timet2YMD(m_iTime, year, month, day, hour, minute, second);
}

bool COrvTime::GetLocalYMD(WORD* year, WORD* month, WORD* day, WORD* hour, WORD* minute,
                           WORD* second) const noexcept
{
    WORD wUnused;
    const auto orUnused = [&wUnused](WORD* p) { return p != nullptr ? p : &wUnused; };
    return IsGettable("COrvTime::GetLocalYMD", *this) &&
           Timet2LocalYMD(m_iTime, year, month, day, orUnused(hour), orUnused(minute), orUnused(second));
}

bool COrvTime::SetYMD(int year, int month, int day, int hour, int minute, int second) noexcept
{
    const std::int64_t nSeconds = OCT::SecondsOf(year, month, day, hour, minute, second);
    const bool bDone = nSeconds != OCT::kNoSeconds;
    m_iTime = bDone ? static_cast<int>(OCT::NarrowSeconds(nSeconds)) : 0;
    return bDone;
}

bool COrvTime::SetLocalYMD(int year, int month, int day, int hour, int minute, int second) noexcept
{
    LONG t = 0;
    const bool bDone = LocalYMD2Timet(year, month, day, hour, minute, second, &t);
    m_iTime = static_cast<int>(t);
    return bDone;
}

bool COrvTime::SetLocalYMD(int year, int month, int day, int hour, int minute, int second,
                           LocalOccurrence which) noexcept
{
    LONG t = 0;
    const bool bDone = LocalYMD2TimetOf(year, month, day, hour, minute, second, which, &t);
    m_iTime = static_cast<int>(t);
    return bDone;
}

COrvTime COrvTime::FromYMD(int year, int month, int day, int hour, int minute, int second) noexcept
{
    COrvTime t;
    t.SetYMD(year, month, day, hour, minute, second);
    return t;
}

COrvTime COrvTime::FromLocalYMD(int year, int month, int day, int hour, int minute, int second) noexcept
{
    COrvTime t;
    t.SetLocalYMD(year, month, day, hour, minute, second);
    return t;
}

COrvTime COrvTime::FromLocalYMD(int year, int month, int day, int hour, int minute, int second,
                                LocalOccurrence which) noexcept
{
    COrvTime t;
    t.SetLocalYMD(year, month, day, hour, minute, second, which);
    return t;
}
