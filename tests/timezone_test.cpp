#include "orvcomtypes/orvtime.h"

#include "support/child_process.h"
#include "support/local_time.h"
#include "support/random.h"

#include <atomic>
#include <climits>
#include <cstdio>
#include <set>
#include <thread>
#include <vector>

namespace
{

constexpr int kDay = 86400;
constexpr const WCHAR* kEurope = ORVTEXT("Central Europe Standard Time");
constexpr const WCHAR* kEastern = ORVTEXT("Eastern Standard Time");
constexpr const WCHAR* kSydney = ORVTEXT("AUS Eastern Standard Time");
constexpr const WCHAR* kLordHowe = ORVTEXT("Lord Howe Standard Time");
constexpr const WCHAR* kAuckland = ORVTEXT("New Zealand Standard Time");
constexpr const WCHAR* kCuba = ORVTEXT("Cuba Standard Time");
constexpr const WCHAR* kSantiago = ORVTEXT("Pacific SA Standard Time");
constexpr const WCHAR* kBeirut = ORVTEXT("Middle East Standard Time");
constexpr const WCHAR* kNepal = ORVTEXT("Nepal Standard Time");

TEST(TimeUtils, FileTimes)
{
    const FILETIME ft = Timet2FileTime(0);
    EXPECT_TRUE(ft.dwHighDateTime == 0x019DB1DE && ft.dwLowDateTime == 0xD53E8000);
    for (const LONG t : {LONG{-1}, LONG{1714979289}, LONG{INT_MAX}, LONG{INT_MIN}})
        EXPECT_EQ(t, FileTime2Timet(Timet2FileTime(t)));
    EXPECT_EQ(0, FileTime2Timet({ft.dwLowDateTime - 9999999, ft.dwHighDateTime})); // cut off towards 1970
    EXPECT_EQ(1, FileTime2Timet({ft.dwLowDateTime + 19999999, ft.dwHighDateTime}));
    EXPECT_EQ(2, FileTime2Timet({ft.dwLowDateTime + 20000000, ft.dwHighDateTime}));
}

TEST(TimeZone, OtherNamesLeaveTheSystemsZone)
{
    const COrvTime t = FromUtc({2024, 7, 1, 12});
    const Fields inSystem = LocalOf(t);
    for (const auto& [sName, iResult] : {std::pair(ORVTEXT("Nowhere Standard Time"), 2),
                                         {ORVTEXT("Nowhere/Town"), 2},
                                         {ORVTEXT(""), 0},
                                         {nullptr, 0}})
    {
        EXPECT_EQ(0, SetTimeZone(kNepal));
        EXPECT_EQ((Fields{2024, 7, 1, 17, 45, 0}), LocalOf(t));
        EXPECT_EQ(iResult, SetTimeZone(sName));
        EXPECT_EQ(inSystem, LocalOf(t));
    }
}

TEST(TimeZone, IdentifiersNameTheSameZones)
{
    for (const auto& [sId, sName] : {std::pair(ORVTEXT("Europe/Budapest"), kEurope),
                                     {ORVTEXT("america/NEW_YORK"), kEastern},
                                     {ORVTEXT("Australia/Canberra"), kSydney},
                                     {ORVTEXT("Asia/Katmandu"), kNepal}})
        for (const COrvTime t : {FromUtc({2024, 1, 15, 12}), FromUtc({2024, 7, 15, 12})})
        {
            const auto LocalIn = [t](const WCHAR* sZone) {
                const CZone zone(sZone);
                return LocalOf(t);
            };
            EXPECT_EQ(LocalIn(sName), LocalIn(sId)) << t.GetOrvTime();
        }
}

TEST(TimeZone, RepeatedHoursAreToldApart)
{
    const CZone zone(kEurope);
    const COrvTime tFirst = FromUtc({2024, 10, 27, 0, 30}), tSecond = tFirst + 3600;
    for (const auto& [t, which] :
         {std::pair(tFirst, loFirst), {tSecond, loSecond}, {tSecond + 3600, loFirst}})
    {
        const Fields f = LocalOf(t);
        EXPECT_EQ(which, GetLocalOccurrence(t.GetTimet())) << t.GetOrvTime();
        EXPECT_EQ(t, COrvTime::FromLocalYMD(f[0], f[1], f[2], f[3], f[4], f[5], which)) << t.GetOrvTime();
    }
    // Shown once: both are that moment. Never shown: read as ever.
    EXPECT_EQ(tFirst - 3600, COrvTime::FromLocalYMD(2024, 10, 27, 1, 30, 0, loSecond));
    EXPECT_EQ(tSecond + 3600, COrvTime::FromLocalYMD(2024, 10, 27, 3, 30, 0, loFirst));
    EXPECT_EQ(FromLocal({2024, 3, 31, 2, 30}), COrvTime::FromLocalYMD(2024, 3, 31, 2, 30, 0, loSecond));
}

/// Every form of the local time reads back, of a repeated hour as the first one.
void CheckLocalForms(const COrvTime& t)
{
    const COrvTime tBack = FromLocal(LocalOf(t));
    SYSTEMTIME st = {};
    double d = 0;
    EXPECT_TRUE(tBack == t || (LocalOf(tBack) == LocalOf(t) && tBack >= t - 3600)) << t.GetOrvTime();
    EXPECT_TRUE(t.GetLocalSystemTime(st) && Timet2LocalDATE(t.GetTimet(), &d)) << t.GetOrvTime();
    EXPECT_EQ(tBack, COrvTime::FromLocalSystemTime(st)) << t.GetOrvTime();
    EXPECT_EQ(tBack, COrvTime::FromLocalDATE(d)) << t.GetOrvTime();
    EXPECT_EQ(d, t.GetLocalDATE());
}

TEST(TimeZone, LocalDaysOf23And24And25Hours)
{
    CTestRandom random;
    for (const WCHAR* sZone : {kEurope, kEastern, kLordHowe, kNepal, kAuckland, kCuba, kSantiago, kBeirut})
    {
        const CZone zone(sZone);
        for (int i = 0; i < 300; ++i)
        {
            // Half of them on the weekends of the changes.
            static constexpr int changeMonths[] = {3, 4, 9, 10, 11};
            const int iMonth =
                i % 2 == 0 ? changeMonths[random.UpTo(4)] : 1 + static_cast<int>(random.UpTo(11));
            const COrvTime t = FromUtc({1971 + static_cast<int>(random.UpTo(65)), iMonth,
                                        1 + static_cast<int>(random.UpTo(27))}) +
                               static_cast<int>(random.UpTo(5 * kDay));
            const COrvTime tDown = t.RoundLocalDayDown(), tUp = t.RoundLocalDayUp();
            ASSERT_EQ(SlowDayStart(t, -900), tDown) << t.GetOrvTime();
            ASSERT_EQ(SlowDayStart(t, 900), tUp) << t.GetOrvTime();
            ASSERT_EQ(tUp, tDown.RoundLocalDayUp()) << t.GetOrvTime();
            ASSERT_TRUE(t.IsSameLocalDay(tDown) && !t.IsSameLocalDay(tUp)) << t.GetOrvTime();
            ASSERT_EQ((tDown - tUp).GetInSecond(), COrvTime::CompareLocalYMD(t, tUp)) << t.GetOrvTime();
            CheckLocalForms(t);
        }
    }
}

TEST(TimeZone, DaysBehindTheLastLocalDateGoOn)
{
    const CZone zone(kEurope);
    int nDays = 0;
    for (COrvTime t = FromLocal({2038, 1, 1, 12}); t.IsValid(); t = t.RoundLocalDayUp())
        ++nDays;
    EXPECT_EQ(19, nDays);
}

/// Uses times when the static objects of the program are destroyed.
struct CLateUser
{
    ~CLateUser()
    {
        if (!m_bUses)
            return;
        const COrvTime t = FromUtc({2024, 7, 1, 12});
        const int iHour = LocalOf(t)[3];
        const CZone zone(kEurope);
        COrvTime tRead;
        const bool bRead = tRead.ParseLocal(t.FormatLocal()) && tRead == t;
        std::printf("%d %d %d\n", iHour, LocalOf(t)[3], bRead);
    }
    bool m_bUses = false;
} g_lateUser;

ORV_CHILD(UsesTimesAtExit)
{
    g_lateUser.m_bUses = true;
    return static_cast<int>(SetTimeZone(kNepal));
}

TEST(TimeZone, WorksInStaticDestructors)
{
    EXPECT_EQ("17 14 1\n", CChildProcess("UsesTimesAtExit").Wait().m_sOutput);
}

TEST(TimeZone, SelectedWhileOthersConvert)
{
    // 18:00 UTC in the system's zone and in the two that are selected in turns, in one the day after.
    const COrvTime t = FromUtc({2024, 7, 1, 18});
    const std::set<int> hours = {LocalOf(t)[3], 20, 4};
    std::atomic<bool> bDone = false;
    std::vector<std::jthread> threads;
    for (int i = 0; i < 3; ++i)
        threads.emplace_back([&] {
            while (!bDone)
                for (const int iHour : {LocalOf(t)[3], (t - t.RoundLocalDayDown()).GetInSecond() / 3600,
                                        23 - ((t.RoundLocalDayUp() - t).GetInSecond() - 1) / 3600})
                    if (hours.count(iHour) == 0)
                        ADD_FAILURE() << iHour;
        });
    for (int i = 0; i < 300; ++i)
        EXPECT_EQ(0, SetTimeZone(i % 2 == 0 ? kEurope : kSydney));
    bDone = true;
    threads.clear();
    SetTimeZone(nullptr);
}

} // namespace
