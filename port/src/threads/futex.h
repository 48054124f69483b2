// Sleeping in the kernel on a 32-bit word.
#pragma once

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <ctime>

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

/// Sleeps while the word has the value; may return early. A null timeout (relative) means for ever.
/// False only when the time has passed.
inline bool FutexWait(std::atomic<std::uint32_t>& word, std::uint32_t nValue,
                      const timespec* pTimeout) noexcept
{
    return syscall(SYS_futex, &word, FUTEX_WAIT_PRIVATE, nValue, pTimeout, nullptr, 0) == 0 ||
           errno != ETIMEDOUT;
}

inline void FutexWake(std::atomic<std::uint32_t>& word, int nSleepers) noexcept
{
    syscall(SYS_futex, &word, FUTEX_WAKE_PRIVATE, nSleepers, nullptr, nullptr, 0);
}

inline void FutexWakeOne(std::atomic<std::uint32_t>& word) noexcept
{
    FutexWake(word, 1);
}
