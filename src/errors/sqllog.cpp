// How executed statements and exceptions stand in a log.
#include "core/textformat.h"
#include "log/logline.h"
#include "log/sqltext.h"
#include "orvcomtypes/lqexcept.h"
#include "orvcomtypes/octassert.h"
#include "orvcomtypes/orvexport.h"
#include "orvcomtypes/orvlog.h"

#include <windows.h>

#include <cstdarg>
#include <cstddef>
#include <string_view>

namespace
{

constexpr unsigned kUnknown = ~0u;
constexpr std::size_t kLongStatement = 2000;
constexpr std::size_t kKeptOfLong = 400;
constexpr std::size_t kLabelBytes = 480; ///< four for each of its characters

} // namespace

/// One call of SQLStrSaveToLog: outcome and statement go to the log as one block.
class CSQLRecord
{
public:
    CSQLRecord(const COrvLog& log, unsigned nWorkerDbId)
        : m_log(log), m_nOptions(OptionsOf(log)), m_nWorkerDbId(nWorkerDbId)
    {
    }

    static bool IsWanted(const COrvLog& log, bool bFailed)
    {
        const unsigned nOptions = log.GetLogOpt();
        return log.Handler() != nullptr &&
               ((nOptions & (lqlSQL | lqlToDebugger)) != 0 || (bFailed && (nOptions & lqlErrors) != 0));
    }

    void SaveFailure(const WCHAR* sSql, const LQComErrorData& err) const
    {
        const LONG hr = err.m_iCode;
        const WCHAR* sDescription = err.m_sMessage.IsEmpty()
                                        ? ORVTEXT("There is no additional COM error info")
                                        : static_cast<const WCHAR*>(err.m_sMessage);
        Save(sSql, lqlErrors | lqlSQL, &hr, "SQL FAILED [%d]: %S; NativeCode: %d", m_nWorkerDbId,
             sDescription, err.m_iNativeCode);
    }

    void SaveSuccess(const WCHAR* sSql, int iElapsedMs, unsigned nRows) const
    {
        const bool bTime = iElapsedMs != -1;
        if (nRows != kUnknown && bTime)
            Save(sSql, lqlSQL, nullptr, "SQL SUCCEEDED [%d]: (%u row; %d ms)", m_nWorkerDbId, nRows,
                 iElapsedMs);
        else if (nRows != kUnknown)
            Save(sSql, lqlSQL, nullptr, "SQL SUCCEEDED [%d]: (%u row)", m_nWorkerDbId, nRows);
        else if (bTime)
            Save(sSql, lqlSQL, nullptr, "SQL SUCCEEDED [%d]: (%d ms)", m_nWorkerDbId, iElapsedMs);
        else
            Save(sSql, lqlSQL, nullptr, "SQL SUCCEEDED [%d]:", m_nWorkerDbId);
    }

private:
    // Concurrent users of the log do not see that the debugger copy is off: the record has options of its
    // own.
    static unsigned OptionsOf(const COrvLog& log)
    {
        const unsigned nOptions = log.GetLogOpt();
        return nOptions & lqlSQLToDebugger ? nOptions : nOptions & ~lqlToDebugger;
    }

    /// The outcome is filtered by its level, the statement is not.
    void Save(const WCHAR* sSql, unsigned nLevel, const LONG* phr, const char* sFormat, ...) const
    {
        va_list args;
        va_start(args, sFormat);
        const CLogLine outcome({m_nOptions, nLevel, m_log.m_sPrefix, phr, m_log.CodePage()}, sFormat, args);
        va_end(args);
        const bool bOutcome = (m_nOptions & nLevel) != 0;
        const std::string_view sOutcome(outcome.Text(), bOutcome ? outcome.Length() : 0);
        if (m_nOptions & lqlNoSQLText)
            return SaveNotice(sOutcome, nLevel);
        CSQLText::CStatement sStatement(sSql);
        std::string_view sTail;
        if ((nLevel & lqlErrors) == 0 && sStatement.size() > kLongStatement &&
            (m_nOptions & lqlWholeSQL) == 0)
        {
            sStatement = sStatement.substr(0, OCT::WholeCharacters(sSql, kKeptOfLong, CP_ACP));
            sTail = "... (Too long SQL statement to log)";
        }
        char sLabel[kLabelBytes] = {};
        const CSQLText text(m_log.CodePage(), sOutcome, Label(sLabel), sStatement, sTail);
        Queue(text.Text(), text.Length(), nLevel);
    }

    /// In front of every line of a statement, terminated; in the code page of the file.
    std::string_view Label(char (&sLabel)[kLabelBytes]) const
    {
        const UINT nCodePage = m_log.CodePage();
        if (nCodePage == CP_ACP)
            return {sLabel, OCT::FormatTo(sLabel, "SQL %d%.100s", m_nWorkerDbId, m_log.m_sPrefix)};
        WCHAR sWide[kLabelBytes / 4];
        const std::size_t nWide =
            OCT::FormatTo(sWide, ORVTEXT("SQL %d%.100S"), m_nWorkerDbId, m_log.m_sPrefix);
        const int nBytes = WideCharToMultiByte(nCodePage, 0, sWide, static_cast<int>(nWide), sLabel,
                                               static_cast<int>(kLabelBytes) - 1, nullptr, nullptr);
        return {sLabel, static_cast<std::size_t>(nBytes)};
    }

    void SaveNotice(std::string_view sOutcome, unsigned nLevel) const
    {
        constexpr std::string_view kNotice = "\n\tThe SQL statement hasn't been logged for security reason\n";
        char sBlock[0x4000 + kNotice.size()];
        sOutcome.copy(sBlock, sOutcome.size());
        kNotice.copy(sBlock + sOutcome.size(), kNotice.size());
        const std::size_t nLength = sOutcome.size() + kNotice.size();
        sBlock[nLength] = 0;
        Queue(sBlock, static_cast<unsigned>(nLength), nLevel);
    }

    void Queue(const char* sText, unsigned nLength, unsigned nLevel) const
    {
        if (m_nOptions & lqlToDebugger)
            OutputDebugStringA(sText);
        m_log.Queue(sText, nLength, nLevel);
    }

    const COrvLog& m_log;
    const unsigned m_nOptions;
    const unsigned m_nWorkerDbId;
};

void ORVCALL SQLStrSaveToLog(const WCHAR* sql, COrvLog* log, const LQComErrorData& err, unsigned workerDbId,
                             int elapsedMs, unsigned rows)
{
    const bool bFailed = err.m_iCode < 0;
    if (log == nullptr || sql == nullptr || *sql == 0 || !CSQLRecord::IsWanted(*log, bFailed))
        return;
    const CSQLRecord record(*log, workerDbId);
    if (bFailed)
        record.SaveFailure(sql, err);
    else if (workerDbId == 0 || log->NeedSQLLogToWorkerDB(workerDbId))
        record.SaveSuccess(sql, elapsedMs, rows);
}

void ORVCALL LogException(const CLQExcept& e, COrvLog* log)
{
    if (log == nullptr)
    {
        ORV_REPORT_FROM("orvlog", "LogException", "pLog != nullptr", 0);
        return;
    }
    try
    {
        log->LogOpt(lqlErrors, "LQ exception occured: %S", e.FormatToLog());
    }
    catch (...)
    {
        log->LogOpt(lqlErrors, "LQ exception occured: no memory for its text");
    }
}
