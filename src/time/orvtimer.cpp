#include "orvcomtypes/orvtimer.h"

#include "time/orvtimeutil.h"

#include <windows.h>

namespace
{

LONGLONG ReadCounter() noexcept
{
    LARGE_INTEGER counter;
    QueryPerformanceCounter(&counter);
    return counter.QuadPart;
}

LONGLONG ReadFrequency() noexcept
{
    LARGE_INTEGER frequency;
    QueryPerformanceFrequency(&frequency);
    return frequency.QuadPart;
}

} // namespace

COrvPrecisionTimer::COrvPrecisionTimer(int expireMs, bool start) noexcept
    : m_llStart(0),
      m_llFrequency(ReadFrequency()),
      m_Expire_uS(static_cast<LONG>(static_cast<unsigned>(expireMs) * 1000u))
{
    if (m_Expire_uS < 0)
    {
        ORVTIME_REPORT("COrvPrecisionTimer::COrvPrecisionTimer", "m_Expire_uS < 0");
        m_Expire_uS = 0;
    }
    if (start)
        ReStart();
}

void COrvPrecisionTimer::ReStart() noexcept
{
    m_llStart = ReadCounter();
}

int COrvPrecisionTimer::GetuSValue() const noexcept
{
    if (m_llStart == 0)
        return -1;
    const LONGLONG llCounts = ReadCounter() - m_llStart;
    // Whole seconds apart, so that the product cannot overflow.
    const LONGLONG llElapsed =
        llCounts / m_llFrequency * 1000000 + llCounts % m_llFrequency * 1000000 / m_llFrequency;
    if (llElapsed > 0x7FFFFFFFLL)
    {
        ORVTIME_REPORT("COrvPrecisionTimer::GetuSValue", "lRes > 0x7FFFFFFFLL");
        return -1;
    }
    return static_cast<int>(llElapsed);
}

int COrvPrecisionTimer::GetMSDiff() const noexcept
{
    const int iElapsed = GetuSValue();
    return iElapsed == -1 ? -1 : iElapsed / 1000;
}

double COrvPrecisionTimer::GetTimeDiff() const noexcept
{
    const int iElapsed = GetuSValue();
    return iElapsed == -1 ? -1.0 : iElapsed / 86400000000.0;
}

bool COrvPrecisionTimer::IsExpired() const noexcept
{
    if (m_Expire_uS == 0)
        return false;
    const int iElapsed = GetuSValue();
    // Must be exceeded: deliberately unlike COrvTcTimer.
    return iElapsed == -1 || iElapsed > m_Expire_uS;
}

COrvTcTimer::COrvTcTimer(int expireMs, bool start) noexcept : m_dwStart(0), m_Expire(expireMs)
{
    if (m_Expire < 0)
    {
        ORVTIME_REPORT("COrvTcTimer::COrvTcTimer", "m_Expire < 0");
        m_Expire = 0;
    }
    if (start)
        ReStart();
}

void COrvTcTimer::ReStart() noexcept
{
    m_dwStart = GetTickCount();
}

int COrvTcTimer::GetValue() const noexcept
{
    if (m_dwStart == 0)
        return -1;
    const DWORD dwElapsed = GetTickCount() - m_dwStart;
    if (dwElapsed > 0x7FFFFFFFu)
    {
        ORVTIME_REPORT("COrvTcTimer::GetValue", "lRes > 0x7FFFFFFFL");
        return -1;
    }
    return static_cast<int>(dwElapsed);
}

double COrvTcTimer::GetTimeDiff() const noexcept
{
    const int iElapsed = GetValue();
    return iElapsed == -1 ? -1.0 : iElapsed / 86400000.0;
}

bool COrvTcTimer::IsExpired(int limitMs) const noexcept
{
    if (m_Expire == 0)
        return false;
    const int iElapsed = GetValue();
    return iElapsed == -1 || iElapsed >= (limitMs >= 1 ? limitMs : m_Expire);
}
