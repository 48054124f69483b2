// The file behind a handler: opened late, switched with its period or size, appended to in whole blocks, and
// made again when somebody has taken it away.
#pragma once

#include "core/ownlock.h"
#include "log/logfilename.h"
#include "orvcomtypes/orvlog.h"

#include <windows.h>

#include <atomic>
#include <cstdint>

/// What users have chosen for a file; may change at any time.
struct CLogFileOptions
{
    std::atomic<std::uint64_t> m_nMaxWaiting = 64 << 20; ///< bytes of text that may wait
    std::atomic<std::uint64_t> m_nMaxFileBytes = 0;      ///< from here on the next file is begun; 0: never
    std::atomic<std::uint64_t> m_nKeepFiles = 0;         ///< the newest that are kept; 0: all
    std::atomic<std::uint64_t> m_bUTF8 = 0;

    /// Null for what is no option.
    std::atomic<std::uint64_t>* Of(LQLogFileOption eOption)
    {
        switch (eOption)
        {
        case lqfMaxWaiting: return &m_nMaxWaiting;
        case lqfMaxFileBytes: return &m_nMaxFileBytes;
        case lqfKeepFiles: return &m_nKeepFiles;
        case lqfUTF8: return &m_bUTF8;
        default: return nullptr;
        }
    }
};

/// Belongs to one thread at a time, except for its name.
class CLogFile
{
public:
    CLogFile(const CLogText& sFormat, const CLogFileOptions& options) : m_sFormat(sFormat), m_options(options)
    {
    }
    CLogFile(const CLogFile&) = delete;
    CLogFile& operator=(const CLogFile&) = delete;
    ~CLogFile() { Close(); }

    /// Opens the file, or the next one when a new period has begun or the file is full, or that name anew
    /// when it stands for another file by now. False when that is not possible.
    bool Prepare();
    /// Whether the last Append was cut off with its thread.
    bool IsCutOff() const { return m_nAppending != 0; }
    /// False when the file was opened since the last write and does not end where that one did: what was left
    /// of a line must be written from its start.
    bool Continues() const { return m_bContinues; }
    /// Appends at the end, also beside other processes. Less than all bytes means failure; the next Prepare
    /// then opens the file anew. When the former call was cut off with its thread and this data begins with
    /// that call's, what came into the file by then is not written again.
    DWORD Append(const char* pData, DWORD nBytes);
    /// The same with a line that is written from its start again when that fails.
    bool AppendLine(const char* pLine, DWORD nBytes);
    /// False when what was written may not have come to the disk; the file is then closed, as it is behind an
    /// Append that failed.
    bool Flush();
    void Close();

    /// The full path of the open file, or of the last one; from any thread.
    CLogText Name() const;

private:
    /// What tells files apart, and the size.
    struct CState
    {
        ULONGLONG m_nIndex = 0;
        DWORD m_dwVolume = 0;
        ULONGLONG m_nSize = 0;

        bool IsSameFile(const CState& other) const
        {
            return m_nIndex == other.m_nIndex && m_dwVolume == other.m_dwVolume;
        }
    };

    bool IsOpen() const { return m_hFile != INVALID_HANDLE_VALUE; }
    bool IsNewPeriod(__time64_t tNow) const;
    bool IsFull() const;
    static bool IsFullFile(const CLogText& sPath, std::uint64_t nMax);
    bool IsStillNamed() const;
    bool Open();
    bool CreateLogFile();
    bool SeekToEnd();
    bool EndHalfLine();
    bool EndsInsideALine() const;
    DWORD TakeOver(const char* pData, DWORD nBytes);
    void NoteWhatIsLeft(DWORD nWritten);
    bool ChooseName();
    void DropOldFiles() const;
    void SetName();
    static CState StateOf(HANDLE hFile);

    const CLogText m_sFormat;
    const CLogFileOptions& m_options;
    HANDLE m_hFile = INVALID_HANDLE_VALUE;
    bool m_bOnDisk = true;  ///< neither a pipe nor a terminal
    bool m_bFailed = false; ///< the last write did
    bool m_bContinues = false;
    bool m_bBeginsLine = false; ///< a half line that was there is ended, or continued
    CState m_left;              ///< behind a part that the last write left; no file when it left none
    // The write that is under way: the end of a process on Windows may end its thread.
    ULONGLONG m_nAppendAt = 0;
    DWORD m_nAppending = 0; ///< 0: none is
    CLogFileName m_expanded;
    __time64_t m_tLastCheck = 0;
    CLogText m_sPath; ///< as built for this period; empty until a file of that name was opened
    CLogText m_sName;
    mutable OCT::COwnLock m_nameLock;
};
