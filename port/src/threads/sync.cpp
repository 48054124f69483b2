// The part of a critical section that is not inlined: waiting, waking, and what happens to sections at fork.
//
// Leaving is a plain store followed by a plain load that tells whether somebody may sleep; the processor may
// do the load first. A thread that is about to sleep therefore announces it, makes every running thread of
// the process pass a memory barrier (membarrier), and looks once more: an owner either had stored before that
// barrier, and the look finds the section free, or loads after it, and sees the announcement. Where the
// kernel refuses the barrier, sleeps are short instead.
//
// Who leaves takes the announcement back and wakes one thread, which announces itself anew: until that one
// runs, others enter and leave at full speed. Were they to wake somebody each time, most threads would do
// little else, since who is woken has to wait for a processor.
#include <windows.h>

#include "forklock.h"
#include "threads/forkhooks.h"
#include "threads/futex.h"
#include "threads/portlock.h"

#include <atomic>
#include <cstdint>
#include <ctime>
#include <mutex>

#include <linux/membarrier.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

__thread char CPortThread::t_cIdentity;

namespace
{

// Each look takes the section's memory away from its owner, so a thread looks less and less often.
constexpr int kMostPauses = 64;
constexpr int kForkAttempts = 10000;
constexpr timespec kForkPause{0, 100'000};
constexpr timespec kShort{0, 1'000'000};

inline void Pause() noexcept
{
    __builtin_ia32_pause();
}

bool Membarrier(int nCommand) noexcept
{
    return syscall(SYS_membarrier, nCommand, 0, 0) == 0;
}

// Registration is kept by the process; it is refused as a whole or not at all.
bool g_bBarrierRegistered = false;

bool BarrierOnAllThreads() noexcept
{
    return g_bBarrierRegistered && Membarrier(MEMBARRIER_CMD_PRIVATE_EXPEDITED);
}

bool TryTake(LPCRITICAL_SECTION pSection) noexcept
{
    std::uintptr_t nOwner = 0;
    return pSection->Owner.load(std::memory_order_relaxed) == 0 &&
           pSection->Owner.compare_exchange_strong(nOwner, CPortThread::Self(), std::memory_order_acquire,
                                                   std::memory_order_relaxed);
}

// The sections that a fork waits for, newest first.
constinit std::mutex g_sectionsLock;
constinit LPCRITICAL_SECTION g_pSections = nullptr;
bool g_bHeldForFork = false;
constinit std::atomic<void (*)()> g_pfnInChild = nullptr;

bool TryEnterAll() noexcept
{
    for (auto* p = g_pSections; p; p = p->pNext)
        if (!TryEnterCriticalSection(p))
        {
            for (auto* pTaken = g_pSections; pTaken != p; pTaken = pTaken->pNext)
                LeaveCriticalSection(pTaken);
            return false;
        }
    return true;
}

// Enters every section, so that what they guard is whole in the child. Trying and backing off needs no lock
// order; between attempts the holders go on, with creating and deleting sections too. The library holds its
// locks for moments only; should one stay taken for a second, the child gets it as it is.
void BeforeFork() noexcept
{
    for (int i = 0; i < kForkAttempts; ++i)
    {
        g_sectionsLock.lock();
        g_bHeldForFork = TryEnterAll();
        if (g_bHeldForFork)
            return;
        g_sectionsLock.unlock();
        nanosleep(&kForkPause, nullptr);
    }
    g_sectionsLock.lock();
}

void LeaveAll() noexcept
{
    if (g_bHeldForFork)
        for (auto* p = g_pSections; p; p = p->pNext)
            LeaveCriticalSection(p);
    g_bHeldForFork = false;
    g_sectionsLock.unlock();
}

// The threads that waited do not exist in the child.
void AfterForkInChild() noexcept
{
    for (auto* p = g_pSections; p; p = p->pNext)
        p->Waiters.store(0, std::memory_order_relaxed);
    LeaveAll();
    PortForgetThreadIds();
    if (const auto pfn = g_pfnInChild.load())
        pfn();
}

// At load: a first use could coincide with a fork, and would then never end in the child.
[[gnu::constructor]] void Prepare()
{
    g_bBarrierRegistered = Membarrier(MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED);
    g_makingLock.HoldAtFork();
    pthread_atfork(BeforeFork, LeaveAll, AfterForkInChild);
}

} // namespace

CPortLock g_makingLock;

void FlushProcessWriteBuffers() noexcept
{
    if (BarrierOnAllThreads())
        return;
    // Taking a right away from a page makes every processor that runs this process stop for a moment.
    alignas(4096) static char s_aPage[4096];
    const std::lock_guard guard(g_sectionsLock);
    mprotect(s_aPage, sizeof s_aPage, PROT_READ | PROT_WRITE);
    std::atomic_ref(s_aPage[0]).fetch_add(1);
    mprotect(s_aPage, sizeof s_aPage, PROT_READ);
}

void InitializeCriticalSection(LPCRITICAL_SECTION lpCriticalSection) noexcept
{
    lpCriticalSection->Owner.store(0, std::memory_order_relaxed);
    lpCriticalSection->RecursionCount = 0;
    lpCriticalSection->Waiters.store(0, std::memory_order_relaxed);
    lpCriticalSection->Wakeups.store(0, std::memory_order_relaxed);
    lpCriticalSection->pNext = lpCriticalSection->pPrev = nullptr;
    lpCriticalSection->bHeldAtFork = false;
}

void PortCallInChild(void (*pfn)()) noexcept
{
    g_pfnInChild = pfn;
}

void PortHoldAtFork(LPCRITICAL_SECTION lpCriticalSection) noexcept
{
    const std::lock_guard guard(g_sectionsLock);
    if (lpCriticalSection->bHeldAtFork)
        return;
    lpCriticalSection->bHeldAtFork = true;
    lpCriticalSection->pPrev = nullptr;
    lpCriticalSection->pNext = g_pSections;
    if (g_pSections)
        g_pSections->pPrev = lpCriticalSection;
    g_pSections = lpCriticalSection;
}

void DeleteCriticalSection(LPCRITICAL_SECTION lpCriticalSection) noexcept
{
    if (!lpCriticalSection->bHeldAtFork)
        return;
    const std::lock_guard guard(g_sectionsLock);
    lpCriticalSection->bHeldAtFork = false;
    auto*& pLink = lpCriticalSection->pPrev ? lpCriticalSection->pPrev->pNext : g_pSections;
    pLink = lpCriticalSection->pNext;
    if (lpCriticalSection->pNext)
        lpCriticalSection->pNext->pPrev = lpCriticalSection->pPrev;
}

void PortEnterContended(LPCRITICAL_SECTION lpCriticalSection) noexcept
{
    for (int nPauses = 1; nPauses <= kMostPauses; nPauses *= 2)
    {
        for (int i = 0; i < nPauses; ++i)
            Pause();
        if (TryTake(lpCriticalSection))
            return;
    }
    for (;;)
    {
        // Read before it is announced: who takes the announcement back changes it.
        const std::uint32_t nSeen = lpCriticalSection->Wakeups.load(std::memory_order_acquire);
        lpCriticalSection->Waiters.exchange(1, std::memory_order_acq_rel);
        const timespec* pTimeout = BarrierOnAllThreads() ? nullptr : &kShort;
        if (TryTake(lpCriticalSection))
            return; // others may sleep: still announced
        FutexWait(lpCriticalSection->Wakeups, nSeen, pTimeout);
    }
}

void PortWakeWaiter(LPCRITICAL_SECTION lpCriticalSection) noexcept
{
    if (lpCriticalSection->Waiters.exchange(0, std::memory_order_acq_rel) == 0)
        return;
    lpCriticalSection->Wakeups.fetch_add(1, std::memory_order_release);
    FutexWakeOne(lpCriticalSection->Wakeups);
}
