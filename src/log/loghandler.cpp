#include "log/loghandler.h"

#include "core/lifecycle.h"
#include "core/neverdestroyed.h"
#include "errors/lqraise.h"
#include "orvcomtypes/threadname.h"
#include "strings/charclass.h"

#include <process.h>

#include <cstring>
#include <memory>
#include <new>
#include <utility>

namespace
{

constexpr const char* kSource = "orvlog";

// After a flush the thread stays awake for a moment: what comes meanwhile is written together, and callers
// need not wake it.
constexpr DWORD kStayAwakeMs = 2;
constexpr DWORD kRetryMs = 1000;
constexpr DWORD kStopMs = 1000;
// What a thread needs to leave the library's code when its work is done, also on a busy machine: where it
// cannot be ended by force, the code must not go away under it.
constexpr DWORD kLeaveMs = 100;

bool IsEmptyText(const WCHAR* s)
{
    return s == nullptr || *s == 0;
}

/// The line, or null when there is no memory for it.
CLogMessage* NewMessage(const char* sText, unsigned nLength) noexcept
{
    // What is thrown here is not announced: that would log it, and hold up the caller.
    const OCT::CThrowScope scope;
    try
    {
        return CLogMessage::Create(sText, nLength);
    }
    catch (...)
    {
        OutputDebugStringA("Cannot allocate log line: ");
        OutputDebugStringA(sText);
        return nullptr;
    }
}

CLogFileHandlerList& MakeList()
{
    g_TeardownHooks.m_fnReleaseProcessLogger.store(ReleaseLogsAtDetach, std::memory_order_release);
    static CNeverDestroyed<CLogFileHandlerList> s_list;
    return s_list.Get();
}

// Made at load, since a first use could coincide with a fork, and never destroyed.
CLogFileHandlerList& g_list = MakeList();

void CloseIfOpen(HANDLE& h)
{
    if (h != nullptr)
        CloseHandle(h);
    h = nullptr;
}

} // namespace

ILogFileHandler::~ILogFileHandler() = default;

CLogFileInnerHandler::CLogFileInnerHandler(const WCHAR* sFileNameFormat) : m_sFormat(sFileNameFormat)
{
    if (IsEmptyText(sFileNameFormat))
    {
        ORV_REPORT_FROM(kSource, "CLogFileInnerHandler::CLogFileInnerHandler", "STRISEMPTY(sFileNameFormat)",
                        0);
        m_bStop = true;
        return;
    }
    const OCT::CCritSectGuard guard(&m_lock);
    Start();
}

CLogFileInnerHandler::~CLogFileInnerHandler()
{
    Stop(false);
}

/// Under the lock: gives the handler a thread. Without one it is inert.
void CLogFileInnerHandler::Start()
{
    auto* pRun = new (std::nothrow) CRun(m_sFormat);
    if (pRun == nullptr || !StartThread(*pRun))
    {
        delete pRun;
        m_bStop = true;
        return;
    }
    pRun->m_pFormer = m_pRun;
    m_pRun = pRun;
    m_bAsleep = true;
}

bool CLogFileInnerHandler::StartThread(CRun& run)
{
    run.m_pHandler = this;
    run.m_dwProcessId = GetCurrentProcessId();
    run.m_WrtEvent = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    run.m_hFinished = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    unsigned nThreadId = 0;
    if (run.m_WrtEvent == nullptr || run.m_hFinished == nullptr)
        OutputDebugStringW(ORVTEXT("Log creation error: Cannot create m_WrtEvent event\n"));
    else
    {
        run.m_hThread = reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, ThreadMain, &run, 0, &nThreadId));
        if (run.m_hThread == nullptr)
            OutputDebugStringW(ORVTEXT("Log creation error: Cannot create log monitor thread\n"));
    }
    if (run.m_hThread != nullptr)
        SetThreadName(nThreadId, "CLogFileInnerHandler.Logger");
    else
        CloseRun(run);
    return run.m_hThread != nullptr;
}

