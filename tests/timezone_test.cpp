#include "orvcomtypes/orvtime.h"

#include "support/local_time.h"
#include "support/random.h"

#include <climits>

namespace
{

constexpr int DAY = 86400;
constexpr const WCHAR* EUROPE = ORVTEXT("Central Europe Standard Time");
constexpr const WCHAR* EASTERN = ORVTEXT("Eastern Standard Time");
constexpr const WCHAR* SYDNEY = ORVTEXT("AUS Eastern Standard Time");
constexpr const WCHAR* LORD_HOWE = ORVTEXT("Lord Howe Standard Time");
constexpr const WCHAR* AUCKLAND = ORVTEXT("New Zealand Standard Time");
constexpr const WCHAR* NEPAL = ORVTEXT("Nepal Standard Time");

TEST(TimeUtils, FileTimes)
{
    for (const LONG t : {LONG{0}, LONG{1}, LONG{-1}, LONG{1714979289}, LONG{INT_MAX}, LONG{INT_MIN}})
        EXPECT_EQ(t, FileTime2Timet(Timet2FileTime(t))) << t;
    const FILETIME ft = Timet2FileTime(0);
    EXPECT_EQ(0x019DB1DEu, ft.dwHighDateTime);
    EXPECT_EQ(0xD53E8000u, ft.dwLowDateTime);
    EXPECT_EQ(0, FileTime2Timet({0xD53E8000u - 9999999u, 0x019DB1DEu})); // cut off towards 1970
    EXPECT_EQ(1, FileTime2Timet({0xD53E8000u + 19999999u, 0x019DB1DEu}));
}

TEST(TimeZone, UnknownNamesLeaveTheSystemsZone)
{
    const COrvTime t = FromUtc({2024, 7, 1, 12});
    const Fields inSystem = LocalOf(t);
    {
        const CZone zone(NEPAL);
        EXPECT_EQ((Fields{2024, 7, 1, 17, 45, 0}), LocalOf(t));
    }
    EXPECT_EQ(2, SetTimeZone(ORVTEXT("Nowhere Standard Time")));
    EXPECT_EQ(inSystem, LocalOf(t));
}

TEST(TimeZone, ChangesOfNamedZones)
{
    struct Row
    {
        const WCHAR* sZone;
        Fields change; // the first second of the new offset, in UTC
        Fields before; // local time one second earlier
        Fields after;
    };
    // One pair of rules holds in every year, also where the real zone was different.
    static constexpr Row rows[] = {
        {EUROPE, {2024, 3, 31, 1}, {2024, 3, 31, 1, 59, 59}, {2024, 3, 31, 3}},
        {EUROPE, {2024, 10, 27, 1}, {2024, 10, 27, 2, 59, 59}, {2024, 10, 27, 2}},
        {EUROPE, {2037, 10, 25, 1}, {2037, 10, 25, 2, 59, 59}, {2037, 10, 25, 2}},
        {EASTERN, {2024, 11, 3, 6}, {2024, 11, 3, 1, 59, 59}, {2024, 11, 3, 1}},
        {SYDNEY, {2024, 4, 6, 16}, {2024, 4, 7, 2, 59, 59}, {2024, 4, 7, 2}},
        {SYDNEY, {2024, 10, 5, 16}, {2024, 10, 6, 1, 59, 59}, {2024, 10, 6, 3}},
        {LORD_HOWE, {2024, 4, 6, 15}, {2024, 4, 7, 1, 59, 59}, {2024, 4, 7, 1, 30}},
    };
    for (const Row& row : rows)
    {
        const COrvTime tChange = FromUtc(row.change);
        const CZone zone(row.sZone);
        EXPECT_EQ(row.before, LocalOf(tChange - 1)) << tChange.GetOrvTime();
        EXPECT_EQ(row.after, LocalOf(tChange)) << tChange.GetOrvTime();
    }
}

/// Wall-clock times around the change of the offset at \p tChange. A skipped one is read as if the change had
/// been made, of two equal ones the first is meant.
void CheckWallClock(const COrvTime& tChange, int iBefore, int iAfter)
{
    for (int i = -2 * 3600; i <= 2 * 3600; i += 600)
    {
        const COrvTime tLocal = tChange + iBefore + i;
        SYSTEMTIME st;
        ASSERT_TRUE(tLocal.GetSystemTime(st));
        EXPECT_EQ(tLocal - (i < 0 ? iBefore : iAfter), COrvTime::FromLocalSystemTime(st))
            << tChange.GetOrvTime() << " + " << i;
    }
}

TEST(TimeZone, SkippedAndRepeatedTimes)
{
    for (const WCHAR* sZone : {EUROPE, EASTERN, SYDNEY, LORD_HOWE, AUCKLAND})
    {
        const CZone zone(sZone);
        const auto offsetAt = [](const COrvTime& t) { return (FromUtc(LocalOf(t)) - t).GetInSecond(); };
        int nChanges = 0;
        for (COrvTime t = FromUtc({2024, 1, 1}); t < FromUtc({2025, 1, 1}); t += 1800)
            if (offsetAt(t - 1) != offsetAt(t))
            {
                CheckWallClock(t, offsetAt(t - 1), offsetAt(t));
                ++nChanges;
            }
        EXPECT_EQ(2, nChanges);
    }
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
    for (const WCHAR* sZone : {EUROPE, EASTERN, LORD_HOWE, NEPAL, AUCKLAND})
    {
        const CZone zone(sZone);
        for (int i = 0; i < 300; ++i)
        {
            // Half of them on the weekends of the changes.
            const int iMonth = i % 4 == 0 ? 3 : i % 4 == 1 ? 10 : 1 + static_cast<int>(random.UpTo(11));
            const COrvTime t = FromUtc({1971 + static_cast<int>(random.UpTo(65)), iMonth,
                                        1 + static_cast<int>(random.UpTo(27))}) +
                               static_cast<int>(random.UpTo(5 * DAY));
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

} // namespace
