#include "log/loghandler.h"

#include "log/logfilename.h"
#include "log/loglist.h"
#include "log/logloss.h"
#include "log/logmessage.h"
#include "log/writername.h"
#include "orvcomtypes/octassert.h"
#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/orvlog.h"
#include "orvcomtypes/orvstr.h"
#include "orvcomtypes/smartcls.h"

#include <windows.h>
#include <process.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

namespace
{

// After a flush the thread stays awake for a moment: what comes meanwhile is written together, and callers
// need not wake it.
constexpr DWORD kStayAwakeMs = 2;
constexpr DWORD kRetryMs = 1000;
constexpr DWORD kStopMs = 1000;
constexpr DWORD kRoomMs = 1000;
constexpr DWORD kHangsMs = 500;
constexpr DWORD kLookMs = 100;
// What a thread needs to leave the library's code when its work is done, also on a busy machine: where it
// cannot be ended by force, the code must not go away under it.
constexpr DWORD kLeaveMs = 100;

/// Milliseconds until a tick, none when it has passed.
DWORD TimeUntil(DWORD dwTick)
{
    const auto nLeft = static_cast<std::int32_t>(dwTick - GetTickCount());
    return nLeft > 0 ? static_cast<DWORD>(nLeft) : 0;
}

/// The line, or null when there is no memory for it.
CLogMessage* NewMessage(const char* sText, unsigned nLength)
{
    CLogMessage* pMessage = CLogMessage::Create(sText, nLength);
    if (pMessage == nullptr)
    {
        OutputDebugStringA("Cannot allocate log line: ");
        OutputDebugStringA(sText);
    }
    return pMessage;
}

void CloseIfOpen(HANDLE& h)
{
    if (h != nullptr)
        CloseHandle(h);
    h = nullptr;
}

} // namespace

ILogFileHandler::~ILogFileHandler() = default;

// ---- The thread ----

CLogFileInnerHandler::CRun::CRun(CLogFileInnerHandler& handler)
    : m_handler(handler), m_writer(handler.m_sFormat, handler.m_options)
{
}

/// Null when there is no memory for it.
CLogFileInnerHandler::CRun* CLogFileInnerHandler::CRun::Create(CLogFileInnerHandler& handler) noexcept
{
    try
    {
        return new CRun(handler);
    }
    catch (...)
    {
        return nullptr;
    }
}

CLogFileInnerHandler::CRun::~CRun()
{
    CloseIfOpen(m_hThread);
    CloseIfOpen(m_hFinished);
    CloseIfOpen(m_WrtEvent);
}

bool CLogFileInnerHandler::CRun::StartThread()
{
    if (m_WrtEvent == nullptr)
        m_WrtEvent = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    if (m_hFinished == nullptr)
        m_hFinished = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    if (m_WrtEvent == nullptr || m_hFinished == nullptr)
    {
        OutputDebugStringW(ORVTEXT("Log creation error: Cannot create m_WrtEvent event\n"));
        return false;
    }
    if (const auto fnStarts = g_fnLogThreadStarts.load(std::memory_order_acquire))
        fnStarts();
    m_hThread = reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, ThreadMain, this, 0, nullptr));
    if (m_hThread == nullptr)
        OutputDebugStringW(ORVTEXT("Log creation error: Cannot create log monitor thread\n"));
    return m_hThread != nullptr;
}

unsigned ORVCALL CLogFileInnerHandler::ThreadMain(void* pRun)
{
    auto& run = *static_cast<CRun*>(pRun);
    run.m_bBegun = true;
    {
        const CWriterName name;
        run.m_handler.Serve(run);
    }
    SetEvent(run.m_hFinished);
    return 0;
}

void CLogFileInnerHandler::Serve(CRun& run)
{
    DWORD dwWait = INFINITE;
    for (;;)
    {
        WaitForSingleObject(run.m_WrtEvent, dwWait);
        if (!run.TryTakeTurn())
            return;
        const bool bWritten = DoRound(run);
        dwWait = !bWritten ? kRetryMs : run.m_batch.m_bIdle ? INFINITE : kStayAwakeMs;
        if (run.m_batch.m_bStop)
            return run.m_writer.File().Close();
        run.GiveTurnBack();
    }
}

