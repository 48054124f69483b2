#include "fatal.h"

#include <windows.h>

#include <csignal>
#include <cstdio>

namespace
{

using SignalHandler = void (*)(int);

PortFatalHandler g_pfnHandler = nullptr;
LPTOP_LEVEL_EXCEPTION_FILTER g_pfnFormerFilter = nullptr;
SignalHandler g_pfnFormerAbort = SIG_DFL;

LONG WINAPI OnException(EXCEPTION_POINTERS* pException)
{
    char sText[80];
    std::snprintf(sText, sizeof(sText), "Exception %08lX, address %p",
                  pException->ExceptionRecord->ExceptionCode, pException->ExceptionRecord->ExceptionAddress);
    g_pfnHandler(sText, nullptr);
    return g_pfnFormerFilter != nullptr ? g_pfnFormerFilter(pException) : EXCEPTION_CONTINUE_SEARCH;
}

/// The runtime ends the process when this returns.
void OnAbort(int nSignal)
{
    g_pfnHandler("Signal 22 (SIGABRT)", nullptr);
    if (g_pfnFormerAbort != SIG_DFL && g_pfnFormerAbort != SIG_IGN && g_pfnFormerAbort != SIG_ERR)
        g_pfnFormerAbort(nSignal);
}

constexpr ULONG kReservedStack = 0x10000;

} // namespace

bool PortReserveFatalStack() noexcept
{
    ULONG nBytes = kReservedStack;
    return SetThreadStackGuarantee(&nBytes) != FALSE;
}

void PortCatchFatal(PortFatalHandler pfnHandler) noexcept
{
    g_pfnHandler = pfnHandler;
    g_pfnFormerFilter = SetUnhandledExceptionFilter(OnException);
    g_pfnFormerAbort = std::signal(SIGABRT, OnAbort);
}

void PortLeaveFatal() noexcept
{
    // Whoever came later stays.
    const auto pfnFilter = SetUnhandledExceptionFilter(g_pfnFormerFilter);
    if (pfnFilter != OnException)
        SetUnhandledExceptionFilter(pfnFilter);
    const auto pfnAbort = std::signal(SIGABRT, g_pfnFormerAbort);
    if (pfnAbort != OnAbort)
        std::signal(SIGABRT, pfnAbort);
}
