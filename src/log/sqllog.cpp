// How executed statements and exceptions stand in a log.
#include "core/textformat.h"
#include "log/sqltext.h"
#include "orvcomtypes/lqexcept.h"
#include "orvcomtypes/orvlog.h"

namespace
{

constexpr unsigned kUnknown = ~0u;
constexpr std::size_t kLongStatement = 2000;
constexpr std::size_t kKeptOfLong = 400;

} // namespace

/// One call of SQLStrSaveToLog.
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

    void LogFailure(const LQComErrorData& err) const
    {
        const LONG hr = err.m_iCode;
        const WCHAR* sDescription = err.m_sMessage.IsEmpty()
                                        ? ORVTEXT("There is no additional COM error info")
                                        : static_cast<const WCHAR*>(err.m_sMessage);
        m_log.LogAs(m_nOptions, lqlErrors | lqlSQL, &hr, "SQL FAILED [%d]: %S; NativeCode: %d", m_nWorkerDbId,
                    sDescription, err.m_iNativeCode);
    }

    void LogSuccess(int iElapsedMs, unsigned nRows) const
    {
        const bool bTime = iElapsedMs != -1;
        if (nRows != kUnknown && bTime)
            Log("SQL SUCCEEDED [%d]: (%u row; %d ms)", nRows, iElapsedMs);
        else if (nRows != kUnknown)
            Log("SQL SUCCEEDED [%d]: (%u row)", nRows);
        else if (bTime)
            Log("SQL SUCCEEDED [%d]: (%d ms)", iElapsedMs);
        else
            Log("SQL SUCCEEDED [%d]:");
    }

    void LogStatement(const WCHAR* sSql, bool bFailed) const
    {
        if (m_nOptions & lqlNoSQLText)
            return Write("\n\tThe SQL statement hasn't been logged for security reason\n");
        CSQLText::CStatement sStatement(sSql);
        std::string_view sTail;
        if (!bFailed && sStatement.size() > kLongStatement && (m_nOptions & lqlWholeSQL) == 0)
        {
            sStatement = sStatement.substr(0, kKeptOfLong);
            sTail = "... (Too long SQL statement to log)";
        }
        char sLabel[120];
        const std::size_t nLabel = OCT::FormatTo(sLabel, "SQL %d%.100s", m_nWorkerDbId, m_log.m_sPrefix);
        Write(CSQLText({sLabel, nLabel}, sStatement, sTail).Text());
    }

private:
    // Concurrent users of the log do not see that the debugger copy is off: the record has options of its
    // own.
    static unsigned OptionsOf(const COrvLog& log)
    {
        const unsigned nOptions = log.GetLogOpt();
        return nOptions & lqlSQLToDebugger ? nOptions : nOptions & ~lqlToDebugger;
    }

    template <class... Args>
    void Log(const char* sFormat, Args... args) const
    {
        m_log.LogAs(m_nOptions, lqlSQL, nullptr, sFormat, m_nWorkerDbId, args...);
    }

    void Write(const char* sText) const
    {
        if (m_nOptions & lqlToDebugger)
            OutputDebugStringA(sText);
        m_log.Write(sText, 0);
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
        record.LogFailure(err);
    else if (workerDbId == 0 || log->NeedSQLLogToWorkerDB(workerDbId))
        record.LogSuccess(elapsedMs, rows);
    else
        return;
    record.LogStatement(sql, bFailed);
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
        log->LogOpt(lqlErrors, "LQ exception occured: %S", static_cast<const WCHAR*>(e.FormatToLog()));
    }
    catch (...)
    {
        log->LogOpt(lqlErrors, "LQ exception occured: no memory for its text");
    }
}