/// False when lines are left that could not be written. Nothing escapes.
bool CLogFileInnerHandler::DoRound(CRun& run)
{
    Take(run.m_batch);
    if (run.m_batch.m_bIdle)
    {
        PutBack(run.m_batch, {}, true);
        return true;
    }
    CLogLoss lost;
    bool bWritten = false;
    try
    {
        bWritten = run.m_writer.Flush(run.m_batch.m_lines, run.m_batch.m_untold, lost);
    }
    catch (...)
    {
        OutputDebugStringW(ORVTEXT("Could not write to logfile\n"));
    }
    PutBack(run.m_batch, lost, bWritten);
    return bWritten;
}

/// Moves what came without the lock into the queue; until then its bytes count there, so they are never
/// counted too low. \p bClose: from now on lines come through the lock.
void CLogFileInnerHandler::Gather(bool bClose)
{
    const std::uint64_t nLines = m_queue.Lines();
    const std::uint64_t nBytes = m_queue.Bytes();
    m_queue.AppendNewestFirst(m_inbox.TakeAll(bClose));
    m_nQueued += m_queue.Lines() - nLines;
    SetWaiting();
    m_inbox.Leave(m_queue.Bytes() - nBytes);
}

/// Takes the whole queue. The stop flag is read with it, so nothing can come after the last batch. With
/// nothing to take the thread goes to sleep and must be woken.
void CLogFileInnerHandler::Take(CBatch& batch)
{
    const OCT::CCritSectGuard guard(&m_lock);
    Gather(false);
    if (m_queue.IsEmpty() && m_untold.m_nLines == 0)
        Gather(true);
    batch.m_lines.Append(m_queue);
    batch.m_untold.Add(std::exchange(m_untold, {}));
    batch.m_nTicket = m_nQueued;
    batch.m_bIdle = batch.m_lines.IsEmpty() && batch.m_untold.m_nLines == 0;
    batch.m_bStop = m_bStop;
    m_nBytesInRound = batch.m_lines.Bytes();
    m_nLinesInRound = batch.m_lines.Lines();
    m_dwRoundTick = GetTickCount();
}

void CLogFileInnerHandler::PutBack(CBatch& batch, const CLogLoss& lost, bool bWritten)
{
    CLogQueue surplus;
    const OCT::CCritSectGuard guard(&m_lock);
    if (m_bGivenUp)
        return;
    m_nBytesInRound = m_nLinesInRound = 0;
    const bool bCameBack = !batch.m_lines.IsEmpty();
    m_queue.Prepend(batch.m_lines);
    if (bCameBack) // what was queued meanwhile had been told that there is room
    {
        Gather(false);
        MakeRoom(0, surplus);
    }
    m_untold.Add(std::exchange(batch.m_untold, {}));
    m_untold.Add(lost);
    m_lost.Add(lost);
    if (bWritten)
        m_nDone = batch.m_nTicket;
    m_bFailing = !bWritten;
    m_bHangs = false;
    SetWaiting();
    SignalDone(batch.m_nTicket);
}

/// Tells those whose lines are done; the event of a done event's caller only then, others also after a try.
void CLogFileInnerHandler::SignalDone(std::uint64_t nTried)
{
    if (m_hPendingDone != nullptr && m_nPendingDone <= m_nDone)
        SetEvent(std::exchange(m_hPendingDone, nullptr));
    for (CFlushWaiter* p = m_pWaiters; p != nullptr; p = p->m_pNext)
        if (p->m_nTicket <= m_nDone || (p->m_bOneTry && p->m_nTicket <= nTried))
            SetEvent(p->m_hEvent);
}

// ---- Callers ----

