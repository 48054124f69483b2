#include "log/loglist.h"

#include "core/charclass.h"
#include "core/lifecycle.h"
#include "core/neverdestroyed.h"
#include "log/logfilename.h"
#include "log/loghandler.h"
#include "log/logloss.h"
#include "orvcomtypes/octassert.h"
#include "orvcomtypes/orvlog.h"
#include "orvcomtypes/smartcls.h"

#include <windows.h>

#include <atomic>
#include <memory>

namespace
{

// All logs together; what a disk that hangs costs the end of the process.
constexpr DWORD kStopMs = 1000;

/// Before the pools are taken down lines should not lie in them any more.
void FlushLogsAtTeardown()
{
    CLogFileHandlerList::Instance().Flush(kStopMs, true);
}

CNeverDestroyed<CLogFileHandlerList> g_listStorage;

CLogFileHandlerList& MakeList()
{
    g_TeardownHooks.m_fnReleaseProcessLogger.store(ReleaseLogsAtDetach, std::memory_order_release);
    g_TeardownHooks.m_fnFreeLogs.store(FreeLogsAtUnload, std::memory_order_release);
    g_TeardownHooks.m_fnFlushLogs.store(FlushLogsAtTeardown, std::memory_order_release);
    return g_listStorage.Get();
}

// Made at load, since a first use could coincide with a fork.
CLogFileHandlerList& g_list = MakeList();

} // namespace

void FreeHandlersAtUnload()
{
    g_listStorage.DestroyAtUnload();
}

CLogFileHandlerList::~CLogFileHandlerList()
{
    while (CLogFileInnerHandler* p = m_pLastMade)
    {
        m_pLastMade = p->m_pNextMade;
        if (!p->IsHeldUp())
            delete p;
    }
}

constinit std::atomic<void (*)()> g_fnLogThreadStarts = nullptr;

CLogFileHandlerList& CLogFileHandlerList::Instance()
{
    return g_list;
}

template <class Is>
unsigned CLogFileHandlerList::FindIf(Is is) const
{
    for (unsigned i = 0; i < m_files.GetSize(); ++i)
        if (is(m_files[i]))
            return i;
    return kNotFound;
}

ILogFileHandler* CLogFileHandlerList::AddFileHandler(const WCHAR* sFileNameFormat)
{
    const OCT::CCritSectGuard guard(&m_lock);
    if (m_bUnloading)
        return nullptr;
    const bool bEmpty = sFileNameFormat == nullptr || *sFileNameFormat == 0;
    CLogFileInnerHandler* const pHandler = bEmpty ? nullptr : HandlerOf(sFileNameFormat);
    if (pHandler == nullptr)
    {
        ORV_REPORT_FROM("orvlog", "CLogFileHandlerList::AddFileHandler",
                        "STRNOTEMPTY(sFileNameFormat) && pHandler != nullptr", 0);
        return nullptr;
    }
    pHandler->AddRef();
    return pHandler;
}

/// Null when there is no memory for it.
CLogFileInnerHandler* CLogFileHandlerList::HandlerOf(const WCHAR* sFileNameFormat)
{
    try
    {
        const CLogText sFormat = FullFormat(sFileNameFormat);
        const unsigned i = FindIf(
            [&](const _LogFile& file) { return OCT::IsSameText<WCHAR>(file.m_sFormat, sFormat.c_str()); });
        if (i != kNotFound)
            return m_files[i].m_pHandler;
        auto pHandler = std::make_unique<CLogFileInnerHandler>(sFormat.c_str());
        m_files.Add({pHandler->Format().c_str(), pHandler.get()});
        pHandler->m_pNextMade = m_pLastMade;
        return m_pLastMade = pHandler.release();
    }
    catch (...)
    {
        return nullptr;
    }
}

void CLogFileHandlerList::ReleaseHandler(CLogFileInnerHandler* pHandler)
{
    {
        const OCT::CCritSectGuard guard(&m_lock);
        // A handler that was released before stays at zero.
        const unsigned i = FindIf([=](const _LogFile& file) { return file.m_pHandler == pHandler; });
        if (i == kNotFound || pHandler->ChangeReferences(-1) > 0)
            return;
        m_files.RemoveAt(i);
    }
    // StopAll has stopped those that are released at the library's end.
    if (pHandler->BeginStop())
        pHandler->FinishStop(GetTickCount() + kStopMs, false);
}

/// Handlers are never freed, so what was made up to now can be walked without the lock, and without memory.
CLogFileInnerHandler* CLogFileHandlerList::LastMade() const
{
    const OCT::CCritSectGuard guard(&m_lock);
    return m_pLastMade;
}

bool CLogFileHandlerList::Flush(DWORD dwMilliseconds, bool bOneTry)
{
    const DWORD dwStart = GetTickCount();
    CLogFileInnerHandler* const pLast = LastMade();
    for (auto* p = pLast; p != nullptr; p = p->m_pNextMade)
        p->Wake();
    bool bDone = true;
    for (auto* p = pLast; p != nullptr; p = p->m_pNextMade)
    {
        if (p->IsStopped()) // who releases it sees to its lines
            continue;
        const DWORD dwPassed = GetTickCount() - dwStart;
        const DWORD dwLeft = dwMilliseconds == INFINITE  ? INFINITE
                             : dwPassed < dwMilliseconds ? dwMilliseconds - dwPassed
                                                         : 0;
        bDone &= bOneTry ? p->WaitUntilDone(dwLeft, true) : p->Flush(dwLeft);
    }
    return bDone;
}

void CLogFileHandlerList::StopAll()
{
    // All that there ever were: another thread may just be releasing one.
    CLogFileInnerHandler* pLast;
    {
        const OCT::CCritSectGuard guard(&m_lock);
        m_bUnloading = true;
        pLast = m_pLastMade;
    }
    const DWORD dwEndTick = GetTickCount() + kStopMs;
    for (auto* p = pLast; p != nullptr; p = p->m_pNextMade)
        p->BeginStop();
    for (auto* p = pLast; p != nullptr; p = p->m_pNextMade)
        p->FinishStop(dwEndTick, true);
}

CLogLoss CLogFileHandlerList::Lost() const
{
    CLogLoss lost;
    for (const auto* p = LastMade(); p != nullptr; p = p->m_pNextMade)
        lost.Add(p->Lost());
    return lost;
}
