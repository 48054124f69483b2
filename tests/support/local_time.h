// Zones and slow but obvious local time, for the tests of times.
#pragma once

#include "orvcomtypes/orvtime.h"

#include <gtest/gtest.h>

#include <array>

/// A zone for the test; the system's own afterwards.
class CZone
{
public:
    explicit CZone(const WCHAR* sName) { EXPECT_EQ(0, SetTimeZone(sName)); }
    CZone(CZone&&) = delete;
    ~CZone() { SetTimeZone(nullptr); }
};

using Fields = std::array<int, 6>; // year to second

inline Fields LocalOf(const COrvTime& t)
{
    WORD y = 0, mo = 0, d = 0, h = 0, mi = 0, s = 0;
    EXPECT_TRUE(t.GetLocalYMD(&y, &mo, &d, &h, &mi, &s));
    return {y, mo, d, h, mi, s};
}

inline COrvTime FromLocal(const Fields& f)
{
    return COrvTime::FromLocalYMD(f[0], f[1], f[2], f[3], f[4], f[5]);
}

inline COrvTime FromUtc(const Fields& f)
{
    return COrvTime::FromYMD(f[0], f[1], f[2], f[3], f[4], f[5]);
}

/// The first moment of the local day of \p t (\p iStep -900) or of the next one (900), by looking at the
/// clock every quarter of an hour.
inline COrvTime SlowDayStart(const COrvTime& t, int iStep)
{
    const auto isSameDay = [day = LocalOf(t)](const COrvTime& tMoment) {
        const Fields f = LocalOf(tMoment);
        return f[0] == day[0] && f[1] == day[1] && f[2] == day[2];
    };
    COrvTime tStart = t - t.GetOrvTime() % 900;
    while (isSameDay(tStart + iStep))
        tStart += iStep;
    return iStep < 0 ? tStart : tStart + iStep;
}