CLogFileInnerHandler::CLogFileInnerHandler(const WCHAR* sFileNameFormat)
    : m_sFormat(sFileNameFormat != nullptr ? sFileNameFormat : ORVTEXT(""))
{
    if (m_sFormat.empty())
    {
        ORV_REPORT_FROM("orvlog", "CLogFileInnerHandler::CLogFileInnerHandler", "STRISEMPTY(sFileNameFormat)",
                        0);
        m_bStop = true;
        return;
    }
    const OCT::CCritSectGuard guard(&m_lock);
    EnsureThread();
}

CLogFileInnerHandler::~CLogFileInnerHandler()
{
    if (BeginStop())
        FinishStop(GetTickCount() + kStopMs, false);
}

/// Without a thread tries to have one, once in a while.
void CLogFileInnerHandler::EnsureThread()
{
    if (m_pRun != nullptr && m_pRun->m_hThread != nullptr)
        return;
    const DWORD dwNow = GetTickCount();
    if (m_dwLastStart != 0 && dwNow - m_dwLastStart < kRetryMs)
        return;
    m_dwLastStart = dwNow | 1;
    if (m_pRun == nullptr)
        m_pRun = CRun::Create(*this);
    if (m_pRun != nullptr)
        m_pRun->StartThread();
}

/// What the process that forked this one had queued is written there.
void CLogFileInnerHandler::BeginAnewInChild()
{
    if (m_dwProcessId == GetCurrentProcessId())
        return;
    m_dwProcessId = GetCurrentProcessId();
    Gather(true);
    m_inbox.ForgetBytes();
    m_queue.Clear();
    m_nBytesInRound = m_nLinesInRound = 0;
    m_nWaiting = 0;
    m_bFailing = m_bHangs = false;
    m_untold = m_lost = {};
    m_nLostAtFlush = 0;
    m_hPendingDone = nullptr;
    while (m_pWaiters != nullptr)
        delete std::exchange(m_pWaiters, m_pWaiters->m_pNext);
    m_nDone = m_nQueued;
    m_pRun = nullptr;
    m_dwLastStart = 0;
    m_bFinishing = false;
}

void CLogFileInnerHandler::Write(const char* text, unsigned length, HANDLE doneEvent)
{
    if (m_bStop.load(std::memory_order_relaxed))
        return;
    if (text == nullptr)
        length = 0;
    else if (length == 0)
        length = static_cast<unsigned>(std::strlen(text));
    CLogMessage* pMessage = length > 0 ? NewMessage(text, length) : nullptr;
    if (pMessage != nullptr && doneEvent == nullptr && Bring(pMessage))
        return;
    const bool bRoom = WaitForRoom(length);
    CLogQueue refused;
    bool bSignalNow;
    {
        const OCT::CCritSectGuard guard(&m_lock);
        BeginAnewInChild();
        if (m_bStop)
        {
            if (pMessage != nullptr)
                refused.Push(pMessage);
            return;
        }
        EnsureThread();
        Gather(false);
        if (pMessage != nullptr)
            Accept(pMessage, bRoom, refused);
        else if (length > 0)
            Lose(1, length);
        bSignalNow = doneEvent != nullptr && !SetDone(doneEvent);
        if (!m_inbox.IsOpen() || doneEvent != nullptr)
            WakeThread();
    }
    if (bSignalNow)
        SetEvent(doneEvent);
}

/// The usual way of a line: the thread is awake, and there is room. False when it is not so.
bool CLogFileInnerHandler::Bring(CLogMessage* pMessage)
{
    const std::uint64_t nMax = m_options.m_nMaxWaiting.load(std::memory_order_relaxed);
    const std::uint64_t nWaiting = m_nWaiting.load(std::memory_order_relaxed);
    if (nWaiting >= nMax)
        return false;
    const auto ePush = m_inbox.Push(pMessage, nMax - nWaiting);
    if (ePush == CLogInbox::EPush::TakenAndMany)
    {
        const OCT::CCritSectGuard guard(&m_lock);
        Gather(false);
    }
    return ePush != CLogInbox::EPush::Refused;
}

