// One handler for each file-name format: the queue that callers fill and the thread that empties it.
//
// A handler is never freed: logs are copied without references, so a pointer to a released handler may still
// be used. What is left of it ignores every call. Its thread is stopped, its file closed and its buffer
// freed. All handlers are freed together when the library is unloaded, but for those whose thread is held up
// by a disk: the system may still read what it was given.
//
// While the thread is awake a line comes by the inbox, without the lock; all that is not as usual goes
// through the lock, and who has the lock moves what came by the inbox into the queue first, so that lines
// stay in order. Lines stay in the queue until they are written, so that what waits is bounded in one place.
// The thread works in rounds; whoever has the turn may write: the thread, or, at the end, who stops it.
// Outside of its turn the thread does nothing but wait for events, so it can be ended there without harm.
//
// A forked child has the handlers but not their threads, and the lines that were queued at that moment are
// written by the parent. The first line that the child writes gives the handler a new thread and an empty
// queue. The state that the former thread worked on is left alone: nobody knows where it stood.
#pragma once

#include "core/ownlock.h"
#include "log/logfile.h"
#include "log/logfilename.h"
#include "log/loginbox.h"
#include "log/logloss.h"
#include "log/logmessage.h"
#include "log/logqueue.h"
#include "log/logwriter.h"
#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/orvlog.h"
#include "orvcomtypes/orvstr.h"

#include <windows.h>

#include <atomic>
#include <cstdint>

class CLogFileInnerHandler : public ILogFileHandler
{
public:
    explicit CLogFileInnerHandler(const WCHAR* sFileNameFormat);
    CLogFileInnerHandler(const CLogFileInnerHandler&) = delete;
    CLogFileInnerHandler& operator=(const CLogFileInnerHandler&) = delete;
    ~CLogFileInnerHandler() override;

    /// Queues the text; the thread writes it.
    void Write(const char* text, unsigned length, HANDLE doneEvent) override;
    void GetFileName(COrvStr& name) override;
    void AddRef() override;
    void Release() override;

    /// Waits until everything queued so far is on the disk. False when that did not happen in time, or when
    /// lines were lost since the last call.
    bool Flush(DWORD dwMilliseconds);
    /// Waits until everything queued so far is on the disk or given up; true then. With \p bOneTry not longer
    /// than the next round takes, and not at all when another such call has waited in vain for the one that
    /// is under way.
    bool WaitUntilDone(DWORD dwMilliseconds, bool bOneTry);
    /// A line for which there was no memory.
    void CountAsLost(std::uint64_t nBytes);
    /// Makes the thread write now.
    void Wake();

    /// Refuses lines from now on and makes the thread write what is queued; true the first time.
    bool BeginStop();
    /// After BeginStop: waits for the thread until the tick, writes what is left, and ends the thread. While
    /// the library is being unloaded a thread cannot end wholly, so it is not waited for when its work is
    /// done. Where another thread does that already: waits for it until the tick.
    void FinishStop(DWORD dwEndTick, bool bUnloading);

    CLogFileOptions& Options() { return m_options; }
    /// Lines and bytes that were lost so far.
    CLogLoss Lost() const;
    const CLogText& Format() const { return m_sFormat; }

    bool IsStopped() const { return m_bStop; }
    /// Whether a thread that could not be ended may still use it, after FinishStop.
    bool IsHeldUp() const { return m_bHeldUp; }
    CLogFileInnerHandler* m_pNextMade = nullptr; ///< the list's

    /// Changed under the list's lock; the new count.
    LONG ChangeReferences(LONG nDelta) { return InterlockedExchangeAdd(&m_nReferences, nDelta) + nDelta; }

private:
    /// What a round takes from the callers at once.
    struct CBatch
    {
        CLogQueue m_lines;
        CLogLoss m_untold;
        std::uint64_t m_nTicket = 0;
        bool m_bIdle = true; ///< nothing was there
        bool m_bStop = false;
    };

