#include "log/logfile.h"

#include "core/textformat.h"
#include "log/logfilename.h"
#include "orvcomtypes/octassert.h"
#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/smartcls.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <tuple>
#include <utility>
#include <vector>

namespace
{

constexpr const char* kSource = "orvlog";
constexpr DWORD kLookAgainMs = 10;
constexpr int kMaxLooks = 40; // of its own turn at the end of a process the log needs the rest
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

struct CCloseFile
{
    void operator()(HANDLE h) const { CloseHandle(h); }
};
struct CCloseFind
{
    void operator()(HANDLE h) const { FindClose(h); }
};
using CFileHandle = std::unique_ptr<void, CCloseFile>;
using CFindHandle = std::unique_ptr<void, CCloseFind>;

/// Null, with the last error, when that is not possible.
CFileHandle OpenExisting(const CLogText& sPath, DWORD dwAccess)
{
    const HANDLE hFile = CreateFileW(sPath.c_str(), dwAccess, kShareAll, nullptr, OPEN_EXISTING,
                                     FILE_ATTRIBUTE_NORMAL, nullptr);
    return CFileHandle(hFile != INVALID_HANDLE_VALUE ? hFile : nullptr);
}

ULONGLONG Joined(DWORD dwHigh, DWORD dwLow)
{
    return ULONGLONG{dwHigh} << 32 | dwLow;
}

/// Calls \p fn with the name and the time of the last write of every file in a folder.
template <class Fn>
void ForFilesIn(const CLogText& sFolder, Fn fn)
{
    WIN32_FIND_DATAW found;
    const HANDLE hFind = FindFirstFileW((sFolder + ORVTEXT('*')).c_str(), &found);
    if (hFind == INVALID_HANDLE_VALUE)
        return;
    const CFindHandle owner(hFind);
    do
        if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
            fn(CLogText(found.cFileName),
               Joined(found.ftLastWriteTime.dwHighDateTime, found.ftLastWriteTime.dwLowDateTime));
    while (FindNextFileW(hFind, &found));
}

/// The folder's long path with the file's name behind it; empty when the folder has none.
CLogText LongPath(const CLogText& sPath)
{
    const auto nName = sPath.find_last_of(ORVTEXT("\\/"));
    if (nName == sPath.npos || nName == 0)
        return CLogText();
    const CLogText sFolder = sPath.substr(0, nName);
    CLogText sLong(MAX_PATH, 0);
    DWORD nLength = GetLongPathNameW(sFolder.c_str(), sLong.data(), MAX_PATH);
    if (nLength > MAX_PATH)
    {
        sLong.resize(nLength);
        nLength = GetLongPathNameW(sFolder.c_str(), sLong.data(), nLength);
    }
    if (nLength == 0 || nLength >= sLong.size())
        return CLogText();
    sLong.resize(nLength);
    // Joined with the separator that the system itself uses.
    const auto nSeparator = sLong.find_first_of(ORVTEXT("\\/"));
    if (!sLong.ends_with(ORVTEXT('/')) && !sLong.ends_with(ORVTEXT('\\')))
        sLong += nSeparator != sLong.npos ? sLong[nSeparator] : ORVTEXT('\\');
    return sLong + sPath.substr(nName + 1);
}

} // namespace

bool CLogFile::Prepare()
{
    const __time64_t tNow = g_pfnLogTime();
    if (m_bFailed)
        Close();
    m_bContinues = m_bBeginsLine;
    if (IsNewPeriod(tNow) || (IsOpen() && IsFull()))
    {
        Close();
        m_sPath.clear();
    }
    else if (IsOpen() && m_bOnDisk && !IsStillNamed())
        Close();
    m_tLastCheck = tNow;
    if (!IsOpen() && !Open())
        return false;
    m_bBeginsLine = m_bBeginsLine || EndHalfLine();
    return m_bBeginsLine;
}

bool CLogFile::IsNewPeriod(__time64_t tNow) const
{
    const ELogPeriod ePeriod = m_expanded.m_ePeriod;
    if (ePeriod == ELogPeriod::None || ePeriod == ELogPeriod::PerStart || m_tLastCheck == 0)
        return false;
    const CLogDate now(tNow);
    const CLogDate last(m_tLastCheck);
    switch (ePeriod)
    {
    case ELogPeriod::Daily: return now.Day() != last.Day();
    case ELogPeriod::Weekly: return now.Monday() != last.Monday();
    default: return now.m_tm.tm_year != last.m_tm.tm_year || now.m_tm.tm_mon != last.m_tm.tm_mon;
    }
}

bool CLogFile::IsFull() const
{
    const std::uint64_t nMax = m_options.m_nMaxFileBytes.load(std::memory_order_relaxed);
    return nMax > 0 && m_bOnDisk && StateOf(m_hFile).m_nSize >= nMax;
}

/// Whether the open file is the one of its name: it may have been deleted, renamed or replaced.
bool CLogFile::IsStillNamed() const
{
    const CFileHandle named = OpenExisting(m_sPath, 0);
    if (named != nullptr)
        return StateOf(named.get()).IsSameFile(StateOf(m_hFile));
    const DWORD dwError = GetLastError();
    return dwError != ERROR_FILE_NOT_FOUND && dwError != ERROR_PATH_NOT_FOUND;
}