/// Lines come faster than a disk that works takes them: who brings more waits for it a while. Where writing
/// fails or hangs nobody waits. True when there is room.
bool CLogFileInnerHandler::WaitForRoom(std::uint64_t nBytes)
{
    const std::uint64_t nMax = m_options.m_nMaxWaiting.load(std::memory_order_relaxed);
    const auto HasRoom = [&] {
        return m_nWaiting.load(std::memory_order_relaxed) + m_inbox.Bytes() + nBytes <= nMax;
    };
    if (nBytes > nMax || HasRoom())
        return nBytes <= nMax;
    const DWORD dwEndTick = GetTickCount() + kRoomMs;
    for (DWORD dwLeft = kRoomMs; dwLeft > 0 && !m_bFailing && !m_bStop && WaitUntilDone(dwLeft, true);
         dwLeft = TimeUntil(dwEndTick))
        if (HasRoom()) // asked once: the next look may find it taken by another
            return true;
    return HasRoom();
}

void CLogFileInnerHandler::WakeThread()
{
    if (m_pRun == nullptr || m_pRun->m_WrtEvent == nullptr)
        return;
    SetEvent(m_pRun->m_WrtEvent);
    if (m_pRun->m_hThread != nullptr && !m_bStop)
        m_inbox.Open();
}

/// False when another event is pending.
bool CLogFileInnerHandler::SetDone(HANDLE doneEvent)
{
    if (m_hPendingDone != nullptr)
        return false;
    m_hPendingDone = doneEvent;
    m_nPendingDone = m_nQueued;
    return true;
}

/// Queues the line if there is room for it, or if it is an error for which others make room. Who was told
/// that there is room gets it: the limit is exceeded by a line of each such caller at most.
void CLogFileInnerHandler::Accept(CLogMessage* pMessage, bool bRoom, CLogQueue& refused)
{
    const std::uint64_t nMax = m_options.m_nMaxWaiting.load(std::memory_order_relaxed);
    const std::uint64_t nBytes = pMessage->Length();
    const bool bIsWorthOthers = pMessage->IsError() && nBytes <= nMax;
    if (!bRoom && Waiting() + nBytes > nMax && !(bIsWorthOthers && MakeRoom(nBytes, refused)))
    {
        Lose(1, nBytes);
        refused.Push(pMessage);
        return;
    }
    m_queue.Push(pMessage);
    ++m_nQueued;
    SetWaiting();
}

/// In the queue. What a round has taken cannot make room; it does when it comes back.
bool CLogFileInnerHandler::MakeRoom(std::uint64_t nBytes, CLogQueue& refused)
{
    const std::uint64_t nMax = m_options.m_nMaxWaiting.load(std::memory_order_relaxed);
    while (m_queue.Bytes() + nBytes > nMax)
    {
        CLogMessage* pOther = m_queue.TakeOther();
        if (pOther == nullptr)
            return false;
        Lose(1, pOther->Length());
        refused.Push(pOther);
    }
    return true;
}

void CLogFileInnerHandler::Lose(std::uint64_t nLines, std::uint64_t nBytes)
{
    CLogLoss loss;
    loss.Add(nLines, nBytes, g_pfnLogTime());
    m_untold.Add(loss);
    m_lost.Add(loss);
}

void CLogFileInnerHandler::CountAsLost(std::uint64_t nBytes)
{
    const OCT::CCritSectGuard guard(&m_lock);
    BeginAnewInChild();
    Lose(1, nBytes);
}

CLogLoss CLogFileInnerHandler::Lost() const
{
    const OCT::CCritSectGuard guard(&m_lock);
    return m_lost;
}

void CLogFileInnerHandler::Wake()
{
    const OCT::CCritSectGuard guard(&m_lock);
    BeginAnewInChild();
    if (!m_bStop)
        WakeThread();
}

bool CLogFileInnerHandler::Flush(DWORD dwMilliseconds)
{
    const bool bDone = WaitUntilDone(dwMilliseconds, false);
    const OCT::CCritSectGuard guard(&m_lock);
    return std::exchange(m_nLostAtFlush, m_lost.m_nLines) == m_lost.m_nLines && bDone;
}

