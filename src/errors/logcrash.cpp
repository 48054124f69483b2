#include "orvcomtypes/logcrash.h"
#include "core/ownlock.h"

#include "core/neverdestroyed.h"
#include "core/textformat.h"
#include "fatal.h"
#include "orvcomtypes/lqexcept.h"
#include "orvcomtypes/smartcls.h"

#include <process.h>

#include <exception>
#include <utility>

namespace
{

constexpr DWORD kLeaveMs = 100;

/// The thread that logs for those that cannot.
class CCrashLogger
{
public:
    bool Install(COrvLog* pLog, DWORD dwMilliseconds);
    void Remove();
    /// On the failing thread. The first failure is told; others wait with it.
    void Tell(const char* sWhat) noexcept;
    std::terminate_handler Former() const { return m_pfnFormer; }

private:
    static unsigned ORVCALL ThreadMain(void* pThis);
    bool StartThread();
    void LogAndFlush() noexcept;

    OCT::COwnLock m_lock; ///< guards installing and removing
    std::atomic<COrvLog*> m_pLog = nullptr;
    std::atomic<DWORD> m_dwMilliseconds = 0;
    DWORD m_dwProcessId = 0;
    HANDLE m_hAsked = nullptr; ///< auto-reset
    HANDLE m_hDone = nullptr;  ///< manual-reset
    HANDLE m_hThread = nullptr;
    std::terminate_handler m_pfnFormer = nullptr;
    std::atomic<bool> m_bTold = false;
    std::atomic<bool> m_bEnd = false;
    char m_sWhat[1000] = {};
};

CNeverDestroyed<CCrashLogger> g_crashLogger;

void OnFatal(const char* sWhat) noexcept
{
    g_crashLogger.Get().Tell(sWhat);
}

/// What the exception says that nobody catches.
void DescribeCaught(char (&sText)[1000])
{
    const std::exception_ptr pException = std::current_exception();
    if (pException == nullptr)
    {
        OCT::FormatTo(sText, "terminate was called");
        return;
    }
    try
    {
        std::rethrow_exception(pException);
    }
    catch (const CLQExcept& e)
    {
        OCT::FormatTo(sText, "Uncaught exception: %S", static_cast<const WCHAR*>(e.FormatToLog()));
    }
    catch (const std::exception& e)
    {
        OCT::FormatTo(sText, "Uncaught exception: %s", e.what());
    }
}

void DescribeException(char (&sText)[1000]) noexcept
{
    try
    {
        DescribeCaught(sText);
    }
    catch (...) // of another family, or thrown by the description
    {
        OCT::FormatTo(sText, "Uncaught exception of an unknown type");
    }
}

[[noreturn]] void OnTerminate()
{
    char sText[1000];
    DescribeException(sText);
    OnFatal(sText);
    if (const auto pfnFormer = g_crashLogger.Get().Former())
        pfnFormer();
    std::abort();
}

bool CCrashLogger::Install(COrvLog* pLog, DWORD dwMilliseconds)
{
    const OCT::CCritSectGuard guard(&m_lock);
    m_pLog = pLog != nullptr ? pLog : GetProcessLogger();
    m_dwMilliseconds = dwMilliseconds;
    if (m_hThread != nullptr && m_dwProcessId == GetCurrentProcessId())
        return true;
    const bool bHandlers = m_hThread != nullptr; // a forked child has them
    if (!StartThread())
        return false;
    if (!bHandlers)
    {
        PortCatchFatal(OnFatal);
        m_pfnFormer = std::set_terminate(OnTerminate);
    }
    return true;
}

bool CCrashLogger::StartThread()
{
    m_hAsked = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    m_hDone = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    m_bEnd = m_bTold = false;
    m_dwProcessId = GetCurrentProcessId();
    m_hThread = m_hAsked != nullptr && m_hDone != nullptr
                    ? reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, ThreadMain, this, 0, nullptr))
                    : nullptr;
    return m_hThread != nullptr;
}

/// The thread waits for an event and holds nothing, so it can be ended there while the library is unloaded.
void CCrashLogger::Remove()
{
    const OCT::CCritSectGuard guard(&m_lock);
    const HANDLE hThread = std::exchange(m_hThread, nullptr);
    if (hThread == nullptr)
        return;
    PortLeaveFatal();
    if (std::get_terminate() == OnTerminate)
        std::set_terminate(m_pfnFormer);
    if (m_dwProcessId == GetCurrentProcessId())
    {
        m_bEnd = true;
        SetEvent(m_hAsked);
        if (WaitForSingleObject(hThread, kLeaveMs) != WAIT_OBJECT_0)
            TerminateThread(hThread, 1);
    }
    CloseHandle(hThread);
    CloseHandle(m_hAsked);
    CloseHandle(m_hDone);
}

unsigned ORVCALL CCrashLogger::ThreadMain(void* pThis)
{
    auto& logger = *static_cast<CCrashLogger*>(pThis);
    WaitForSingleObject(logger.m_hAsked, INFINITE);
    if (!logger.m_bEnd)
    {
        logger.LogAndFlush();
        SetEvent(logger.m_hDone);
    }
    return 0;
}

void CCrashLogger::Tell(const char* sWhat) noexcept
{
    const bool bOwnThread = m_dwProcessId == GetCurrentProcessId();
    if (!m_bTold.exchange(true))
    {
        OCT::FormatTo(m_sWhat, "%s", sWhat);
        if (bOwnThread)
            SetEvent(m_hAsked);
        else
            LogAndFlush();
    }
    if (bOwnThread)
        WaitForSingleObject(m_hDone, m_dwMilliseconds);
}

void CCrashLogger::LogAndFlush() noexcept
{
    try
    {
        m_pLog.load()->LogOpt(lqlErrors, "The process ends. %s", m_sWhat);
        FlushLogs(m_dwMilliseconds);
    }
    catch (...)
    {
        // The process ends anyway.
    }
}

} // namespace

bool ORVCALL InstallLogCrashHandler(COrvLog* log, DWORD milliseconds)
{
    return g_crashLogger.Get().Install(log, milliseconds);
}

void ORVCALL RemoveLogCrashHandler()
{
    g_crashLogger.Get().Remove();
}
