#include "worker.h"

#include "platform.h"
#include "utf8.h"

#include <algorithm>

namespace
{

constexpr unsigned kRefusedInRow = 100;
constexpr unsigned kLosses = 3;     // of the connection by one batch or statement
constexpr unsigned kConflicts = 10; // of one statement with other sessions'
constexpr unsigned kFirstPauseMs = 100;
constexpr unsigned kLongestPauseMs = 2000;

std::string Describe(const CSqlOutcome& outcome)
{
    return ToUTF8(ToText(outcome.m_sMessage)) + " (" + outcome.m_sState + ", " +
           std::to_string(outcome.m_iNativeCode) + ')';
}

} // namespace

void CRun::GiveUp(const std::string& sReason)
{
    const std::lock_guard lock(m_Mutex);
    if (!m_bGivenUp)
        m_Console.Say(sReason);
    m_bGivenUp = true;
}

void CWorker::Store(const CBatch& batch)
{
    Build(batch);
    EResult result = batch.size() == 1 ? EResult::Refused : EResult::Lost;
    for (unsigned nTry = 0; nTry < kLosses && result == EResult::Lost; ++nTry)
    {
        if (m_Run.IsGivenUp() || (nTry > 0 && !Reconnect()))
        {
            m_Run.m_nUndone += batch.size();
            return;
        }
        result = TryTogether(batch.size());
    }
    if (result != EResult::Done)
        return StoreAlone(batch);
    for (std::size_t i = 0; i < batch.size(); ++i)
        Record(i, m_Done[i], batch[i].m_nLine);
}

void CWorker::Build(const CBatch& batch)
{
    m_pBatch = &batch;
    while (m_Statements.GetCount() < batch.size())
        m_Statements.Add(COrvSQLStr());
    m_Done.resize(batch.size());
    for (std::size_t i = 0; i < batch.size(); ++i)
        BuildStoreStatement(m_Statements[static_cast<unsigned>(i)], m_Session.Dialect(), m_Run.m_sLogName,
                            batch[i]);
}

CWorker::CDone CWorker::Execute(std::size_t i)
{
    const CClock::time_point start = CClock::now();
    CDone done;
    done.m_Outcome = m_Session.Execute(m_Statements[static_cast<unsigned>(i)]);
    if (done.m_Outcome.m_bOk && done.m_Outcome.m_nRows == 0)
        CheckPlace((*m_pBatch)[i], done.m_Outcome);
    const auto elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(CClock::now() - start);
    done.m_iElapsedMs = static_cast<int>(elapsed.count());
    return done;
}

/// Nothing was stored, since the event's place is taken: by that event, or, as with two machines' logs of one
/// name, by another one, which must not pass for it.
void CWorker::CheckPlace(const CPackageEvent& event, CSqlOutcome& outcome)
{
    COrvSQLStr sql;
    BuildCountStatement(sql, m_Session.Dialect(), m_Run.m_sLogName, event);
    bool bThere = false;
    const CSqlOutcome counted =
        m_Session.Query(sql, 1, [&](const std::vector<COrvStr>& row) { bThere = row[0] != ORVTEXT("0"); });
    if (!counted.m_bOk)
        outcome = counted;
    else if (!bThere)
    {
        constexpr const char* kReason =
            "another event is stored in this place: is it another log of that name?";
        outcome.m_bOk = false;
        outcome.m_sState = "23000";
        outcome.m_sMessage.m_sNarrow = kReason;
    }
}

/// Whether a failure lies with the statement or the connection: a driver's codes are not asked alone.
CWorker::EResult CWorker::Judge(const CSqlOutcome& outcome)
{
    if (outcome.m_bOk)
        return EResult::Done;
    return outcome.m_sState.starts_with("08") || !m_Session.IsAlive() ? EResult::Lost : EResult::Refused;
}

CWorker::EResult CWorker::TryTogether(std::size_t nCount)
{
    CSqlOutcome outcome = m_Session.SetManualCommit(true);
    for (std::size_t i = 0; i < nCount && outcome.m_bOk; ++i)
    {
        m_Done[i] = Execute(i);
        outcome = m_Done[i].m_Outcome;
    }
    if (outcome.m_bOk)
        outcome = m_Session.EndTransaction(true);
    if (outcome.m_bOk)
        return EResult::Done;
    m_Session.EndTransaction(false);
    return Judge(outcome);
}

void CWorker::StoreAlone(const CBatch& batch)
{
    for (std::size_t i = 0; i < batch.size(); ++i)
    {
        EResult result = EResult::Lost;
        for (unsigned nTry = 0; nTry < kLosses && result == EResult::Lost; ++nTry)
        {
            if (m_Run.IsGivenUp() || (nTry > 0 && !Reconnect()))
            {
                m_Run.m_nUndone += batch.size() - i;
                return;
            }
            result = TryAlone(i);
        }
        Record(i, m_Done[i], batch[i].m_nLine);
    }
}

CWorker::EResult CWorker::TryAlone(std::size_t i)
{
    const CSqlOutcome automatic = m_Session.SetManualCommit(false);
    if (!automatic.m_bOk)
        return m_Done[i] = {automatic, 0}, Judge(automatic);
    EResult result = EResult::Refused;
    for (unsigned nTry = 0; nTry < kConflicts; ++nTry)
    {
        m_Done[i] = Execute(i);
        result = Judge(m_Done[i].m_Outcome);
        if (result != EResult::Refused || !m_Done[i].m_Outcome.m_sState.starts_with("40"))
            break; // 40: rolled back for another session's sake
    }
    if (result == EResult::Refused && IsWorthAnotherSession())
    {
        m_Done[i] = Execute(i);
        result = Judge(m_Done[i].m_Outcome);
        if (result == EResult::Refused)
            m_Run.GiveUp("given up: the database refuses everything, last for this: " +
                         Describe(m_Done[i].m_Outcome));
    }
    return result;
}

/// Counts refusals in a row. After too many the session is opened anew, in case that it is what is broken.
bool CWorker::IsWorthAnotherSession()
{
    return ++m_Run.m_nRefusedInRow == kRefusedInRow && Reconnect();
}

void CWorker::Record(std::size_t i, const CDone& done, std::size_t nLine)
{
    m_Run.m_Log.Record(m_Log, m_Statements[static_cast<unsigned>(i)], done.m_Outcome, done.m_iElapsedMs);
    if (!done.m_Outcome.m_bOk)
    {
        ++m_Run.m_nFailed;
        m_Run.m_Console.SayRefused(
            nLine, done.m_Outcome.m_sState + '/' + std::to_string(done.m_Outcome.m_iNativeCode),
            Describe(done.m_Outcome));
        return;
    }
    m_Run.m_nRefusedInRow = 0;
    ++(done.m_Outcome.m_nRows == 0 ? m_Run.m_nKnown : m_Run.m_nStored);
}

/// Tries for the time that the user allows; false when the run is to end instead.
bool CWorker::Reconnect()
{
    const auto giveUpAt = CClock::now() + std::chrono::seconds(m_Run.m_nRetrySeconds);
    unsigned nPauseMs = kFirstPauseMs;
    COrvStr sError;
    while (!m_Run.IsGivenUp())
    {
        if (m_Session.Open(sError))
            return true;
        if (CClock::now() >= giveUpAt)
            m_Run.GiveUp("given up: the connection is lost and does not come back: " + ToUTF8(sError));
        else if (CStop::Wait(nPauseMs))
            return false;
        nPauseMs = std::min(2 * nPauseMs, kLongestPauseMs);
    }
    return false;
}
