// The jobs that wait, between the one that finds them and the workers.
#pragma once

#include <condition_variable>
#include <deque>
#include <filesystem>
#include <mutex>
#include <set>

class CJobQueue
{
public:
    using CName = std::filesystem::path;

    /// Does nothing while the job waits, is in a worker's hands, or was put off.
    void Add(const CName& name);
    /// What was put off may be added again.
    void RetryPutOff();

    /// Waits for a job; false when there will be none.
    bool Take(CName& name);
    void Finish(const CName& name, bool bDone);

    /// Gives out no job from now on, waits for those in workers' hands, and forgets the others.
    void Hold();
    void Resume();
    /// Gives out no job any more.
    void Close();

private:
    std::mutex m_Mutex;
    std::condition_variable m_Changed;
    std::deque<CName> m_Waiting;
    std::set<CName> m_Known; ///< waiting, in a worker's hands, or put off
    std::set<CName> m_PutOff;
    unsigned m_nTaken = 0;
    bool m_bHeld = false;
    bool m_bClosed = false;
};
