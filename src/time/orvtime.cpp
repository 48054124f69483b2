#include "orvcomtypes/orvtime.h"

#include "orvcomtypes/timeutils.h"
#include "systemzone.h"
#include "time/civil.h"
#include "time/localzone.h"
#include "time/orvtimeutil.h"

#include <windows.h>

#include <chrono>
#include <cstdint>

using OCT::CLocalZone;

namespace
{

constexpr int kInvalidSpan = -0x7FFFFFFF - 1;
constexpr int kTwoDays = 172800;
constexpr int kLongestDay = 90000; // 25 hours
constexpr int kHour = 3600;
constexpr int kDay = 86400;

bool AreValid(const char* sFunction, const char* sCondition, const COrvTime& a, const COrvTime& b) noexcept
{
    if (a.IsValid() && b.IsValid())
        return true;
    ORVTIME_REPORT(sFunction, sCondition);
    return false;
}

bool CanCompare(const char* sFunction, const COrvTime& a, const COrvTime& b) noexcept
{
    return AreValid(sFunction, "!tLeft.IsValid() || ! tRight.IsValid()", a, b);
}

/// Is \p span good for arithmetic with \p t?
bool CanAdd(const char* sFunction, const COrvTime& t, const COrvTimeDiff& span) noexcept
{
    if (span.IsValid() && t.IsValid())
        return true;
    ORVTIME_REPORT(sFunction, "span.IsValid() && IsValid()");
    return false;
}

/// The difference of the days; of times that are further apart than a day can be, their own.
template <class DayOf>
int CompareDays(const char* sFunction, const COrvTime& tLeft, const COrvTime& tRight, DayOf dayOf) noexcept
{
    if (!CanCompare(sFunction, tLeft, tRight))
        return kInvalidSpan;
    const int iDiff = tLeft.GetOrvTime() - tRight.GetOrvTime();
    if (iDiff > kTwoDays || iDiff < -kTwoDays)
        return iDiff;
    return OCT::Subtract(dayOf(tLeft).GetOrvTime(), dayOf(tRight).GetOrvTime());
}

bool CheckValid(const char* sFunction, const COrvTime& t) noexcept
{
    if (t.IsValid())
        return true;
    ORVTIME_REPORT(sFunction, "IsValid()");
    return false;
}

COrvTime Shifted(const COrvTime& t, int iSeconds) noexcept
{
    return COrvTime(OCT::Add(t.GetOrvTime(), iSeconds));
}

COrvTime ShiftedBack(const COrvTime& t, int iSeconds) noexcept
{
    return COrvTime(OCT::Subtract(t.GetOrvTime(), iSeconds));
}

/// The day that the local clock shows at a moment, as the seconds of its midnight.
bool GetLocalDay(const CLocalZone& zone, std::int64_t nUtc, std::int64_t& nDay) noexcept
{
    const LONG nOffset = zone.OffsetAt(nUtc);
    const std::int64_t nLocal = nUtc + nOffset;
    nDay = nLocal - ((nLocal % kDay) + kDay) % kDay;
    return nOffset != kPortNoOffset;
}

/// The first moment at which the local clock shows a day, near a moment that shows another time than its
/// midnight: there the clock is changed, and midnight is skipped.
std::int64_t FirstMomentOf(const CLocalZone& zone, std::int64_t nDay, std::int64_t nNear) noexcept
{
    std::int64_t nBefore = nNear - kDay;
    std::int64_t nFirst = nNear + kDay;
    while (nFirst - nBefore > 1)
    {
        const std::int64_t nMiddle = nBefore + (nFirst - nBefore) / 2;
        std::int64_t nShown;
        if (!GetLocalDay(zone, nMiddle, nShown))
            return nNear;
        (nShown < nDay ? nBefore : nFirst) = nMiddle;
    }
    return nFirst;
}

/// The beginning of a local day, in any year.
bool GetDayStart(const CLocalZone& zone, std::int64_t nDay, std::int64_t& nStart) noexcept
{
    const LONG nOffset = zone.OffsetOfLocal(nDay);
    if (nOffset == kPortNoOffset)
        return false;
    nStart = nDay - nOffset;
    if (zone.OffsetAt(nStart) != nOffset)
        nStart = FirstMomentOf(zone, nDay, nStart);
    return true;
}

/// The beginning of the local day behind \p nDay; \p nFrom is a moment some hours into it, or still in \p
/// nDay when the clock was put back.
bool GetNextDayStart(const CLocalZone& zone, std::int64_t nDay, std::int64_t nFrom,
                     std::int64_t& nNext) noexcept
{
    std::int64_t nOther = nDay;
    for (; nOther <= nDay; nFrom += kDay)
        if (!GetLocalDay(zone, nFrom, nOther))
            return false;
    return GetDayStart(zone, nOther, nNext);
}

/// The beginning of the day of \p t; \p t itself when a conversion fails.
COrvTime DayDown(const CLocalZone& zone, const COrvTime& t) noexcept
{
    SYSTEMTIME st;
    std::int64_t nStart;
    const bool bDone = zone.GetFields(t.GetTimet(), st) && OCT::IsLocalDate(st.wYear, st.wMonth, st.wDay) &&
                       GetDayStart(zone, OCT::SecondsOf(st.wYear, st.wMonth, st.wDay, 0, 0, 0), nStart);
    return bDone ? COrvTime(static_cast<int>(nStart)) : t;
}

} // namespace

