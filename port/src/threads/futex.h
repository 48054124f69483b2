// Sleeping in the kernel on a 32-bit word.
#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <ctime>

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

/// How long something may still take, counted from its construction; for ever with INFINITE. As all here, it
/// may be used in a signal handler.
class CTimeLeft
{
public:
    explicit CTimeLeft(DWORD dwMilliseconds) noexcept : m_bForever(dwMilliseconds == INFINITE)
    {
        m_nEnd = Now() + std::int64_t{dwMilliseconds} * 1'000'000;
    }

    /// Looks at the clock; false when the time has passed.
    bool Update() noexcept
    {
        const std::int64_t nLeft = m_bForever ? 0 : m_nEnd - Now();
        m_left = {static_cast<time_t>(nLeft / 1'000'000'000), static_cast<long>(nLeft % 1'000'000'000)};
        return m_bForever || nLeft > 0;
    }

    /// As of the last look; null: for ever.
    const timespec* Get() const noexcept { return m_bForever ? nullptr : &m_left; }

private:
    static std::int64_t Now() noexcept
    {
        timespec now;
        clock_gettime(CLOCK_MONOTONIC, &now);
        return std::int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
    }

    const bool m_bForever;
    std::int64_t m_nEnd;
    timespec m_left{};
};

/// Sleeps while the word has the value; may return early. A null timeout (relative) means for ever.
inline void FutexWait(std::atomic<std::uint32_t>& word, std::uint32_t nValue,
                      const timespec* pTimeout) noexcept
{
    syscall(SYS_futex, &word, FUTEX_WAIT_PRIVATE, nValue, pTimeout, nullptr, 0);
}

inline void FutexWake(std::atomic<std::uint32_t>& word, int nSleepers) noexcept
{
    syscall(SYS_futex, &word, FUTEX_WAKE_PRIVATE, nSleepers, nullptr, nullptr, 0);
}

inline void FutexWakeOne(std::atomic<std::uint32_t>& word) noexcept
{
    FutexWake(word, 1);
}
