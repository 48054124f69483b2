// The handlers of the process, one for each file-name format.
#pragma once

#include "core/ownlock.h"
#include "log/loghandler.h"
#include "log/logloss.h"
#include "orvcomtypes/memarray.h"
#include "orvcomtypes/orvlog.h"

#include <windows.h>

#include <atomic>

class CLogFileHandlerList
{
public:
    CLogFileHandlerList() = default;
    CLogFileHandlerList(const CLogFileHandlerList&) = delete;
    CLogFileHandlerList& operator=(const CLogFileHandlerList&) = delete;
    /// After StopAll, while the library is unloaded: frees all handlers that there ever were.
    ~CLogFileHandlerList();
    /// The one list of the process.
    static CLogFileHandlerList& Instance();

    /// The handler for a format (the case of ASCII letters aside), made when there is none, with a reference
    /// for the caller.
    ILogFileHandler* AddFileHandler(const WCHAR* sFileNameFormat);
    void ReleaseHandler(CLogFileInnerHandler* pHandler);

    /// Flushes all logs; true when all say so. With \p bOneTry: waits until what is queued is written or
    /// given up, not longer than a try takes.
    bool Flush(DWORD dwMilliseconds, bool bOneTry = false);
    /// Ends the threads of all handlers, which are then inert.
    void StopAll();

    /// Lines and bytes that were lost so far, in logs that are open or released.
    CLogLoss Lost() const;

private:
    struct _LogFile
    {
        const WCHAR* m_sFormat; ///< the handler's own
        CLogFileInnerHandler* m_pHandler;
    };
    static constexpr unsigned kNotFound = ~0u;
    using CFiles = CMarray<_LogFile, 8>;

    CLogFileInnerHandler* HandlerOf(const WCHAR* sFileNameFormat);
    template <class Is>
    unsigned FindIf(Is is) const;
    CLogFileInnerHandler* LastMade() const;

    mutable OCT::COwnLock m_lock;
    CFiles m_files;
    CLogFileInnerHandler* m_pLastMade = nullptr; ///< all, also those that were released
    bool m_bUnloading = false;
};

/// Called whenever a log's thread is started, if set.
extern constinit std::atomic<void (*)()> g_fnLogThreadStarts;

/// The library's end: all lines go to their files, and no thread stays in its code.
void ReleaseLogsAtDetach();
/// Then, at an unload: nothing is left.
void FreeLogsAtUnload();
void FreeHandlersAtUnload();
