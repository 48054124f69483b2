// What one thread does: batches into a database, a transaction each, and every statement's outcome into the
// log.
#pragma once

#include "batchqueue.h"
#include "console.h"
#include "session.h"
#include "statementlog.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

/// What the workers of a run share.
struct CRun
{
    CRun(CConsole& console, CStatementLog& log, const COrvStr& sLogName, unsigned nRetrySeconds)
        : m_Console(console), m_Log(log), m_sLogName(sLogName), m_nRetrySeconds(nRetrySeconds)
    {
    }

    CConsole& m_Console;
    CStatementLog& m_Log;
    const COrvStr m_sLogName;
    const unsigned m_nRetrySeconds;

    std::atomic<std::uint64_t> m_nStored = 0;
    std::atomic<std::uint64_t> m_nKnown = 0; ///< stored already
    std::atomic<std::uint64_t> m_nFailed = 0;
    std::atomic<std::uint64_t> m_nUndone = 0; ///< never executed, or nobody knows
    std::atomic<unsigned> m_nRefusedInRow = 0;

    /// The database is not worth going on with; the first reason is kept.
    void GiveUp(const std::string& sReason);
    bool IsGivenUp() const { return m_bGivenUp; }

private:
    std::mutex m_Mutex;
    std::atomic<bool> m_bGivenUp = false;
};

class CWorker
{
public:
    CWorker(CRun& run, CSession& session) : m_Run(run), m_Session(session) { run.m_Log.Share(m_Log); }

    /// Stores a batch as one transaction. When that fails its events are stored one by one, so that only bad
    /// ones fail.
    void Store(const CBatch& batch);

private:
    using CClock = std::chrono::steady_clock;
    enum class EResult
    {
        Done,
        Refused,
        Lost ///< the connection
    };
    struct CDone
    {
        CSqlOutcome m_Outcome;
        int m_iElapsedMs = 0;
    };

    void Build(const CBatch& batch);
    EResult TryTogether(std::size_t nCount);
    void StoreAlone(const CBatch& batch);
    EResult TryAlone(std::size_t i);
    bool IsWorthAnotherSession();
    CDone Execute(std::size_t i);
    void CheckPlace(const CPackageEvent& event, CSqlOutcome& outcome);
    EResult Judge(const CSqlOutcome& outcome);
    void Record(std::size_t i, const CDone& done, std::size_t nLine);
    bool Reconnect();

    CRun& m_Run;
    CSession& m_Session;
    COrvLog m_Log;
    const CBatch* m_pBatch = nullptr; ///< being stored
    COrvSQLStrArray m_Statements;     ///< of its events
    std::vector<CDone> m_Done;
};
