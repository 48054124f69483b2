#include "statementlog.h"

#include "platform.h"
#include "session.h"
#include "utf8.h"

#include <orvcomtypes/lqexcept.h>

#include <fstream>
#include <system_error>
#include <vector>

namespace
{

namespace fs = std::filesystem;

constexpr unsigned kOptions = lqlErrors | lqlWarnings | lqlInformation | lqlSQL | lqlThreadId;
constexpr unsigned kPatienceMs = 2000; // with a file that does not grow

LQComErrorData ToErrorData(const CSqlOutcome& outcome)
{
    LQComErrorData data;
    data.m_iCode = outcome.m_bOk ? S_OK : E_FAIL;
    data.m_iNativeCode = outcome.m_iNativeCode;
    data.m_sSQLState = outcome.m_sState.c_str();
    if (!outcome.m_bOk)
    {
        // The record has the database's number, which some set to 1 whatever happened; the state tells more.
        data.m_sMessage = ("[" + outcome.m_sState + "] ").c_str();
        data.m_sMessage += ToText(outcome.m_sMessage);
    }
    return data;
}

} // namespace

bool CStatementLog::Open(const fs::path& folder, std::string& sError)
{
    std::error_code error;
    const fs::path full = fs::absolute(folder, error).lexically_normal();
    fs::create_directories(full, error);
    m_sFormat = ORVTEXT("#WE");
    m_sFormat += (full / "ingest.log").string<WCHAR>().c_str();
    m_File = FileNow();
    if (!std::ofstream(m_File, std::ios::app | std::ios::binary))
        return sError = "cannot write the log file " + ToUTF8(m_File), m_File.clear(), false;
    m_nOffset = fs::file_size(m_File, error);
    const std::string sPrefix = "ingest[" + std::to_string(ProcessNumber()) + ']';
    m_sHead = "> " + sPrefix + ' ';
    if (!m_Log.InitFileLog(m_sFormat, kOptions, COrvStr(sPrefix.c_str())))
        return sError = "cannot open the log " + ToUTF8(m_File), false;
    m_Log.SetFileOption(lqfUTF8, 1); // what was stored, in whatever locale
    return true;
}

fs::path CStatementLog::FileNow() const
{
    return fs::path(static_cast<const WCHAR*>(GenerateLogFileName(m_sFormat)));
}

void CStatementLog::Record(COrvLog& log, const COrvSQLStr& sql, const CSqlOutcome& outcome, int iElapsedMs)
{
    SQLStrSaveToLog(sql, &log, ToErrorData(outcome), 0, iElapsedMs, static_cast<unsigned>(outcome.m_nRows));
    ++m_nExpected;
}

void CStatementLog::RecordMalformed(COrvLog& log, const COrvStr& sName, std::size_t nLine,
                                    const std::string& sReason, const std::string& sLine)
{
    COrvStr sText;
    sText.SetUTF8(sLine.c_str());
    log.LogOpt(lqlWarnings, "%S(%u): %s: %S", static_cast<const WCHAR*>(sName), static_cast<unsigned>(nLine),
               sReason.c_str(), static_cast<const WCHAR*>(sText));
    ++m_nExpected;
}

void CStatementLog::Close()
{
    std::uint64_t nBefore = 0;
    CountArrived();
    do
        nBefore = m_nCounted;
    while (!m_Log.Flush(kPatienceMs) && (CountArrived(), m_nCounted > nBefore));
    m_Log.ReleaseLog();
    CountArrived();
}

/// Reads what was added to the file, and goes over to the next one when a week has ended.
void CStatementLog::CountArrived()
{
    std::vector<char> block(1 << 20);
    for (;;)
    {
        std::ifstream file(m_File, std::ios::binary);
        file.seekg(static_cast<std::streamoff>(m_nOffset));
        file.read(block.data(), static_cast<std::streamsize>(block.size()));
        const std::string_view sRead(block.data(), static_cast<std::size_t>(file.gcount()));
        const std::size_t nWhole = sRead.rfind('\n') + 1; // 0 for none
        std::size_t n = 0;
        while (n < nWhole)
        {
            if (sRead[n] == '=' && sRead.substr(n + 2, m_sHead.size()) == m_sHead)
                ++m_nFound;
            n = sRead.find('\n', n) + 1;
        }
        m_nOffset += nWhole;
        m_nCounted += nWhole;
        if (nWhole > 0)
            continue;
        const fs::path now = FileNow();
        if (now == m_File)
            return;
        m_File = now;
        m_nOffset = 0;
    }
}
