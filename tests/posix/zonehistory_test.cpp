// The system's zone beside the C library, over every change from 1970 to 2037.
#include "support/forked.h"
#include "support/local_time.h"
#include "support/test_environment.h"

#include <cstdio>
#include <ctime>
#include <fstream>
#include <sstream>
#include <string>

namespace
{

std::tm LibraryTime(const COrvTime& t)
{
    const std::time_t nTime = t.GetTimet();
    std::tm tm = {};
    localtime_r(&nTime, &tm);
    return tm;
}

/// Is the local time the C library's, and does it read back as \p t or as the earlier of the two moments that
/// show it?
bool Agrees(const COrvTime& t)
{
    const Fields f = LocalOf(t);
    const COrvTime tBack = FromLocal(f);
    return FromUtc(f) - t == COrvTimeDiff(static_cast<int>(LibraryTime(t).tm_gmtoff)) &&
           (tBack == t || (tBack < t && t - tBack <= COrvTimeDiff::FromDay(1) && LocalOf(tBack) == f));
}

/// Where the offset changes between the two moments: right before that and behind it.
bool AgreesBetween(COrvTime tBefore, COrvTime tAfter)
{
    const long nOffset = LibraryTime(tBefore).tm_gmtoff;
    if (LibraryTime(tAfter).tm_gmtoff == nOffset)
        return true;
    while (tAfter - tBefore > COrvTimeDiff(1))
    {
        const COrvTime tMiddle = tBefore + (tAfter - tBefore).GetInSecond() / 2;
        (LibraryTime(tMiddle).tm_gmtoff == nOffset ? tBefore : tAfter) = tMiddle;
    }
    return Agrees(tBefore) && Agrees(tAfter);
}

int LibraryDay(const COrvTime& t)
{
    const std::tm tm = LibraryTime(t);
    return tm.tm_year * 366 + tm.tm_yday;
}

/// Is \p tNext the first moment of the day behind the one that begins at \p t? Most are 24 hours later; of
/// the others the C library is asked.
bool FollowsDay(const COrvTime& t, const COrvTime& tNext)
{
    // Put back behind midnight, the clock may show the day before once more.
    const COrvTime tLate = tNext + 3599;
    if (tNext.RoundLocalDayDown() != tNext || (tNext - 1).RoundLocalDayDown() != t ||
        tLate.RoundLocalDayUp() <= tLate)
        return false;
    return tNext - t == COrvTimeDiff::FromDay(1) ||
           (LibraryDay(tNext) > LibraryDay(t) && LibraryDay(tNext - 1) == LibraryDay(t));
}

std::string s_zone;

TEST(ZoneHistory, EveryZoneGoesDayByDay)
{
    std::ifstream zones("/usr/share/zoneinfo/zone1970.tab");
    int nZones = 0;
    for (std::string sLine; std::getline(zones, sLine);)
    {
        std::istringstream line(sLine);
        if (std::string sCountries, sPlace;
            sLine.starts_with('#') || !(line >> sCountries >> sPlace >> s_zone))
            continue;
#ifdef ORV_TEST_SANITIZED
        constexpr int kStep = 8; // the sums are the same there
#else
        constexpr int kStep = 1;
#endif
        if (++nZones % kStep != 0)
            continue;
        // A process reads its zone once.
        EXPECT_TRUE(RunForked([] {
            SetTestVariable("TZ", s_zone.c_str());
            COrvTime t = FromUtc({1970, 1, 3}).RoundLocalDayUp();
            for (COrvTime tNext, tEnd = FromUtc({2037, 12, 30}); t < tEnd; t = tNext)
                if (tNext = t.RoundLocalDayUp(); !FollowsDay(t, tNext) || !AgreesBetween(t - 1, tNext - 1))
                    return std::printf("%d is not followed by %d\n", t.GetOrvTime(), tNext.GetOrvTime()) < 0;
            return true;
        })) << s_zone;
    }
    EXPECT_GT(nZones, 300);
}

} // namespace
