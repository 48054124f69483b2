#include <windows.h>
#include <process.h>

#include "errnomap.h"
#include "forkhooks.h"
#include "wait.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <new>

#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{

__thread DWORD t_dwThreadId;
std::atomic<DWORD> g_dwProcessId{0};

// Owned by its handle and by the running thread together, so that either may go first.
class CThread : public CWaitable
{
public:
    CThread(unsigned (*start)(void*), void* pArgument) noexcept
        : CWaitable(EKind::Thread, true, false), m_start(start), m_pArgument(pArgument)
    {
    }
    static bool IsKind(EKind eKind) noexcept { return eKind == EKind::Thread; }

    bool Start(unsigned nStackSize) noexcept
    {
        pthread_attr_t attributes;
        pthread_attr_init(&attributes);
        if (nStackSize != 0)
            pthread_attr_setstacksize(&attributes, std::max<std::size_t>(nStackSize, PTHREAD_STACK_MIN));
        AddRef();
        const int nError = pthread_create(&m_thread, &attributes, Run, this);
        pthread_attr_destroy(&attributes);
        if (nError != 0)
        {
            m_bReaped = true;
            Release();
            errno = nError;
        }
        return nError == 0;
    }

    // The first end counts: of the function, or by TerminateThread.
    bool End(DWORD dwExitCode, bool bAbandoned) noexcept
    {
        DWORD dwActive = STILL_ACTIVE;
        if (!m_dwExitCode.compare_exchange_strong(dwActive, dwExitCode))
            return false;
        if (bAbandoned)
            Reap([](pthread_t thread) { pthread_detach(thread); });
        Signal();
        return true;
    }

    DWORD ExitCode() const noexcept { return m_dwExitCode; }

    DWORD WaitForId() const noexcept
    {
        m_dwId.wait(0);
        return m_dwId;
    }

    // The thread's function has returned; wait for its last instructions, which lie in this module.
    void OnWaited() noexcept override
    {
        Reap([](pthread_t thread) { pthread_join(thread, nullptr); });
    }

private:
    ~CThread() override
    {
        Reap([](pthread_t thread) { pthread_detach(thread); });
    }

    template <class How>
    void Reap(How how) noexcept
    {
        if (!m_bReaped.exchange(true))
            how(m_thread);
    }

    static void* Run(void* p) noexcept
    {
        auto* pThread = static_cast<CThread*>(p);
        pThread->m_dwId = GetCurrentThreadId();
        pThread->m_dwId.notify_all();
        pThread->End(pThread->m_start(pThread->m_pArgument), false);
        pThread->Release();
        return nullptr;
    }

    unsigned (*const m_start)(void*);
    void* const m_pArgument;
    pthread_t m_thread{};
    std::atomic<DWORD> m_dwId{0};
    std::atomic<DWORD> m_dwExitCode{STILL_ACTIVE};
    std::atomic<bool> m_bReaped{false};
};

} // namespace

std::uintptr_t _beginthreadex(void*, unsigned stack_size, unsigned (*start_address)(void*), void* arglist,
                              unsigned initflag, unsigned* thrdaddr) noexcept
{
    if (initflag != 0)
    {
        errno = EINVAL;
        return 0;
    }
    CThread* pThread = new (std::nothrow) CThread(start_address, arglist);
    if (!pThread)
        return 0;
    if (!pThread->Start(stack_size))
    {
        PortFail();
        pThread->Release();
        return 0;
    }
    if (thrdaddr)
        *thrdaddr = pThread->WaitForId();
    return reinterpret_cast<std::uintptr_t>(static_cast<CPortObject*>(pThread));
}

BOOL GetExitCodeThread(HANDLE hThread, LPDWORD lpExitCode) noexcept
{
    const CThread* pThread = CPortObject::Of<CThread>(hThread);
    if (pThread)
        *lpExitCode = pThread->ExitCode();
    return pThread != nullptr;
}

BOOL TerminateThread(HANDLE hThread, DWORD dwExitCode) noexcept
{
    // A thread cannot be ended from outside without losing what it holds. It is left alone and counts as
    // ended.
    CThread* pThread = CPortObject::Of<CThread>(hThread);
    if (pThread)
        pThread->End(dwExitCode, true);
    return pThread != nullptr;
}

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