/// Waits for a round's event as long as there is somebody to signal it: the end of a process on Windows ends
/// threads by force. False when the time is over.
bool CLogFileInnerHandler::Await(HANDLE hEvent, DWORD dwMilliseconds)
{
    const DWORD dwStart = GetTickCount();
    for (;;)
    {
        const DWORD dwPassed = GetTickCount() - dwStart;
        const DWORD dwLeft = dwMilliseconds == INFINITE  ? kLookMs
                             : dwPassed < dwMilliseconds ? dwMilliseconds - dwPassed
                                                         : 0;
        if (WaitForSingleObject(hEvent, (std::min)(dwLeft, kLookMs)) != WAIT_TIMEOUT)
            return true;
        if (dwLeft == 0)
            return false;
        const OCT::CCritSectGuard guard(&m_lock);
        if (!HasThread())
            return true;
    }
}

bool CLogFileInnerHandler::HasThread() const
{
    return m_pRun != nullptr && m_pRun->m_hThread != nullptr &&
           WaitForSingleObject(m_pRun->m_hThread, 0) == WAIT_TIMEOUT;
}

/// The waiter lies on the heap: the end of a process on Windows frees the stacks of the threads that it ends.
bool CLogFileInnerHandler::WaitUntilDone(DWORD dwMilliseconds, bool bOneTry)
{
    std::unique_ptr<CFlushWaiter> pWaiter;
    {
        const OCT::CCritSectGuard guard(&m_lock);
        BeginAnewInChild();
        Gather(false);
        if (m_nDone >= m_nQueued)
            return true;
        if (!m_bStop)
            EnsureThread();
        if (!HasThread() || (bOneTry && m_bHangs))
            return false;
        pWaiter.reset(new (std::nothrow) CFlushWaiter{CreateEventW(nullptr, TRUE, FALSE, nullptr), m_nQueued,
                                                      bOneTry, m_pWaiters});
        if (pWaiter == nullptr || pWaiter->m_hEvent == nullptr)
            return false;
        m_pWaiters = pWaiter.get();
        WakeThread();
    }
    const bool bInVain = !Await(pWaiter->m_hEvent, dwMilliseconds);
    bool bDone;
    {
        const OCT::CCritSectGuard guard(&m_lock);
        // A round that has only just begun does not hang.
        if (bInVain && bOneTry && m_nLinesInRound > 0 && GetTickCount() - m_dwRoundTick >= kHangsMs)
            m_bHangs = true;
        CFlushWaiter** pp = &m_pWaiters;
        while (*pp != nullptr && *pp != pWaiter.get())
            pp = &(*pp)->m_pNext;
        if (*pp != nullptr)
            *pp = pWaiter->m_pNext;
        bDone = m_nDone >= pWaiter->m_nTicket;
    }
    CloseHandle(pWaiter->m_hEvent);
    return bDone;
}

void CLogFileInnerHandler::GetFileName(COrvStr& name)
{
    try
    {
        CLogText sName;
        {
            const OCT::CCritSectGuard guard(&m_lock);
            if (m_pRun != nullptr)
                sName = m_pRun->m_writer.File().Name();
        }
        name = sName.c_str();
    }
    catch (...) // no memory
    {
        name.Clear();
    }
}

void CLogFileInnerHandler::AddRef()
{
    InterlockedIncrement(&m_nReferences);
}

void CLogFileInnerHandler::Release()
{
    CLogFileHandlerList::Instance().ReleaseHandler(this);
}

// ---- The end ----

bool CLogFileInnerHandler::BeginStop()
{
    const OCT::CCritSectGuard guard(&m_lock);
    BeginAnewInChild();
    if (m_bStop.exchange(true))
        return false;
    Gather(true);
    if (m_pRun == nullptr && !m_queue.IsEmpty())
        m_pRun = CRun::Create(*this);
    WakeThread();
    return true;
}