void CLogFileInnerHandler::CloseRun(CRun& run)
{
    CloseIfOpen(run.m_hThread);
    CloseIfOpen(run.m_hFinished);
    CloseIfOpen(run.m_WrtEvent);
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
    CLogQueue refused;
    HANDLE hSignalNow = nullptr;
    {
        const OCT::CCritSectGuard guard(&m_lock);
        if (!m_bStop && m_pRun->m_dwProcessId != GetCurrentProcessId())
        {
            m_queue.Clear();
            m_hPendingDone = nullptr;
            Start();
        }
        if (pMessage != nullptr)
            (m_bStop ? refused : m_queue).Push(pMessage);
        if (m_bStop)
            return;
        if (m_hPendingDone == nullptr)
            m_hPendingDone = doneEvent;
        else
            hSignalNow = doneEvent;
        if (m_bAsleep || doneEvent != nullptr)
            SetEvent(m_pRun->m_WrtEvent);
        m_bAsleep = false;
    }
    if (hSignalNow != nullptr)
        SetEvent(hSignalNow);
}

void CLogFileInnerHandler::GetFileName(COrvStr& name)
{
    const OCT::CCritSectGuard guard(&m_lock);
    name = m_pRun != nullptr ? m_pRun->m_writer.File().Name() : COrvStr();
}

void CLogFileInnerHandler::AddRef()
{
    InterlockedIncrement(&m_nReferences);
}

void CLogFileInnerHandler::Release()
{
    CLogFileHandlerList::Instance().ReleaseHandler(this);
}

unsigned ORVCALL CLogFileInnerHandler::ThreadMain(void* pRun)
{
    auto& run = *static_cast<CRun*>(pRun);
    run.m_pHandler->WriteQueued(run);
    SetEvent(run.m_hFinished);
    return 0;
}

void CLogFileInnerHandler::WriteQueued(CRun& run)
{
    DWORD dwWait = INFINITE;
    for (bool bStop = false; !bStop;)
    {
        WaitForSingleObject(run.m_WrtEvent, dwWait);
        const bool bFailing = run.m_writer.HasBacklog();
        CBatch batch = Take(bFailing);
        bStop = batch.m_bStop;
        const bool bAwake = bFailing || !batch.m_lines.IsEmpty();
        const bool bWritten = Flush(run.m_writer, batch);
        dwWait = !bWritten ? kRetryMs : bAwake ? kStayAwakeMs : INFINITE;
    }
    run.m_writer.File().Close();
}

/// The stop flag is read with the queue, so nothing can come after the last batch. With nothing to take the
/// thread goes to sleep and must be woken; while the file fails it looks again every second, whatever comes.
CLogFileInnerHandler::CBatch CLogFileInnerHandler::Take(bool bFailing)
{
    CBatch batch;
    const OCT::CCritSectGuard guard(&m_lock);
    m_bAsleep = m_queue.IsEmpty() && !bFailing;
    batch.m_lines.Append(m_queue);
    batch.m_hDone = std::exchange(m_hPendingDone, nullptr);
    batch.m_bStop = m_bStop;
    return batch;
}

/// False when lines are left that could not be written. Nothing escapes.
bool CLogFileInnerHandler::Flush(CLogWriter& writer, CBatch& batch)
{
    bool bWritten = true;
    try
    {
        if (!batch.m_lines.IsEmpty() || batch.m_hDone != nullptr || writer.HasBacklog())
            bWritten = writer.Flush(batch.m_lines);
    }
    catch (...)
    {
        OutputDebugStringW(ORVTEXT("Could not write to logfile\n"));
        bWritten = false;
    }
    if (batch.m_hDone != nullptr)
        SetEvent(batch.m_hDone);
    return bWritten;
}

void CLogFileInnerHandler::Stop(bool bUnloading)
{
    CRun* pRun;
    {
        const OCT::CCritSectGuard guard(&m_lock);
        if (m_bStop.exchange(true))
            return;
        m_sFormat.Clear(); // or what stays of the handler would keep a chain of the pool
        // The thread of another process, from which this one was forked, does its own work there.
        if (m_pRun->m_dwProcessId != GetCurrentProcessId())
            return;
        pRun = std::exchange(m_pRun, nullptr);
        SetEvent(pRun->m_WrtEvent);
    }
    if (!WaitForEnd(*pRun, bUnloading))
        return WriteBehind(*pRun);
    // The end of a process on Windows kills the thread before it could write everything.
    CBatch batch = Take(false);
    Flush(pRun->m_writer, batch);
    CloseRun(*pRun);
    delete pRun;
}

