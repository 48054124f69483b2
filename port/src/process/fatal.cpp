#include "fatal.h"

#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <iterator>

#include <signal.h>

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

void OnSignal(int nSignal, siginfo_t* pInfo, void*) noexcept
{
    const int nErrno = errno;
    for (CFatalSignal& fatal : g_signals)
        if (fatal.m_nSignal == nSignal)
        {
            char sText[80];
            Describe(sText, fatal, *pInfo);
            g_pfnHandler(sText);
            sigaction(nSignal, &fatal.m_former, nullptr);
            // A fault comes again when this returns; what was sent is sent again.
            if (nSignal == SIGABRT || pInfo->si_code <= 0)
                raise(nSignal);
        }
    errno = nErrno;
}

} // namespace

void PortCatchFatal(PortFatalHandler pfnHandler) noexcept
{
    g_pfnHandler = pfnHandler;
    struct sigaction action
    {
    };
    action.sa_sigaction = OnSignal;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
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