    /// A thread and what it works with.
    struct CRun
    {
        static CRun* Create(CLogFileInnerHandler& handler) noexcept;
        ~CRun();
        bool StartThread();
        /// The thread's turn; false when somebody else has taken it for good.
        bool TryTakeTurn() { return !m_bTurnTaken.exchange(true); }
        void GiveTurnBack() { m_bTurnTaken.store(false); }
        bool TakeLastTurn(DWORD dwEndTick, bool bUnloading);
        void AwaitEnd(bool bUnloading);
        bool EndThread();

        CLogFileInnerHandler& m_handler;
        CLogWriter m_writer;
        CBatch m_batch; ///< here, not on the stack: the end of a process on Windows may end the thread
        HANDLE m_WrtEvent = nullptr;  ///< lines are there, or the thread is to end; auto-reset
        HANDLE m_hFinished = nullptr; ///< the thread has done its work; manual-reset
        HANDLE m_hThread = nullptr;
        std::atomic<bool> m_bBegun = false;
        std::atomic<bool> m_bTurnTaken = false;

    private:
        explicit CRun(CLogFileInnerHandler& handler);
    };

    /// A call that waits for its lines.
    struct CFlushWaiter
    {
        HANDLE m_hEvent;
        std::uint64_t m_nTicket;
        bool m_bOneTry;
        CFlushWaiter* m_pNext;
    };

    static unsigned ORVCALL ThreadMain(void* pRun);
    void Serve(CRun& run);
    bool DoRound(CRun& run);
    void Take(CBatch& batch);
    void PutBack(CBatch& batch, const CLogLoss& lost, bool bWritten);
    void DrainBehind(const CRun& run);
    bool Bring(CLogMessage* pMessage);
    bool WaitForRoom(std::uint64_t nBytes);
    bool Await(HANDLE hEvent, DWORD dwMilliseconds);
    void GiveUp();

    // Under the lock:
    void Gather(bool bClose);
    void BeginAnewInChild();
    void EnsureThread();
    bool HasThread() const;
    void Accept(CLogMessage* pMessage, bool bRoom, CLogQueue& refused);
    bool MakeRoom(std::uint64_t nBytes, CLogQueue& refused);
    void Lose(std::uint64_t nLines, std::uint64_t nBytes);
    bool SetDone(HANDLE doneEvent);
    void SignalDone(std::uint64_t nTried);
    void WakeThread();
    void SetWaiting() { m_nWaiting.store(Waiting(), std::memory_order_relaxed); }
    std::uint64_t Waiting() const { return m_queue.Bytes() + m_nBytesInRound; }

    CLogFileOptions m_options;
    CLogInbox m_inbox;            ///< open while the thread is awake
    mutable OCT::COwnLock m_lock; ///< guards the queue and what follows
    CLogQueue m_queue;
    CLogLoss m_untold;                ///< lost, and not yet told in the file
    CLogLoss m_lost;                  ///< all that was lost
    std::uint64_t m_nLostAtFlush = 0; ///< lines, when Flush was last called
    std::uint64_t m_nBytesInRound = 0;
    std::uint64_t m_nLinesInRound = 0;
    DWORD m_dwRoundTick = 0;                     ///< when it began
    DWORD m_dwProcessId = GetCurrentProcessId(); ///< whose lines these are, and whose thread
    std::uint64_t m_nQueued = 0; ///< lines so far, but for the inbox; the number of the last one
    std::uint64_t m_nDone = 0;   ///< up to this number all are on the disk or given up
    HANDLE m_hPendingDone = nullptr;
    std::uint64_t m_nPendingDone = 0; ///< the line after which the event is signalled
    CFlushWaiter* m_pWaiters = nullptr;
    bool m_bHangs = false;   ///< somebody has waited in vain for the round that is under way
    DWORD m_dwLastStart = 0; ///< tick of the last try to start the thread
    CRun* m_pRun = nullptr;
    std::atomic<std::uint64_t> m_nWaiting = 0; ///< Waiting(), for a look without the lock
    std::atomic<bool> m_bFailing = false;      ///< the last round left lines
    std::atomic<bool> m_bStop = false;
    bool m_bHeldUp = false;
    bool m_bFinishing = false; ///< somebody is in FinishStop, or was
    bool m_bGivenUp = false;   ///< what was left is counted
    std::atomic<bool> m_bFinished = false;
    LONG volatile m_nReferences = 0;
    const CLogText m_sFormat;
};
