#include <windows.h>
#include <process.h>

#include "files/handle.h"
#include "process/errnomap.h"
#include "threads/forkhooks.h"
#include "threads/futex.h"
#include "threads/threadhooks.h"
#include "threads/wait.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <new>
#include <string_view>

#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{

__thread DWORD t_dwThreadId;
std::atomic<DWORD> g_dwProcessId{0};

class CThread;
constinit std::atomic<CThread*> g_pAbandoned{nullptr};

// The library's threads leave the program's signals to the program's own threads. They take what a fault of
// their own raises, and what parks them, once they know whose they are.
class CThreadSignals
{
public:
    CThreadSignals() noexcept
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &m_former);
    }
    static void BeginOwnThread() noexcept
    {
        sigset_t taken;
        sigemptyset(&taken);
        for (const int nSignal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS})
            sigaddset(&taken, nSignal);
        for (int nSignal = SIGRTMIN; nSignal <= SIGRTMAX; ++nSignal)
            sigaddset(&taken, nSignal);
        pthread_sigmask(SIG_UNBLOCK, &taken, nullptr);
    }
    CThreadSignals(const CThreadSignals&) = delete;
    CThreadSignals& operator=(const CThreadSignals&) = delete;
    ~CThreadSignals() { pthread_sigmask(SIG_SETMASK, &m_former, nullptr); }

private:
    sigset_t m_former;
};

// Whether a thread runs, as the kernel says; false when it sleeps in the kernel, or has ended.
bool IsRunning(DWORD dwThreadId) noexcept
{
    char sText[64];
    std::snprintf(sText, sizeof sText, "/proc/self/task/%u/stat", dwThreadId);
    const int fd = ::open(sText, O_RDONLY | O_CLOEXEC);
    const ssize_t nLength = fd >= 0 ? ::read(fd, sText, sizeof sText - 1) : 0;
    if (fd >= 0)
        ::close(fd);
    const std::string_view sStat(sText, nLength > 0 ? static_cast<std::size_t>(nLength) : 0);
    const std::size_t nName = sStat.rfind(')');
    return nName != sStat.npos && sStat.substr(nName).starts_with(") R");
}

// A signal that nobody uses; 0 when there is none.
int UnusedSignal() noexcept
{
    for (int nSignal = SIGRTMAX - 1; nSignal > SIGRTMIN; --nSignal)
    {
        struct sigaction action;
        if (sigaction(nSignal, nullptr, &action) == 0 && action.sa_handler == SIG_DFL)
            return nSignal;
    }
    return 0;
}

// Makes a thread sleep for good in the C library, which stays when this one goes: a signal whose handler is
// pause(), during which every other signal is held back. A thread that waits for a disk meets it on its way
// out of the kernel, before it comes to the code that called.
void Park(pthread_t thread, DWORD dwThreadId) noexcept
{
    const int nSignal = UnusedSignal();
    struct sigaction action
    {
    };
    // NOLINTNEXTLINE(bugprone-casting-through-void): a handler that ignores what it is called with
    action.sa_handler = reinterpret_cast<void (*)(int)>(reinterpret_cast<void*>(&::pause));
    sigfillset(&action.sa_mask);
    if (nSignal == 0 || sigaction(nSignal, &action, nullptr) != 0 || pthread_kill(thread, nSignal) != 0)
        return;
    const timespec moment{0, 1'000'000};
    do
        nanosleep(&moment, nullptr);
    while (IsRunning(dwThreadId));
}

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
        const CThreadSignals signals;
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
            Reap([this](pthread_t) { Abandon(); });
        Signal();
        return true;
    }

    DWORD ExitCode() const noexcept { return m_dwExitCode; }

    DWORD WaitForId() noexcept
    {
        while (m_dwId == 0)
            FutexWait(m_dwId, 0, nullptr);
        return m_dwId;
    }

    // Under an abandoned thread the code is about to go away.
    void Leave() noexcept
    {
        WaitForId(); // one that has not begun yet would begin where nothing is any more
        if (m_bReturned.load(std::memory_order_acquire))
            pthread_join(m_thread, nullptr);
        else
            Park(m_thread, m_dwId);
    }
    CThread* NextAbandoned() const noexcept { return m_pNextAbandoned; }

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

    // Stays listed, with a reference, until the library is unloaded.
    void Abandon() noexcept
    {
        AddRef();
        m_pNextAbandoned = g_pAbandoned.load(std::memory_order_relaxed);
        while (!g_pAbandoned.compare_exchange_weak(m_pNextAbandoned, this, std::memory_order_acq_rel))
        {
        }
    }

    static void* Run(void* p) noexcept
    {
        CThreadSignals::BeginOwnThread();
        auto* pThread = static_cast<CThread*>(p);
        pThread->m_dwId = GetCurrentThreadId();
        FutexWakeOne(pThread->m_dwId);
        pThread->End(pThread->m_start(pThread->m_pArgument), false);
        pThread->m_bReturned.store(true, std::memory_order_release);
        pThread->Release();
        return nullptr;
    }

    unsigned (*const m_start)(void*);
    void* const m_pArgument;
    pthread_t m_thread{};
    std::atomic<DWORD> m_dwId{0};
    std::atomic<DWORD> m_dwExitCode{STILL_ACTIVE};
    std::atomic<bool> m_bReaped{false};
    std::atomic<bool> m_bReturned{false};
    CThread* m_pNextAbandoned = nullptr;
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
    // ended; it is stopped when its code goes away.
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

void PortParkThreads() noexcept
{
    for (CThread* p = g_pAbandoned.exchange(nullptr); p; p = p->NextAbandoned())
        p->Leave();
}

void PortForgetThreadIds() noexcept
{
    g_pAbandoned.store(nullptr, std::memory_order_relaxed); // the parent's
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
