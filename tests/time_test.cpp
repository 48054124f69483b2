#include "orvcomtypes/orvtime.h"

#include "support/random.h"
#include "support/report_capture.h"

#include <gtest/gtest.h>
#include <oledb.h>

#include <array>
#include <chrono>
#include <climits>
#include <limits>
#include <utility>

namespace ATL
{

/// Stand-ins for the class library's date classes: value and status are all that is used of them.
struct COleDateTime
{
    enum DateTimeStatus
    {
        error = -1,
        valid = 0,
        invalid = 1,
        null = 2
    };
    DateTimeStatus GetStatus() const { return m_status; }
    double m_dt = 0.0;
    DateTimeStatus m_status = valid;
};

struct COleDateTimeSpan
{
    enum DateTimeSpanStatus
    {
        valid = 0,
        invalid = 1,
        null = 2
    };
    DateTimeSpanStatus GetStatus() const { return m_status; }
    double m_span = 0.0;
    DateTimeSpanStatus m_status = valid;
};

} // namespace ATL

namespace
{

constexpr int INVALID = INT_MIN;
constexpr int DAY = 86400;

TEST(Time, ComparesAsymmetricallyAboutNull)
{
    struct Row
    {
        int a, b;
        bool bLess, bGreater, bLessEqual, bGreaterEqual;
    };
    static constexpr Row rows[] = {
        {0, 5, true, false, true, false},    {5, 0, false, false, false, true},
        {0, 0, false, false, true, true},    {0, -1, false, false, false, false},
        {-1, 0, false, false, false, false}, {-1, 5, false, false, false, false},
        {5, -1, false, false, false, false}, {-2, -1, false, false, false, false},
        {5, 6, true, false, true, false},    {6, 5, false, true, false, true},
        {6, 6, false, false, true, true},
    };
    for (const Row& row : rows)
    {
        const COrvTime a(row.a), b(row.b);
        SCOPED_TRACE(testing::Message() << row.a << " and " << row.b);
        EXPECT_EQ(row.bLess, a < b);
        EXPECT_EQ(row.bGreater, a > b);
        EXPECT_EQ(row.bLessEqual, a <= b);
        EXPECT_EQ(row.bGreaterEqual, a >= b);
        EXPECT_EQ(row.a == row.b, a == b);
        EXPECT_EQ(row.a != row.b, a != b);
    }
}

TEST(Time, ArithmeticFallsBackAndReports)
{
    CReportCapture capture;
    const COrvTime t(1000), tNull;
    const COrvTimeDiff span(50), noSpan;
    EXPECT_EQ(1050, (t + span).GetOrvTime());
    EXPECT_EQ(950, (t - span).GetOrvTime());
    EXPECT_EQ(1007, (t + 7).GetOrvTime());
    EXPECT_EQ(993, (t - 7).GetOrvTime());
    EXPECT_EQ(-10, (COrvTime(40) - span).GetOrvTime());
    EXPECT_EQ(-600, (COrvTime(400) - t).GetTimeDiff());
    EXPECT_NO_REPORTS(capture);

    EXPECT_TRUE((t + noSpan).IsNull());
    EXPECT_TRUE((tNull - span).IsNull());
    EXPECT_TRUE((tNull + 1).IsNull());
    EXPECT_TRUE((COrvTime(-5) - 1).IsNull());
    EXPECT_FALSE((t - tNull).IsValid());
    COrvTime tSame(1000);
    tSame += noSpan;
    tSame -= noSpan;
    EXPECT_EQ(t, tSame);
    EXPECT_REPORTS(capture, {{"COrvTime::operator +", "span.IsValid() && IsValid()", nullptr, "orvtime"},
                             {"COrvTime::operator -", "span.IsValid() && IsValid()"},
                             {"COrvTime::operator +", "IsValid()"},
                             {"COrvTime::operator -", "IsValid()"},
                             {"COrvTime::operator -", "t.IsValid() && IsValid()"},
                             {"COrvTime::operator +=", "span.IsValid() && IsValid()"},
                             {"COrvTime::operator -=", "span.IsValid() && IsValid()"}});
}

TEST(Time, OneStepPastTheEndIsNotValid)
{
    const COrvTime tLast(INT_MAX);
    EXPECT_EQ(INT_MIN, (tLast + 1).GetOrvTime());
    EXPECT_FALSE(tLast.RoundDayUp().IsValid());
    EXPECT_FALSE(tLast.RoundMinute().IsNull());
    EXPECT_TRUE(tLast.RoundDayDown().IsValid());
}

TEST(Time, ValidRanges)
{
    EXPECT_FALSE(COrvTime().IsValid());
    EXPECT_TRUE(COrvTime(1).IsValid());
    EXPECT_FALSE(COrvTime(-1).IsValid());
    EXPECT_EQ(COrvTime::Base(), COrvTime());
    struct Row
    {
        int t;
        bool bValid;
    };
    for (const Row& row : {Row{946684799, false},
                           {946684800, true},
                           {2145913199, true},
                           {2145913200, false},
                           {-1, false},
                           {INT_MIN, false},
                           {0, false}})
        EXPECT_EQ(row.bValid, COrvTime(row.t).IsValidRegTime()) << row.t;
}

TEST(Time, DifferencesOfTwoTimes)
{
    CReportCapture capture;
    const COrvTime a = COrvTime::FromYMD(2024, 5, 6, 23, 59, 59), b = COrvTime::FromYMD(2024, 5, 7, 0, 0, 1);
    EXPECT_EQ(-2, COrvTime::Compare(a, b));
    EXPECT_EQ(-DAY, COrvTime::CompareYMD(a, b));
    EXPECT_EQ(0, COrvTime::CompareYMD(a, a - 86399));
    EXPECT_EQ(2 * DAY, COrvTime::CompareYMD(a, a - 2 * DAY));
    EXPECT_EQ(2 * DAY + 1, COrvTime::CompareYMD(a, a - (2 * DAY + 1)));
    EXPECT_EQ(2, COrvTime::GetTimeDiff(a, b).GetTimeDiff());
    EXPECT_EQ(-2, COrvTime::GetTimeDiff(b, a).GetTimeDiff());
    EXPECT_EQ(2, COrvTime::GetTimeDiffAbs(b, a).GetTimeDiff());
    EXPECT_EQ(43201, COrvTime::GetOleTimeDiff(45000.0, 45000.5 + 0.6 / DAY).GetTimeDiff());
    EXPECT_EQ(0, COrvTime::GetOleTimeDiff(45000.0 + 0.6 / DAY, 45000.0 + 1.4 / DAY).GetTimeDiff());
    EXPECT_NO_REPORTS(capture);

    EXPECT_EQ(INVALID, COrvTime::Compare(a, COrvTime()));
    EXPECT_EQ(INVALID, COrvTime::CompareYMD(COrvTime(), a));
    EXPECT_EQ(INVALID, COrvTime::CompareLocalYMD(COrvTime(-4), a));
    EXPECT_FALSE(COrvTime::GetTimeDiff(a, COrvTime()).IsValid());
    EXPECT_FALSE(COrvTime::GetTimeDiffAbs(a, COrvTime()).IsValid());
    EXPECT_FALSE(COrvTime::GetOleTimeDiff(45000.0, 2.9).IsValid());
    EXPECT_REPORTS(capture, {{"COrvTime::Compare", "!tLeft.IsValid() || ! tRight.IsValid()"},
                             {"COrvTime::CompareYMD", "!tLeft.IsValid() || ! tRight.IsValid()"},
                             {"COrvTime::CompareLocalYMD", "!tLeft.IsValid() || ! tRight.IsValid()"},
                             {"COrvTime::GetTimeDiff", "tLeft.IsValid() && tRight.IsValid()"},
                             {"COrvTime::GetTimeDiffAbs", "tLeft.IsValid() && tRight.IsValid()"},
                             {"COrvTime::GetOleTimeDiff", "dLeft >= MINSETDATE && dRight >= MINSETDATE"}});
}

TEST(Time, MaxAndMinGiveReferences)
{
    CReportCapture capture;
    COrvTime a(10), b(20), a2(10), n;
    EXPECT_EQ(&b, &COrvTime::Max(a, b));
    EXPECT_EQ(&a, &COrvTime::Min(a, b));
    EXPECT_EQ(&a, &COrvTime::Max(a, a2));
    EXPECT_EQ(&a, &COrvTime::Min(a, a2));
    EXPECT_EQ(&b, &COrvTime::Max(std::as_const(b), std::as_const(a)));
    EXPECT_NO_REPORTS(capture);
    EXPECT_EQ(&n, &COrvTime::Max(a, n));
    EXPECT_EQ(&n, &COrvTime::Min(n, a));
    EXPECT_REPORTS(capture, {{"COrvTime::Max", "!tLeft.IsValid() || !tRight.IsValid()"},
                             {"COrvTime::Min", "!tLeft.IsValid() || !tRight.IsValid()"}});

    COrvTimeDiff s(1), l(2), s2(1), x;
    EXPECT_EQ(&l, &COrvTimeDiff::Max(s, l));
    EXPECT_EQ(&s, &COrvTimeDiff::Min(s, l));
    EXPECT_EQ(&s, &COrvTimeDiff::Max(s, s2));
    EXPECT_EQ(&s2, &COrvTimeDiff::Min(s, s2));
    EXPECT_EQ(&x, &COrvTimeDiff::Max(s, x));
    EXPECT_EQ(&x, &COrvTimeDiff::Min(x, s));
    EXPECT_REPORTS(capture, {{"COrvTimeDiff::operator >=", "IsValid() && t.IsValid()"},
                             {"COrvTimeDiff::operator >=", "IsValid() && t.IsValid()"}});
}

TEST(Time, BetweenTreatsInvalidEndsAsOpen)
{
    const COrvTime t(100), tNull;
    EXPECT_TRUE(t.Between(100, 100));
    EXPECT_FALSE(t.Between(101, 200));
    EXPECT_FALSE(t.Between(1, 99));
    EXPECT_TRUE(t.Between(tNull, 100));
    EXPECT_TRUE(t.Between(100, -1));
    EXPECT_FALSE(tNull.Between(tNull, tNull));
}

TEST(Time, RoundsInUtc)
{
    struct Row
    {
        int t, iDown, iUp, iNearest, iMinute;
    };
    static constexpr Row rows[] = {
        {DAY, DAY, DAY, DAY, DAY},
        {DAY + 1, DAY, 2 * DAY, DAY, DAY},
        {DAY + 29, DAY, 2 * DAY, DAY, DAY},
        {DAY + 30, DAY, 2 * DAY, DAY, DAY + 60},
        {DAY + 43199, DAY, 2 * DAY, DAY, DAY + 43200},
        {DAY + 43200, DAY, 2 * DAY, 2 * DAY, DAY + 43200},
        {2 * DAY - 1, DAY, 2 * DAY, 2 * DAY, 2 * DAY},
        {-1, 0, 0, 0, 0}, // division truncates
    };
    for (const Row& row : rows)
    {
        const COrvTime t(row.t);
        EXPECT_EQ(row.iDown, t.RoundDayDown().GetOrvTime()) << row.t;
        EXPECT_EQ(row.iUp, t.RoundDayUp().GetOrvTime()) << row.t;
        EXPECT_EQ(row.iNearest, t.RoundDay().GetOrvTime()) << row.t;
        EXPECT_EQ(row.iMinute, t.RoundMinute().GetOrvTime()) << row.t;
        EXPECT_EQ(row.t % DAY == 0, t.IsOnlyDate()) << row.t;
    }
}

TEST(Time, SetDATEKeepsItsRange)
{
    struct Row
    {
        double d;
        bool bDone;
        int t;
    };
    constexpr int iKept = 77;
    const Row rows[] = {
        {2.9, true, 0},
        {-1e300, true, 0},
        {3.0, false, iKept},
        {25568.5, false, iKept},
        {25569.0, true, 0},
        {50423.0, true, 2147385600},
        {50423.01, false, iKept},
        {std::numeric_limits<double>::quiet_NaN(), false, iKept},
        {25569.0 + 2.5 / DAY, true, 2}, // a tie goes to the even second (this fraction is a hair below it)
        {45418.297326388885, true, 1714979289},
    };
    for (const Row& row : rows)
    {
        CReportCapture capture;
        COrvTime t(iKept);
        EXPECT_EQ(row.bDone, t.SetDATE(row.d)) << row.d;
        EXPECT_EQ(row.t, t.GetOrvTime()) << row.d;
        EXPECT_EQ(row.bDone ? row.t : 0, COrvTime::FromDATE(row.d).GetOrvTime()) << row.d;
        if (row.bDone)
            EXPECT_NO_REPORTS(capture);
        else
            EXPECT_REPORTS(capture,
                           {{"COrvTime::SetDATE", "d < BASEORVTIME_INDATE || d > MAXORVTIME_INDATE"},
                            {"COrvTime::SetDATE", "d < BASEORVTIME_INDATE || d > MAXORVTIME_INDATE"}});
    }
    EXPECT_EQ(0.0, COrvTime().GetDATE());
    EXPECT_EQ(0.0, COrvTime(-1).GetLocalDATE());
}

TEST(Time, SetLocalDATEKeepsItsRange)
{
    CReportCapture capture;
    COrvTime t(77);
    EXPECT_FALSE(t.SetLocalDATE(25568.5));
    EXPECT_FALSE(t.SetLocalDATE(50423.01));
    EXPECT_EQ(77, t.GetOrvTime());
    EXPECT_REPORTS(capture, {{"COrvTime::SetLocalDATE", "d < BASEORVTIME_INDATE || d > MAXORVTIME_INDATE"},
                             {"COrvTime::SetLocalDATE", "d < BASEORVTIME_INDATE || d > MAXORVTIME_INDATE"}});
    // 2038-01-18 is in the range of dates but not in that of local dates; the result is true all the same.
    EXPECT_TRUE(t.SetLocalDATE(50423.0));
    EXPECT_TRUE(t.IsNull());
    EXPECT_REPORTS(capture, {{"TZ::LocalYMD2Timet", nullptr}});
    t = COrvTime(77);
    EXPECT_TRUE(t.SetLocalDATE(2.9));
    EXPECT_TRUE(t.IsNull());
    EXPECT_TRUE(t.SetLocalDATE(45418.5 + 0.6 / DAY)); // the platform rounds to the second
    EXPECT_EQ(COrvTime::FromLocalYMD(2024, 5, 6, 12, 0, 1), t);
    EXPECT_NO_REPORTS(capture);
}

TEST(Time, OleDateObjectsCountOnlyWhenValid)
{
    CReportCapture capture;
    ATL::COleDateTime d;
    d.m_dt = 25570.0;
    ATL::COleDateTimeSpan span;
    span.m_span = 0.5;
    COrvTimeDiff diff;
    EXPECT_EQ(DAY, COrvTime::FromDATE(d).GetOrvTime());
    EXPECT_EQ(COrvTime::FromLocalYMD(1970, 1, 2, 0, 0, 0), COrvTime::FromLocalDATE(d));
    EXPECT_TRUE(diff.SetDATE(span));
    EXPECT_EQ(43200, diff.GetTimeDiff());
    EXPECT_NO_REPORTS(capture);

    d.m_status = ATL::COleDateTime::null;
    span.m_status = ATL::COleDateTimeSpan::invalid;
    COrvTime t(5);
    EXPECT_FALSE(t.SetDATE(d));
    EXPECT_TRUE(t.IsNull());
    t = COrvTime(5);
    EXPECT_FALSE(t.SetLocalDATE(d));
    EXPECT_TRUE(t.IsNull());
    EXPECT_FALSE(diff.SetDATE(span));
    EXPECT_FALSE(diff.IsValid());
    EXPECT_FALSE(COrvTimeDiff::FromDATE(span).IsValid());
    EXPECT_REPORTS(capture,
                   {{"COrvTime::SetDATE", "d.GetStatus() == ATL::COleDateTime::valid", nullptr, "orvtime"},
                    {"COrvTime::SetLocalDATE", "d.GetStatus() == ATL::COleDateTime::valid"},
                    {"COrvTimeDiff::SetDATE", "span.GetStatus() == ATL::COleDateTimeSpan::valid"},
                    {"COrvTimeDiff::SetDATE", "span.GetStatus() == ATL::COleDateTimeSpan::valid"}});
}

TEST(Time, GettersRefuseInvalidTimes)
{
    CReportCapture capture;
    const COrvTime tNull;
    SYSTEMTIME st;
    DBTIMESTAMP ts;
    WORD w;
    EXPECT_FALSE(tNull.GetSystemTime(st));
    EXPECT_FALSE(tNull.GetLocalSystemTime(st));
    EXPECT_FALSE(tNull.GetDBTypeStamp(ts));
    EXPECT_FALSE(tNull.GetYMD(&w, &w, &w, &w, &w, &w));
    EXPECT_FALSE(tNull.GetLocalYMD(&w, &w, &w, &w, &w, &w));
    EXPECT_REPORTS(capture, {{"COrvTime::GetSystemTime", "!IsValid()"},
                             {"COrvTime::GetLocalSystemTime", "!IsValid()"},
                             {"COrvTime::GetSystemTime", "!IsValid()"},
                             {"COrvTime::GetYMD", "!IsValid()"},
                             {"COrvTime::GetLocalYMD", "!IsValid()"}});
}

TEST(Time, FieldsThatDoNotExistGiveNull)
{
    struct Row
    {
        int y, mo, d, h, mi, s;
    };
    CReportCapture capture;
    for (const Row& row : {Row{2023, 2, 29, 0, 0, 0},
                           {2024, 13, 1, 0, 0, 0},
                           {2024, 0, 1, 0, 0, 0},
                           {2024, 1, 0, 0, 0, 0},
                           {2024, 4, 31, 0, 0, 0},
                           {2024, 1, 1, 24, 0, 0},
                           {2024, 1, 1, 0, 60, 0},
                           {2024, 1, 1, 0, 0, 60},
                           {2024, 257, 1, 0, 0, 0},
                           {2024, 65537, 1, 0, 0, 0},
                           {2024, 1, -255, 0, 0, 0}})
    {
        COrvTime t(5);
        EXPECT_FALSE(t.SetYMD(row.y, row.mo, row.d, row.h, row.mi, row.s)) << row.mo << '-' << row.d;
        EXPECT_TRUE(t.IsNull());
        t = COrvTime(5);
        EXPECT_FALSE(t.SetLocalYMD(row.y, row.mo, row.d, row.h, row.mi, row.s)) << row.mo << '-' << row.d;
        EXPECT_TRUE(t.IsNull());
    }
    EXPECT_FALSE(COrvTime(5).SetYMD(1600, 12, 31, 0, 0, 0));
    EXPECT_FALSE(COrvTime(5).SetYMD(67560, 1, 1, 0, 0, 0));
    EXPECT_NO_REPORTS(capture);
}

TEST(Time, BeyondThirtyTwoBitsIsReported)
{
    CReportCapture capture;
    EXPECT_EQ(INT_MAX, COrvTime::FromYMD(2038, 1, 19, 3, 14, 7).GetOrvTime());
    EXPECT_EQ(INT_MIN, COrvTime::FromYMD(1901, 12, 13, 20, 45, 52).GetOrvTime());
    EXPECT_NO_REPORTS(capture);
    EXPECT_EQ(INT_MIN, COrvTime::FromYMD(2038, 1, 19, 3, 14, 8).GetOrvTime());
    EXPECT_EQ(INT_MAX, COrvTime::FromYMD(1901, 12, 13, 20, 45, 51).GetOrvTime());
    EXPECT_REPORTS(capture,
                   {{"TZ::FileTime2Timet", "t < -0x80000000LL || t > 0x7FFFFFFFLL", nullptr, "timeutils"},
                    {"TZ::FileTime2Timet", "t < -0x80000000LL || t > 0x7FFFFFFFLL"}});
}

TEST(Time, LocalYearsAreLimited)
{
    CReportCapture capture;
    COrvTime t;
    EXPECT_TRUE(t.SetLocalYMD(2038, 1, 1, 23, 0, 0));
    EXPECT_TRUE(t.IsValid());
    EXPECT_TRUE(t.SetLocalYMD(1970, 1, 2, 0, 0, 0));
    EXPECT_NO_REPORTS(capture);
    EXPECT_FALSE(t.SetLocalYMD(2038, 1, 2, 0, 0, 0));
    EXPECT_TRUE(t.IsNull());
    EXPECT_FALSE(t.SetLocalYMD(2038, 2, 1, 0, 0, 0));
    EXPECT_FALSE(t.SetLocalYMD(2039, 1, 1, 0, 0, 0));
    EXPECT_FALSE(t.SetLocalYMD(1969, 12, 31, 23, 0, 0));
    const ExpectedReport refused = {"TZ::LocalYMD2Timet",
                                    "year < 1970 || year > 2038 || (year == 2038 && (month > 1 || day > 1))"};
    EXPECT_REPORTS(capture, {refused, refused, refused, refused});
}

TEST(Time, RandomTimesRoundTripInEveryForm)
{
    CTestRandom random;
    for (int i = 0; i < 20000; ++i)
    {
        const COrvTime t(1 + static_cast<int>(random.UpTo(2147385599))); // up to the last DATE
        SYSTEMTIME st;
        DBTIMESTAMP ts;
        WORD y, mo, d, h, mi, s;
        ASSERT_TRUE(t.GetSystemTime(st) && t.GetDBTypeStamp(ts) && t.GetYMD(&y, &mo, &d, &h, &mi, &s));
        ASSERT_EQ(t, COrvTime::FromSystemTime(st)) << t.GetOrvTime();
        ASSERT_EQ(t, COrvTime::FromDBTypeStamp(ts)) << t.GetOrvTime();
        ASSERT_EQ(t, COrvTime::FromYMD(y, mo, d, h, mi, s)) << t.GetOrvTime();
        ASSERT_EQ((t.GetOrvTime() / DAY + 4) % 7, st.wDayOfWeek) << t.GetOrvTime();
        ASSERT_EQ(t, COrvTime::FromDATE(t.GetDATE())) << t.GetOrvTime();
    }
}

TEST(Time, NowIsTheClock)
{
    // Not time(), whose second can begin later than that of the finer clocks.
    const auto seconds = [] {
        return static_cast<int>(std::chrono::system_clock::to_time_t(std::chrono::system_clock::now()));
    };
    const auto before = seconds();
    const COrvTime t = COrvTime::Now();
    EXPECT_GE(t.GetOrvTime(), before);
    EXPECT_LE(t.GetOrvTime(), seconds());
}

TEST(TimeDiff, StartsInvalid)
{
    EXPECT_FALSE(COrvTimeDiff().IsValid());
    EXPECT_TRUE(COrvTimeDiff().IsDifferent());
    EXPECT_TRUE(COrvTimeDiff(0).IsValid());
    EXPECT_TRUE(COrvTimeDiff(0).IsEqual());
}

TEST(TimeDiff, ConvertsUnits)
{
    EXPECT_EQ(-120, COrvTimeDiff::FromMinute(-2).GetInSecond());
    EXPECT_EQ(3 * DAY, COrvTimeDiff::FromDay(3).GetInSecond());
    EXPECT_EQ(static_cast<int>(24856u * DAY), COrvTimeDiff::FromDay(24856).GetInSecond()); // wraps
    EXPECT_EQ(2, COrvTimeDiff::FromDATE(2.5 / DAY).GetInSecond());
    EXPECT_EQ(-DAY / 4, COrvTimeDiff::FromDATE(-0.25).GetInSecond());
    EXPECT_FALSE(COrvTimeDiff::FromDATE(1e9).IsValid());
    EXPECT_FALSE(COrvTimeDiff::FromDATE(std::numeric_limits<double>::quiet_NaN()).IsValid());
    int h = 9, m = 9, s = 9;
    EXPECT_FALSE(COrvTimeDiff().GetHMS(h, m, s));
    EXPECT_TRUE(COrvTimeDiff(-3725).GetHMS(h, m, s));
    EXPECT_EQ((std::array{1, 2, 5}), (std::array{h, m, s}));
    EXPECT_TRUE(COrvTimeDiff(-90).GetHMS(h, m, s));
    EXPECT_EQ((std::array{0, 1, 30}), (std::array{h, m, s}));
}

TEST(TimeDiff, OperatorsNeedValidSpans)
{
    CReportCapture capture;
    const COrvTimeDiff a(3), b(5), x;
    EXPECT_TRUE(a < b && b > a && a <= b && b >= a && a <= a && a >= a && !(a < a) && !(a > a));
    EXPECT_EQ(8, (a + b).GetTimeDiff());
    EXPECT_EQ(-2, (a - b).GetTimeDiff());
    EXPECT_EQ(-3, (-a).GetTimeDiff());
    COrvTimeDiff c(a);
    c += b;
    c -= a;
    EXPECT_EQ(b, c);
    EXPECT_NO_REPORTS(capture);

    EXPECT_FALSE(a < x || x < a || a > x || a <= x || x >= a);
    EXPECT_FALSE((a + x).IsValid() || (x - a).IsValid() || (-x).IsValid());
    c += x;
    c -= x;
    EXPECT_EQ(b, c);
    EXPECT_REPORTS(capture, {{"COrvTimeDiff::operator <", "IsValid() && t.IsValid()", nullptr, "orvtime"},
                             {"COrvTimeDiff::operator <", "IsValid() && t.IsValid()"},
                             {"COrvTimeDiff::operator >", "IsValid() && t.IsValid()"},
                             {"COrvTimeDiff::operator <=", "IsValid() && t.IsValid()"},
                             {"COrvTimeDiff::operator >=", "IsValid() && t.IsValid()"},
                             {"COrvTimeDiff::operator +", "span.IsValid() && IsValid()"},
                             {"COrvTimeDiff::operator -", "span.IsValid() && IsValid()"},
                             {"COrvTimeDiff::operator -", "IsValid()"},
                             {"COrvTimeDiff::operator +=", "span.IsValid() && IsValid()"},
                             {"COrvTimeDiff::operator -=", "span.IsValid() && IsValid()"}});
}

} // namespace
