#include "orvcomtypes/orvtime.h"

#include "support/random.h"
#include "support/report_capture.h"

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <thread>
#include <vector>

namespace
{

constexpr int DAY = 86400;
constexpr const WCHAR* EUROPE = ORVTEXT("Central Europe Standard Time");

/// A zone for the test; the system's own afterwards.
class CZone
{
public:
    explicit CZone(const WCHAR* sName) { EXPECT_EQ(0, SetTimeZone(sName)); }
    CZone(const CZone&) = delete;
    CZone& operator=(const CZone&) = delete;
    ~CZone() { SetTimeZone(ORVTEXT("no such zone")); }
};

using Fields = std::array<int, 6>;

Fields LocalOf(const COrvTime& t)
{
    WORD y = 0, mo = 0, d = 0, h = 0, mi = 0, s = 0;
    EXPECT_TRUE(t.GetLocalYMD(&y, &mo, &d, &h, &mi, &s));
    return {y, mo, d, h, mi, s};
}

COrvTime FromLocal(const Fields& f)
{
    return COrvTime::FromLocalYMD(f[0], f[1], f[2], f[3], f[4], f[5]);
}

COrvTime Utc(int y, int mo, int d, int h, int mi = 0, int s = 0)
{
    return COrvTime::FromYMD(y, mo, d, h, mi, s);
}

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

TEST(TimeUtils, OptionalPointersDiffer)
{
    CReportCapture capture;
    WORD y, mo, d, h = 9, mi = 9, s = 9;
    EXPECT_TRUE(Timet2YMD(DAY, &y, &mo, &d, nullptr, nullptr, nullptr));
    EXPECT_TRUE(COrvTime(DAY).GetLocalYMD(&y, &mo, &d, nullptr, nullptr, nullptr));
    EXPECT_NO_REPORTS(capture);
    EXPECT_FALSE(Timet2LocalYMD(DAY, &y, &mo, &d, nullptr, nullptr, nullptr));
    EXPECT_FALSE(Timet2YMD(DAY, nullptr, &mo, &d, &h, &mi, &s));
    EXPECT_EQ(0, h + mi + s);
    EXPECT_FALSE(Timet2SystemTime(DAY, nullptr));
    EXPECT_FALSE(Timet2LocalSystemTime(DAY, nullptr));
    EXPECT_FALSE(Timet2LocalDATE(DAY, nullptr));
    EXPECT_FALSE(TZ::LocalYMD2Timet(2024, 1, 1, 0, 0, 0, nullptr));
    constexpr const char* sAll =
        "year == nullptr || month == nullptr || day == nullptr || hour == nullptr || "
        "minute == nullptr || second == nullptr";
    EXPECT_REPORTS(capture, {{"TZ::Timet2LocalYMD", sAll, nullptr, "timeutils"},
                             {"TZ::Timet2YMD", sAll},
                             {"TZ::Timet2SystemTime", "pST == nullptr"},
                             {"TZ::Timet2LocalSystemTime", "pST == nullptr"},
                             {"TZ::Timet2LocalDATE", "localTime == nullptr"},
                             {"TZ::LocalYMD2Timet", "t == nullptr"}});
}

TEST(TimeZone, UnknownNamesLeaveTheSystemsZone)
{
    const Fields inSystem = LocalOf(Utc(2024, 7, 1, 12));
    {
        const CZone zone(ORVTEXT("Nepal Standard Time"));
        EXPECT_EQ((Fields{2024, 7, 1, 17, 45, 0}), LocalOf(Utc(2024, 7, 1, 12)));
    }
    EXPECT_EQ(2, SetTimeZone(ORVTEXT("Nowhere Standard Time")));
    EXPECT_EQ(inSystem, LocalOf(Utc(2024, 7, 1, 12)));
}

TEST(TimeZone, ChangesOfNamedZones)
{
    struct Row
    {
        const WCHAR* sZone;
        COrvTime tChange; // the first second of the new offset
        Fields before;    // local time one second earlier
        Fields after;
    };
    // One pair of rules holds in every year, also where the real zone was different.
    const Row rows[] = {
        {EUROPE, Utc(2024, 3, 31, 1), {2024, 3, 31, 1, 59, 59}, {2024, 3, 31, 3, 0, 0}},
        {EUROPE, Utc(2024, 10, 27, 1), {2024, 10, 27, 2, 59, 59}, {2024, 10, 27, 2, 0, 0}},
        {EUROPE, Utc(1975, 3, 30, 1), {1975, 3, 30, 1, 59, 59}, {1975, 3, 30, 3, 0, 0}},
        {EUROPE, Utc(2037, 10, 25, 1), {2037, 10, 25, 2, 59, 59}, {2037, 10, 25, 2, 0, 0}},
        {ORVTEXT("Eastern Standard Time"),
         Utc(2024, 3, 10, 7),
         {2024, 3, 10, 1, 59, 59},
         {2024, 3, 10, 3, 0, 0}},
        {ORVTEXT("Eastern Standard Time"),
         Utc(2024, 11, 3, 6),
         {2024, 11, 3, 1, 59, 59},
         {2024, 11, 3, 1, 0, 0}},
        {ORVTEXT("AUS Eastern Standard Time"),
         Utc(2024, 4, 6, 16),
         {2024, 4, 7, 2, 59, 59},
         {2024, 4, 7, 2, 0, 0}},
        {ORVTEXT("AUS Eastern Standard Time"),
         Utc(2024, 10, 5, 16),
         {2024, 10, 6, 1, 59, 59},
         {2024, 10, 6, 3, 0, 0}},
        {ORVTEXT("Lord Howe Standard Time"),
         Utc(2024, 4, 6, 15),
         {2024, 4, 7, 1, 59, 59},
         {2024, 4, 7, 1, 30, 0}},
    };
    for (const Row& row : rows)
    {
        SCOPED_TRACE(row.tChange.GetOrvTime());
        const CZone zone(row.sZone);
        EXPECT_EQ(row.before, LocalOf(row.tChange - 1));
        EXPECT_EQ(row.after, LocalOf(row.tChange));
        EXPECT_EQ(row.tChange + 3600 * 4, FromLocal(LocalOf(row.tChange + 3600 * 4)));
        EXPECT_EQ(row.tChange - 3600 * 4, FromLocal(LocalOf(row.tChange - 3600 * 4)));
    }
}

TEST(TimeZone, SkippedAndRepeatedHours)
{
    const CZone zone(EUROPE);
    // A skipped time is read as if the change had been made; a repeated one is the first of the two.
    EXPECT_EQ(Utc(2024, 3, 31, 0, 30), FromLocal({2024, 3, 31, 2, 30, 0}));
    EXPECT_EQ(Utc(2024, 3, 31, 1), FromLocal({2024, 3, 31, 3, 0, 0}));
    EXPECT_EQ(Utc(2024, 10, 27, 0, 30), FromLocal({2024, 10, 27, 2, 30, 0}));
    EXPECT_EQ(Utc(2024, 10, 27, 2), FromLocal({2024, 10, 27, 3, 0, 0}));
}

/// Midnights by trying: the last moment up to \p t (or the first after it) at which the local clock shows
/// 00:00:00.
COrvTime SlowMidnight(COrvTime t, int iStep)
{
    const auto isMidnight = [](const COrvTime& tMoment) {
        const Fields f = LocalOf(tMoment);
        return f[3] == 0 && f[4] == 0 && f[5] == 0;
    };
    t = t.RoundDayDown() + (t.GetOrvTime() % DAY) / 900 * 900 + (iStep > 0 ? 900 : 0);
    while (!isMidnight(t))
        t += iStep;
    return t;
}

TEST(TimeZone, LocalDaysOf23And24And25Hours)
{
    CTestRandom random;
    for (const WCHAR* sZone : {EUROPE, ORVTEXT("Eastern Standard Time"), ORVTEXT("Lord Howe Standard Time"),
                               ORVTEXT("Nepal Standard Time"), ORVTEXT("New Zealand Standard Time")})
    {
        const CZone zone(sZone);
        for (int i = 0; i < 300; ++i)
        {
            // Half of them on the weekends of the changes.
            const int iMonth = i % 4 == 0 ? 3 : i % 4 == 1 ? 10 : 1 + static_cast<int>(random.UpTo(11));
            const COrvTime t = Utc(1971 + static_cast<int>(random.UpTo(65)), iMonth,
                                   1 + static_cast<int>(random.UpTo(27)), 0) +
                               static_cast<int>(random.UpTo(5 * DAY));
            ASSERT_EQ(SlowMidnight(t, -900), t.RoundLocalDayDown()) << t.GetOrvTime();
            ASSERT_EQ(SlowMidnight(t, 900), t.RoundLocalDayUp()) << t.GetOrvTime();
            ASSERT_EQ(t.RoundLocalDayUp(), t.RoundLocalDayDown().RoundLocalDayUp()) << t.GetOrvTime();
            ASSERT_TRUE(t.IsSameLocalDay(t.RoundLocalDayDown())) << t.GetOrvTime();
            ASSERT_FALSE(t.IsSameLocalDay(t.RoundLocalDayUp())) << t.GetOrvTime();
            ASSERT_EQ(t.RoundLocalDayDown().GetOrvTime() - t.RoundLocalDayUp().GetOrvTime(),
                      COrvTime::CompareLocalYMD(t, t.RoundLocalDayUp()));
        }
    }
}

TEST(TimeZone, ThreadsShareTheSystemsZone)
{
    std::array<COrvTime, 4> results;
    std::vector<std::thread> threads;
    for (COrvTime& tResult : results)
        threads.emplace_back([&tResult] {
            for (int iYear = 1971; iYear < 2038; ++iYear)
                tResult = FromLocal(LocalOf(Utc(iYear, 7, 1, 12)));
        });
    for (std::thread& thread : threads)
        thread.join();
    for (const COrvTime& tResult : results)
        EXPECT_EQ(Utc(2037, 7, 1, 12), tResult);
}

TEST(TimeZone, LocalFormsRoundTrip)
{
    CTestRandom random;
    const CZone zone(EUROPE);
    for (int i = 0; i < 5000; ++i)
    {
        const COrvTime t(DAY + static_cast<int>(random.UpTo(2145830400u)));
        const COrvTime tBack = FromLocal(LocalOf(t));
        SYSTEMTIME st;
        double d;
        // Of a repeated hour the first one comes back.
        ASSERT_TRUE(tBack == t || (LocalOf(tBack) == LocalOf(t) && tBack == t - 3600)) << t.GetOrvTime();
        ASSERT_TRUE(t.GetLocalSystemTime(st));
        ASSERT_EQ(tBack, COrvTime::FromLocalSystemTime(st)) << t.GetOrvTime();
        ASSERT_EQ(tBack, COrvTime::FromLocalDATE(t.GetLocalDATE())) << t.GetOrvTime();
        ASSERT_TRUE(Timet2LocalDATE(t.GetTimet(), &d));
        ASSERT_EQ(d, t.GetLocalDATE());
    }
}

} // namespace
