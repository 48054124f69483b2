#include "ingest.h"

#include "database.h"
#include "linequeue.h"
#include "progress.h"
#include "statement.h"

#include <orvcomtypes/lqexcept.h>
#include <orvcomtypes/orvlog.h>
#include <orvcomtypes/stringutils.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>
#include <vector>

namespace
{

namespace fs = std::filesystem;
using CClock = std::chrono::steady_clock;

constexpr unsigned c_nLogOptions = lqlErrors | lqlWarnings | lqlInformation | lqlSQL | lqlThreadId;

COrvStr ToText(const fs::path& path)
{
    return COrvStr(path.string<WCHAR>().c_str(), true);
}

COrvStr ToText(const std::u16string& sText)
{
    return COrvStr(std::basic_string<WCHAR>(sText.begin(), sText.end()).c_str(), true);
}

std::string ToUTF8(const WCHAR* pText)
{
    const std::size_t nLength = std::char_traits<WCHAR>::length(pText);
    std::vector<char> buffer(3 * nLength + 1);
    UnicodeToUTF8Ex(pText, pText + nLength, buffer.data(), static_cast<unsigned>(buffer.size()));
    return buffer.data();
}

int ElapsedMs(CClock::time_point start)
{
    return static_cast<int>(
        std::chrono::duration_cast<std::chrono::milliseconds>(CClock::now() - start).count());
}

LQComErrorData ToErrorData(const CSqlOutcome& outcome)
{
    LQComErrorData data;
    data.m_iCode = outcome.m_bOk ? S_OK : E_FAIL;
    data.m_iNativeCode = outcome.m_iNativeCode;
    data.m_sMessage = ToText(outcome.m_sMessage);
    data.m_sSQLState = ToText(outcome.m_sState);
    return data;
}

class CIngest
{
public:
    CIngest(const COptions& options, std::uint64_t nInputSize)
        : m_Options(options), m_sSource(ToText(fs::path(options.m_sInput).filename())), m_Progress(nInputSize)
    {
    }

    bool OpenLog(std::string& sError);
    bool OpenDatabases(std::string& sError);
    void Run(std::istream& input);
    void CloseLog();
    void GetSummary(CSummary& summary) const;

private:
    void Work(CDatabase* pDatabase);
    void Handle(const CLine& line, CDatabase* pDatabase, COrvLog& log, COrvSQLStr& sql);
    void Execute(CDatabase& database, COrvLog& log, const COrvSQLStr& sql);
    void Complain(std::size_t nLine, const std::string& sReason);

