#include "orvcomtypes/orvtimer.h"

#include "support/report_capture.h"

#include <gtest/gtest.h>

#include <cstring>

namespace
{

/// A timer that was started \p nAgo counts ago: the start is its first field.
template <class Timer, class Start>
void StartAgo(Timer& timer, Start nNow, Start nAgo)
{
    const Start nStart = nNow - nAgo;
    std::memcpy(static_cast<void*>(&timer), &nStart, sizeof nStart);
}

LONGLONG Counter()
{
    LARGE_INTEGER counter;
    QueryPerformanceCounter(&counter);
    return counter.QuadPart;
}

LONGLONG Frequency()
{
    LARGE_INTEGER frequency;
    QueryPerformanceFrequency(&frequency);
    return frequency.QuadPart;
}

TEST(Timer, NotStarted)
{
    CReportCapture capture;
    const COrvPrecisionTimer precise(100, false);
    EXPECT_EQ(-1, precise.GetuSValue());
    EXPECT_EQ(-1, precise.GetMSDiff());
    EXPECT_EQ(-1.0, precise.GetTimeDiff());
    EXPECT_TRUE(precise.IsExpired());
    EXPECT_FALSE(COrvPrecisionTimer(0, false).IsExpired());

    const COrvTcTimer ticks(100, false);
    EXPECT_EQ(-1.0, ticks.GetTimeDiff());
    EXPECT_TRUE(ticks.IsExpired(1000000));
    EXPECT_FALSE(COrvTcTimer(0, false).IsExpired(0));
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
    COrvPrecisionTimer timer(100, true);
    StartAgo(timer, Counter(), Frequency() * 3 / 2);
    EXPECT_GE(timer.GetuSValue(), 1500000);
    EXPECT_GE(timer.GetMSDiff(), 1500);
    EXPECT_GE(timer.GetTimeDiff(), 1.5 / 86400);
    EXPECT_LT(timer.GetTimeDiff(), 600.0 / 86400);
    EXPECT_TRUE(timer.IsExpired());
    timer.ReStart();
    EXPECT_LT(timer.GetuSValue(), 1500000);

    COrvPrecisionTimer long_(1000000, true);
    StartAgo(long_, Counter(), Frequency());
    EXPECT_FALSE(long_.IsExpired());
    COrvPrecisionTimer none(0, true);
    StartAgo(none, Counter(), Frequency());
    EXPECT_FALSE(none.IsExpired());
}

TEST(PrecisionTimer, OverflowIsReported)
{
    COrvPrecisionTimer timer(1, true);
    // Beyond 2^31 microseconds, and so far that a product in 64 bits would overflow too.
    for (const LONGLONG nSeconds : {LONGLONG{2148}, LONGLONG{100000000}})
    {
        CReportCapture capture;
        StartAgo(timer, Counter(), Frequency() * nSeconds);
        EXPECT_EQ(-1, timer.GetMSDiff());
        EXPECT_TRUE(timer.IsExpired());
        const ExpectedReport overflow = {"COrvPrecisionTimer::GetuSValue", "lRes > 0x7FFFFFFFLL", nullptr,
                                         "orvtime"};
        EXPECT_REPORTS(capture, {overflow, overflow});
    }
    CReportCapture capture;
    StartAgo(timer, Counter(), Frequency() * 2100);
    EXPECT_GE(timer.GetuSValue(), 2100000000);
    EXPECT_NO_REPORTS(capture);
}

TEST(TickTimer, ExpiresWhenTheLimitIsReached)
{
    COrvTcTimer timer(60000, true);
    const auto start = [&timer](DWORD dwAgo) { StartAgo(timer, static_cast<DWORD>(GetTickCount()), dwAgo); };
    start(1000);
    EXPECT_GE(timer.GetTimeDiff(), 1000 / 86400000.0);
    EXPECT_FALSE(timer.IsExpired(0)); // its own limit
    EXPECT_FALSE(timer.IsExpired(-3));
    EXPECT_TRUE(timer.IsExpired(1000)); // reaching it is enough
    start(60000);
    EXPECT_TRUE(timer.IsExpired(0));
    EXPECT_FALSE(timer.IsExpired(600000));
    timer.ReStart();
    EXPECT_FALSE(timer.IsExpired(0));
    COrvTcTimer none(0, true);
    StartAgo(none, static_cast<DWORD>(GetTickCount()), DWORD{1000});
    EXPECT_FALSE(none.IsExpired(50));
}

TEST(TickTimer, OneWrapOfTheCounterIsNoMatter)
{
    // A start after now, seen as one before the wrap: 2^31 ms and more are an overflow.
    COrvTcTimer timer(1, true);
    StartAgo(timer, static_cast<DWORD>(GetTickCount()), DWORD{0x7FFF0000});
    EXPECT_GE(timer.GetTimeDiff(), 0x7FFF0000 / 86400000.0);
    CReportCapture capture;
    StartAgo(timer, static_cast<DWORD>(GetTickCount()), DWORD{0x80000010});
    EXPECT_EQ(-1.0, timer.GetTimeDiff());
    EXPECT_TRUE(timer.IsExpired(0));
    const ExpectedReport overflow = {"COrvTcTimer::GetValue", "lRes > 0x7FFFFFFFL", nullptr, "orvtime"};
    EXPECT_REPORTS(capture, {overflow, overflow});
}

} // namespace
