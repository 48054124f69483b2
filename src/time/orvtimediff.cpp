#include "orvcomtypes/orvtime.h"
#include "time/orvtimeutil.h"

namespace
{

bool CanCompare(const char* sFunction, const COrvTimeDiff& a, const COrvTimeDiff& b) noexcept
{
    if (a.IsValid() && b.IsValid())
        return true;
    ORVTIME_REPORT(sFunction, "IsValid() && t.IsValid()");
    return false;
}

bool CanAdd(const char* sFunction, const COrvTimeDiff& a, const COrvTimeDiff& b) noexcept
{
    if (a.IsValid() && b.IsValid())
        return true;
    ORVTIME_REPORT(sFunction, "span.IsValid() && IsValid()");
    return false;
}

} // namespace

COrvTimeDiff COrvTimeDiff::FromDATE(double d) noexcept
{
    return COrvTimeDiff(OCT::Nearest(d * SECONDSPERDAY_INDATE));
}

bool COrvTimeDiff::SetDATE(double d) noexcept
{
    *this = FromDATE(d);
    return true;
}

bool COrvTimeDiff::GetHMS(int& h, int& m, int& s) const noexcept
{
    if (!IsValid())
        return false;
    const int iSpan = m_iSpan < 0 ? -m_iSpan : m_iSpan;
    h = iSpan / 3600;
    m = iSpan / 60 % 60;
    s = iSpan % 60;
    return true;
}

bool COrvTimeDiff::operator<(const COrvTimeDiff& t) const noexcept
{
    return CanCompare("COrvTimeDiff::operator <", *this, t) && m_iSpan < t.m_iSpan;
}

bool COrvTimeDiff::operator>(const COrvTimeDiff& t) const noexcept
{
    return CanCompare("COrvTimeDiff::operator >", *this, t) && m_iSpan > t.m_iSpan;
}

bool COrvTimeDiff::operator<=(const COrvTimeDiff& t) const noexcept
{
    return CanCompare("COrvTimeDiff::operator <=", *this, t) && m_iSpan <= t.m_iSpan;
}

bool COrvTimeDiff::operator>=(const COrvTimeDiff& t) const noexcept
{
    return CanCompare("COrvTimeDiff::operator >=", *this, t) && m_iSpan >= t.m_iSpan;
}

COrvTimeDiff COrvTimeDiff::operator-() const noexcept
{
    if (IsValid())
        return COrvTimeDiff(-m_iSpan);
    ORVTIME_REPORT("COrvTimeDiff::operator -", "IsValid()");
    return COrvTimeDiff();
}

COrvTimeDiff COrvTimeDiff::operator+(const COrvTimeDiff& span) const noexcept
{
    return CanAdd("COrvTimeDiff::operator +", *this, span) ? COrvTimeDiff(OCT::Add(m_iSpan, span.m_iSpan))
                                                           : COrvTimeDiff();
}

COrvTimeDiff COrvTimeDiff::operator-(const COrvTimeDiff& span) const noexcept
{
    return CanAdd("COrvTimeDiff::operator -", *this, span)
               ? COrvTimeDiff(OCT::Subtract(m_iSpan, span.m_iSpan))
               : COrvTimeDiff();
}

COrvTimeDiff& COrvTimeDiff::operator+=(const COrvTimeDiff& span) noexcept
{
    if (CanAdd("COrvTimeDiff::operator +=", *this, span))
        m_iSpan = OCT::Add(m_iSpan, span.m_iSpan);
    return *this;
}

COrvTimeDiff& COrvTimeDiff::operator-=(const COrvTimeDiff& span) noexcept
{
    if (CanAdd("COrvTimeDiff::operator -=", *this, span))
        m_iSpan = OCT::Subtract(m_iSpan, span.m_iSpan);
    return *this;
}
