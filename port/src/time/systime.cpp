#include <windows.h>

#include "process/sparememory.h"
#include "threads/portlock.h"
#include "time/calendar.h"
#include "time/localtime.h"

#include <cerrno>
#include <chrono>
#include <ctime>
#include <mutex>

namespace
{

constexpr LONGLONG kTicksPerSecond = 10'000'000;

// A fork waits for it, and so for the C library's own lock inside it.
CPortLock g_zoneLock;
bool g_bZoneRead = false;

[[gnu::constructor]] void HoldZoneLockAtFork()
{
    g_zoneLock.HoldAtFork();
}

timespec Now(clockid_t clock) noexcept
{
    timespec ts;
    clock_gettime(clock, &ts);
    return ts;
}

LONGLONG Ticks(const timespec& ts) noexcept
{
    return ts.tv_sec * kTicksPerSecond + ts.tv_nsec / 100;
}

void Fill(SYSTEMTIME& st, const std::tm& tm, long nNanoseconds) noexcept
{
    st.wYear = static_cast<WORD>(tm.tm_year + 1900);
    st.wMonth = static_cast<WORD>(tm.tm_mon + 1);
    st.wDayOfWeek = static_cast<WORD>(tm.tm_wday);
    st.wDay = static_cast<WORD>(tm.tm_mday);
    st.wHour = static_cast<WORD>(tm.tm_hour);
    st.wMinute = static_cast<WORD>(tm.tm_min);
    st.wSecond = static_cast<WORD>(tm.tm_sec);
    st.wMilliseconds = static_cast<WORD>(nNanoseconds / 1'000'000);
}

} // namespace

bool PortReadZone() noexcept
{
    const std::lock_guard guard(g_zoneLock);
    if (!PortHasSpareMemory())
        return false;
    tzset();
    g_bZoneRead = true;
    return true;
}

bool PortLocalTime(std::time_t tTime, std::tm& tm) noexcept
{
    const std::lock_guard guard(g_zoneLock);
    return (g_bZoneRead || PortReadZone()) && localtime_r(&tTime, &tm) != nullptr;
}

void GetLocalTime(LPSYSTEMTIME lpSystemTime) noexcept
{
    const timespec ts = Now(CLOCK_REALTIME);
    std::tm tm;
    if (PortLocalTime(ts.tv_sec, tm))
        Fill(*lpSystemTime, tm, ts.tv_nsec);
    else
        ToSystemTime(CalendarMs(std::chrono::milliseconds(ts.tv_sec * 1000 + ts.tv_nsec / 1'000'000)),
                     *lpSystemTime);
}

DWORD GetTickCount() noexcept
{
    return static_cast<DWORD>(Ticks(Now(CLOCK_BOOTTIME)) / 10'000);
}

BOOL QueryPerformanceCounter(LARGE_INTEGER* lpPerformanceCount) noexcept
{
    lpPerformanceCount->QuadPart = Ticks(Now(CLOCK_MONOTONIC));
    return TRUE;
}

BOOL QueryPerformanceFrequency(LARGE_INTEGER* lpFrequency) noexcept
{
    lpFrequency->QuadPart = kTicksPerSecond;
    return TRUE;
}

__time64_t _time64(__time64_t* ptime) noexcept
{
    const __time64_t nNow = std::time(nullptr);
    if (ptime)
        *ptime = nNow;
    return nNow;
}

errno_t _localtime64_s(std::tm* ptm, const __time64_t* ptime) noexcept
{
    const std::time_t nTime = ptime ? static_cast<std::time_t>(*ptime) : -1;
    if (ptm && nTime >= 0 && PortLocalTime(nTime, *ptm))
        return 0;
    if (ptm)
        ptm->tm_sec = ptm->tm_min = ptm->tm_hour = ptm->tm_mday = ptm->tm_mon = ptm->tm_year = ptm->tm_wday =
            ptm->tm_yday = ptm->tm_isdst = -1;
    return EINVAL;
}
