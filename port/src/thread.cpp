#include <windows.h>

#include "forkhooks.h"

#include <sys/syscall.h>
#include <unistd.h>

namespace
{
__thread DWORD t_dwThreadId;
std::atomic<DWORD> g_dwProcessId{0};
} // namespace

DWORD GetCurrentThreadId() noexcept
{
    if (t_dwThreadId == 0)
        t_dwThreadId = static_cast<DWORD>(syscall(SYS_gettid));
    return t_dwThreadId;
}

DWORD GetCurrentProcessId() noexcept
{
    DWORD dwId = g_dwProcessId.load(std::memory_order_relaxed);
    if (dwId == 0)
    {
        dwId = static_cast<DWORD>(getpid());
        g_dwProcessId.store(dwId, std::memory_order_relaxed);
    }
    return dwId;
}

void PortForgetThreadIds() noexcept
{
    t_dwThreadId = 0;
    g_dwProcessId.store(0, std::memory_order_relaxed);
}

void Sleep(DWORD dwMilliseconds) noexcept
{
    timespec ts{static_cast<time_t>(dwMilliseconds / 1000),
                static_cast<long>(dwMilliseconds % 1000) * 1'000'000};
    if (dwMilliseconds == 0)
        sched_yield();
    else
        while (nanosleep(&ts, &ts) != 0)
        {
        }
}