COrvTime& COrvTime::SetNow() noexcept
{
    const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
    m_iTime = static_cast<int>(now.time_since_epoch().count());
    return *this;
}

const COrvTime& COrvTime::Base() noexcept
{
    static constexpr COrvTime kBase;
    return kBase;
}

COrvTime COrvTime::operator+(const COrvTimeDiff& span) const noexcept
{
    return CanAdd("COrvTime::operator +", *this, span) ? Shifted(*this, span.GetTimeDiff()) : COrvTime();
}

COrvTime COrvTime::operator-(const COrvTimeDiff& span) const noexcept
{
    return CanAdd("COrvTime::operator -", *this, span) ? ShiftedBack(*this, span.GetTimeDiff()) : COrvTime();
}

COrvTime COrvTime::operator+(int iSeconds) const noexcept
{
    return CheckValid("COrvTime::operator +", *this) ? Shifted(*this, iSeconds) : COrvTime();
}

COrvTime COrvTime::operator-(int iSeconds) const noexcept
{
    return CheckValid("COrvTime::operator -", *this) ? ShiftedBack(*this, iSeconds) : COrvTime();
}

COrvTime& COrvTime::operator+=(const COrvTimeDiff& span) noexcept
{
    if (CanAdd("COrvTime::operator +=", *this, span))
        *this = Shifted(*this, span.GetTimeDiff());
    return *this;
}

COrvTime& COrvTime::operator-=(const COrvTimeDiff& span) noexcept
{
    if (CanAdd("COrvTime::operator -=", *this, span))
        *this = ShiftedBack(*this, span.GetTimeDiff());
    return *this;
}

COrvTimeDiff COrvTime::operator-(const COrvTime& t) const noexcept
{
    return AreValid("COrvTime::operator -", "t.IsValid() && IsValid()", *this, t)
               ? COrvTimeDiff(m_iTime - t.m_iTime)
               : COrvTimeDiff();
}

int COrvTime::Compare(const COrvTime& tLeft, const COrvTime& tRight) noexcept
{
    return CanCompare("COrvTime::Compare", tLeft, tRight) ? tLeft.m_iTime - tRight.m_iTime : kInvalidSpan;
}

int COrvTime::CompareYMD(const COrvTime& tLeft, const COrvTime& tRight) noexcept
{
    return CompareDays("COrvTime::CompareYMD", tLeft, tRight,
                       [](const COrvTime& t) { return t.RoundDayDown(); });
}

int COrvTime::CompareLocalYMD(const COrvTime& tLeft, const COrvTime& tRight) noexcept
{
    return CompareDays("COrvTime::CompareLocalYMD", tLeft, tRight,
                       [zone = CLocalZone()](const COrvTime& t) { return DayDown(zone, t); });
}

COrvTimeDiff COrvTime::GetTimeDiff(const COrvTime& tLeft, const COrvTime& tRight) noexcept
{
    return AreValid("COrvTime::GetTimeDiff", "tLeft.IsValid() && tRight.IsValid()", tLeft, tRight)
               ? COrvTimeDiff(tRight.m_iTime - tLeft.m_iTime)
               : COrvTimeDiff();
}