CLogFile::CState CLogFile::StateOf(HANDLE hFile)
{
    CState state;
    BY_HANDLE_FILE_INFORMATION information{};
    if (GetFileInformationByHandle(hFile, &information))
        state = {Joined(information.nFileIndexHigh, information.nFileIndexLow),
                 information.dwVolumeSerialNumber,
                 Joined(information.nFileSizeHigh, information.nFileSizeLow)};
    return state;
}

/// A file that failed within its period is opened again by its name, which may contain the time.
bool CLogFile::Open()
{
    const bool bBegins = m_sPath.empty();
    if (bBegins && !ChooseName())
        return false;
    if (!CreateLogFile())
    {
        if (bBegins)
            m_sPath.clear();
        return false;
    }
    SetName();
    if (bBegins)
        DropOldFiles();
    return true;
}

/// With a greatest size: the last file of the period if it has room, else the one behind it.
bool CLogFile::ChooseName()
{
    if (!m_expanded.Expand(m_sFormat.c_str()))
        return false;
    const std::uint64_t nMax = m_options.m_nMaxFileBytes.load(std::memory_order_relaxed);
    unsigned nNumber = 1;
    if (nMax > 0)
        ForFilesIn(m_expanded.Folder(), [&](const CLogText& sName, ULONGLONG) {
            nNumber = std::max(nNumber, m_expanded.NumberOf(sName, false));
        });
    CLogText sPath = m_expanded.Path(nNumber);
    // The folder may show no names, or a name in letters of the other case, which opens all the same.
    while (nMax > 0 && IsFullFile(sPath, nMax))
        sPath = m_expanded.Path(++nNumber);
    m_sPath.swap(sPath);
    return true;
}

bool CLogFile::IsFullFile(const CLogText& sPath, std::uint64_t nMax)
{
    const CFileHandle file = OpenExisting(sPath, 0);
    return file != nullptr && StateOf(file.get()).m_nSize >= nMax;
}

/// Leaves as many files of the format as are to be kept: the newest.
void CLogFile::DropOldFiles() const
{
    const std::uint64_t nKeep = m_options.m_nKeepFiles.load(std::memory_order_relaxed);
    // A format that makes one file only has no others.
    const bool bOnlyFile = m_options.m_nMaxFileBytes == 0 && m_expanded.m_sSuffix.empty();
    if (nKeep == 0 || bOnlyFile)
        return;
    const CLogText sFolder = m_expanded.Folder();
    const std::size_t nFirst = m_expanded.m_sStem.size() + m_expanded.m_sSuffix.size() - sFolder.size();
    // By the time of the last write; files that were filled at once by period and number.
    std::vector<std::tuple<ULONGLONG, CLogText, unsigned, CLogText>> files;
    ForFilesIn(sFolder, [&](const CLogText& sName, ULONGLONG nWritten) {
        const unsigned nNumber = m_expanded.NumberOf(sName, true);
        if (nNumber > 0 && sFolder + sName != m_sPath)
            files.emplace_back(nWritten, sName.substr(0, nFirst), nNumber, sName);
    });
    if (files.size() < nKeep)
        return;
    std::sort(files.begin(), files.end());
    files.resize(static_cast<std::size_t>(files.size() + 1 - nKeep));
    for (const auto& file : files)
        DeleteFileW((sFolder + std::get<3>(file)).c_str());
}

