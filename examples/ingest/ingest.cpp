#include "ingest.h"

#include "batchqueue.h"
#include "console.h"
#include "input.h"
#include "statementlog.h"
#include "utf8.h"
#include "worker.h"

#include <orvcomtypes/lqexcept.h>

#include <chrono>
#include <filesystem>
#include <thread>
#include <vector>

namespace
{

namespace fs = std::filesystem;
using CClock = std::chrono::steady_clock;

constexpr std::uint64_t kPredecessorBytes = 1 << 20;

class CIngest
{
public:
    explicit CIngest(const COptions& options)
        : m_Options(options),
          m_Console(ToUTF8(options.m_Input), SizeOf(options.m_Input)),
          m_Run(m_Console, m_StatementLog, LogName(options), options.m_nRetrySeconds),
          m_SessionSettings{ConnectString(options), options.m_pDialect},
          m_Queue(2 * options.m_nThreads)
    {
    }

    bool Open(std::string& sError);
    void Run();
    void GetSummary(CSummary& summary);

private:
    static std::uint64_t SizeOf(const fs::path& file)
    {
        std::error_code error;
        const std::uint64_t nSize = fs::file_size(file, error);
        return error ? 0 : nSize;
    }
    static COrvStr LogName(const COptions& options);

    bool OpenSessions(std::string& sError);
    bool CreateTable(std::string& sError);
    void CountPredecessor();
    void ReadAll();
    void Take(const std::string& sLine);
    void Complain(const std::string& sReason, const std::string& sLine);
    void Print(const CPackageEvent& event);
    void HandOver();
    void TellProgress();
    void Work(CSession& session);

    const COptions& m_Options;
    CConsole m_Console;
    CStatementLog m_StatementLog;
    CRun m_Run;
    const CSessionSettings m_SessionSettings;
    std::vector<std::unique_ptr<CSession>> m_Sessions;
    CBatchQueue m_Queue;

