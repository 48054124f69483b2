#include "errors/lqraise.h"

#include "core/textformat.h"
#include "core/throwscope.h"
#include "orvcomtypes/lqexcept.h"
#include "orvcomtypes/orvexport.h"
#include "returnaddress.h"

#include <windows.h>

#include <atomic>

namespace
{

/// Gives whoever reads the log along time to see the line before the exception changes the program's course.
constexpr DWORD kPauseMilliseconds = 500;

std::atomic<LQExceptionLogger> g_fnExceptionLogger = nullptr;

void Log(const CLQExcept& e) noexcept
{
    try
    {
        LogLQExcept(&e);
    }
    catch (...)
    {
        // The exception on its way matters more than the line about it.
    }
}

void Tell(const char* sTypeName, const void* pAddress) noexcept
{
    char sText[1024 + 1];
    const LQExceptionLogger fnLogger = g_fnExceptionLogger.load(std::memory_order_acquire);
    if (fnLogger == nullptr)
    {
        OCT::FormatTo(sText, "Exception of type \"%s\" occurred at 0x%p\n", sTypeName, pAddress);
        OutputDebugStringA(sText);
        return;
    }
    OCT::FormatTo(sText, "Exception of type \"%s\" occurred.", sTypeName);
    try
    {
        fnLogger(pAddress, sText);
    }
    catch (...)
    {
        // As above.
    }
}

} // namespace

constinit thread_local bool OCT::t_bMakesMessage = false;

void OCT::AnnounceThrow(const CLQExcept& e, const char* sTypeName, const void* pAddress) noexcept
{
    if (t_bThrowsQuietly)
        return;
    const CFlagScope quiet(t_bThrowsQuietly);
    Log(e);
    Sleep(kPauseMilliseconds);
    Tell(sTypeName, pAddress);
}

void ORVCALL LQAnnounceThrow(const CLQExcept& e, const char* sTypeName) noexcept
{
    OCT::AnnounceThrow(e, sTypeName, PortReturnAddress());
}

LQExceptionLogger ORVCALL RegisterExceptionLogger(LQExceptionLogger fnLogger) noexcept
{
    g_fnExceptionLogger.store(fnLogger, std::memory_order_release);
    return fnLogger;
}
