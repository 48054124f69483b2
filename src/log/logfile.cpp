#include "log/logfile.h"

#include "core/textformat.h"

#include <string_view>

namespace
{

constexpr const char* kSource = "orvlog";

/// The folder's long path with the file's name behind it; empty when the folder has none.
COrvStr LongPath(const WCHAR* sPath)
{
    const std::basic_string_view<WCHAR> sWhole(sPath);
    const auto nName = sWhole.find_last_of(ORVTEXT("\\/"));
    WCHAR sLong[MAX_PATH];
    if (nName == sWhole.npos || nName == 0)
        return COrvStr();
    const COrvStr sFolder = COrvStr(sPath).SubStr(0, static_cast<unsigned>(nName));
    const DWORD nLength = GetLongPathNameW(sFolder, sLong, MAX_PATH);
    if (nLength == 0 || nLength >= MAX_PATH)
        return COrvStr();
    // Joined with the separator that the system itself uses.
    const auto nSeparator = std::basic_string_view<WCHAR>(sLong).find_first_of(ORVTEXT("\\/"));
    COrvStr sResult(sLong);
    sResult.AddPath(sPath + nName + 1, nSeparator != sWhole.npos ? sLong[nSeparator] : WCHAR{'\\'});
    return sResult;
}

} // namespace

bool CLogFile::Prepare()
{
    const __time64_t tNow = g_pfnLogTime();
    if (IsNewPeriod(tNow))
    {
        Close();
        m_sPath.Empty();
    }
    m_tLastCheck = tNow;
    return m_hFile != INVALID_HANDLE_VALUE || CreateLogFile();
}

bool CLogFile::IsNewPeriod(__time64_t tNow) const
{
    if (m_ePeriod == ELogPeriod::None || m_ePeriod == ELogPeriod::PerStart || m_tLastCheck == 0)
        return false;
    const CLogDate now(tNow);
    const CLogDate last(m_tLastCheck);
    switch (m_ePeriod)
    {
    case ELogPeriod::Daily: return now.Day() != last.Day();
    case ELogPeriod::Weekly: return now.Monday() != last.Monday();
    default: return now.m_tm.tm_year != last.m_tm.tm_year || now.m_tm.tm_mon != last.m_tm.tm_mon;
    }
}

bool CLogFile::CreateLogFile()
{
    // The text states the failing condition.
    if (m_hFile != INVALID_HANDLE_VALUE)
        ORV_REPORT_FROM(kSource, "CLogFileInnerHandler::CreateLogFile", "m_hFile != INVALID_HANDLE_VALUE", 0);
    WCHAR sPath[MAX_PATH];
    m_sPath.CopyTo(sPath, MAX_PATH);
    // A file that failed within its period is opened again by its name, which may contain the time.
    if (!m_sPath.IsEmpty())
        CreateDirRecursive(sPath);
    else if (!CreateLogFileName(sPath, m_sFormat, m_ePeriod))
        return false;
    m_hFile = CreateFileW(sPath, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS,
                          FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
    if (m_hFile == INVALID_HANDLE_VALUE)
    {
        WCHAR sText[MAX_PATH + 100];
        OCT::FormatTo(sText,
                      ORVTEXT("Log creation error: Cannot create or open log file: %s, error code: %u\n"),
                      sPath, GetLastError());
        OutputDebugStringW(sText);
        return false;
    }
    LONG lHigh = 0; // without it files of 4 GB and more fail
    if (SetFilePointer(m_hFile, 0, &lHigh, FILE_END) == INVALID_SET_FILE_POINTER &&
        GetLastError() != NO_ERROR)
    {
        OutputDebugStringW(ORVTEXT("Log creation error: SetFilePointer error\n"));
        Close();
        return false;
    }
    m_sPath = sPath;
    SetName(sPath);
    return true;
}

void CLogFile::SetName(const WCHAR* sPath)
{
    COrvStr sName = LongPath(sPath);
    if (sName.IsEmpty())
        sName = sPath;
    const OCT::CCritSectGuard guard(&m_nameLock);
    m_sName = sName;
}

COrvStr CLogFile::Name() const
{
    const OCT::CCritSectGuard guard(&m_nameLock);
    return m_sName;
}

DWORD CLogFile::Write(const char* pData, DWORD nBytes)
{
    // Offset -1 is the end of the file at the moment of writing: other processes may append too.
    OVERLAPPED end{};
    end.Offset = end.OffsetHigh = 0xFFFFFFFF;
    DWORD nWritten = 0;
    if (WriteFile(m_hFile, pData, nBytes, &nWritten, &end) && nWritten == nBytes)
        return nBytes;
    OutputDebugStringW(ORVTEXT("Could not write to logfile\n"));
    Close();
    return nWritten;
}

void CLogFile::Flush()
{
    FlushFileBuffers(m_hFile);
}

void CLogFile::Close()
{
    if (m_hFile != INVALID_HANDLE_VALUE)
        CloseHandle(m_hFile);
    m_hFile = INVALID_HANDLE_VALUE;
}
