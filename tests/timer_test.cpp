#include "orvcomtypes/orvtimer.h"

#include "support/report_capture.h"

#include <gtest/gtest.h>

#include <cstring>

namespace
{

LONGLONG Read(BOOL(WINAPI* read)(LARGE_INTEGER*))
{
    LARGE_INTEGER value;
    read(&value);
    return value.QuadPart;
}

/// Makes a timer one that was started some time ago: the start is its first field.
void StartAgo(COrvPrecisionTimer& timer, LONGLONG nCounts)
{
    const LONGLONG nStart = Read(QueryPerformanceCounter) - nCounts;
    std::memcpy(static_cast<void*>(&timer), &nStart, sizeof nStart);
}

void StartAgo(COrvTcTimer& timer, DWORD nMs)
{
    const DWORD dwStart = GetTickCount() - nMs;
    std::memcpy(static_cast<void*>(&timer), &dwStart, sizeof dwStart);
}

const LONGLONG SECOND = Read(QueryPerformanceFrequency);

TEST(Timer, NotStarted)
{
    CReportCapture capture;
    const COrvPrecisionTimer precise(100, false);
    EXPECT_TRUE(precise.GetuSValue() == -1 && precise.GetMSDiff() == -1 && precise.GetTimeDiff() == -1.0);
    EXPECT_TRUE(precise.IsExpired() && !COrvPrecisionTimer(0, false).IsExpired());
    const COrvTcTimer ticks(100, false);
    EXPECT_EQ(-1.0, ticks.GetTimeDiff());
    EXPECT_TRUE(ticks.IsExpired(1000000) && !COrvTcTimer(0, false).IsExpired(0));
    EXPECT_NO_REPORTS(capture);
}

TEST(Timer, NegativeTimeOutsAreNone)
{
    CReportCapture capture;
    EXPECT_FALSE(COrvPrecisionTimer(-5, false).IsExpired());
    EXPECT_FALSE(COrvPrecisionTimer(2147484, false).IsExpired()); // wraps in microseconds
    EXPECT_FALSE(COrvTcTimer(-5, false).IsExpired(0));
    EXPECT_REPORTS(capture,
                   {{"COrvPrecisionTimer::COrvPrecisionTimer", "m_Expire_uS < 0", nullptr, "orvtime"},
                    {"COrvPrecisionTimer::COrvPrecisionTimer", "m_Expire_uS < 0"},
                    {"COrvTcTimer::COrvTcTimer", "m_Expire < 0", nullptr, "orvtime"}});
}

TEST(PrecisionTimer, CountsFromItsStart)
{
    COrvPrecisionTimer timer(100, true), patient(1000000, true), none(0, true);
    StartAgo(timer, SECOND * 3 / 2);
    EXPECT_GE(timer.GetuSValue(), 1500000);
    EXPECT_GE(timer.GetMSDiff(), 1500);
    EXPECT_GE(timer.GetTimeDiff(), 1.5 / 86400);
    EXPECT_LT(timer.GetTimeDiff(), 600.0 / 86400);
    EXPECT_TRUE(timer.IsExpired());
    timer.ReStart();
    EXPECT_LT(timer.GetuSValue(), 1500000);
    StartAgo(patient, SECOND);
    StartAgo(none, SECOND);
    EXPECT_FALSE(patient.IsExpired() || none.IsExpired());
}

TEST(PrecisionTimer, OverflowIsReported)
{
    CReportCapture capture;
    COrvPrecisionTimer timer(1, true);
    StartAgo(timer, SECOND * 2100);
    EXPECT_GE(timer.GetuSValue(), 2100000000);
    EXPECT_NO_REPORTS(capture);
    // Beyond 2^31 microseconds, and so far that a product in 64 bits would overflow too.
    for (const LONGLONG nSeconds : {2148, 100000000})
    {
        StartAgo(timer, SECOND * nSeconds);
        EXPECT_TRUE(timer.GetMSDiff() == -1 && timer.IsExpired());
        const ExpectedReport overflow = {"COrvPrecisionTimer::GetuSValue", "lRes > 0x7FFFFFFFLL", nullptr,
                                         "orvtime"};
        EXPECT_REPORTS(capture, {overflow, overflow});
    }
}

TEST(TickTimer, ExpiresWhenTheLimitIsReached)
{
    COrvTcTimer timer(60000, true), none(0, true);
    StartAgo(timer, 1000);
    StartAgo(none, 1000);
    EXPECT_GE(timer.GetTimeDiff(), 1000 / 86400000.0);
    EXPECT_FALSE(timer.IsExpired(0) || timer.IsExpired(-3)); // its own limit
    EXPECT_TRUE(timer.IsExpired(1000));                      // reaching it is enough
    EXPECT_FALSE(none.IsExpired(50));
    StartAgo(timer, 60000);
    EXPECT_TRUE(timer.IsExpired(0));
    EXPECT_FALSE(timer.IsExpired(600000));
    timer.ReStart();
    EXPECT_FALSE(timer.IsExpired(0));
}

TEST(TickTimer, OneWrapOfTheCounterIsNoMatter)
{
    // A start after now, seen as one before the wrap: 2^31 ms and more are an overflow.
    CReportCapture capture;
    COrvTcTimer timer(1, true);
    StartAgo(timer, 0x7FFF0000);
    EXPECT_GE(timer.GetTimeDiff(), 0x7FFF0000 / 86400000.0);
    EXPECT_NO_REPORTS(capture);
    StartAgo(timer, 0x80000010);
    EXPECT_TRUE(timer.GetTimeDiff() == -1.0 && timer.IsExpired(0));
    const ExpectedReport overflow = {"COrvTcTimer::GetValue", "lRes > 0x7FFFFFFFL", nullptr, "orvtime"};
    EXPECT_REPORTS(capture, {overflow, overflow});
}

} // namespace