void CLogFileInnerHandler::FinishStop(DWORD dwEndTick, bool bUnloading)
{
    CRun* pRun;
    bool bByAnother;
    {
        const OCT::CCritSectGuard guard(&m_lock);
        pRun = std::exchange(m_pRun, nullptr);
        bByAnother = std::exchange(m_bFinishing, true);
    }
    if (bByAnother)
    {
        while (!m_bFinished && TimeUntil(dwEndTick) > 0)
            Sleep(1);
        return;
    }
    if (pRun != nullptr)
    {
        if (pRun->TakeLastTurn(dwEndTick, bUnloading))
        {
            // What the thread did not come to, because it was never there or ended before its time.
            DoRound(*pRun);
            pRun->m_writer.File().Close();
        }
        else
        {
            DrainBehind(*pRun);
            pRun->m_writer.Stop();
        }
        pRun->AwaitEnd(bUnloading);
    }
    GiveUp(); // before a thread is ended by force, maybe with the lock
    m_bHeldUp = pRun != nullptr && !pRun->EndThread();
    if (!m_bHeldUp)
        delete pRun;
    m_bFinished = true;
}

/// Waits until nobody else can write any more; false when the thread is held up in its turn.
bool CLogFileInnerHandler::CRun::TakeLastTurn(DWORD dwEndTick, bool bUnloading)
{
    if (m_hThread == nullptr)
        return true;
    // While the library is unloaded a thread that has not begun cannot.
    if (bUnloading && !m_bBegun && TryTakeTurn())
        return true;
    const HANDLE handles[] = {m_hThread, m_hFinished};
    const DWORD dwResult = WaitForMultipleObjects(2, handles, FALSE, TimeUntil(dwEndTick));
    return dwResult == WAIT_OBJECT_0 || dwResult == WAIT_OBJECT_0 + 1 || TryTakeTurn();
}

void CLogFileInnerHandler::CRun::AwaitEnd(bool bUnloading)
{
    if (m_hThread == nullptr)
        return;
    SetEvent(m_WrtEvent);
    if (m_bBegun || bUnloading)
        WaitForSingleObject(m_hThread, bUnloading ? kLeaveMs : kStopMs);
}

/// False when the thread may still use its state.
bool CLogFileInnerHandler::CRun::EndThread()
{
    if (m_hThread == nullptr)
        return true;
    DWORD dwExitCode = STILL_ACTIVE;
    if (GetExitCodeThread(m_hThread, &dwExitCode) && dwExitCode != STILL_ACTIVE)
        return true;
    TerminateThread(m_hThread, 1);
    WaitForSingleObject(m_hThread, kLeaveMs); // it is not gone at once
    // Who has said that it is done was only held up on its way out, by the loader.
    return WaitForSingleObject(m_hFinished, 0) == WAIT_OBJECT_0;
}

/// The thread did not end in time. When all it waits for is the disk, what was queued meanwhile is written
/// here, behind what it wrote, and not waited for.
void CLogFileInnerHandler::DrainBehind(const CRun& run)
{
    if (!run.m_writer.IsFlushing())
        return;
    CLogQueue lines;
    CLogLoss untold;
    CLogLoss lost;
    {
        const OCT::CCritSectGuard guard(&m_lock);
        lines.Append(m_queue);
        untold = std::exchange(m_untold, {});
    }
    try
    {
        CLogWriter writer(run.m_writer.File().Name(), m_options);
        writer.Drain(lines, untold, lost);
    }
    catch (...)
    {
        OutputDebugStringW(ORVTEXT("Could not write to logfile\n"));
    }
    const OCT::CCritSectGuard guard(&m_lock);
    m_queue.Prepend(lines);
    m_untold.Add(untold);
    m_untold.Add(lost);
    m_lost.Add(lost);
}

/// What has not been written by now never will be.
void CLogFileInnerHandler::GiveUp()
{
    const OCT::CCritSectGuard guard(&m_lock);
    if (!m_queue.IsEmpty() || m_nLinesInRound > 0)
        Lose(m_queue.Lines() + m_nLinesInRound, Waiting());
    m_queue.Clear();
    m_bGivenUp = true;
    m_nBytesInRound = m_nLinesInRound = 0;
    m_nWaiting = 0;
    m_nDone = m_nQueued;
    SignalDone(m_nQueued);
}
