#include "orvcomtypes/logcrash.h"

#include "core/lifecycle.h"
#include "core/neverdestroyed.h"
#include "core/ownlock.h"
#include "core/textformat.h"
#include "fatal.h"
#include "fatalgate.h"
#include "log/loglist.h"
#include "orvcomtypes/lqexcept.h"
#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/orvlog.h"
#include "orvcomtypes/smartcls.h"

#include <windows.h>
#include <process.h>

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <exception>
#include <string_view>

namespace
{

// Neither can wait for ever: who holds the loader's lock keeps threads from beginning and ending.
constexpr DWORD kBeginMs = 1000;
constexpr DWORD kStopMs = 1000;
constexpr DWORD kLeaveMs = 100; ///< while the library is unloaded

/// The thread that logs for those that cannot. Who fails may do it in a signal handler and hold any lock, the
/// heap's too: it copies a text, opens one gate and waits at another, and that is all.
class CCrashLogger
{
public:
    bool Install(COrvLog* pLog, DWORD dwMilliseconds);
    /// Waits for the thread's end so long.
    void Remove(DWORD dwMilliseconds);
    /// In a forked child, which has not the thread: begins one.
    void Renew();
    /// On the failing thread. The first failure is told; others wait with it. A thread that can go on gives
    /// \p pfnPassOn: it does not wait for the first, and false says that the logger's thread will call that.
    bool Tell(const char* sWhat, void (*pfnPassOn)() noexcept) noexcept;
    std::terminate_handler Former() const { return m_pfnFormer; }

private:
    static unsigned ORVCALL ThreadMain(void* pThis);
    bool IsOurs() const { return m_dwProcessId == GetCurrentProcessId(); }
    /// Whether somebody else tells for the calling thread.
    bool IsThere() const { return IsOurs() && m_dwThreadId != GetCurrentThreadId(); }
    bool StartThread();
    void LogAndFlush() noexcept;

    OCT::COwnLock m_lock; ///< guards installing and removing
    std::atomic<COrvLog*> m_pLog = nullptr;
    std::atomic<DWORD> m_dwMilliseconds = 0;
    std::atomic<DWORD> m_dwProcessId = 0; ///< of the thread, 0 without one
    std::atomic<DWORD> m_dwThreadId = 0;
    CFatalGate m_begun;
    CFatalGate m_asked;
    CFatalGate m_done;
    std::atomic<HANDLE> m_hThread = nullptr;
    std::terminate_handler m_pfnFormer = nullptr;
    std::atomic<bool> m_bTold = false; ///< the thread has been given what to do: a failure, or its end
    bool m_bEnd = false;
    char m_sWhat[1000] = {};
    void (*m_pfnPassOn)() noexcept = nullptr;
};

CNeverDestroyed<CCrashLogger> g_crashLogger;

bool OnFatal(const char* sWhat, void (*pfnPassOn)() noexcept) noexcept
{
    return g_crashLogger.Get().Tell(sWhat, pfnPassOn);
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
    OnFatal(sText, nullptr);
    if (const auto pfnFormer = g_crashLogger.Get().Former())
        pfnFormer();
    std::abort();
}

void RemoveAtDetach()
{
    g_crashLogger.Get().Remove(kLeaveMs);
}

void RenewInChild()
{
    g_crashLogger.Get().Renew();
}

bool CCrashLogger::Install(COrvLog* pLog, DWORD dwMilliseconds)
{
    const OCT::CCritSectGuard guard(&m_lock);
    m_pLog = pLog != nullptr ? pLog : GetProcessLogger();
    m_dwMilliseconds = dwMilliseconds;
    if (m_hThread != nullptr && IsOurs())
        return true;
    const bool bHandlers = m_hThread != nullptr; // a forked child has them
    if (!StartThread())
        return false;
    if (!bHandlers)
    {
        g_TeardownHooks.m_fnRemoveCrashHandler.store(RemoveAtDetach, std::memory_order_release);
        g_fnLogThreadStarts.store(RenewInChild, std::memory_order_release);
        PortCatchFatal(OnFatal);
        m_pfnFormer = std::set_terminate(OnTerminate);
    }
    return true;
}

void CCrashLogger::Renew()
{
    if (IsOurs())
        return;
    const OCT::CCritSectGuard guard(&m_lock);
    if (m_hThread != nullptr && !IsOurs())
        StartThread();
}

bool CCrashLogger::StartThread()
{
    m_bEnd = false;
    m_bTold = false;
    if (!m_begun.Shut() || !m_asked.Shut() || !m_done.Shut())
        return false;
    const auto hThread = reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, ThreadMain, this, 0, nullptr));
    if (hThread == nullptr)
        return false;
    m_hThread = hThread;
    m_dwProcessId = GetCurrentProcessId();
    m_begun.Wait(kBeginMs);
    return true;
}

/// A thread that was not asked waits for a gate and holds nothing, so it can be ended there while the library
/// is unloaded. One that tells of a failure is never ended: it may hold a log's lock, or the heap's.
void CCrashLogger::Remove(DWORD dwMilliseconds)
{
    const OCT::CCritSectGuard guard(&m_lock);
    const HANDLE hThread = m_hThread.exchange(nullptr);
    if (hThread == nullptr)
        return;
    PortLeaveFatal();
    if (std::get_terminate() == OnTerminate)
        std::set_terminate(m_pfnFormer);
    bool bEnded = true;
    if (IsOurs())
    {
        const bool bTells = m_bTold.exchange(true);
        if (!bTells)
        {
            m_bEnd = true;
            m_dwProcessId = 0; // also for a signal that meets this thread
            m_asked.Open();
        }
        bEnded = WaitForSingleObject(hThread, dwMilliseconds) == WAIT_OBJECT_0;
        if (!bEnded && !bTells)
            bEnded = TerminateThread(hThread, 1);
    }
    CloseHandle(hThread);
    if (!bEnded)
        return;
    m_done.Open(); // for who came with a failure after the end was asked for
    m_begun.Remove();
    m_asked.Remove();
    m_done.Remove();
}

unsigned ORVCALL CCrashLogger::ThreadMain(void* pThis)
{
    auto& logger = *static_cast<CCrashLogger*>(pThis);
    logger.m_dwThreadId = GetCurrentThreadId();
    logger.m_begun.Open();
    logger.m_asked.Wait(INFINITE);
    if (!logger.m_bEnd)
    {
        logger.LogAndFlush();
        logger.m_done.Open();
        if (logger.m_pfnPassOn != nullptr)
            logger.m_pfnPassOn();
    }
    return 0;
}

/// Others may have put their handlers in front of ours and pass on to it when it has no thread any more.
bool CCrashLogger::Tell(const char* sWhat, void (*pfnPassOn)() noexcept) noexcept
{
    if (!IsThere())
        return true;
    if (!m_bTold.exchange(true))
    {
        const std::size_t nLength = std::string_view(sWhat).copy(m_sWhat, sizeof(m_sWhat) - 1);
        m_sWhat[nLength] = 0;
        m_pfnPassOn = pfnPassOn;
        m_asked.Open();
        if (pfnPassOn != nullptr)
            return false;
    }
    m_done.Wait(m_dwMilliseconds, m_hThread);
    return true;
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
    PortReserveFatalStack();
    return g_crashLogger.Get().Install(log, milliseconds);
}

bool ORVCALL ReserveLogCrashStack()
{
    return PortReserveFatalStack();
}

void ORVCALL RemoveLogCrashHandler()
{
    g_crashLogger.Get().Remove(kStopMs);
}
