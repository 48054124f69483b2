#include "errors/lqraise.h"

#include "core/textformat.h"

#include <atomic>
#include <utility>

namespace
{

/// Gives whoever reads the log along time to see the line before the exception changes the program's course.
constexpr DWORD kPauseMilliseconds = 500;

constinit thread_local bool t_bThrowing = false;

std::atomic<LQExceptionLogger> g_fnExceptionLogger = nullptr;

} // namespace

namespace OCT
{

CThrowScope::CThrowScope() noexcept : m_bNested(std::exchange(t_bThrowing, true)) {}

CThrowScope::~CThrowScope()
{
    t_bThrowing = m_bNested;
}

void AnnounceThrow(const CLQExcept& e, const char* sTypeName, const void* pAddress) noexcept
{
    try
    {
        LogLQExcept(&e);
    }
    catch (...)
    {
        // The exception on its way matters more than the line about it.
    }
    Sleep(kPauseMilliseconds);
    char sText[1024 + 1];
    if (const LQExceptionLogger fnLogger = g_fnExceptionLogger.load(std::memory_order_acquire))
    {
        FormatTo(sText, "Exception of type \"%s\" occurred.", sTypeName);
        fnLogger(pAddress, sText);
        return;
    }
    FormatTo(sText, "Exception of type \"%s\" occurred at 0x%p\n", sTypeName, pAddress);
    OutputDebugStringA(sText);
}

} // namespace OCT

LQExceptionLogger ORVCALL RegisterExceptionLogger(LQExceptionLogger fnLogger) noexcept
{
    g_fnExceptionLogger.store(fnLogger, std::memory_order_release);
    return fnLogger;
}