/// The thread did not end in time. When all it waits for is the disk, what was queued meanwhile is written
/// here, behind what it wrote, and not waited for.
void CLogFileInnerHandler::WriteBehind(const CRun& run)
{
    if (!run.m_writer.IsFlushing())
        return;
    try
    {
        CLogWriter writer(run.m_writer.File().Name());
        CBatch batch = Take(false);
        writer.Write(batch.m_lines);
        if (batch.m_hDone != nullptr)
            SetEvent(batch.m_hDone);
    }
    catch (...)
    {
        OutputDebugStringW(ORVTEXT("Could not write to logfile\n"));
    }
}

/// False when the thread may still use its state.
bool CLogFileInnerHandler::WaitForEnd(CRun& run, bool bUnloading)
{
    const HANDLE handles[] = {run.m_hThread, run.m_hFinished};
    const DWORD dwResult = WaitForMultipleObjects(2, handles, FALSE, kStopMs);
    const bool bFinished = dwResult != WAIT_TIMEOUT && dwResult != WAIT_FAILED;
    if (bFinished)
        WaitForSingleObject(run.m_hThread, bUnloading ? kLeaveMs : kStopMs);
    DWORD dwExitCode = STILL_ACTIVE;
    if (!GetExitCodeThread(run.m_hThread, &dwExitCode) || dwExitCode == STILL_ACTIVE)
        TerminateThread(run.m_hThread, 1);
    return bFinished;
}

CLogFileHandlerList& CLogFileHandlerList::Instance()
{
    return g_list;
}

unsigned CLogFileHandlerList::Find(const WCHAR* sFileNameFormat) const
{
    for (unsigned i = 0; i < m_files.GetSize(); ++i)
        if (OCT::IsSameText<WCHAR>(m_files[i].m_sFormat, sFileNameFormat))
            return i;
    return kNotFound;
}

unsigned CLogFileHandlerList::Find(const CLogFileInnerHandler* pHandler) const
{
    for (unsigned i = 0; i < m_files.GetSize(); ++i)
        if (m_files[i].m_pHandler == pHandler)
            return i;
    return kNotFound;
}

ILogFileHandler* CLogFileHandlerList::AddFileHandler(const WCHAR* sFileNameFormat)
{
    const OCT::CCritSectGuard guard(&m_lock);
    CLogFileInnerHandler* pHandler = nullptr;
    if (!IsEmptyText(sFileNameFormat))
    {
        const unsigned i = Find(sFileNameFormat);
        pHandler = i != kNotFound ? m_files[i].m_pHandler : MakeHandler(sFileNameFormat);
    }
    if (pHandler == nullptr)
    {
        ORV_REPORT_FROM(kSource, "CLogFileHandlerList::AddFileHandler",
                        "STRNOTEMPTY(sFileNameFormat) && pHandler != nullptr", 0);
        return nullptr;
    }
    pHandler->AddRef();
    return pHandler;
}

/// Null when there is no memory for it.
CLogFileInnerHandler* CLogFileHandlerList::MakeHandler(const WCHAR* sFileNameFormat)
{
    try
    {
        auto pHandler = std::make_unique<CLogFileInnerHandler>(sFileNameFormat);
        m_files.Add({COrvStr(sFileNameFormat), pHandler.get()});
        return pHandler.release();
    }
    catch (...)
    {
        return nullptr;
    }
}

void CLogFileHandlerList::ReleaseHandler(CLogFileInnerHandler* pHandler)
{
    bool bUnloading;
    {
        const OCT::CCritSectGuard guard(&m_lock);
        // A handler that was released before stays at zero.
        const unsigned i = Find(pHandler);
        if (i == kNotFound || pHandler->ChangeReferences(-1) > 0)
            return;
        m_files.RemoveAt(i);
        bUnloading = m_bUnloading;
    }
    pHandler->Stop(bUnloading);
}

void CLogFileHandlerList::StopAll()
{
    const OCT::CCritSectGuard guard(&m_lock);
    m_bUnloading = true;
    for (const _LogFile& file : m_files)
        file.m_pHandler->Stop(true);
}
