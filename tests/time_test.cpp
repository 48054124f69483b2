#include "orvcomtypes/orvtime.h"
#include "orvcomtypes/orvtimer.h"

#include "support/faults.h"
#include "support/random.h"
#include "support/report_capture.h"

#include <gtest/gtest.h>
#include <oledb.h>

#include <array>
#include <climits>
#include <ctime>
#include <limits>
#include <utility>

using namespace std::chrono_literals;

namespace
{

constexpr int kDay = 86400;

TEST(Time, ComparesAsymmetricallyAboutNull)
{
    static constexpr int rows[][6] = {
        // a, b, and what holds of <, >, <=, >=
        {0, 5, 1, 0, 1, 0},  {5, 0, 0, 0, 0, 1},  {0, 0, 0, 0, 1, 1},   {5, 6, 1, 0, 1, 0},
        {6, 5, 0, 1, 0, 1},  {6, 6, 0, 0, 1, 1},  {0, -1, 0, 0, 0, 0},  {-1, 0, 0, 0, 0, 0},
        {-1, 5, 0, 0, 0, 0}, {5, -1, 0, 0, 0, 0}, {-2, -1, 0, 0, 0, 0},
    };
    for (const auto& [iLeft, iRight, bLess, bGreater, bLessEqual, bGreaterEqual] : rows)
    {
        const COrvTime a(iLeft), b(iRight);
        EXPECT_EQ((std::array{bLess, bGreater, bLessEqual, bGreaterEqual}),
                  (std::array<int, 4>{(a < b), (a > b), (a <= b), (a >= b)}))
            << iLeft << " and " << iRight;
        EXPECT_TRUE((a == b) == (iLeft == iRight) && (a != b) == (iLeft != iRight));
    }
}

TEST(Time, ValidRanges)
{
    const auto before = static_cast<int>(std::time(nullptr));
    EXPECT_TRUE(COrvTime::Now().Between(before, static_cast<int>(std::time(nullptr)) + 1)); // it may lag
    EXPECT_EQ(COrvTime::Base(), COrvTime());
    for (const int t : {0, -1, INT_MIN})
        EXPECT_FALSE(COrvTime(t).IsValid() || COrvTime(t).IsValidRegTime()) << t;
    for (const auto& [t, bRegular] : {std::pair(1, false),
                                      {946684799, false},
                                      {946684800, true},
                                      {2145913199, true},
                                      {2145913200, false}})
        EXPECT_TRUE(COrvTime(t).IsValid() && COrvTime(t).IsValidRegTime() == bRegular) << t;
}

TEST(Time, Calculates)
{
    CReportCapture capture;
    const COrvTime t(1000), tLast(INT_MAX);
    const COrvTimeDiff span(50);
    COrvTime tSum = t, tDifference = t;
    EXPECT_TRUE(t + span == 1050 && t - span == 950 && t + 7 == 1007 && t - 7 == 993);
    EXPECT_TRUE((tSum += span) == 1050 && (tDifference -= span) == 950);
    EXPECT_EQ(-600, (COrvTime(400) - t).GetTimeDiff());
    // One step past an end is not valid.
    EXPECT_EQ(-10, (COrvTime(40) - span).GetOrvTime());
    EXPECT_EQ(INT_MIN, (tLast + 1).GetOrvTime());
    EXPECT_FALSE(tLast.RoundDayUp().IsValid());
    EXPECT_TRUE(tLast.RoundDayDown().IsValid() && tLast.RoundMinute().IsValid());

    EXPECT_TRUE(t.Between(1000, 1000) && t.Between(0, 1000) && t.Between(1000, -1));
    EXPECT_FALSE(t.Between(1001, 2000) || t.Between(1, 999) || COrvTime().Between(0, 0));
    EXPECT_NO_REPORTS(capture);
}

TEST(Time, DifferencesOfTwoTimes)
{
    CReportCapture capture;
    const COrvTime a = COrvTime::FromYMD(2024, 5, 6, 23, 59, 59), b = a + 2;
    EXPECT_EQ(-2, COrvTime::Compare(a, b));
    EXPECT_EQ(-kDay, COrvTime::CompareYMD(a, b));
    EXPECT_EQ(0, COrvTime::CompareYMD(a, a - 86399));
    EXPECT_EQ(2 * kDay + 1, COrvTime::CompareYMD(a, a - (2 * kDay + 1)));
    EXPECT_EQ(2, COrvTime::GetTimeDiff(a, b).GetTimeDiff());
    EXPECT_EQ(-2, COrvTime::GetTimeDiff(b, a).GetTimeDiff());
    EXPECT_EQ(2, COrvTime::GetTimeDiffAbs(b, a).GetTimeDiff());
    EXPECT_EQ(43201, COrvTime::GetOleTimeDiff(45000.0, 45000.5 + 0.6 / kDay).GetTimeDiff());
    EXPECT_EQ(0, COrvTime::GetOleTimeDiff(45000.0 + 0.6 / kDay, 45000.0 + 1.4 / kDay).GetTimeDiff());
    EXPECT_EQ(0, COrvTime::GetOleTimeDiff(3.0, 3.0).GetTimeDiff()) << "the first date";
    EXPECT_NO_REPORTS(capture);
}

TEST(Time, MaxAndMinGiveReferences)
{
    COrvTime a(10), b(20), a2(10);
    EXPECT_TRUE(&COrvTime::Max(a, b) == &b && &COrvTime::Max(b, a) == &b && &COrvTime::Max(a, a2) == &a);
    EXPECT_TRUE(&COrvTime::Min(a, b) == &a && &COrvTime::Min(b, a) == &a && &COrvTime::Min(a, a2) == &a);
    const COrvTimeDiff d(10), e(20), d2(10);
    EXPECT_TRUE(&COrvTimeDiff::Max(d, e) == &e && &COrvTimeDiff::Max(d, d2) == &d);
    EXPECT_TRUE(&COrvTimeDiff::Min(d, e) == &d && &COrvTimeDiff::Min(d, d2) == &d2)
        << "of a tie the right one";
}

TEST(Time, RoundsInUtc)
{
    static constexpr int rows[][5] = {
        // a time; its day down, up and nearest; its minute
        {kDay, kDay, kDay, kDay, kDay},
        {kDay + 29, kDay, 2 * kDay, kDay, kDay},
        {kDay + 30, kDay, 2 * kDay, kDay, kDay + 60},
        {kDay + 43199, kDay, 2 * kDay, kDay, kDay + 43200},
        {kDay + 43200, kDay, 2 * kDay, 2 * kDay, kDay + 43200},
        {2 * kDay - 1, kDay, 2 * kDay, 2 * kDay, 2 * kDay},
        {-1, 0, 0, 0, 0}, // division truncates
    };
    for (const auto& [iTime, iDown, iUp, iNearest, iMinute] : rows)
    {
        const COrvTime t(iTime);
        EXPECT_EQ((std::array{iDown, iUp, iNearest, iMinute}),
                  (std::array{t.RoundDayDown().GetOrvTime(), t.RoundDayUp().GetOrvTime(),
                              t.RoundDay().GetOrvTime(), t.RoundMinute().GetOrvTime()}))
            << iTime;
        EXPECT_EQ(iTime == kDay, t.IsOnlyDate()) << iTime;
    }
}

TEST(Time, DatesWithinTheirRange)
{
    CReportCapture capture;
    for (const auto& [d, iExpected] : {std::pair(2.9, 0),
                                       {-1e300, 0},
                                       {25569.0, 0},
                                       {25569.0 + 2.5 / kDay, 2}, // a hair below the tie
                                       {45418.297326388885, 1714979289},
                                       {50423.0, 2147385600}})
    {
        COrvTime t(77);
        EXPECT_TRUE(t.SetDATE(d) && t == iExpected && COrvTime::FromDATE(d) == t) << d;
    }
    COrvTime t(77);
    EXPECT_TRUE(t.SetLocalDATE(2.9) && t.IsNull());
    EXPECT_TRUE(t.SetLocalDATE(45418.5 + 0.6 / kDay)); // the platform rounds to the second
    EXPECT_EQ(COrvTime::FromLocalYMD(2024, 5, 6, 12, 0, 1), t);
    EXPECT_TRUE(COrvTime().GetDATE() == 0.0 && COrvTime(-1).GetLocalDATE() == 0.0);
    EXPECT_NO_REPORTS(capture);
}

TEST(Time, FieldsThatDoNotExistGiveNull)
{
    CReportCapture capture;
    static constexpr int rows[][6] = {
        {2023, 2, 29},    {2024, 13, 1},       {2024, 0, 1},           {2024, 1, 0},     {2024, 4, 31},
        {2024, 1, 1, 24}, {2024, 1, 1, 0, 60}, {2024, 1, 1, 0, 0, 60}, {2024, 65537, 1}, {2024, 1, -255}};
    for (const auto& [y, mo, d, h, mi, s] : rows)
    {
        COrvTime t(5), tLocal(5);
        EXPECT_FALSE(t.SetYMD(y, mo, d, h, mi, s) || tLocal.SetLocalYMD(y, mo, d, h, mi, s));
        EXPECT_TRUE(t.IsNull() && tLocal.IsNull()) << mo << '-' << d;
        EXPECT_TRUE(COrvTime::FromLocalYMD(y, mo, d, h, mi, s, loSecond).IsNull()) << mo << '-' << d;
    }
    COrvTime t;
    static constexpr int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    for (int i = 0; i < 12; ++i)
        EXPECT_TRUE(t.SetYMD(2023, i + 1, days[i], 0, 0, 0) && !t.SetYMD(2023, i + 1, days[i] + 1, 0, 0, 0));
    EXPECT_FALSE(t.SetYMD(1600, 12, 31, 0, 0, 0) || t.SetYMD(67560, 1, 1, 0, 0, 0) ||
                 t.SetYMD(30828, 1, 1, 0, 0, 0));
    EXPECT_TRUE(t.SetLocalYMD(2038, 1, 1, 23, 0, 0) && t.SetLocalYMD(1970, 1, 2, 0, 0, 0));
    EXPECT_EQ(INT_MAX, COrvTime::FromYMD(2038, 1, 19, 3, 14, 7).GetOrvTime());
    EXPECT_EQ(INT_MIN, COrvTime::FromYMD(1901, 12, 13, 20, 45, 52).GetOrvTime());
    EXPECT_NO_REPORTS(capture);
}

TEST(Time, RandomTimesRoundTripInEveryForm)
{
    CTestRandom random;
    for (int i = 0; i < 20000; ++i)
    {
        const COrvTime t(1 + static_cast<int>(random.UpTo(2147385599))); // up to the last DATE
        SYSTEMTIME st;
        DBTIMESTAMP ts = {0, 0, 0, 0, 0, 0, 7};
        WORD y, mo, d, h, mi, s;
        ASSERT_TRUE(t.GetSystemTime(st) && t.GetDBTypeStamp(ts) && t.GetYMD(&y, &mo, &d, &h, &mi, &s));
        ASSERT_EQ(t, COrvTime::FromSystemTime(st)) << t.GetOrvTime();
        ASSERT_TRUE(t == COrvTime::FromDBTypeStamp(ts) && ts.fraction == 0) << t.GetOrvTime();
        ASSERT_EQ(t, COrvTime::FromYMD(y, mo, d, h, mi, s)) << t.GetOrvTime();
        ASSERT_EQ((t.GetOrvTime() / kDay + 4) % 7, st.wDayOfWeek) << t.GetOrvTime();
        ASSERT_EQ(0, st.wMilliseconds);
        ASSERT_EQ(t, COrvTime::FromDATE(t.GetDATE())) << t.GetOrvTime();
    }
}

TEST(TimeDiff, ConvertsUnitsAndCalculates)
{
    EXPECT_TRUE(!COrvTimeDiff().IsValid() && COrvTimeDiff().IsDifferent());
    EXPECT_TRUE(COrvTimeDiff(0).IsValid() && COrvTimeDiff(0).IsEqual());
    EXPECT_EQ(-120, COrvTimeDiff::FromMinute(-2).GetInSecond());
    EXPECT_EQ(static_cast<int>(24856u * kDay), COrvTimeDiff::FromDay(24856).GetInSecond()); // wraps
    EXPECT_EQ(2, COrvTimeDiff::FromDATE(2.5 / kDay).GetInSecond());
    EXPECT_EQ(-kDay / 4, COrvTimeDiff::FromDATE(-0.25).GetInSecond());
    EXPECT_EQ(INT_MAX, COrvTimeDiff::FromDATE(1.0 * INT_MAX / kDay).GetInSecond());
    EXPECT_FALSE(COrvTimeDiff::FromDATE(1e9).IsValid());
    EXPECT_FALSE(COrvTimeDiff::FromDATE(std::numeric_limits<double>::quiet_NaN()).IsValid());
    int h = 9, m = 9, s = 9;
    EXPECT_FALSE(COrvTimeDiff().GetHMS(h, m, s));
    EXPECT_TRUE(COrvTimeDiff(-(3600 * 3600 + 125)).GetHMS(h, m, s));
    EXPECT_EQ((std::array{3600, 2, 5}), (std::array{h, m, s}));

    const COrvTimeDiff a(3), b(5);
    EXPECT_TRUE(a < b && b > a && a <= b && b >= a && a <= a && a >= a && a == a && a != b);
    EXPECT_FALSE(a < a || a > a || b < a || a > b || b <= a || a >= b || a == b || a != a);
    COrvTimeDiff c(a);
    EXPECT_TRUE(a + b == 8 && a - b == -2 && -a == -3 && (c += b) == 8 && (c -= a) == 5);
}

TEST(Timer, NotStartedAndWithoutLimit)
{
    CReportCapture capture;
    const COrvPrecisionTimer precise(100, false);
    EXPECT_TRUE(precise.GetuSValue() == -1 && precise.GetMSDiff() == -1 && precise.GetTimeDiff() == -1.0);
    EXPECT_TRUE(precise.IsExpired() && !COrvPrecisionTimer(0, false).IsExpired());
    const COrvTcTimer ticks(100, false);
    EXPECT_EQ(-1.0, ticks.GetTimeDiff());
    EXPECT_TRUE(ticks.IsExpired(1000000) && !COrvTcTimer(0, false).IsExpired(0));
    EXPECT_NO_REPORTS(capture);

    EXPECT_FALSE(COrvPrecisionTimer(-5, false).IsExpired());
    EXPECT_FALSE(COrvPrecisionTimer(2147484, false).IsExpired()); // wraps in microseconds
    EXPECT_FALSE(COrvTcTimer(-5, false).IsExpired(0));
    EXPECT_REPORTS(capture, {{"COrvPrecisionTimer::COrvPrecisionTimer", "m_Expire_uS < 0", "", "orvtime"},
                             {"COrvPrecisionTimer::COrvPrecisionTimer", "m_Expire_uS < 0"},
                             {"COrvTcTimer::COrvTcTimer", "m_Expire < 0", "", "orvtime"}});
}

TEST(Timer, PreciseCountMustExceedItsLimit)
{
    CFrozenClock clock(5s);
    COrvPrecisionTimer timer(100, true);
    const COrvPrecisionTimer unlimited(0, true);
    clock.Set(5100ms + 1us - 1ns);
    EXPECT_EQ(100'000, timer.GetuSValue());
    EXPECT_EQ(100, timer.GetMSDiff());
    EXPECT_EQ(100 / (1000.0 * kDay), timer.GetTimeDiff());
    EXPECT_FALSE(timer.IsExpired());
    clock.Set(5100ms + 1us);
    EXPECT_TRUE(timer.IsExpired() && !unlimited.IsExpired());
    timer.ReStart();
    EXPECT_EQ(0, timer.GetuSValue());
    EXPECT_FALSE(timer.IsExpired());
}

TEST(Timer, TicksMustReachTheirLimitAlsoPastTheWrap)
{
    constexpr std::chrono::milliseconds kWrap(1LL << 32);
    CFrozenClock clock(kWrap - 50ms);
    COrvTcTimer timer(100, true);
    const COrvTcTimer unlimited(0, true);
    clock.Set(kWrap + 50ms - 1ns);
    EXPECT_FALSE(timer.IsExpired(0) || timer.IsExpired(-3)) << "its own limit";
    EXPECT_TRUE(timer.IsExpired(1));
    clock.Set(kWrap + 50ms);
    EXPECT_TRUE(timer.IsExpired(0) && !unlimited.IsExpired(50));
    EXPECT_TRUE(timer.IsExpired(100) && !timer.IsExpired(101));
    EXPECT_EQ(100 / (1000.0 * kDay), timer.GetTimeDiff());
    timer.ReStart();
    EXPECT_FALSE(timer.IsExpired(0));
    clock.Set(kWrap);
    EXPECT_EQ(-1.0, COrvTcTimer(100, true).GetTimeDiff()) << "a count of 0 is no start";
}

TEST(Timer, OverflowIsReported)
{
    CReportCapture capture;
    CFrozenClock clock(1s);
    const COrvPrecisionTimer precise(1, true);
    const COrvTcTimer ticks(1, true);
    clock.Set(1s + 2'147'483'647us);
    EXPECT_TRUE(precise.GetuSValue() == 0x7FFFFFFF && precise.GetMSDiff() == 2'147'483);
    clock.Set(1s + std::chrono::milliseconds(0x7FFFFFFF));
    EXPECT_EQ(0x7FFFFFFF / (1000.0 * kDay), ticks.GetTimeDiff());
    EXPECT_NO_REPORTS(capture);

    // So far, too, that a product in 64 bits would overflow.
    for (const auto passed : {std::chrono::microseconds(2'147'483'648), 90'000'000'000'000us})
    {
        clock.Set(1s + passed);
        EXPECT_TRUE(precise.GetMSDiff() == -1 && precise.IsExpired());
        const ExpectedReport overflow = {"COrvPrecisionTimer::GetuSValue", "lRes > 0x7FFFFFFFLL", "",
                                         "orvtime"};
        EXPECT_REPORTS(capture, {overflow, overflow});
    }
    clock.Set(1s + std::chrono::milliseconds(0x80000000));
    EXPECT_TRUE(ticks.GetTimeDiff() == -1.0 && ticks.IsExpired(0));
    const ExpectedReport overflow = {"COrvTcTimer::GetValue", "lRes > 0x7FFFFFFFL", "", "orvtime"};
    EXPECT_REPORTS(capture, {overflow, overflow});
}

} // namespace
