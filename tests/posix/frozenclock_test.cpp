// The limit of the precise timer, with a clock that stands still: the library's calls of it come here.
#include "orvcomtypes/orvtimer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <ctime>

#include <sys/syscall.h>
#include <unistd.h>

namespace
{

/// What the clock shows in nanoseconds; 0: the time.
std::atomic<long long> g_nFrozen = 0;

} // namespace

extern "C" int clock_gettime(clockid_t clock, timespec* pTime) noexcept
{
    if (g_nFrozen == 0 || clock != CLOCK_MONOTONIC)
        return static_cast<int>(syscall(SYS_clock_gettime, clock, pTime));
    pTime->tv_sec = static_cast<std::time_t>(g_nFrozen / 1'000'000'000);
    pTime->tv_nsec = static_cast<long>(g_nFrozen % 1'000'000'000);
    return 0;
}

TEST(FrozenClock, PreciseTimerMustExceedItsLimit)
{
    constexpr long long START = 5'000'000'000, LIMIT = 100'000'000;
    g_nFrozen = START;
    const COrvPrecisionTimer timer(100, true);
    g_nFrozen = START + LIMIT;
    EXPECT_EQ(100'000, timer.GetuSValue());
    EXPECT_FALSE(timer.IsExpired());
    g_nFrozen = START + LIMIT + 1000;
    EXPECT_TRUE(timer.IsExpired());
    g_nFrozen = 0;
}
