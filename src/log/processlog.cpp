#include "core/neverdestroyed.h"
#include "core/ownlock.h"
#include "core/textformat.h"
#include "log/logfilename.h"
#include "log/loglist.h"
#include "log/loglocation.h"
#include "log/logloss.h"
#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/orvlog.h"
#include "orvcomtypes/smartcls.h"

#include <windows.h>

#include <cstdint>

namespace
{

// Never destroyed: whoever logs while the process ends finds a silent log.
CNeverDestroyed<COrvLog> g_loggerStorage;
COrvLog& g_processLogger = g_loggerStorage.Get();
CNeverDestroyed<OCT::COwnLock> g_lockStorage;
OCT::CCritSect& g_traceLock = g_lockStorage.Get();

/// Milliseconds of the trace lines.
class CTraceClock
{
public:
    void Read(LONG& nSinceStart, LONG& nSincePrevious)
    {
        LARGE_INTEGER now;
        QueryPerformanceCounter(&now);
        if (m_nFrequency == 0)
        {
            LARGE_INTEGER frequency;
            QueryPerformanceFrequency(&frequency);
            m_nFrequency = frequency.QuadPart;
            m_nStart = m_nPrevious = now.QuadPart;
        }
        nSinceStart = Milliseconds(now.QuadPart - m_nStart);
        nSincePrevious = Milliseconds(now.QuadPart - m_nPrevious);
        m_nPrevious = now.QuadPart;
    }

private:
    LONG Milliseconds(LONGLONG nCounts) const { return static_cast<LONG>(nCounts * 1000 / m_nFrequency); }

    LONGLONG m_nFrequency = 0;
    LONGLONG m_nStart = 0;
    LONGLONG m_nPrevious = 0;
};

} // namespace

void ReleaseLogsAtDetach()
{
    CLogFileHandlerList::Instance().StopAll();
    g_processLogger.ReleaseLog();
}

void FreeLogsAtUnload()
{
    g_loggerStorage.DestroyAtUnload();
    FreeHandlersAtUnload();
    CThreadLogFileLineHandler::FreeAtUnload();
}

COrvLog* ORVCALL GetProcessLogger()
{
    return &g_processLogger;
}

bool ORVCALL InitRegProcessLogger(const WCHAR* keyName)
{
    return g_processLogger.InitRegLog(keyName, nullptr);
}

bool ORVCALL InitFileProcessLogger(const WCHAR* fileNameFormat, int options)
{
    return g_processLogger.InitFileLog(fileNameFormat, options, nullptr);
}

void ORVCALL ReleaseProcessLogger()
{
    g_processLogger.ReleaseLog();
}

unsigned ORVCALL GetProcessLogOpt(WCHAR* prefix)
{
    try
    {
        if (prefix != nullptr)
            g_processLogger.GetPrefix().CopyTo(prefix, 10);
    }
    catch (...) // no memory
    {
        *prefix = 0;
    }
    return g_processLogger.GetLogOpt();
}

void ORVCALL LogStrExp(unsigned level, const char* text)
{
    g_processLogger.LogSimpleStr(level, text);
}

void ORVCALL LogStrRawExp(const char* text)
{
    g_processLogger.LogRaw(text);
}

WCHAR* ORVCALL GetLogFileNameExp(WCHAR* dest, unsigned size)
{
    if (dest != nullptr && size > 2)
        g_processLogger.GetLogFileName().CopyTo(dest, size);
    return dest;
}

bool ORVCALL FlushLogs(DWORD milliseconds)
{
    return CLogFileHandlerList::Instance().Flush(milliseconds);
}

std::uint64_t ORVCALL GetLostLogLines(std::uint64_t* bytes)
{
    const CLogLoss lost = CLogFileHandlerList::Instance().Lost();
    if (bytes != nullptr)
        *bytes = lost.m_nBytes;
    return lost.m_nLines;
}

COrvStr ORVCALL GenerateLogFileName(const WCHAR* fileNameFormat)
{
    try
    {
        CLogFileName name;
        if (!name.Expand(fileNameFormat))
            return COrvStr();
        const CLogText sPath = name.Path();
        CreateDirRecursive(sPath);
        return COrvStr(sPath.c_str());
    }
    catch (...) // no memory
    {
        return COrvStr();
    }
}

void ORVCALL WriteThreadPrintfTrace(const char* text, LONG value)
{
    static CTraceClock s_clock;
    const OCT::CCritSectGuard guard(&g_traceLock);
    LONG nSinceStart;
    LONG nSincePrevious;
    s_clock.Read(nSinceStart, nSincePrevious);
    char sLine[1001];
    OCT::FormatTo(sLine, "Thread:%d; Time:%d(%d); %s [%d]\n", GetCurrentThreadId(), nSinceStart,
                  nSincePrevious, text, value);
    OutputDebugStringA(sLine);
    g_processLogger.LogSimpleStr(lqlInformation, sLine);
}