COrvTimeDiff COrvTime::GetTimeDiffAbs(const COrvTime& tLeft, const COrvTime& tRight) noexcept
{
    if (!AreValid("COrvTime::GetTimeDiffAbs", "tLeft.IsValid() && tRight.IsValid()", tLeft, tRight))
        return COrvTimeDiff();
    const int iDiff = tRight.m_iTime - tLeft.m_iTime;
    return COrvTimeDiff(iDiff < 0 ? -iDiff : iDiff);
}

COrvTimeDiff COrvTime::GetOleTimeDiff(double dLeft, double dRight) noexcept
{
    if (!(dLeft >= MINSETDATE && dRight >= MINSETDATE))
    {
        ORVTIME_REPORT("COrvTime::GetOleTimeDiff", "dLeft >= MINSETDATE && dRight >= MINSETDATE");
        return COrvTimeDiff();
    }
    const auto toSeconds = [](double d) {
        return OCT::Nearest((d - BASEORVTIME_INDATE) * SECONDSPERDAY_INDATE);
    };
    return COrvTimeDiff(OCT::Subtract(toSeconds(dRight), toSeconds(dLeft)));
}

const COrvTime& COrvTime::Max(const COrvTime& tLeft, const COrvTime& tRight) noexcept
{
    if (!AreValid("COrvTime::Max", "!tLeft.IsValid() || !tRight.IsValid()", tLeft, tRight))
        return tLeft.IsValid() ? tRight : tLeft;
    return tLeft.m_iTime < tRight.m_iTime ? tRight : tLeft;
}

const COrvTime& COrvTime::Min(const COrvTime& tLeft, const COrvTime& tRight) noexcept
{
    if (!AreValid("COrvTime::Min", "!tLeft.IsValid() || !tRight.IsValid()", tLeft, tRight))
        return tLeft.IsValid() ? tRight : tLeft;
    return tRight.m_iTime < tLeft.m_iTime ? tRight : tLeft;
}

bool COrvTime::Between(const COrvTime& tLow, const COrvTime& tHigh) const noexcept
{
    return IsValid() && (!tLow.IsValid() || tLow.m_iTime <= m_iTime) &&
           (!tHigh.IsValid() || m_iTime <= tHigh.m_iTime);
}

bool COrvTime::IsSameLocalDay(const COrvTime& t) const noexcept
{
    const std::int64_t nDiff = std::int64_t{m_iTime} - t.m_iTime;
    const CLocalZone zone;
    SYSTEMTIME st;
    SYSTEMTIME stOther;
    return nDiff >= -kLongestDay && nDiff <= kLongestDay && zone.GetFields(m_iTime, st) &&
           zone.GetFields(t.m_iTime, stOther) && st.wDay == stOther.wDay && st.wMonth == stOther.wMonth &&
           st.wYear == stOther.wYear;
}

COrvTime COrvTime::RoundLocalDayDown() const noexcept
{
    return DayDown(CLocalZone(), *this);
}

COrvTime COrvTime::RoundLocalDayUp() const noexcept
{
    const CLocalZone zone;
    std::int64_t nDay, nStart, nNext;
    if (!GetLocalDay(zone, m_iTime, nDay) || !GetDayStart(zone, nDay, nStart))
        return *this;
    if (nDay < 0)
        return DayDown(zone, *this); // fails, with its report
    // 24 hours on is the next midnight, unless the day has 23 or 25: then the clock two hours later still
    // tells the day. To a midnight that is not valid nothing is added, so that it is the result.
    const COrvTime tStart(static_cast<int>(nStart));
    if (!CanAdd("COrvTime::operator +=", tStart, COrvTimeDiff::FromDay(1)))
        return tStart;
    if (!GetNextDayStart(zone, nDay, nStart + kDay + 2 * kHour, nNext))
        return *this;
    // A clock that is put back just after midnight shows the same midnight again.
    if (nNext <= m_iTime && GetLocalDay(zone, nNext, nDay))
        nNext = nDay - zone.OffsetOfRepeated(nDay, loSecond);
    return COrvTime(static_cast<int>(nNext));
}
