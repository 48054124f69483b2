// The file behind a handler: opened late, switched with its period, appended to in whole blocks.
#pragma once

#include "log/logfilename.h"
#include "orvcomtypes/smartcls.h"

/// Belongs to one thread at a time, except for its name.
class CLogFile
{
public:
    explicit CLogFile(const COrvStr& sFormat) : m_sFormat(sFormat) {}
    CLogFile(const CLogFile&) = delete;
    CLogFile& operator=(const CLogFile&) = delete;
    ~CLogFile() { Close(); }

    /// Opens the file, or the next one when a new period has begun. False when that is not possible now.
    bool Prepare();
    /// Appends at the end, also beside other processes. Less than all bytes means failure; the file is then
    /// closed, so that the next Prepare tries anew.
    DWORD Write(const char* pData, DWORD nBytes);
    void Flush();
    void Close();

    /// The full path of the open file, or of the last one; from any thread.
    COrvStr Name() const;

private:
    bool IsNewPeriod(__time64_t tNow) const;
    bool CreateLogFile();
    void SetName(const WCHAR* sPath);

    const COrvStr m_sFormat;
    HANDLE m_hFile = INVALID_HANDLE_VALUE;
    ELogPeriod m_ePeriod = ELogPeriod::None;
    __time64_t m_tLastCheck = 0;
    COrvStr m_sPath; ///< as built for this period; empty until a file of that name was opened
    COrvStr m_sName;
    mutable OCT::CCritSect m_nameLock;
};
