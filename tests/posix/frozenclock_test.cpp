// The limits of the timers, with clocks that stand still: the library's calls of them come here.
#include "orvcomtypes/orvtimer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <ctime>

#include <sys/syscall.h>
#include <unistd.h>

namespace
{

/// What the clocks show in nanoseconds; 0: the time.
std::atomic<long long> g_nFrozen = 0;

} // namespace

extern "C" int clock_gettime(clockid_t clock, timespec* pTime) noexcept
{
    if (g_nFrozen == 0 || (clock != CLOCK_MONOTONIC && clock != CLOCK_BOOTTIME))
        return static_cast<int>(syscall(SYS_clock_gettime, clock, pTime));
    pTime->tv_sec = static_cast<std::time_t>(g_nFrozen / 1'000'000'000);
    pTime->tv_nsec = static_cast<long>(g_nFrozen % 1'000'000'000);
    return 0;
}

TEST(FrozenClock, PreciseTimerMustExceedItsLimit)
{
    constexpr long long kStart = 5'000'000'000, kLimit = 100'000'000;
    g_nFrozen = kStart;
    const COrvPrecisionTimer timer(100, true);
    g_nFrozen = kStart + kLimit;
    EXPECT_EQ(100'000, timer.GetuSValue());
    EXPECT_FALSE(timer.IsExpired());
    g_nFrozen = kStart + kLimit + 1000;
    EXPECT_TRUE(timer.IsExpired());
    g_nFrozen = 0;
}

TEST(FrozenClock, TickTimerMustReachItsLimit)
{
    constexpr long long kMillisecond = 1'000'000, kWrap = (1LL << 32) * kMillisecond;
    g_nFrozen = kWrap - 50 * kMillisecond;
    const COrvTcTimer timer(100, true);
    g_nFrozen = kWrap + 50 * kMillisecond - 1;
    EXPECT_FALSE(timer.IsExpired(0));
    g_nFrozen = kWrap + 50 * kMillisecond;
    EXPECT_TRUE(timer.IsExpired(0));
    EXPECT_TRUE(timer.IsExpired(100) && !timer.IsExpired(101));
    EXPECT_EQ(100 / 86400000.0, timer.GetTimeDiff());
    g_nFrozen = kWrap;
    EXPECT_EQ(-1.0, COrvTcTimer(100, true).GetTimeDiff()) << "a count of 0 is no start";
    g_nFrozen = 0;
}
