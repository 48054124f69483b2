// The system's zone beside the tz database's own tool, over every change from 1970 to 2037.
#include "support/child_process.h"
#include "support/local_time.h"
#include "support/test_environment.h"

#include <climits>
#include <cstdio>
#include <cstring>
#include <memory>
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

bool ReadMonth(const char* sName, int& iMonth)
{
    static constexpr const char* sMonths = "JanFebMarAprMayJunJulAugSepOctNovDec";
    const char* p = std::strstr(sMonths, sName);
    iMonth = p != nullptr ? static_cast<int>(p - sMonths) / 3 + 1 : 0;
    return p != nullptr;
}

/// "Europe/Budapest  Sun Mar 31 00:59:59 2024 UT = Sun Mar 31 01:59:59 2024 CET isdst=0 gmtoff=3600"
bool ReadLine(const char* sLine, Moment& moment)
{
    char sMonth[4], sLocalMonth[4];
    auto& [y, mo, d, h, mi, s] = moment.m_utc;
    auto& [ly, lmo, ld, lh, lmi, ls] = moment.m_local;
    return std::sscanf(sLine, "%*s %*s %3s %d %d:%d:%d %d UT = %*s %3s %d %d:%d:%d %d", sMonth, &d, &h, &mi,
                       &s, &y, sLocalMonth, &ld, &lh, &lmi, &ls, &ly) == 12 &&
           ReadMonth(sMonth, mo) && ReadMonth(sLocalMonth, lmo);
}

std::vector<Moment> ReadHistory(const std::string& sZone)
{
    std::vector<Moment> moments;
    const auto close = [](FILE* f) { pclose(f); };
    const std::unique_ptr<FILE, decltype(close)> pipe(popen(("zdump -v -c 1970,2038 " + sZone).c_str(), "r"));
    char sLine[256];
    Moment moment;
    while (pipe != nullptr && std::fgets(sLine, sizeof sLine, pipe.get()) != nullptr)
        if (ReadLine(sLine, moment) && moment.m_utc[0] >= 1970 && moment.m_utc[0] < 2038)
            moments.push_back(moment);
    return moments;
}

/// Does the local time read back as \p t, or as the earlier of the two moments that show it?
bool ReadsBack(const COrvTime& t, const Fields& f)
{
    const COrvTime tBack = FromLocal(f);
    return tBack == t || (tBack < t && t - tBack <= COrvTimeDiff::FromDay(1) && LocalOf(tBack) == f);
}

/// Are the days around \p tChange rounded to their first moments, also where midnight is skipped?
bool RoundsDays(const COrvTime& tChange)
{
    for (int i = -30; i <= 30; i += 5)
    {
        const COrvTime t = tChange + i * 3600;
        if (t.RoundLocalDayDown() != SlowDayStart(t, -900) || t.RoundLocalDayUp() != SlowDayStart(t, 900))
            return false;
    }
    return true;
}

/// Checks the zone of this process; prints what differs.
ORV_CHILD(CheckZone)
{
    const std::vector<Moment> moments = ReadHistory(args.at(0));
    std::size_t nChecked = 0;
    for (const Moment& moment : moments)
    {
        const COrvTime t = FromUtc(moment.m_utc);
        if (t < COrvTime(3 * 86400) || t > COrvTime(INT_MAX - 30 * 86400))
            continue;
        if (LocalOf(t) != moment.m_local || !ReadsBack(t, moment.m_local) || !RoundsDays(t))
            std::printf("differs at %d\n", t.GetOrvTime());
        ++nChecked;
    }
    std::printf("checked %zu\n", nChecked);
    return 0;
}

class ZoneHistory : public testing::TestWithParam<std::pair<const char*, std::size_t>>
{
};

TEST_P(ZoneHistory, AgreesWithTheDatabase)
{
    const auto& [sZone, nChanges] = GetParam();
    const CVariableGuard zone("TZ", sZone);
    const ChildResult result = CChildProcess("CheckZone", {sZone}).Wait();
    EXPECT_EQ(0, result.m_iExitCode);
    std::size_t nChecked = 0;
    EXPECT_EQ(1, std::sscanf(result.m_sOutput.c_str(), "checked %zu", &nChecked)) << result.m_sOutput;
    EXPECT_GE(nChecked, 2 * nChanges); // a line before and one after each
}

// At least so many changes since 1970 are in the database.
INSTANTIATE_TEST_SUITE_P(
    Zones, ZoneHistory,
    testing::Values(std::pair("Europe/Budapest", 110u), std::pair("America/New_York", 134u),
                    std::pair("America/Sao_Paulo", 60u), std::pair("Australia/Lord_Howe", 100u),
                    std::pair("Asia/Kathmandu", 1u), std::pair("Pacific/Auckland", 120u)));

} // namespace
