#include "fatal.h"

#include "fatalgate.h"
#include "threads/futex.h"

#include <windows.h>

#include <atomic>
#include <cerrno>
#include <charconv>
#include <climits>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <iterator>

#include <pthread.h>
#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

namespace
{

struct CFatalSignal
{
    int m_nSignal;
    const char* m_sName;
    struct sigaction m_former;
};

CFatalSignal g_signals[] = {{SIGABRT, "SIGABRT", {}}, {SIGBUS, "SIGBUS", {}},   {SIGFPE, "SIGFPE", {}},
                            {SIGILL, "SIGILL", {}},   {SIGSEGV, "SIGSEGV", {}}, {SIGSYS, "SIGSYS", {}}};
PortFatalHandler g_pfnHandler = nullptr;

/// "Signal 11 (SIGSEGV), address 7FFF0000"; only with what may be called in a signal handler.
void Describe(char (&sText)[80], const CFatalSignal& fatal, const siginfo_t& info) noexcept
{
    char* p = sText;
    const auto Put = [&](const char* s) {
        const std::size_t n = std::strlen(s);
        std::memcpy(p, s, n);
        p += n;
    };
    Put("Signal ");
    p = std::to_chars(p, std::end(sText), fatal.m_nSignal).ptr;
    Put(" (");
    Put(fatal.m_sName);
    Put(")");
    // One that was sent has no address.
    if (fatal.m_nSignal != SIGABRT && info.si_code > 0)
    {
        Put(", address ");
        p = std::to_chars(p, std::end(sText), reinterpret_cast<std::uintptr_t>(info.si_addr), 16).ptr;
    }
    *p = 0;
}

/// The first signal that somebody sent, 0 before.
std::atomic<int> g_nSent{0};

/// Gives what was sent to the former handler, on any thread.
void PassOnSent() noexcept
{
    for (const CFatalSignal& fatal : g_signals)
        if (fatal.m_nSignal == g_nSent)
            sigaction(fatal.m_nSignal, &fatal.m_former, nullptr);
    kill(getpid(), g_nSent);
}

/// Whether a signal was sent, and is the first one. It interrupts a thread that has nothing to do with it,
/// maybe one that others are about to wait for, so that one goes on while it is told.
bool IsFirstSent(int nSignal, const siginfo_t& info) noexcept
{
    int nNone = 0;
    return (info.si_code == SI_USER || info.si_code == SI_QUEUE) &&
           g_nSent.compare_exchange_strong(nNone, nSignal);
}

void OnSignal(int nSignal, siginfo_t* pInfo, void*) noexcept
{
    const int nErrno = errno;
    for (CFatalSignal& fatal : g_signals)
        if (fatal.m_nSignal == nSignal)
        {
            char sText[80];
            Describe(sText, fatal, *pInfo);
            if (!g_pfnHandler(sText, IsFirstSent(nSignal, *pInfo) ? PassOnSent : nullptr))
                break;
            sigaction(nSignal, &fatal.m_former, nullptr);
            // A fault comes again when this returns; what was sent is sent again.
            if (nSignal == SIGABRT || pInfo->si_code <= 0)
                raise(nSignal);
        }
    errno = nErrno;
}

/// A stack of its own for the handlers of a thread, with a page below that nothing may touch. It goes with
/// the thread, or with the library when the thread is the one that unloads it.
class CFatalStack
{
public:
    static bool Reserve() noexcept
    {
        stack_t now;
        if (sigaltstack(nullptr, &now) != 0)
            return false;
        if ((now.ss_flags & SS_DISABLE) == 0)
            return true;
        void* const p =
            mmap(nullptr, kBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0);
        if (p == MAP_FAILED)
            return false;
        mprotect(p, kGuard, PROT_NONE);
        const stack_t stack{static_cast<char*>(p) + kGuard, 0, kBytes - kGuard};
        if (sigaltstack(&stack, nullptr) == 0 && pthread_setspecific(Key(), p) == 0)
            return true;
        Free(p);
        return false;
    }

    static void LeaveLibrary() noexcept
    {
        if (void* const p = pthread_getspecific(Key()))
            Free(p);
        pthread_key_delete(Key());
    }

private:
    // The kernel's part of a frame takes up to 12 KB on some processors, the former handlers what they take.
    static constexpr std::size_t kGuard = 0x1000;
    static constexpr std::size_t kBytes = 0x20000 + kGuard;

    static void Free(void* p) noexcept
    {
        const stack_t none{nullptr, SS_DISABLE, 0};
        sigaltstack(&none, nullptr);
        munmap(p, kBytes);
    }

    static pthread_key_t Key() noexcept { return s_key; }
    static inline pthread_key_t s_key = [] {
        pthread_key_t key{};
        pthread_key_create(&key, Free);
        return key;
    }();
};

[[gnu::destructor]] void LeaveFatalStacks()
{
    CFatalStack::LeaveLibrary();
}

} // namespace

void CFatalGate::Open() noexcept
{
    m_nOpen = 1;
    FutexWake(m_nOpen, INT_MAX);
}

void CFatalGate::Wait(DWORD dwMilliseconds, HANDLE) noexcept
{
    CTimeLeft left(dwMilliseconds);
    while (m_nOpen == 0 && left.Update())
        FutexWait(m_nOpen, 0, left.Get());
}

bool PortReserveFatalStack() noexcept
{
    return CFatalStack::Reserve();
}

void PortCatchFatal(PortFatalHandler pfnHandler) noexcept
{
    g_pfnHandler = pfnHandler;
    g_nSent = 0;
    struct sigaction action
    {
    };
    action.sa_sigaction = OnSignal;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (CFatalSignal& fatal : g_signals)
        sigaction(fatal.m_nSignal, &action, &fatal.m_former);
}

void PortLeaveFatal() noexcept
{
    for (CFatalSignal& fatal : g_signals)
    {
        struct sigaction now;
        if (sigaction(fatal.m_nSignal, nullptr, &now) == 0 && (now.sa_flags & SA_SIGINFO) != 0 &&
            now.sa_sigaction == OnSignal)
            sigaction(fatal.m_nSignal, &fatal.m_former, nullptr);
    }
}