    // The reader's own.
    CInput m_Input;
    CPackageLineReader m_LineReader;
    CEventOrder m_Order;
    CBatch m_Batch;
    COrvLog m_ReaderLog;
    COrvSQLStr m_Printed;
    std::uint64_t m_nLines = 0;
    std::uint64_t m_nMalformed = 0;
    std::uint64_t m_nTold = 0;
};

COrvStr CIngest::LogName(const COptions& options)
{
    const std::string sName = options.m_sSource.empty() ? LogNameOf(options.m_Input) : options.m_sSource;
    COrvStr sResult;
    sResult.SetUTF8(sName.c_str());
    return sResult;
}

bool CIngest::Open(std::string& sError)
{
    if (!m_Input.Open(m_Options.m_Input, m_Options.m_bFollow, sError))
        return false;
    if (m_Options.m_bDryRun)
        return true;
    if (!m_StatementLog.Open(m_Options.m_LogDir, sError))
        return false;
    m_StatementLog.Share(m_ReaderLog);
    return OpenSessions(sError);
}

/// One session a worker; the first one creates the table.
bool CIngest::OpenSessions(std::string& sError)
{
    for (unsigned i = 0; i < m_Options.m_nThreads; ++i)
    {
        m_Sessions.push_back(std::make_unique<CSession>(m_SessionSettings));
        COrvStr sReason;
        if (!m_Sessions.back()->Open(sReason))
            return sError = "cannot use the database: " + ToUTF8(sReason), false;
        if (i == 0 && !CreateTable(sError))
            return false;
    }
    return true;
}

bool CIngest::CreateTable(std::string& sError)
{
    CSession& session = *m_Sessions.front();
    const COrvSQLStr sql(session.Dialect().m_sCreate);
    CSqlOutcome outcome;
    // Two that create it at once can get into each other's way; then the second look finds it.
    for (int nTry = 0; nTry < 2 && !outcome.m_bOk; ++nTry)
    {
        outcome = session.Execute(sql);
        m_StatementLog.Record(m_ReaderLog, sql, outcome, -1);
    }
    if (!outcome.m_bOk)
        sError = "cannot create the table: " + ToUTF8(ToText(outcome.m_sMessage));
    return outcome.m_bOk;
}

/// Rotation may have cut the log in the middle of a second: what stands at the end of the file before is
/// counted, so that the events of this one are numbered as if the log were whole.
void CIngest::CountPredecessor()
{
    CInput input;
    std::string sText;
    const fs::path file = PredecessorOf(m_Options.m_Input);
    if (file.empty() || !input.Open(file, false, sText))
        return;
    input.SkipToLast(kPredecessorBytes);
    CPackageEvent event;
    std::string sReason;
    while (input.Next(sText) == CInput::ENext::Line)
        if (m_LineReader.Read(sText, event, sReason))
            m_Order.Next(event.m_Time);
}

void CIngest::Run()
{
    std::vector<std::thread> workers;
    for (const auto& pSession : m_Sessions)
        workers.emplace_back([this, &session = *pSession] { Work(session); });
    CountPredecessor();
    ReadAll();
    m_Queue.Close();
    for (std::thread& worker : workers)
        worker.join();
    m_Console.HideProgress();
    if (!m_Input.Failure().empty())
        m_Console.Say(m_Input.Failure());
    m_Console.SayCounts();
    m_ReaderLog.ReleaseLog();
    if (m_StatementLog.IsOpen())
        m_StatementLog.Close();
}

void CIngest::ReadAll()
{
    std::string sLine;
    while (!m_Run.IsGivenUp())
    {
        const CInput::ENext next = m_Input.Next(sLine);
        if (next == CInput::ENext::End)
            break;
        if (next == CInput::ENext::Line)
            Take(sLine);
        if (m_Batch.size() == m_Options.m_nBatch || next == CInput::ENext::Idle)
            HandOver();
        if (next == CInput::ENext::Idle && m_Options.m_bFollow)
            TellProgress();
    }
    HandOver();
}

void CIngest::Take(const std::string& sLine)
{
    if (sLine.empty())
        return;
    ++m_nLines;
    CPackageEvent event;
    std::string sReason;
    if (!m_LineReader.Read(sLine, event, sReason))
        return Complain(sReason, sLine);
    event.m_nLine = m_Input.LineNumber();
    event.m_nOrder = m_Order.Next(event.m_Time);
    if (m_Options.m_bDryRun)
        return Print(event);
    m_Batch.push_back(std::move(event));
}

void CIngest::Complain(const std::string& sReason, const std::string& sLine)
{
    ++m_nMalformed;
    m_Console.SayMalformed(m_Input.LineNumber(), sReason);
    if (m_StatementLog.IsOpen())
        m_StatementLog.RecordMalformed(m_ReaderLog, m_Run.m_sLogName, m_Input.LineNumber(), sReason, sLine);
}

void CIngest::Print(const CPackageEvent& event)
{
    const CDialect* const pDialect =
        m_Options.m_pDialect != nullptr ? m_Options.m_pDialect : FindDialect("sqlite");
    BuildStoreStatement(m_Printed, *pDialect, m_Run.m_sLogName, event);
    const std::string sStatement = ToUTF8(m_Printed);
    m_Console.Print(stdout, sStatement + (sStatement.ends_with(';') ? "\n" : ";\n"));
    ++m_Run.m_nStored;
}

void CIngest::HandOver()
{
    m_Console.ShowProgress(m_Input.Position());
    if (m_Batch.empty())
        return;
    m_Queue.Push(std::move(m_Batch));
    m_Batch = {};
}

/// Of a followed log, each time that all that is there has been dealt with.
void CIngest::TellProgress()
{
    m_Queue.WaitFinished();
    if (m_nLines == m_nTold)
        return;
    m_nTold = m_nLines;
    m_Console.Say(std::to_string(m_nLines) + " lines read, " + std::to_string(m_Run.m_nStored) +
                  (m_Options.m_bDryRun ? " events printed" : " events stored") + "; waiting for more");
}

void CIngest::Work(CSession& session)
{
    CWorker worker(m_Run, session);
    CBatch batch;
    while (m_Queue.Pop(batch))
    {
        worker.Store(batch);
        m_Queue.Finished();
    }
}

void CIngest::GetSummary(CSummary& summary)
{
    summary.m_nLines = m_nLines;
    summary.m_nMalformed = m_nMalformed;
    summary.m_nStored = m_Run.m_nStored;
    summary.m_nKnown = m_Run.m_nKnown;
    summary.m_nFailed = m_Run.m_nFailed;
    summary.m_nUndone = m_Run.m_nUndone;
    summary.m_bGivenUp = m_Run.IsGivenUp();
    summary.m_bCutShort = !m_Input.Failure().empty();
    summary.m_nLogBytes = m_StatementLog.Bytes();
    summary.m_nLostRecords = m_StatementLog.Lost();
    summary.m_sLogFile = ToUTF8(m_StatementLog.File());
}

} // namespace

bool RunIngest(const COptions& options, CSummary& summary, std::string& sError)
{
    const CClock::time_point start = CClock::now();
    CIngest ingest(options);
    if (!ingest.Open(sError))
        return false;
    ingest.Run();
    ingest.GetSummary(summary);
    summary.m_dSeconds = std::chrono::duration<double>(CClock::now() - start).count();
    return true;
}