bool CLogFile::CreateLogFile()
{
    // The text states the failing condition.
    if (IsOpen())
        ORV_REPORT_FROM(kSource, "CLogFileInnerHandler::CreateLogFile", "m_hFile != INVALID_HANDLE_VALUE", 0);
    m_bContinues = false;
    CreateDirRecursive(m_sPath);
    m_hFile = CreateFileW(m_sPath.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                          OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
    if (!IsOpen())
    {
        WCHAR sError[16];
        OCT::FormatTo(sError, ORVTEXT("%u\n"), GetLastError());
        OutputDebugStringW((ORVTEXT("Log creation error: Cannot create or open log file: ") + m_sPath +
                            ORVTEXT(", error code: ") + sError)
                               .c_str());
        return false;
    }
    m_bOnDisk = GetFileType(m_hFile) == FILE_TYPE_DISK;
    m_bBeginsLine = !m_bOnDisk;
    if (!m_bOnDisk)
        return true;
    if (!SeekToEnd())
    {
        OutputDebugStringW(ORVTEXT("Log creation error: SetFilePointer error\n"));
        Close();
        return false;
    }
    const CState now = StateOf(m_hFile);
    m_bContinues = now.IsSameFile(m_left) && now.m_nSize == m_left.m_nSize;
    m_bBeginsLine = m_bContinues;
    return true;
}

bool CLogFile::SeekToEnd()
{
    LONG lHigh = 0; // without it files of 4 GB and more fail
    return SetFilePointer(m_hFile, 0, &lHigh, FILE_END) != INVALID_SET_FILE_POINTER ||
           GetLastError() == NO_ERROR;
}

/// What a crash or a full disk left of a line is ended, so that the next one stands on its own. A file that
/// grows meanwhile has another writer, which has not come to the end of its block; it gets some time for
/// that.
bool CLogFile::EndHalfLine()
{
    CState now = StateOf(m_hFile);
    for (int nLooks = 1; now.m_nSize > 0 && EndsInsideALine(); ++nLooks)
    {
        Sleep(kLookAgainMs);
        const CState then = std::exchange(now, StateOf(m_hFile));
        if (now.m_nSize == then.m_nSize || nLooks == kMaxLooks)
            return AppendLine("\r\n", 2);
    }
    return true;
}

bool CLogFile::EndsInsideALine() const
{
    const CFileHandle file = OpenExisting(m_sPath, GENERIC_READ);
    if (file == nullptr)
        return false;
    char cLast = '\n';
    DWORD nRead = 0;
    LONG lHigh = -1;
    SetFilePointer(file.get(), -1, &lHigh, FILE_END);
    const bool bRead = ReadFile(file.get(), &cLast, 1, &nRead, nullptr) && nRead == 1;
    return bRead && cLast != '\n';
}

void CLogFile::SetName()
{
    CLogText sName = LongPath(m_sPath);
    if (sName.empty())
        sName = m_sPath;
    const OCT::CCritSectGuard guard(&m_nameLock);
    m_sName.swap(sName);
}

CLogText CLogFile::Name() const
{
    const OCT::CCritSectGuard guard(&m_nameLock);
    return m_sName;
}

DWORD CLogFile::Append(const char* pData, DWORD nBytes)
{
    const DWORD nThere = IsCutOff() ? TakeOver(pData, nBytes) : 0;
    const DWORD nLeft = nBytes - nThere;
    if (nLeft == 0)
        return nBytes;
    if (m_bOnDisk)
    {
        m_nAppendAt = StateOf(m_hFile).m_nSize;
        std::atomic_signal_fence(std::memory_order_seq_cst);
        m_nAppending = nLeft;
    }
    // Offset -1 is the end of the file at the moment of writing: other processes may append too.
    OVERLAPPED end{};
    end.Offset = end.OffsetHigh = 0xFFFFFFFF;
    DWORD nWritten = 0;
    const BOOL bWritten = WriteFile(m_hFile, pData + nThere, nLeft, &nWritten, m_bOnDisk ? &end : nullptr);
    m_nAppending = 0;
    if (bWritten && nWritten == nLeft)
    {
        m_left = {};
        return nBytes;
    }
    OutputDebugStringW(ORVTEXT("Could not write to logfile\n"));
    NoteWhatIsLeft(nWritten);
    m_bFailed = true;
    return nThere + nWritten;
}

/// A write that failed leaves a rest where it came into the file, and nobody else's behind it; else the rest
/// of the one before, if any, is still the last.
void CLogFile::NoteWhatIsLeft(DWORD nWritten)
{
    if (nWritten == 0)
        return;
    m_left = StateOf(m_hFile);
    if (m_left.m_nSize != m_nAppendAt + nWritten)
        m_left = {};
}

bool CLogFile::AppendLine(const char* pLine, DWORD nBytes)
{
    if (Append(pLine, nBytes) == nBytes)
        return true;
    m_left = {}; // what it left is no rest that the next line could follow
    return false;
}

/// How many of the bytes the write that was cut off has left where it began; none when they are others. What
/// it wrote behind them is for the next call.
DWORD CLogFile::TakeOver(const char* pData, DWORD nBytes)
{
    const DWORD nBegun = std::min(m_nAppending, nBytes);
    const CFileHandle file = OpenExisting(m_sPath, GENERIC_READ);
    if (file == nullptr)
        return 0;
    LONG lHigh = static_cast<LONG>(m_nAppendAt >> 32);
    SetFilePointer(file.get(), static_cast<LONG>(m_nAppendAt), &lHigh, FILE_BEGIN);
    DWORD nFound = 0;
    char sPart[4096];
    DWORD nRead = 1;
    while (nFound < nBegun && nRead > 0)
    {
        const DWORD nPart = std::min<DWORD>(nBegun - nFound, sizeof sPart);
        if (!ReadFile(file.get(), sPart, nPart, &nRead, nullptr) ||
            std::memcmp(sPart, pData + nFound, nRead) != 0)
        {
            nFound = 0;
            break;
        }
        nFound += nRead;
    }
    m_nAppendAt += nFound;
    m_nAppending = nFound == nBytes ? m_nAppending - nFound : 0;
    return nFound;
}

bool CLogFile::Flush()
{
    const bool bSynced = !IsOpen() || !m_bOnDisk || FlushFileBuffers(m_hFile);
    if (!bSynced)
        OutputDebugStringW(ORVTEXT("Could not write to logfile\n"));
    if (!bSynced || m_bFailed)
        Close();
    return bSynced;
}

void CLogFile::Close()
{
    if (IsOpen())
        CloseHandle(m_hFile);
    m_hFile = INVALID_HANDLE_VALUE;
    m_nAppending = 0;
    m_bFailed = false;
}
