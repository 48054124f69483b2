// One handler for each file-name format: the queue that callers fill and the thread that empties it.
//
// A handler is never freed: logs are copied without references, so a pointer to a released handler may still
// be used. What is left of it ignores every call. Its thread is stopped, its file closed and its buffer
// freed.
//
// A forked child has the handlers but not their threads, and the lines that were queued at that moment are
// written by the parent. The first line that the child writes gives the handler a new thread and an empty
// queue. The state that the former thread worked on is left alone: nobody knows where it stood.
#pragma once

#include "log/logwriter.h"
#include "orvcomtypes/memarray.h"
#include "orvcomtypes/orvlog.h"

class CLogFileInnerHandler : public ILogFileHandler
{
public:
    explicit CLogFileInnerHandler(const WCHAR* sFileNameFormat);
    CLogFileInnerHandler(const CLogFileInnerHandler&) = delete;
    CLogFileInnerHandler& operator=(const CLogFileInnerHandler&) = delete;
    ~CLogFileInnerHandler() override;

    void Write(const char* text, unsigned length, HANDLE doneEvent) override;
    void GetFileName(COrvStr& name) override;
    void AddRef() override;
    void Release() override;

    /// Writes what is queued and ends the thread. While the library is being unloaded a thread cannot end
    /// wholly, so it is not waited for when its work is done.
    void Stop(bool bUnloading);

    /// Changed under the list's lock; the new count.
    LONG ChangeReferences(LONG nDelta) { return InterlockedExchangeAdd(&m_nReferences, nDelta) + nDelta; }

private:
    /// A thread and what it works with.
    struct CRun
    {
        explicit CRun(const COrvStr& sFormat) : m_writer(sFormat) {}

        CLogFileInnerHandler* m_pHandler = nullptr;
        CLogWriter m_writer;
        HANDLE m_WrtEvent = nullptr;  ///< lines are there, or the thread is to end; auto-reset
        HANDLE m_hFinished = nullptr; ///< the thread has done its work; manual-reset
        HANDLE m_hThread = nullptr;
        DWORD m_dwProcessId = 0;
        CRun* m_pFormer = nullptr; ///< of the process that forked this one
    };

    /// What the thread takes from the callers at once.
    struct CBatch
    {
        CLogQueue m_lines;
        HANDLE m_hDone = nullptr;
        bool m_bStop = false;
    };

    void Start();
    bool StartThread(CRun& run);
    static unsigned ORVCALL ThreadMain(void* pRun);
    void WriteQueued(CRun& run);
    CBatch Take(bool bFailing);
    bool Flush(CLogWriter& writer, CBatch& batch);
    bool WaitForEnd(CRun& run, bool bUnloading);
    void WriteBehind(const CRun& run);
    static void CloseRun(CRun& run);

    OCT::CCritSect m_lock; ///< guards the queue and what follows
    CLogQueue m_queue;
    HANDLE m_hPendingDone = nullptr;
    bool m_bAsleep = true; ///< the thread waits without end, so it must be woken
    CRun* m_pRun = nullptr;
    std::atomic<bool> m_bStop = false;
    LONG volatile m_nReferences = 0;
    COrvStr m_sFormat; ///< empty when the handler has been stopped
};

class CLogFileHandlerList
{
public:
    /// The one list of the process; never destroyed.
    static CLogFileHandlerList& Instance();

    /// The handler for a format (its letters of either case), made when there is none, with a reference for
    /// the caller.
    ILogFileHandler* AddFileHandler(const WCHAR* sFileNameFormat);
    void ReleaseHandler(CLogFileInnerHandler* pHandler);
    /// Ends the threads of all handlers, which are then inert.
    void StopAll();

private:
    struct _LogFile
    {
        COrvStr m_sFormat;
        CLogFileInnerHandler* m_pHandler;
    };
    static constexpr unsigned kNotFound = ~0u;

    CLogFileInnerHandler* MakeHandler(const WCHAR* sFileNameFormat);
    unsigned Find(const WCHAR* sFileNameFormat) const;
    unsigned Find(const CLogFileInnerHandler* pHandler) const;

    OCT::CCritSect m_lock;
    CMarray<_LogFile, 4> m_files;
    bool m_bUnloading = false;
};

/// The library's end: all lines go to their files, and no thread stays in its code.
void ReleaseLogsAtDetach();
