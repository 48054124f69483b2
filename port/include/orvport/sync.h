// Critical sections and interlocked operations.
//
// The critical section is on the hot path of every pool, so entering and leaving a free one is inlined: one
// compare-exchange in, one plain store out. What a plain store cannot do, wake a sleeper, is arranged by the
// sleeper (see port/src/threads/sync.cpp).
#pragma once

#include "orvport/error.h"
#include "orvport/types.h"

#include <atomic>

#include <sys/single_threaded.h>

/// Its address is the identity of the running thread. Initial-exec, so that taking it is one addition.
struct CPortThread
{
    static __thread char t_cIdentity __attribute__((tls_model("initial-exec"), visibility("default")));
    static std::uintptr_t Self() noexcept { return reinterpret_cast<std::uintptr_t>(&t_cIdentity); }
};

typedef struct _RTL_CRITICAL_SECTION
{
    std::atomic<std::uintptr_t> Owner;  ///< identity of the thread inside, 0 when free
    LONG RecursionCount;                ///< further entries of the owner; touched by the owner only
    std::atomic<std::uint32_t> Waiters; ///< not 0: threads may sleep, and who leaves wakes one
    std::atomic<std::uint32_t> Wakeups; ///< what they sleep on
    _RTL_CRITICAL_SECTION* pNext;       ///< all sections that a fork waits for
    _RTL_CRITICAL_SECTION* pPrev;
    bool bHeldAtFork; ///< whether it is among them
} CRITICAL_SECTION, *PCRITICAL_SECTION, *LPCRITICAL_SECTION;

void InitializeCriticalSection(LPCRITICAL_SECTION lpCriticalSection) noexcept;
void DeleteCriticalSection(LPCRITICAL_SECTION lpCriticalSection) noexcept;
void FlushProcessWriteBuffers() noexcept;
void PortEnterContended(LPCRITICAL_SECTION lpCriticalSection) noexcept ORVPORT_SHARED(EnterContended);
void PortWakeWaiter(LPCRITICAL_SECTION lpCriticalSection) noexcept ORVPORT_SHARED(WakeWaiter);

/// Makes the running thread the owner of a free section; else tells who owns it. While the process has one
/// thread only, nobody can come in between, and the costly instruction is not needed.
inline bool PortTakeFree(LPCRITICAL_SECTION lpCriticalSection, std::uintptr_t& nOwner) noexcept
{
    if (!__libc_single_threaded)
        return lpCriticalSection->Owner.compare_exchange_strong(
            nOwner, CPortThread::Self(), std::memory_order_acquire, std::memory_order_relaxed);
    nOwner = lpCriticalSection->Owner.load(std::memory_order_relaxed);
    if (nOwner == 0)
        lpCriticalSection->Owner.store(CPortThread::Self(), std::memory_order_relaxed);
    return nOwner == 0;
}

inline void EnterCriticalSection(LPCRITICAL_SECTION lpCriticalSection) noexcept
{
    std::uintptr_t nOwner = 0;
    if (PortTakeFree(lpCriticalSection, nOwner)) [[likely]]
        return;
    if (nOwner == CPortThread::Self())
        ++lpCriticalSection->RecursionCount;
    else
        PortEnterContended(lpCriticalSection);
}

inline BOOL TryEnterCriticalSection(LPCRITICAL_SECTION lpCriticalSection) noexcept
{
    std::uintptr_t nOwner = 0;
    if (PortTakeFree(lpCriticalSection, nOwner))
        return TRUE;
    if (nOwner != CPortThread::Self())
        return FALSE;
    ++lpCriticalSection->RecursionCount;
    return TRUE;
}

inline void LeaveCriticalSection(LPCRITICAL_SECTION lpCriticalSection) noexcept
{
    if (lpCriticalSection->RecursionCount != 0) [[unlikely]]
    {
        --lpCriticalSection->RecursionCount;
        return;
    }
    lpCriticalSection->Owner.store(0, std::memory_order_release);
    // The compiler must keep this order; the processor is made to by a waiter's barrier.
    std::atomic_signal_fence(std::memory_order_seq_cst);
    if (lpCriticalSection->Waiters.load(std::memory_order_relaxed) != 0) [[unlikely]]
        PortWakeWaiter(lpCriticalSection);
}

inline LONG InterlockedIncrement(LONG volatile* lpAddend) noexcept
{
    return __atomic_add_fetch(lpAddend, 1, __ATOMIC_SEQ_CST);
}

inline LONG InterlockedExchange(LONG volatile* Target, LONG Value) noexcept
{
    return __atomic_exchange_n(Target, Value, __ATOMIC_SEQ_CST);
}

inline LONG InterlockedExchangeAdd(LONG volatile* Addend, LONG Value) noexcept
{
    return __atomic_fetch_add(Addend, Value, __ATOMIC_SEQ_CST);
}