    const COptions& m_Options;
    const COrvStr m_sSource;
    CProgress m_Progress;
    COrvLog m_Log;
    fs::path m_LogFile;
    std::uint64_t m_nLogStart = 0;
    std::vector<std::unique_ptr<CDatabase>> m_Databases;
    CLineQueue m_Queue;
    std::mutex m_OutputMutex; // the error stream, the progress bar and, on a dry run, the output
    std::uint64_t m_nLines = 0;
    std::atomic<std::uint64_t> m_nMalformed = 0;
    std::atomic<std::uint64_t> m_nExecuted = 0;
    std::atomic<std::uint64_t> m_nFailed = 0;
};

/// Refuses an unwritable folder here, since a log itself never reports failure to its caller.
bool CIngest::OpenLog(std::string& sError)
{
    std::error_code error;
    const fs::path folder = fs::absolute(m_Options.m_sLogDir, error).lexically_normal();
    fs::create_directories(folder, error);
    COrvStr sFormat(ORVTEXT("#WE"), true);
    sFormat += ToText(folder / "ingest.log");
    m_LogFile = fs::path(static_cast<const WCHAR*>(GenerateLogFileName(sFormat)));
    if (!std::ofstream(m_LogFile, std::ios::app | std::ios::binary))
        return sError = "cannot write the log file " + m_LogFile.string(), false;
    m_nLogStart = fs::file_size(m_LogFile, error);
    if (!m_Log.InitFileLog(sFormat, c_nLogOptions, ORVTEXT("ingest")))
        return sError = "cannot open the log " + m_LogFile.string(), false;
    return true;
}

/// One session a worker; the first one creates the table.
bool CIngest::OpenDatabases(std::string& sError)
{
    const std::string sConnect = m_Options.m_sConnect.empty()
                                     ? "Driver=SQLite3;Database=" + m_Options.m_sDatabase +
                                           ";Timeout=60000;JournalMode=WAL;SyncPragma=NORMAL"
                                     : m_Options.m_sConnect;
    for (unsigned i = 0; i < m_Options.m_nThreads; ++i)
    {
        auto pDatabase = std::make_unique<CDatabase>();
        const CSqlOutcome connected = pDatabase->Connect(sConnect);
        if (!connected.m_bOk)
            return sError = "cannot connect to the database: " + ToUTF8(ToText(connected.m_sMessage)), false;
        if (i == 0)
        {
            COrvSQLStr sql;
            BuildCreateStatement(sql, m_Options.m_Dialect);
            const CSqlOutcome created = pDatabase->Execute(static_cast<const WCHAR*>(sql), sql.Length());
            SQLStrSaveToLog(sql, &m_Log, ToErrorData(created), 0, -1, static_cast<unsigned>(-1));
            if (!created.m_bOk)
                return sError = "cannot create the table: " + ToUTF8(ToText(created.m_sMessage)), false;
        }
        m_Databases.push_back(std::move(pDatabase));
    }
    return true;
}

void CIngest::Run(std::istream& input)
{
    std::vector<std::thread> workers;
    if (m_Options.m_bDryRun)
        workers.emplace_back([this] { Work(nullptr); }); // one worker keeps the order of the lines
    for (const auto& pDatabase : m_Databases)
        workers.emplace_back([this, pWorker = pDatabase.get()] { Work(pWorker); });

    CLine line;
    std::uint64_t nOffset = 0;
    while (std::getline(input, line.m_sText))
    {
        ++line.m_nNumber;
        nOffset += line.m_sText.size() + 1;
        if (!line.m_sText.empty() && line.m_sText.back() == '\r')
            line.m_sText.pop_back();
        if (line.m_sText.empty())
            continue;
        ++m_nLines;
        m_Queue.Push(line);
        const std::lock_guard lock(m_OutputMutex);
        m_Progress.Show(nOffset);
    }
    m_Queue.Close();
    for (std::thread& worker : workers)
        worker.join();
    m_Progress.Hide();
}

void CIngest::Work(CDatabase* pDatabase)
{
    COrvLog log(&m_Log, -1, nullptr); // shares the file; the options are this worker's own
    COrvSQLStr sql;
    CLine line;
    while (m_Queue.Pop(line))
        Handle(line, pDatabase, log, sql);
}

void CIngest::Handle(const CLine& line, CDatabase* pDatabase, COrvLog& log, COrvSQLStr& sql)
{
    CPackageEvent event;
    std::string sReason;
    event.m_nLine = line.m_nNumber;
    if (!ParsePackageLine(line.m_sText, event, sReason))
        return Complain(line.m_nNumber, sReason);
    BuildInsertStatement(sql, m_Options.m_Dialect, m_sSource, event);
    if (pDatabase != nullptr)
        return Execute(*pDatabase, log, sql);
    const std::lock_guard lock(m_OutputMutex);
    m_Progress.Hide();
    std::printf("%s;\n", ToUTF8(sql).c_str());
    ++m_nExecuted;
}

void CIngest::Execute(CDatabase& database, COrvLog& log, const COrvSQLStr& sql)
{
    const CClock::time_point start = CClock::now();
    const CSqlOutcome outcome = database.Execute(static_cast<const WCHAR*>(sql), sql.Length());
    SQLStrSaveToLog(sql, &log, ToErrorData(outcome), 0, ElapsedMs(start),
                    static_cast<unsigned>(outcome.m_nRows));
    ++(outcome.m_bOk ? m_nExecuted : m_nFailed);
}

void CIngest::Complain(std::size_t nLine, const std::string& sReason)
{
    ++m_nMalformed;
    const std::lock_guard lock(m_OutputMutex);
    m_Progress.Hide();
    std::fprintf(stderr, "%s:%zu: %s\n", m_Options.m_sInput.c_str(), nLine, sReason.c_str());
}

void CIngest::CloseLog()
{
    m_Log.ReleaseLog();
}

void CIngest::GetSummary(CSummary& summary) const
{
    summary.m_nLines = m_nLines;
    summary.m_nMalformed = m_nMalformed;
    summary.m_nExecuted = m_nExecuted;
    summary.m_nFailed = m_nFailed;
    if (m_LogFile.empty())
        return;
    std::error_code error;
    summary.m_sLogFile = m_LogFile.string();
    summary.m_nLogBytes = fs::file_size(m_LogFile, error) - m_nLogStart;
}

} // namespace

bool RunIngest(const COptions& options, CSummary& summary, std::string& sError)
{
    std::error_code error;
    const std::uint64_t nSize = fs::file_size(options.m_sInput, error);
    std::ifstream input(options.m_sInput, std::ios::binary);
    if (error || !input)
        return sError = "cannot read " + options.m_sInput, false;

    const CClock::time_point start = CClock::now();
    CIngest ingest(options, nSize);
    if (!options.m_bDryRun && !(ingest.OpenLog(sError) && ingest.OpenDatabases(sError)))
        return false;
    ingest.Run(input);
    ingest.CloseLog();
    ingest.GetSummary(summary);
    summary.m_dSeconds = std::chrono::duration<double>(CClock::now() - start).count();
    return true;
}
