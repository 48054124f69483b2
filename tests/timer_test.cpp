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
void StartAgo(COrvPrecisionTimer& timer, LONGLONG nSeconds)
{
    const LONGLONG nStart = Read(QueryPerformanceCounter) - nSeconds * Read(QueryPerformanceFrequency);
    std::memcpy(static_cast<void*>(&timer), &nStart, sizeof nStart);
}

void StartAgo(COrvTcTimer& timer, DWORD nMs)
{
    const DWORD dwStart = GetTickCount() - nMs;
    std::memcpy(static_cast<void*>(&timer), &dwStart, sizeof dwStart);
}

constexpr double DAY_MS = 86400000;

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

TEST(Timer, CountsFromItsStart)
{
    COrvPrecisionTimer precise(60000, true), unlimited(0, true);
    StartAgo(unlimited, 1000);
    EXPECT_FALSE(precise.IsExpired() || unlimited.IsExpired());
    StartAgo(precise, 1000);
    EXPECT_TRUE(precise.GetuSValue() >= 1000000000 && precise.GetMSDiff() >= 1000000);
    EXPECT_TRUE(precise.GetTimeDiff() >= 1000000 / DAY_MS && precise.GetTimeDiff() < 2000000 / DAY_MS);
    EXPECT_TRUE(precise.IsExpired());
    precise.ReStart();
    EXPECT_FALSE(precise.IsExpired());

    COrvTcTimer ticks(60000, true), none(0, true);
    StartAgo(ticks, 1000);
    StartAgo(none, 1000);
    EXPECT_GE(ticks.GetTimeDiff(), 1000 / DAY_MS);
    EXPECT_FALSE(ticks.IsExpired(0) || ticks.IsExpired(-3)) << "its own limit";
    EXPECT_TRUE(ticks.IsExpired(1000)) << "reaching it is enough";
    EXPECT_FALSE(none.IsExpired(50));
    StartAgo(ticks, 60000);
    EXPECT_TRUE(ticks.IsExpired(0) && !ticks.IsExpired(600000));
    ticks.ReStart();
    EXPECT_FALSE(ticks.IsExpired(0));
}

TEST(Timer, OverflowIsReported)
{
    CReportCapture capture;
    COrvPrecisionTimer precise(1, true);
    StartAgo(precise, 2100);
    EXPECT_GE(precise.GetuSValue(), 2100000000);
    // A start after now is seen as one before the wrap of the counter.
    COrvTcTimer ticks(1, true);
    StartAgo(ticks, 0x7FFF0000);
    EXPECT_GE(ticks.GetTimeDiff(), 0x7FFF0000 / DAY_MS);
    EXPECT_NO_REPORTS(capture);

    // Beyond 2^31 microseconds, and so far that a product in 64 bits would overflow too.
    for (const LONGLONG nSeconds : {2148, 90000000})
    {
        StartAgo(precise, nSeconds);
        EXPECT_TRUE(precise.GetMSDiff() == -1 && precise.IsExpired());
        const ExpectedReport overflow = {"COrvPrecisionTimer::GetuSValue", "lRes > 0x7FFFFFFFLL", "",
                                         "orvtime"};
        EXPECT_REPORTS(capture, {overflow, overflow});
    }
    StartAgo(ticks, 0x80000010);
    EXPECT_TRUE(ticks.GetTimeDiff() == -1.0 && ticks.IsExpired(0));
    const ExpectedReport overflow = {"COrvTcTimer::GetValue", "lRes > 0x7FFFFFFFL", "", "orvtime"};
    EXPECT_REPORTS(capture, {overflow, overflow});
}

} // namespace
