// The system's zone beside the tz database's own tool, over every change from 1970 to 2037.
#include "support/child_process.h"
#include "support/forked.h"
#include "support/local_time.h"
#include "support/test_environment.h"

#include <climits>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace
{

/// A line of zdump: a moment, and what the local clock shows then.
struct Moment
{
    Fields m_utc;
    Fields m_local;
};

int MonthOf(const char* sName)
{
    static constexpr const char* sMonths = "JanFebMarAprMayJunJulAugSepOctNovDec";
    return static_cast<int>(std::strstr(sMonths, sName) - sMonths) / 3 + 1;
}

/// From "Europe/Budapest  Sun Mar 31 00:59:59 2024 UT = Sun Mar 31 01:59:59 2024 CET isdst=0 gmtoff=3600"
std::vector<Moment> ReadHistory(const std::string& sZone)
{
    std::vector<Moment> moments;
    CChildProcess zdump(ChildProgram{"/usr/bin/zdump"}, {"-v", "-c", "1970,2038", sZone});
    std::istringstream output(zdump.Wait().m_sOutput);
    for (std::string sLine; std::getline(output, sLine);)
    {
        Moment moment;
        char sMonth[4], sLocalMonth[4];
        auto& [y, mo, d, h, mi, s] = moment.m_utc;
        auto& [ly, lmo, ld, lh, lmi, ls] = moment.m_local;
        if (std::sscanf(sLine.c_str(), "%*s %*s %3s %d %d:%d:%d %d UT = %*s %3s %d %d:%d:%d %d", sMonth, &d,
                        &h, &mi, &s, &y, sLocalMonth, &ld, &lh, &lmi, &ls, &ly) != 12 ||
            y < 1970 || y >= 2038)
            continue;
        mo = MonthOf(sMonth);
        lmo = MonthOf(sLocalMonth);
        moments.push_back(moment);
    }
    return moments;
}

/// Does the local time read back as \p t, or as the earlier of the two moments that show it?
bool ReadsBack(const COrvTime& t, const Fields& f)
{
    const COrvTime tBack = FromLocal(f);
    return tBack == t || (tBack < t && t - tBack <= COrvTimeDiff::FromDay(1) && LocalOf(tBack) == f);
}

/// Checks the zone of this process; prints what differs.
ORV_CHILD(CheckZone)
{
    int nChecked = 0;
    for (const Moment& moment : ReadHistory(args.at(0)))
    {
        const COrvTime t = FromUtc(moment.m_utc);
        if (t < COrvTime(3 * 86400) || t > COrvTime(INT_MAX - 30 * 86400))
            continue;
        if (LocalOf(t) != moment.m_local || !ReadsBack(t, moment.m_local))
            std::printf("differs at %d\n", t.GetOrvTime());
        ++nChecked;
    }
    std::printf("checked %d\n", nChecked);
    return 0;
}

TEST(ZoneHistory, AgreesWithTheDatabase)
{
    // At least so many changes since 1970 are in the database.
    for (const auto& [sZone, nChanges] : {std::pair("Europe/Budapest", 110),
                                          {"America/New_York", 134},
                                          {"America/Sao_Paulo", 60},
                                          {"Australia/Lord_Howe", 100},
                                          {"Asia/Kathmandu", 1},
                                          {"Pacific/Auckland", 120},
                                          // Midnight is skipped or shown twice; the moon.
                                          {"Atlantic/Azores", 110},
                                          {"America/Havana", 110},
                                          {"America/Santiago", 110},
                                          {"Africa/Casablanca", 80}})
    {
        const CVariableGuard zone("TZ", sZone);
        const std::string sOutput = CChildProcess("CheckZone", {sZone}).Wait().m_sOutput;
        int nChecked = 0;
        EXPECT_EQ(1, std::sscanf(sOutput.c_str(), "checked %d", &nChecked)) << sZone << ": " << sOutput;
        EXPECT_GE(nChecked, 2 * nChanges) << sZone << ", a line before and one after each";
    }
}

int LibraryDay(const COrvTime& t)
{
    const std::time_t nTime = t.GetTimet();
    std::tm tm = {};
    localtime_r(&nTime, &tm);
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
                if (tNext = t.RoundLocalDayUp(); !FollowsDay(t, tNext))
                    return std::printf("%d is not followed by %d\n", t.GetOrvTime(), tNext.GetOrvTime()) < 0;
            return true;
        })) << s_zone;
    }
    EXPECT_GT(nZones, 300);
}

} // namespace
